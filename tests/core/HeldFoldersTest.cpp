#include "ModelStoreFixture.h"

#include <memory>
#include <utility>

namespace vorlin {
namespace {

/// A model store that alone holds its folders, on a disk that does not answer.
class HeldFoldersOfTheStore : public ModelStoreFixture {
protected:
    void SetUp() override
    {
        folders.putModel(root("parakeetRedux"));
        defaults.values["engine"] = "parakeetRedux";
        workers.hanging = true;
        auto own = std::make_shared<FakeFolders>(folders);
        watched = own;
        store = std::make_unique<ModelStore>(ModelStore::Needs{
            loop, workers, std::move(own), random, preferences, speech, downloads});
        loop.runReady();
    }

    void answer()
    {
        workers.answer();
        loop.runReady();
    }

    /// Ends the program's part while the disk still does not answer what was asked last.
    void expectHeldUntilTheAnswer()
    {
        ASSERT_FALSE(workers.hung.empty());
        store.reset();
        ASSERT_FALSE(watched.expired());
        answer();
        EXPECT_TRUE(watched.expired());
    }

    std::weak_ptr<FakeFolders> watched;
};

TEST_F(HeldFoldersOfTheStore, stayForALookAtAModel)
{
    expectHeldUntilTheAnswer();
}

TEST_F(HeldFoldersOfTheStore, stayForAMeasurement)
{
    answer();
    ASSERT_EQ(state("parakeetRedux"), "installed");
    expectHeldUntilTheAnswer();
}

TEST_F(HeldFoldersOfTheStore, stayForARemoval)
{
    answer();
    answer();
    ASSERT_TRUE(workers.hung.empty());
    store->remove(engine("parakeetRedux"));
    loop.runReady();
    expectHeldUntilTheAnswer();
}

} // namespace
} // namespace vorlin
