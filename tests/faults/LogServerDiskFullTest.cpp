// The log server's recording disk fills up: writes fail (here through a file
// size limit, which fails a write past it as a full disk does); the server
// says so, keeps taking in datagrams, ends cleanly, what it had recorded
// stays readable, and recording resumes in the next file after a pause.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstring>
#include <string>

#include "platform/LogFile/LogFileReader.h"
#include "tests/faults/FaultSupport.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"
#include "tools/logserver/RawRecorder.h"

namespace {

std::string Base64(const std::string& bytes) {
    static const char* const kAlphabet =
        "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (size_t i = 0; i < bytes.size(); i += 3) {
        uint32_t group = static_cast<uint8_t>(bytes[i]) << 16;
        if (i + 1 < bytes.size()) group |= static_cast<uint8_t>(bytes[i + 1]) << 8;
        if (i + 2 < bytes.size()) group |= static_cast<uint8_t>(bytes[i + 2]);
        text += kAlphabet[(group >> 18) & 63];
        text += kAlphabet[(group >> 12) & 63];
        text += i + 1 < bytes.size() ? kAlphabet[(group >> 6) & 63] : '=';
        text += i + 2 < bytes.size() ? kAlphabet[group & 63] : '=';
    }
    return text;
}

class CDatagramSender {
public:
    explicit CDatagramSender(int port) {
        m_fd = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
        std::memset(&m_address, 0, sizeof(m_address));
        m_address.sin_family = AF_INET;
        m_address.sin_port = htons(static_cast<uint16_t>(port));
        m_address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    }
    ~CDatagramSender() { ::close(m_fd); }
    void Send(const std::string& datagram) {
        ::sendto(m_fd, datagram.data(), datagram.size(), 0,
                 reinterpret_cast<const struct sockaddr*>(&m_address), sizeof(m_address));
    }

private:
    int m_fd;
    struct sockaddr_in m_address;
};

// One whole raw block of 1000 bytes in one datagram.
std::string RawBlock(int number) {
    const std::string bytes(1000, static_cast<char>('A' + number % 26));
    return "{\"client\":\"NovatelPortHandler\",\"type\":\"raw\",\"name\":\"NovatelPortHandler\","
           "\"offset\":0,\"total\":1000,\"data\":\"" +
           Base64(bytes) + "\",\"time\":" + std::to_string(1763700000 + number) + "}";
}

TEST(LogServerDiskFullTest, ReportsFailedWritesKeepsServingAndKeepsWhatItRecorded) {
    TestSupport::TempDir dir;
    const std::string store = dir.File("system.conf");
    TestSupport::WriteWholeFile(store, "[Logging.NovatelPortHandler]\nrecord_raw_data = 1\n");
    const int port = TestSupport::ClosedPort();
    // Each file may hold about twenty blocks.
    FaultSupport::CChild server({TestSupport::BuiltProgram("quillond-logserver"), "-p",
                                 std::to_string(port), "--json", "-r", dir.Path(), "-c", store},
                                {}, 20000);
    ASSERT_TRUE(server.WaitForOutput("\"listening\"", 20.0)) << server.StandardError();

    CDatagramSender sender(port);
    for (int block = 0; block < 60; ++block) {
        sender.Send(RawBlock(block));
        FaultSupport::Pause(0.005);  // the server's socket buffer is not the fault under test
    }
    // Once the pause after the failure is over, recording goes on in the next
    // file (the size limit is per file, as a freed disk would allow again).
    FaultSupport::Pause(LogServer::CRawRecorder::kRetrySeconds + 0.5);
    for (int block = 60; block < 65; ++block) {
        sender.Send(RawBlock(block));
        FaultSupport::Pause(0.005);
    }
    sender.Send(
        "{\"client\":\"Probe\",\"type\":\"value\",\"key\":\"after\",\"value\":\"full\","
        "\"category\":3,"
        "\"index\":-1,\"time\":1763700100}");
    ASSERT_TRUE(server.WaitForOutput("\"after\"", 10.0)) << server.StandardOutput();
    EXPECT_TRUE(server.Running());
    EXPECT_EQ(0, server.Stop()) << server.StandardError();

    const std::string output = server.StandardOutput();
    // The failure is reported, with the file it concerned and the reason.
    EXPECT_NE(std::string::npos, output.find("could not record")) << output;
    EXPECT_NE(std::string::npos, server.StandardError().find("File too large"))
        << server.StandardError();
    EXPECT_NE(std::string::npos, output.find("\"summary\"")) << output;

    // What was recorded before the disk filled is still a readable recorded
    // log: whole records in order, the first one the first block.
    const std::string file = dir.File("NovatelPortHandler-0001.qlog");
    CLogFileReader reader(file);
    double time = 0;
    std::string data;
    int records = 0;
    while (reader.GetNextBinary(time, data) > 0) {
        EXPECT_EQ(1763700000.0 + records, time);
        EXPECT_EQ(std::string(1000, static_cast<char>('A' + records % 26)), data);
        ++records;
    }
    EXPECT_GE(records, 10);

    // The blocks sent after the pause are in the next file, and the gap was
    // reported with its size.
    EXPECT_NE(std::string::npos, output.find("bytes were not recorded")) << output;
    CLogFileReader next(dir.File("NovatelPortHandler-0002.qlog"));
    int resumed = 0;
    while (next.GetNextBinary(time, data) > 0) {
        EXPECT_EQ(1763700060.0 + resumed, time);
        ++resumed;
    }
    EXPECT_EQ(5, resumed);
}

}  // namespace
