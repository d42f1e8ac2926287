// SPDX-License-Identifier: GPL-3.0-or-later
#include "base/descriptor_io.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <string>
#include <thread>

#include "base/unique_descriptor.h"
#include "support/file_size_limit.h"
#include "support/temporary_folder.h"

namespace lumivastor {
namespace {

class DescriptorIo : public testing::Test {
  protected:
    UniqueDescriptor open(int flags) const {
        return UniqueDescriptor(::open((folder_ / "file").c_str(), flags | O_CREAT | O_CLOEXEC, 0600));
    }

    TemporaryFolder folder_;
};

TEST_F(DescriptorIo, MovesOnByWhatItReadsAndWrites) {
    const UniqueDescriptor file = open(O_RDWR);
    EXPECT_EQ(writeAll(file.get(), "abc", 3).count, 3U);
    EXPECT_EQ(writeAll(file.get(), "def", 3).count, 3U);
    EXPECT_EQ(folder_.read("file"), "abcdef");
    ASSERT_EQ(::lseek(file.get(), 1, SEEK_SET), 1);
    std::string read(3, '?');
    EXPECT_EQ(readAll(file.get(), read.data(), 3).count, 3U);
    EXPECT_EQ(read, "bcd");
    const Transfer rest = readAll(file.get(), read.data(), 3);
    EXPECT_EQ(rest.count, 2U) << "up to the end of the file";
    EXPECT_FALSE(rest.error);
}

TEST_F(DescriptorIo, AtAPlaceTheFileStaysWhereItStands) {
    const UniqueDescriptor file = open(O_RDWR);
    EXPECT_FALSE(writeAllAt(file.get(), 2, "cd", 2).error);
    EXPECT_FALSE(writeAllAt(file.get(), 0, "ab", 2).error);
    EXPECT_EQ(folder_.read("file"), "abcd");
    std::string read(3, '?');
    EXPECT_EQ(readAllAt(file.get(), 1, read.data(), 3).count, 3U);
    EXPECT_EQ(read, "bcd");
    EXPECT_EQ(readAllAt(file.get(), 4, read.data(), 3).count, 0U);
    EXPECT_EQ(::lseek(file.get(), 0, SEEK_CUR), 0);
}

TEST_F(DescriptorIo, AWriteThatDoesNotFitNamesTheReasonAndHowFarItCame) {
    const UniqueDescriptor file = open(O_WRONLY);
    const std::string bytes(3000, 'x');
    const FileSizeLimit full(1000);
    const Transfer transfer = writeAll(file.get(), bytes.data(), bytes.size());
    EXPECT_EQ(transfer.count, 1000U);
    EXPECT_EQ(transfer.error, std::errc::file_too_large);
    EXPECT_EQ(writeAllAt(file.get(), 1000, "x", 1).error, std::errc::file_too_large);
}

TEST_F(DescriptorIo, WhatIsNotOpenInThatWayIsAnError) {
    const UniqueDescriptor file = open(O_WRONLY);
    char byte = 0;
    EXPECT_EQ(readAll(file.get(), &byte, 1).error, std::errc::bad_file_descriptor);
    EXPECT_EQ(readAllAt(file.get(), 0, &byte, 1).error, std::errc::bad_file_descriptor);
    EXPECT_EQ(writeAll(-1, &byte, 1).error, std::errc::bad_file_descriptor);
}

TEST_F(DescriptorIo, WhatComesInPiecesIsPutTogether) {
    std::array<int, 2> ends{};
    ASSERT_EQ(::pipe(ends.data()), 0);
    const UniqueDescriptor reader(ends[0]);
    UniqueDescriptor writer(ends[1]);
    // More than a pipe holds, so that neither side moves all of it in one call.
    const std::string sent(300'000, 'x');
    std::thread sender([&] {
        EXPECT_EQ(writeAll(writer.get(), sent.data(), sent.size()).count, sent.size());
        writer.reset();
    });
    std::string received(400'000, '?');
    const Transfer transfer = readAll(reader.get(), received.data(), received.size());
    sender.join();
    EXPECT_FALSE(transfer.error);
    EXPECT_EQ(received.substr(0, transfer.count), sent);
}

}  // namespace
}  // namespace lumivastor
