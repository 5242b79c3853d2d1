// The port handler runs the breakout first at every link start: before it
// counts the initialisation and before the receiver configuration is queued,
// so the configuration reaches a port already at the right rate and mode.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "control/CommandQueue.h"
#include "io/InputOutputHandler.h"
#include "io/ReceiverBreakout.h"
#include "main/PortHandler.h"
#include "platform/Config/Config.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/MemorySource.h"
#include "tests/support/TestSupport.h"

namespace {

// Notes each write and what the port handler had counted when it came.
class CTimelineSource : public TestSupport::CMemorySource {
public:
    CTimelineSource(std::vector<std::string>& timeline, const CPortHandler*& handler)
        : m_timeline(timeline), m_handler(handler) {
        m_descriptor = 7;
    }

    int Write(const std::string& text) override {
        m_timeline.push_back("write " + text + " after " +
                             std::to_string(m_handler->GetReceiverInitialisations()));
        return 1;
    }
    using TestSupport::CMemorySource::Write;
    void SendBreak() override { m_timeline.push_back("break"); }
    int SetBaudRate(int rate) override {
        m_timeline.push_back("rate " + std::to_string(rate));
        return 1;
    }

private:
    std::vector<std::string>& m_timeline;
    const CPortHandler*& m_handler;
};

class CTimelineQueue : public CCommandQueue {
public:
    explicit CTimelineQueue(std::vector<std::string>& timeline) : m_timeline(timeline) {}
    bool QueueCommands() override {
        m_timeline.push_back("queue");
        return true;
    }
    std::string PopNextCommand() override { return std::string(); }
    void CommandSent(const std::string&) override {}

private:
    std::vector<std::string>& m_timeline;
};

class PortHandlerBreakoutTest : public ::testing::Test {
protected:
    PortHandlerBreakoutTest()
        : m_config(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port())),
          m_handlerSeen(nullptr),
          m_source(m_timeline, m_handlerSeen),
          m_queue(m_timeline),
          m_handler("NovatelPortHandler", m_config) {
        m_handlerSeen = &m_handler;
        m_handler.SetByteSource(&m_source);
        m_handler.SetCommandManager(&m_queue);
    }

    // A breakout of the mode on the test's source, pausing only on the timeline.
    void UseBreakout(CReceiverBreakout& breakout) {
        breakout.SetBaudRate(230400);
        breakout.SetSleep([this](double) { m_timeline.push_back("pause"); });
        breakout.SetOutput(m_printed);
        m_handler.SetBreakout(&breakout);
    }

    TestSupport::CLogServerStub m_server;
    TestSupport::TempDir m_dir;
    CConfig m_config;
    std::vector<std::string> m_timeline;
    const CPortHandler* m_handlerSeen;
    CTimelineSource m_source;
    CTimelineQueue m_queue;
    std::ostringstream m_printed;
    CPortHandler m_handler;
};

TEST_F(PortHandlerBreakoutTest, StartRunsTheBreakoutBeforeCountingAndQueueing) {
    CReceiverBreakout breakout(&m_source, CReceiverBreakout::MODE_BREAK);
    UseBreakout(breakout);

    m_handler.Start();
    const std::vector<std::string> firstStart = {
        "break", "pause",       "break",
        "pause", "rate 9600",   "write com thisport 230400\r\n after 0",
        "pause", "rate 230400", "pause",
        "queue"};
    EXPECT_EQ(firstStart, m_timeline);
    EXPECT_EQ(1u, m_handler.GetReceiverInitialisations());

    // Every restart of the link breaks the port out again.
    m_timeline.clear();
    m_handler.Start();
    ASSERT_EQ(firstStart.size(), m_timeline.size());
    EXPECT_EQ("write com thisport 230400\r\n after 1", m_timeline[5]);
    EXPECT_EQ("queue", m_timeline.back());
    EXPECT_EQ(2u, m_handler.GetReceiverInitialisations());
}

TEST_F(PortHandlerBreakoutTest, StartWithoutBreakoutOrWithModeNoneOnlyQueues) {
    m_handler.Start();
    EXPECT_EQ(std::vector<std::string>{"queue"}, m_timeline);

    CReceiverBreakout none(&m_source, CReceiverBreakout::MODE_NONE);
    UseBreakout(none);
    m_timeline.clear();
    m_handler.Start();
    EXPECT_EQ(std::vector<std::string>{"queue"}, m_timeline);
}

TEST_F(PortHandlerBreakoutTest, RefusedBreakoutModeStillStartsTheLink) {
    CReceiverBreakout unknown(&m_source, 7);
    UseBreakout(unknown);
    m_handler.Start();
    EXPECT_EQ(std::vector<std::string>{"queue"}, m_timeline);
    EXPECT_EQ(1u, m_handler.GetReceiverInitialisations());
}

}  // namespace
