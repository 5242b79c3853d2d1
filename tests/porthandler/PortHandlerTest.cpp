// The port handler in one process: a byte source in memory, the real framers
// and factory, and a log server on loopback receiving what it publishes.

#include <gtest/gtest.h>

#include <deque>
#include <string>
#include <vector>

#include "LogObserver/EpochFlusher.h"
#include "LogObserver/LogObserver.h"
#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "control/CommandQueue.h"
#include "io/InputOutputHandler.h"
#include "main/PortHandler.h"
#include "platform/Config/Config.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/MemorySource.h"
#include "tests/support/TestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace {

// A byte source whose reads hand out prepared chunks and whose writes are kept,
// with a descriptor the main loop would watch.
class CMemorySource : public TestSupport::CMemorySource {
public:
    CMemorySource() { m_descriptor = 3; }
};

class CScriptedQueue : public CCommandQueue {
public:
    bool QueueCommands() override {
        ++m_queueCalls;
        return true;
    }
    std::string PopNextCommand() override {
        if (m_lines.empty()) return std::string();
        std::string line = m_lines.front();
        m_lines.pop_front();
        return line;
    }
    void CommandSent(const std::string& line) override { m_sent.push_back(line); }

    std::deque<std::string> m_lines;
    std::vector<std::string> m_sent;
    int m_queueCalls = 0;
};

// Remembers the message ID of every record it is offered, under its own tag.
class CRecordingObserver : public CLogObserver {
public:
    CRecordingObserver(std::vector<std::string>& calls, const std::string& tag)
        : m_calls(calls), m_tag(tag) {}
    void NewPacket(CGPSRecord* record) override {
        m_calls.push_back(m_tag + ":" + (record ? std::to_string(record->GetMessageID()) : "null"));
    }

private:
    std::vector<std::string>& m_calls;
    std::string m_tag;
};

ByteVector Frame(uint16_t messageId, size_t bodySize, uint32_t milliseconds = 345600500) {
    Tools::SFrameHeader header;
    header.messageId = messageId;
    header.week = 2390;
    header.milliseconds = milliseconds;
    return Tools::BuildBinaryFrame(header, ByteVector(bodySize, 0x11));
}

