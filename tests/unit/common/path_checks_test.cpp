#include "brellix/class_names.h"
#include "support/capture_stdout.h"
#include "support/temporary_folder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace {

using ai_orvo::model::IsFile;
using ai_orvo::model::IsFolder;
using brellix::testing::standardOutputOf;
using brellix::testing::TemporaryFolder;

TEST(PathChecks, ARegularFileIsAFile) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a", "x");
    EXPECT_EQ(standardOutputOf([&] {
                  EXPECT_TRUE(IsFile(file));
                  EXPECT_FALSE(IsFolder(file));
              }),
              "");
}

TEST(PathChecks, AFolderIsAFolder) {
    const TemporaryFolder folder;
    EXPECT_EQ(standardOutputOf([&] {
                  EXPECT_FALSE(IsFile(folder.path()));
                  EXPECT_TRUE(IsFolder(folder.path()));
              }),
              "");
}

TEST(PathChecks, AMissingFileIsReportedOnStandardOutput) {
    EXPECT_EQ(standardOutputOf([] { EXPECT_FALSE(IsFile("/no/such/file")); }),
              "./src/common:61 /no/such/file not exist\n");
    EXPECT_EQ(standardOutputOf([] { EXPECT_FALSE(IsFile("")); }), "./src/common:61  not exist\n");
    EXPECT_EQ(standardOutputOf([] { EXPECT_FALSE(IsFile("%s%n")); }), "./src/common:61 %s%n not exist\n");
}

TEST(PathChecks, AMissingFolderIsSilent) {
    EXPECT_EQ(standardOutputOf([] { EXPECT_FALSE(IsFolder("/no/such/folder")); }), "");
}

TEST(PathChecks, LinksAreFollowed) {
    const TemporaryFolder folder;
    const std::string file = folder.write("a", "x");
    const std::string toFile = folder.path() + "/to-file";
    const std::string toFolder = folder.path() + "/to-folder";
    const std::string dangling = folder.path() + "/dangling";
    std::filesystem::create_symlink(file, toFile);
    std::filesystem::create_symlink(folder.path(), toFolder);
    std::filesystem::create_symlink(folder.path() + "/missing", dangling);
    EXPECT_TRUE(IsFile(toFile));
    EXPECT_TRUE(IsFolder(toFolder));
    EXPECT_EQ(standardOutputOf([&] { EXPECT_FALSE(IsFile(dangling)); }),
              "./src/common:61 " + dangling + " not exist\n");
}

TEST(PathChecks, ADeviceIsNeither) {
    EXPECT_FALSE(IsFile("/dev/null"));
    EXPECT_FALSE(IsFolder("/dev/null"));
}

}  // namespace
