#pragma once

#include "Platform/Linux/Desktop/RemovalWatch.h"
#include "Ports/Folders.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <string>
#include <vector>

namespace vorlin {

/// What the model folders of every desktop do. `Desktop` has such, `folders`, and a folder
/// `outside` of them; neither it nor their root exists yet.
template <class Desktop>
class FoldersContract : public testing::Test {
protected:
    using Path = std::filesystem::path;

    FoldersContract()
    {
        desktop.folders.makeModelsRoot();
        std::filesystem::create_directories(model / "Encoder.mlmodelc");
        std::filesystem::create_directories(desktop.outside);
        write(desktop.outside / "kept", "kept");
    }

    static void write(const Path& file, const std::string& text)
    {
        std::ofstream(file, std::ios::binary) << text;
    }
    bool isKept() const { return std::filesystem::exists(desktop.outside / "kept"); }

    Desktop desktop;
    Folders& folders = desktop.folders;
    const Path root = desktop.folders.modelsRoot();
    const Path model = root / "model";
};

TYPED_TEST_SUITE_P(FoldersContract);

TYPED_TEST_P(FoldersContract, theModelsRootIsMadeWithTheFoldersAboveItAndMayBeThere)
{
    EXPECT_TRUE(std::filesystem::is_directory(this->root));
    this->folders.makeModelsRoot();
    EXPECT_TRUE(std::filesystem::exists(this->model));
}

TYPED_TEST_P(FoldersContract, whatExistsCanBeUsedWhateverItIs)
{
    const auto& model = this->model;
    this->write(model / "file", "");
    std::filesystem::create_symlink(model / "file", model / "link");
    std::filesystem::create_symlink(model / "nowhere", model / "dangling");
    for (const auto* name : {"file", "Encoder.mlmodelc", "link"}) {
        EXPECT_EQ(this->folders.whyUnusable(model, name), std::nullopt) << name;
    }
    EXPECT_EQ(this->folders.whyUnusable(model, "nothing"), "");
    EXPECT_TRUE(this->folders.whyUnusable(model, "dangling"));
    EXPECT_EQ(this->folders.whyUnusable(this->root / "nothing", "file"), "");
}

TYPED_TEST_P(FoldersContract, sizesAreWhatIsAllocatedBelowAndLinksAreNotFollowed)
{
    this->write(this->desktop.outside / "large", std::string(1'000'000, 'x'));
    std::filesystem::create_symlink(this->desktop.outside / "large", this->model / "link");
    EXPECT_LT(this->folders.allocatedSize(this->model), 100'000U);
    this->write(this->model / "Encoder.mlmodelc" / "weight.bin", std::string(100'000, 'x'));
    this->write(this->model / ".hidden", std::string(100'000, 'x'));
    EXPECT_GE(this->folders.allocatedSize(this->model), 200'000U);
    EXPECT_LT(this->folders.allocatedSize(this->model), 1'000'000U);
}

TYPED_TEST_P(FoldersContract, whatCannotBeReadCountsAsNothing)
{
    EXPECT_EQ(this->folders.allocatedSize(this->root / "nothing"), 0U);
    EXPECT_EQ(this->folders.allocatedSize(""), 0U);
}

TYPED_TEST_P(FoldersContract, aModelGoesWithAllThatIsInItAndWithWhatADownloadLeft)
{
    this->write(this->model / "Encoder.mlmodelc" / "weight.bin", "x");
    std::filesystem::create_symlink(this->desktop.outside, this->model / "folder");
    std::filesystem::create_directories(this->root / "model.partial" / "Encoder.mlmodelc");
    std::filesystem::create_directories(this->root / "other.partial");
    this->folders.removeModel(this->model);
    EXPECT_FALSE(std::filesystem::exists(this->model));
    EXPECT_FALSE(std::filesystem::exists(this->root / "model.partial"));
    EXPECT_TRUE(std::filesystem::exists(this->root / "other.partial"));
    EXPECT_TRUE(this->isKept());
    this->folders.removeModel(this->model); // it is not there
}

TYPED_TEST_P(FoldersContract, aModelLeavesItsPlaceWholeBeforeItsFilesGo)
{
    const auto bundle = this->model / "Encoder.mlmodelc";
    this->write(bundle / "weight.bin", "x");
    const RemovalWatch watch(this->root, bundle);
    this->folders.removeModel(this->model);
    EXPECT_EQ(watch.events(), (std::vector<std::string>{"moved model", "deleted weight.bin"}));
}

TYPED_TEST_P(FoldersContract, onlyWhatLiesDirectlyBelowTheRootIsRemoved)
{
    using namespace std::string_literals;
    for (const auto& folder : std::initializer_list<std::filesystem::path>{
             "", this->root, this->root / "", this->root / ".", this->root / "..",
             this->model / "Encoder.mlmodelc", this->desktop.outside, this->model / "",
             this->root / "model" / ".." / "model", "model", this->model.string() + "\0x"s}) {
        this->folders.removeModel(folder);
        EXPECT_TRUE(std::filesystem::exists(this->model / "Encoder.mlmodelc")) << folder;
        EXPECT_TRUE(this->isKept()) << folder;
    }
}

TYPED_TEST_P(FoldersContract, aFileIsReadWholeUpToALimit)
{
    this->write(this->model / "vocabulary", "abc");
    int progress = 0;
    EXPECT_EQ(this->folders.read(this->model / "vocabulary", 3, [&] { ++progress; }),
              (Bytes{'a', 'b', 'c'}));
    EXPECT_GT(progress, 0);
    const auto read = [&](const std::string& name, std::size_t most) {
        return this->folders.read(this->model / name, most, [] {});
    };
    EXPECT_THROW(read("vocabulary", 2), std::runtime_error);
    EXPECT_THROW(read("nothing", 9), std::runtime_error);
    EXPECT_THROW(read("Encoder.mlmodelc", 9), std::runtime_error);
}

REGISTER_TYPED_TEST_SUITE_P(FoldersContract, theModelsRootIsMadeWithTheFoldersAboveItAndMayBeThere,
                            whatExistsCanBeUsedWhateverItIs,
                            sizesAreWhatIsAllocatedBelowAndLinksAreNotFollowed,
                            whatCannotBeReadCountsAsNothing,
                            aModelGoesWithAllThatIsInItAndWithWhatADownloadLeft,
                            aModelLeavesItsPlaceWholeBeforeItsFilesGo,
                            onlyWhatLiesDirectlyBelowTheRootIsRemoved, aFileIsReadWholeUpToALimit);

} // namespace vorlin
