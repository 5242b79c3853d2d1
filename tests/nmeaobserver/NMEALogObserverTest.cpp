// The NMEA observer between real records and a real NMEA service on loopback:
// which sentences a TCP client of the service gets, and the time each carries.

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "LogObserver/NMEALogObserver.h"
#include "LogObserver/ReceiverStatusObserver.h"
#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Config/Config.h"
#include "platform/Net/NMEAService.h"
#include "platform/Net/SocketCollection.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace {

// "$" body "*" and the exclusive-or of the body as two hexadecimal digits.
std::string WithChecksum(const std::string& body) {
    unsigned sum = 0;
    for (char c : body) sum ^= static_cast<unsigned char>(c);
    char digits[3];
    std::snprintf(digits, sizeof(digits), "%02X", sum);
    return "$" + body + "*" + digits;
}

// A client of the service that reads without waiting.
class CNMEAClient {
public:
    explicit CNMEAClient(int port) {
        m_socket = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
        struct sockaddr_in address = {};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<uint16_t>(port));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        m_connected =
            ::connect(m_socket, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) == 0;
    }
    ~CNMEAClient() { ::close(m_socket); }
    CNMEAClient(const CNMEAClient&) = delete;
    CNMEAClient& operator=(const CNMEAClient&) = delete;

    bool IsConnected() const { return m_connected; }
    // Appends whatever has arrived to Received().
    void Poll() {
        char buffer[4096];
        ssize_t count;
        while ((count = ::recv(m_socket, buffer, sizeof(buffer), MSG_DONTWAIT)) > 0) {
            m_received.append(buffer, static_cast<size_t>(count));
        }
    }
    const std::string& Received() const { return m_received; }

private:
    int m_socket = -1;
    bool m_connected = false;
    std::string m_received;
};

class NMEALogObserverTest : public ::testing::Test {
protected:
    NMEALogObserverTest()
        : m_config(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_logServer.Port())),
          m_status(m_config),
          m_observer(&m_service) {
        m_observer.SetStatusObserver(&m_status);
    }

    void SetUp() override {
        ASSERT_TRUE(m_service.Start(m_config));
        m_sockets.Add(&m_service);
        m_client.reset(new CNMEAClient(m_service.GetPort()));
        ASSERT_TRUE(m_client->IsConnected());
        ASSERT_TRUE(PumpUntil([&] { return m_service.GetClientCount() == 1; }));
    }

    // One select pass after another until done holds, for at most ten seconds.
    bool PumpUntil(const std::function<bool()>& done) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (!done()) {
            if (std::chrono::steady_clock::now() > deadline) return false;
            fd_set readSet;
            fd_set writeSet;
            FD_ZERO(&readSet);
            FD_ZERO(&writeSet);
            const int largest = m_sockets.AddToSets(readSet, writeSet);
            struct timeval timeout = {0, 10000};
            if (::select(largest + 1, &readSet, &writeSet, nullptr, &timeout) >= 0) {
                m_sockets.HandleReady(readSet, writeSet);
            }
        }
        return true;
    }

    // Offers one sentence, as the framer delivers it, to the observer.
    void Offer(const std::string& sentence) {
        std::unique_ptr<CGPSRecord> record(
            CreateRecord(ByteVector(sentence.begin(), sentence.end())));
        m_observer.NewPacket(record.get());
    }

    // Sets the status observer's current time with a TIME log.
    void SetReceiverTime(uint32_t milliseconds) {
        Tools::SFrameHeader header;
        header.messageId = Novatel::kTIMEMessageID;
        header.week = 1520;
        header.milliseconds = milliseconds;
        const ByteVector body(44, 0);
        std::unique_ptr<CGPSRecord> record(CreateRecord(Tools::BuildBinaryFrame(header, body)));
        m_status.NewPacket(record.get());
        m_observer.NewPacket(record.get());
    }

    // What the client got once at least expected.size() bytes arrived.
    std::string ReceivedAtLeast(const std::string& expected) {
        PumpUntil([&] {
            m_client->Poll();
            return m_client->Received().size() >= expected.size();
        });
        return m_client->Received();
    }

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_logServer;
    CConfig m_config;
    CNMEAService m_service;
    SocketCollectionC m_sockets;
    CReceiverStatusObserver m_status;
    CNMEALogObserver m_observer;
    std::unique_ptr<CNMEAClient> m_client;
};

TEST_F(NMEALogObserverTest, PassesOnOnlyGSAGSVZDAAndGSTOfGPS) {
    const std::string gsa = WithChecksum("GPGSA,A,3,05,09,12,,,,,,,,,,2.1,1.2,1.7");
    const std::string gsv = WithChecksum("GPGSV,1,1,01,05,45,120,40");
    const std::string zda = WithChecksum("GPZDA,123456.00,15,03,2024,00,00");
    const std::string gst = WithChecksum("GPGST,123456.00,1.2,0.8,0.5,45.0,0.6,0.7,1.1");
    const std::vector<std::string> dropped = {
        WithChecksum("GPGGA,123456.00,4807.038,N,01131.000,E,1,08,0.9,545.4,M,46.9,M,,"),
        WithChecksum("GPRMC,123456.00,A,4807.038,N,01131.000,E,0.0,0.0,150324,,"),
        WithChecksum("GLGSV,1,1,01,65,30,200,38"),
        WithChecksum("GNGSA,A,3,05,09,12,,,,,,,,,,2.1,1.2,1.7"),
        WithChecksum("GPGLL,4807.038,N,01131.000,E,123456.00,A"),
        WithChecksum("gpgsv,1,1,01,05,45,120,40"),
    };
    std::string expected;
    for (const std::string& accepted : {gsa, gsv, zda, gst}) {
        for (const std::string& other : dropped) Offer(other + "\r");
        Offer(accepted + "\r");
        expected += accepted + "\r\n";
    }
    EXPECT_EQ(expected, ReceivedAtLeast(expected));
    EXPECT_EQ(4u, m_observer.GetPassedCount());
}