ByteVector Join(std::initializer_list<ByteVector> parts) {
    ByteVector all;
    for (const ByteVector& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

ByteVector Text(const std::string& text) { return ByteVector(text.begin(), text.end()); }

class PortHandlerTest : public ::testing::Test {
protected:
    PortHandlerTest()
        : m_configPath(TestSupport::WriteServerConfig(
              m_dir, "127.0.0.1", m_server.Port(),
              "[Logging.NovatelPortHandler]\nrecord_raw_data = 1\n")),
          m_config(m_configPath),
          m_handler("NovatelPortHandler", m_config) {
        m_handler.SetByteSource(&m_source);
        m_handler.SetFramers({&m_binary, &m_ascii, &m_nmea});
        EXPECT_EQ("started", Next("value")["value"]);
    }

    // The next datagram of the given type, skipping the others.
    nlohmann::json Next(const std::string& type) {
        for (;;) {
            nlohmann::json datagram = m_server.ReceiveJson();
            if (datagram.is_null() || datagram["type"] == type) return datagram;
        }
    }
    // The values published under the given key since the last look.
    std::vector<std::string> ValuesOf(const std::string& key) {
        std::vector<std::string> values;
        for (const nlohmann::json& datagram : m_server.Drain()) {
            if (datagram.value("type", "") == "value" && datagram.value("key", "") == key) {
                values.push_back(datagram["value"]);
            }
        }
        return values;
    }

    TestSupport::CLogServerStub m_server;
    TestSupport::TempDir m_dir;
    std::string m_configPath;
    CConfig m_config;
    CMemorySource m_source;
    Novatel::CNovatelBinarySentenceConstructor m_binary;
    Novatel::CNovatelASCIISentenceConstructor m_ascii;
    CNMEASentenceConstructor m_nmea;
    CPortHandler m_handler;
};

TEST_F(PortHandlerTest, QueuedCommandsLeaveOnePerPassWithoutReading) {
    CScriptedQueue queue;
    queue.m_lines = {"log bestposb ontime 1\r\n", "log timeb ontime 1\r\n", "unlogall com2\r\n"};
    m_handler.SetCommandManager(&queue);
    m_source.m_chunks.push_back(Frame(101, 44));

    for (int pass = 1; pass <= 3; ++pass) {
        EXPECT_EQ(1, m_handler.Process(true));
        EXPECT_EQ(static_cast<size_t>(pass), m_source.m_written.size());
        // A pass that wrote a command reads nothing.
        EXPECT_EQ(1u, m_source.m_chunks.size());
    }
    EXPECT_EQ(queue.m_sent, m_source.m_written);
    EXPECT_EQ("unlogall com2\r\n", m_source.m_written[2]);

    // The fourth pass finds the queue empty and reads instead; a line queued
    // now waits for the idle timer.
    EXPECT_EQ(1, m_handler.Process(true));
    EXPECT_TRUE(m_source.m_chunks.empty());
    queue.m_lines.push_back("log rangeb ontime 1\r\n");
    m_handler.Process(false);
    EXPECT_EQ(3u, m_source.m_written.size());
    ::usleep(150000);
    m_handler.Process(false);
    EXPECT_EQ(4u, m_source.m_written.size());
}

TEST_F(PortHandlerTest, StartQueuesTheConfigurationAndCountsInitialisations) {
    CScriptedQueue queue;
    m_handler.SetCommandManager(&queue);
    m_handler.Start();
    m_handler.Start();
    EXPECT_EQ(2, queue.m_queueCalls);
    EXPECT_EQ((std::vector<std::string>{"1", "2"}), ValuesOf("receiver_initialisations"));
}

TEST_F(PortHandlerTest, TenthStartReportsTheLinkAsRestartingTooOften) {
    for (int start = 1; start <= 10; ++start) {
        m_handler.Start();
        bool raised = false;
        for (const nlohmann::json& datagram : m_server.Drain()) {
            raised |= datagram.value("type", "") == "condition" &&
                      datagram.value("name", "") == "receiver_restarts_exceeded" &&
                      datagram["value"] == 1;
        }
        EXPECT_EQ(start >= 10, raised) << "start " << start;
    }
}

TEST_F(PortHandlerTest, CountsGoodSentencesOfAllFramersAndEveryFailedCandidate) {
    ByteVector corrupt = Frame(42, 72);
    corrupt[40] ^= 0xFF;
    m_source.m_chunks.push_back(
        Join({Text("garbage"), Frame(101, 44), corrupt, Frame(42, 72),
              Text("$GPZDA,120000.00,21,11,2026,,*60\r\n"),
              Text("#BESTPOSA,COM1,0,0.0,UNKNOWN,0,0.000,00000000,0000,0;X*00000000\r\n")}));
    ASSERT_EQ(1, m_handler.Process(true));
    EXPECT_EQ(3u, m_handler.GetGoodSentenceCount());
    EXPECT_EQ(2u, m_handler.GetBadSentenceCount());
    std::vector<std::string> stats = ValuesOf("checksum_stats");
    ASSERT_FALSE(stats.empty());
    EXPECT_EQ("3,2", stats.back());
}

TEST_F(PortHandlerTest, PublishesPerLogStatisticsForEveryRecord) {
    m_source.m_chunks.push_back(Join({Frame(101, 44), Frame(42, 72, 345601000), Frame(101, 44)}));
    m_handler.Process(true);
    std::vector<std::string> values;
    for (const nlohmann::json& datagram : m_server.Drain()) {
        std::string key = datagram.value("key", "");
        if (key.compare(0, 4, "QLS_") == 0)
            values.push_back(key + "=" + datagram["value"].get<std::string>());
    }
    ASSERT_EQ(3u, values.size());
    // Now as seconds, the header's time status (FINESTEERING, 180), the seconds of week.
    EXPECT_TRUE(::testing::internal::RE::PartialMatch(
        values[0], "^QLS_101=[0-9]+\\.[0-9]{6},180,345600\\.500000$"))
        << values[0];
    EXPECT_TRUE(
        ::testing::internal::RE::PartialMatch(values[1], "^QLS_42=[0-9.]+,180,345601\\.000000$"))
        << values[1];
}

TEST_F(PortHandlerTest, OffersEachRecordToEveryObserverInListOrder) {
    std::vector<std::string> calls;
    CRecordingObserver first(calls, "first"), second(calls, "second");
    m_handler.SetObservers({&first, &second});
    m_source.m_chunks.push_back(Join({Frame(101, 44), Text("#ASCII;*00000000\r\n"), Frame(8, 4)}));
    m_handler.Process(true);
    EXPECT_EQ((std::vector<std::string>{"first:101", "second:101", "first:8", "second:8"}), calls);
}

TEST_F(PortHandlerTest, EndOfSourceEndsThePassWithZero) {
    EXPECT_EQ(1, m_handler.Process(false));
    EXPECT_EQ(0, m_handler.Process(true));
}

TEST_F(PortHandlerTest, HandsRawBytesOverInBlocksOfMoreThan1023Bytes) {
    EpochFlusher flusher;
    m_handler.SetObservers({&flusher});
    m_source.m_chunks.push_back(ByteVector(600, 'a'));
    m_source.m_chunks.push_back(ByteVector(600, 'b'));
    m_handler.Process(true);
    m_handler.Process(true);
    nlohmann::json raw = Next("raw");
    EXPECT_EQ(std::string(600, 'a') + std::string(600, 'b'),
              TestSupport::Base64Decode(raw["data"]));

    // An epoch's last record cuts the block short, but only once the flusher
    // knows the handler. The record is handled before its own read joins the
    // block, so the block ends with the read before it.
    m_source.m_chunks.push_back(Frame(471, 112));
    m_handler.Process(true);
    for (const nlohmann::json& datagram : m_server.Drain()) EXPECT_NE("raw", datagram["type"]);
    flusher.SetPortHandler(&m_handler);
    m_source.m_chunks.push_back(Frame(1085, 40));
    m_handler.Process(true);
    raw = Next("raw");
    ByteVector expected = Frame(471, 112);
    EXPECT_EQ(std::string(expected.begin(), expected.end()),
              TestSupport::Base64Decode(raw["data"]));
}

}  // namespace
