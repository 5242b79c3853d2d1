// CFileHandler: a raw capture read in pieces to its end, the blocking and the
// time-out paths, and the deliberate oddities the main loop relies on.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <string>

#include "io/FileHandler.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::TempDir;
using TestSupport::WriteWholeFile;

std::string Pattern(size_t size) {
    std::string bytes(size, '\0');
    for (size_t i = 0; i < size; ++i) bytes[i] = static_cast<char>((i * 31 + 7) & 0xFF);
    return bytes;
}

std::string Text(const ByteVector& bytes) { return std::string(bytes.begin(), bytes.end()); }

TEST(FileHandlerTest, ReadsAFileInPiecesToItsEndThenReturnsNothing) {
    TempDir dir;
    const std::string path = dir.File("capture.raw");
    const std::string contents = Pattern(3000);
    WriteWholeFile(path, contents);

    CFileHandler file;
    ASSERT_EQ(1, file.SetPortName(path));
    ASSERT_EQ(1, file.Open());
    EXPECT_TRUE(file.IsOpen());
    EXPECT_GT(file.GetFileDescriptor(), 0);

    std::string read;
    ByteVector piece;
    int pieces = 0;
    while (!(piece = file.Read()).empty()) {
        EXPECT_LE(piece.size(), 1024u);
        read += Text(piece);
        ++pieces;
    }
    EXPECT_EQ(contents, read);
    EXPECT_EQ(3, pieces);
    EXPECT_TRUE(file.Read().empty());
}

TEST(FileHandlerTest, ReadLargerThanTheBufferGrowsIt) {
    TempDir dir;
    const std::string path = dir.File("capture.raw");
    const std::string contents = Pattern(5000);
    WriteWholeFile(path, contents);

    CFileHandler file;
    file.SetPortName(path);
    file.SetReadSize(4096);
    ASSERT_EQ(1, file.Open());
    // A buffer left at 1024 bytes would overflow here (ASan) or cut the read.
    ByteVector first = file.Read();
    ASSERT_EQ(4096u, first.size());
    EXPECT_EQ(contents.substr(0, 4096), Text(first));
    // A smaller read afterwards keeps working from the grown buffer.
    EXPECT_EQ(contents.substr(4096, 100), Text(file.Read(100)));
    EXPECT_EQ(contents.substr(4196), Text(file.Read(4096)));
}

TEST(FileHandlerTest, SetPortNameIsRefusedWhileOpen) {
    TempDir dir;
    const std::string first = dir.File("first.raw");
    WriteWholeFile(first, "first");
    WriteWholeFile(dir.File("second.raw"), "second");

    CFileHandler file;
    ASSERT_EQ(1, file.SetPortName(first));
    ASSERT_EQ(1, file.Open());
    EXPECT_EQ(0, file.SetPortName(dir.File("second.raw")));
    EXPECT_EQ("first", Text(file.Read(100)));
}

TEST(FileHandlerTest, CloseOnAnOpenFileIsRefusedSoTheCaptureReadsOn) {
    TempDir dir;
    const std::string path = dir.File("capture.raw");
    WriteWholeFile(path, "0123456789");

    CFileHandler file;
    EXPECT_EQ(1, file.Close());  // nothing open: "closes" and reports success
    file.SetPortName(path);
    ASSERT_EQ(1, file.Open());
    EXPECT_EQ("0123", Text(file.Read(4)));
    EXPECT_EQ(0, file.Close());
    EXPECT_TRUE(file.IsOpen());
    EXPECT_EQ("456789", Text(file.Read(100)));  // neither rewound nor interrupted
}

TEST(FileHandlerTest, OpenOfAMissingFileFailsWithAPerrorLine) {
    TempDir dir;
    CFileHandler file;
    file.SetPortName(dir.File("absent.raw"));
    testing::internal::CaptureStderr();
    EXPECT_EQ(0, file.Open());
    EXPECT_EQ("CFileHandler:Open: No such file or directory\n",
              testing::internal::GetCapturedStderr());
    EXPECT_FALSE(file.IsOpen());
    EXPECT_EQ(-1, file.GetFileDescriptor());
}