TEST_F(NMEALogObserverTest, DropsSentenceWhoseChecksumIsWrongOrMissing) {
    const std::string gsv = WithChecksum("GPGSV,1,1,01,05,45,120,40");
    std::string wrong = gsv;
    wrong[wrong.size() - 1] = wrong.back() == '0' ? '1' : '0';
    const std::string malformed[] = {
        wrong + "\r",
        "$GPGSV,1,1,01,05,45,120,40\r",   // no checksum
        "$GPGSV,1,1,01,05,45,120,40*\r",  // no digits
        "$GPGS",                          // five characters
        "$",
    };
    testing::internal::CaptureStderr();
    for (const std::string& sentence : malformed) Offer(sentence);
    const std::string messages = testing::internal::GetCapturedStderr();
    const std::string zda = WithChecksum("GPZDA,123456.00,15,03,2024,00,00") + "\r";
    Offer(zda);
    EXPECT_EQ(zda + "\n", ReceivedAtLeast(zda + "\n"));
    EXPECT_EQ(1u, m_observer.GetPassedCount());
    // One line for the first malformed sentence, none for the rest.
    EXPECT_NE(std::string::npos, messages.find("CNMEALogObserver")) << messages;
    EXPECT_EQ(1, std::count(messages.begin(), messages.end(), '\n')) << messages;
}

TEST_F(NMEALogObserverTest, StampsEverySentenceWithTheWholeSecondOfTheLastTimeLog) {
    const struct {
        uint32_t milliseconds;  // of the TIME log
        int64_t expected;
    } cases[] = {
        {1234568, 1234000},      // 1234.568 s
        {1234999, 1234000},      // not rounded up to the next second
        {604799999, 604799000},  // the last millisecond of the week
        {7000, 7000},
    };
    const std::string names[] = {"GPGSA,A,1", "GPGSV,1,1,00", "GPZDA,,,,,,", "GPGST,,,,,,,,"};
    for (const auto& c : cases) {
        SetReceiverTime(c.milliseconds);
        for (const std::string& body : names) {
            Offer(WithChecksum(body) + "\r");
            EXPECT_EQ(c.expected, m_observer.GetLastTimeMilliseconds())
                << body << " at " << c.milliseconds << " ms";
        }
    }
}

TEST_F(NMEALogObserverTest, StampsTimeZeroBeforeAnyTimeLogOrStatusObserver) {
    Offer(WithChecksum("GPZDA,,,,,,") + "\r");
    EXPECT_EQ(0, m_observer.GetLastTimeMilliseconds());

    CNMEALogObserver unwired(&m_service);
    const std::string gsv = WithChecksum("GPGSV,1,1,00") + "\r";
    std::unique_ptr<CGPSRecord> record(CreateRecord(ByteVector(gsv.begin(), gsv.end())));
    unwired.NewPacket(record.get());
    EXPECT_EQ(0, unwired.GetLastTimeMilliseconds());
}

TEST_F(NMEALogObserverTest, IgnoresNullAndNovAtelRecords) {
    m_observer.NewPacket(nullptr);
    SetReceiverTime(1000);  // also offers the TIME record to the NMEA observer
    EXPECT_EQ(0u, m_observer.GetPassedCount());
    EXPECT_EQ(-1, m_observer.GetLastTimeMilliseconds());
}

// A real receiver's NMEA output, framed as the port handler frames it: the
// client gets the accepted kinds only, unchanged and in their order.
TEST_F(NMEALogObserverTest, RecordingPassesOnTheAcceptedSentencesInOrder) {
    QUILLOND_REQUIRE_CAPTURE(path, "nmea-sample.txt");
    const std::string text = TestSupport::ReadWholeFile(path);

    std::string expected;
    std::istringstream lines(text);
    for (std::string line; std::getline(lines, line);) {
        if (!line.empty() && line.back() == '\r') line.pop_back();
        for (const char* prefix : {"$GPGSA,", "$GPGSV,", "$GPZDA,", "$GPGST,"}) {
            if (line.compare(0, 7, prefix) == 0) expected += line + "\r\n";
        }
    }
    ASSERT_FALSE(expected.empty());

    CNMEASentenceConstructor framer;
    framer.AddData(ByteVector(text.begin(), text.end()));
    ByteVector sentence;
    for (int result; (result = framer.GetSentence(sentence)) != 0;) {
        if (result != 1) continue;
        std::unique_ptr<CGPSRecord> record(CreateRecord(sentence));
        m_observer.NewPacket(record.get());
    }
    EXPECT_EQ(expected, ReceivedAtLeast(expected));
}

}  // namespace
