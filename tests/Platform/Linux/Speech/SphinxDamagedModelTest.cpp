#include "LinkedModel.h"
#include "Platform/Linux/Desktop/TemporaryFolder.h"
#include "Platform/Linux/Speech/SphinxDecoder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <stdexcept>

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace vorlin {

namespace fs = std::filesystem;

namespace {

using testing::ThrowsMessage;

const std::string oneLine = "The speech model for en-US cannot be read. Install it again.";

/// A copy of the system's model, of which tests damage a file.
class SphinxDamagedModelTest : public testing::Test {
protected:
    SphinxDamagedModelTest() { linkSystemModel(root / "en-us"); }

    SpeechModel model() const { return SpeechModels({root}).exactly("en-US").value(); }

    void replace(const std::string& name, const std::string& content)
    {
        const fs::path file = root / "en-us" / name;
        fs::remove(file);
        write(file, content);
    }

    void restore(const std::string& name)
    {
        fs::remove(root / "en-us" / name);
        fs::create_symlink(systemModels / "en-us" / name, root / "en-us" / name);
    }

    TemporaryFolder folder;
    fs::path root = folder.path();
};

TEST_F(SphinxDamagedModelTest, anUndamagedCopyLoads)
{
    EXPECT_NO_THROW(SphinxDecoder{model()});
}

TEST_F(SphinxDamagedModelTest, aDamagedFileFailsWithOneLineAndEndsNothing)
{
#ifdef __SANITIZE_ADDRESS__
    // Left by an exception where it would have ended the process, the library frees nothing.
    const __lsan::ScopedDisabler libraryLeaks;
#endif
    for (const std::string name : {"en-us/mdef", "en-us/means", "en-us/variances",
                                   "en-us/transition_matrices", "en-us/sendump", "en-us.lm.bin"}) {
        const std::string whole = textOf(systemModels / "en-us" / name);
        for (const auto& damaged : {std::string(), whole.substr(0, whole.size() / 2),
                                    whole.substr(0, whole.size() - 1), std::string(5000, 'x')}) {
            replace(name, damaged);
            EXPECT_THAT([&] { SphinxDecoder decoder(model()); },
                        ThrowsMessage<std::runtime_error>(oneLine))
                << name << " with " << damaged.size() << " bytes";
        }
        restore(name);
    }
    EXPECT_NO_THROW(SphinxDecoder{model()});
}

} // namespace

} // namespace vorlin
