// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/private_folder.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include "support/folder_listing.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

TEST(PrivateFolder, IsForItsOwnerAlone) {
    const TemporaryFolder top;
    std::error_code error;
    EXPECT_TRUE(makePrivateFolder(top / "a/b/c", error));
    EXPECT_FALSE(error);
    EXPECT_EQ(modeOf(top / "a/b/c"), 0700u);
    EXPECT_TRUE(makePrivateFolder(top / "slash/", error));
    EXPECT_EQ(modeOf(top / "slash"), 0700u);
}

TEST(PrivateFolder, OneThatIsThereStaysAsItIs) {
    const TemporaryFolder top;
    std::filesystem::create_directory(top / "a");
    ASSERT_EQ(chmod((top / "a").c_str(), 0755), 0);
    std::filesystem::create_directory_symlink(top / "a", top / "link");
    std::error_code error;
    for (const char* name : {"a", "a/", "link"}) {
        EXPECT_FALSE(makePrivateFolder(top / name, error)) << name;
        EXPECT_FALSE(error) << name;
    }
    EXPECT_EQ(modeOf(top / "a"), 0755u);
}

TEST(PrivateFolder, OneThatCannotBeMadeIsAnError) {
    const TemporaryFolder top;
    top.write("file", "x");
    std::error_code error;
    EXPECT_FALSE(makePrivateFolder(top / "file", error));
    EXPECT_EQ(error, std::errc::file_exists);
    EXPECT_FALSE(makePrivateFolder(top / "file/below", error));
    EXPECT_TRUE(error);
}

}  // namespace
}  // namespace lumivastor
