#include "BeaconryBase/MadeFolders.h"

#include "tests/support/TemporaryDirectory.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace pelorin {
namespace {

namespace fs = std::filesystem;

TEST(MadeFolders, AreTheEmptyLinesAtTheEnd) {
    for (const auto& [text, count] : {std::pair("", 0), std::pair("a", 0), std::pair("a\n", 0), std::pair("a\n\n", 1),
                                      std::pair("a\n\nb\n\n\n", 2), std::pair("\n\n", 1)})
        EXPECT_EQ(madeFolders(text), count) << text;
}

TEST(RemoveEmptyFolders, EndsAtTheFirstThatHoldsSomething) {
    const TemporaryDirectory directory;
    const fs::path deep = directory.path() / "a/b/c/file";
    fs::create_directories(deep.parent_path());
    removeEmptyFolders(deep, 0);
    EXPECT_TRUE(fs::exists(deep.parent_path()));
    removeEmptyFolders(deep, 1);
    EXPECT_FALSE(fs::exists(deep.parent_path()));
    fs::create_directories(directory.path() / "a/other");
    fs::create_directories(deep.parent_path());
    removeEmptyFolders(deep, 9);
    EXPECT_FALSE(fs::exists(directory.path() / "a/b"));
    EXPECT_TRUE(fs::exists(directory.path() / "a/other"));
    removeEmptyFolders("file", 1);
    removeEmptyFolders("/file", 1);
}

} // namespace
} // namespace pelorin