TEST(FileHandlerTest, WritesAreAcceptedAndDroppedAndReadsOfNothingGiveNothing) {
    TempDir dir;
    const std::string path = dir.File("capture.raw");
    WriteWholeFile(path, "data");
    CFileHandler file;
    file.SetPortName(path);
    EXPECT_TRUE(file.Read(10).empty());  // not open yet
    EXPECT_EQ(1, file.Write(std::string("LOG BESTPOSB ONTIME 1\r\n")));
    ASSERT_EQ(1, file.Open());
    EXPECT_TRUE(file.Read(0).empty());
    EXPECT_TRUE(file.Read(-5).empty());
    EXPECT_EQ(1, file.Write(std::string("LOG BESTPOSB ONTIME 1\r\n")));
    EXPECT_EQ(1, file.Write(ByteVector{0xAA, 0x44, 0x12}));
    EXPECT_EQ("data", TestSupport::ReadWholeFile(path));
    EXPECT_EQ("data", Text(file.Read(100)));
}

// A FIFO stands in for a slow source: with a timeout the read must not block;
// without one it blocks again and reads what is there.
TEST(FileHandlerTest, TimeoutPathReturnsNothingWhenNoDataIsReadyAndBlockingPathReads) {
    TempDir dir;
    const std::string path = dir.File("stream.fifo");
    ASSERT_EQ(0, ::mkfifo(path.c_str(), 0600));
    // Opening for reading and writing never blocks and keeps a writer present.
    int writer = ::open(path.c_str(), O_RDWR);
    ASSERT_GE(writer, 0);

    CFileHandler file;
    file.SetPortName(path);
    ASSERT_EQ(1, file.Open());
    ASSERT_EQ(1, file.SetTimeout(Core::Time::FromMilliseconds(20)));
    EXPECT_TRUE(file.Read(64).empty());
    ASSERT_EQ(5, ::write(writer, "hello", 5));
    EXPECT_EQ("hello", Text(file.Read(64)));
    file.SetTimeout(Core::Time::FromMilliseconds(0));
    EXPECT_TRUE(file.Read(8).empty());  // leaves the descriptor non-blocking

    ASSERT_EQ(3, ::write(writer, "abc", 3));
    file.SetTimeout(Core::Time::FromSeconds(-1.0));
    EXPECT_EQ("abc", Text(file.Read(8)));
    EXPECT_EQ(0, ::fcntl(file.GetFileDescriptor(), F_GETFL) & O_NONBLOCK);

    file.SetTimeout(Core::Time::FromMilliseconds(20));
    ::close(writer);  // end of stream: ready, but zero bytes
    EXPECT_TRUE(file.Read(64).empty());
}

int ThrownCode(CFileHandler& file) {
    try {
        file.Read(16);
    } catch (int code) {
        return code;
    }
    return 0;
}

TEST(FileHandlerTest, ReadErrorThrowsOneOnBothPaths) {
    TempDir dir;
    CFileHandler file;
    file.SetPortName(dir.Path());  // a directory opens read-only but cannot be read
    ASSERT_EQ(1, file.Open());
    testing::internal::CaptureStderr();
    EXPECT_EQ(1, ThrownCode(file));
    file.SetTimeout(Core::Time::FromMilliseconds(10));
    EXPECT_EQ(1, ThrownCode(file));
    const std::string messages = testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, messages.find("CFileHandler:Read: Is a directory")) << messages;
}

TEST(FileHandlerTest, SelectErrorThrowsTwo) {
    TempDir dir;
    const std::string path = dir.File("capture.raw");
    WriteWholeFile(path, "data");
    CFileHandler file;
    file.SetPortName(path);
    ASSERT_EQ(1, file.Open());
    file.SetTimeout(Core::Time::FromMilliseconds(10));
    testing::internal::CaptureStderr();  // opens its file before the descriptor is freed
    ::close(file.GetFileDescriptor());   // pulled away underneath: select fails with EBADF
    EXPECT_EQ(2, ThrownCode(file));
    testing::internal::GetCapturedStderr();
}

}  // namespace
