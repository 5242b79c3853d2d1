// The breakout sequences step by step: a source that records every operation
// and a sleep that records every pause, on one timeline, so order, bytes and
// pauses are checked exactly without waiting.

#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "io/InputOutputHandler.h"
#include "io/ReceiverBreakout.h"

namespace {

// Notes each operation the breakout may use as one line of a shared timeline.
class CRecordingSource : public CInputOutputHandler {
public:
    explicit CRecordingSource(std::vector<std::string>& timeline, bool open = true)
        : m_timeline(timeline), m_open(open) {}

    int Open() override {
        m_timeline.push_back("Open");
        m_open = true;
        return 1;
    }
    int Close() override {
        m_timeline.push_back("Close");
        m_open = false;
        return 1;
    }
    bool IsOpen() override {
        m_timeline.push_back("IsOpen");
        return m_open;
    }
    ByteVector Read(int) override {
        m_timeline.push_back("Read");
        return ByteVector();
    }
    int Write(const std::string& text) override {
        m_timeline.push_back("Write " + text);
        return 1;
    }
    int Write(const ByteVector& bytes) override {
        m_timeline.push_back("WriteBytes " + std::string(bytes.begin(), bytes.end()));
        return 1;
    }
    int SetPortName(const std::string& name) override {
        m_timeline.push_back("SetPortName " + name);
        return 1;
    }
    int SetTimeout(Core::Time) override {
        m_timeline.push_back("SetTimeout");
        return 1;
    }
    void SendBreak() override { m_timeline.push_back("SendBreak"); }
    void Reserved() override { m_timeline.push_back("Reserved"); }
    int SetBaudRate(int rate) override {
        m_timeline.push_back("SetBaudRate " + std::to_string(rate));
        return 1;
    }
    int GetFileDescriptor() override {
        m_timeline.push_back("GetFileDescriptor");
        return 5;
    }
    int SetReadSize(int size) override {
        m_timeline.push_back("SetReadSize " + std::to_string(size));
        return 1;
    }

private:
    std::vector<std::string>& m_timeline;
    bool m_open;
};

// A breakout on a recording source whose pauses land on the same timeline.
struct SRecordedRun {
    SRecordedRun(int32_t mode, bool sourceOpen, int32_t baudRate)
        : source(timeline, sourceOpen), breakout(&source, mode) {
        breakout.SetBaudRate(baudRate);
        breakout.SetSleep([this](double seconds) {
            std::ostringstream line;
            line << "Sleep " << seconds;
            timeline.push_back(line.str());
            totalPause += seconds;
        });
        breakout.SetOutput(printed);
    }

    std::vector<std::string> timeline;
    CRecordingSource source;
    CReceiverBreakout breakout;
    std::ostringstream printed;
    double totalPause = 0.0;
};

struct SSequenceCase {
    const char* name;
    int32_t mode;
    bool sourceOpen;
    int32_t baudRate;
    std::vector<std::string> expected;
    const char* printed;
};

const std::vector<SSequenceCase>& SequenceCases() {
    static const std::vector<SSequenceCase> cases = {
        {"softbreak on an open port",
         CReceiverBreakout::MODE_SOFTBREAK,
         true,
         230400,
         {"IsOpen", "SetBaudRate 9600", "Sleep 1.5", "Write +++", "Sleep 1.5", "Write +++\r\n",
          "Sleep 1.5", "Write log version\r\n", "Sleep 1", "Write com thisport 230400\r\n",
          "Sleep 0.1", "SetBaudRate 230400", "Sleep 1", "Write log comconfig\r\n", "Sleep 0.25"},
         "Performing character-based breakout\nSending +++\nSending +++\nDone\n"},
        {"softbreak opens a closed port first",
         CReceiverBreakout::MODE_SOFTBREAK,
         false,
         57600,
         {"IsOpen", "Open", "SetBaudRate 9600", "Sleep 1.5", "Write +++", "Sleep 1.5",
          "Write +++\r\n", "Sleep 1.5", "Write log version\r\n", "Sleep 1",
          "Write com thisport 57600\r\n", "Sleep 0.1", "SetBaudRate 57600", "Sleep 1",
          "Write log comconfig\r\n", "Sleep 0.25"},
         "Performing character-based breakout\nSending +++\nSending +++\nDone\n"},
        {"break on an open port",
         CReceiverBreakout::MODE_BREAK,
         true,
         230400,
         {"IsOpen", "SendBreak", "Sleep 1.5", "SendBreak", "Sleep 0.25", "SetBaudRate 9600",
          "Write com thisport 230400\r\n", "Sleep 1", "Close", "SetBaudRate 230400", "Open",
          "Sleep 0.1", "IsOpen"},
         ""},
        {"break opens a closed port first",
         CReceiverBreakout::MODE_BREAK,
         false,
         115200,
         {"IsOpen", "Open", "SendBreak", "Sleep 1.5", "SendBreak", "Sleep 0.25", "SetBaudRate 9600",
          "Write com thisport 115200\r\n", "Sleep 1", "Close", "SetBaudRate 115200", "Open",
          "Sleep 0.1", "IsOpen"},
         ""},
        // lb2 runs the link at 115200 whatever rate is wanted and names COM2 only.
        {"lb2 on an open port",
         CReceiverBreakout::MODE_LB2,
         true,
         230400,
         {"IsOpen", "SetBaudRate 115200", "Write interfacemode com2 novatel novatel on\r\n",
          "Write com com2 115200 n 8 1 n off on\r\n", "Sleep 0.25"},
         ""},
        {"lb2 opens a closed port first",
         CReceiverBreakout::MODE_LB2,
         false,
         9600,
         {"IsOpen", "Open", "SetBaudRate 115200", "Write interfacemode com2 novatel novatel on\r\n",
          "Write com com2 115200 n 8 1 n off on\r\n", "Sleep 0.25"},
         ""},
        {"none touches nothing", CReceiverBreakout::MODE_NONE, true, 230400, {}, ""},
        {"none leaves a closed port closed", CReceiverBreakout::MODE_NONE, false, 230400, {}, ""},
    };
    return cases;
}

TEST(ReceiverBreakoutTest, EachModeRunsItsExactSequenceOfWritesRatesAndPauses) {
    for (const SSequenceCase& c : SequenceCases()) {
        SCOPED_TRACE(c.name);
        SRecordedRun run(c.mode, c.sourceOpen, c.baudRate);
        EXPECT_EQ(1, run.breakout.Perform());
        EXPECT_EQ(c.expected, run.timeline);
        EXPECT_EQ(c.printed, run.printed.str());
    }
}

TEST(ReceiverBreakoutTest, PausesAddUpToWhatTheLinkStartIsHeldFor) {
    struct {
        int32_t mode;
        double seconds;
    } const cases[] = {
        {CReceiverBreakout::MODE_NONE, 0.0},
        {CReceiverBreakout::MODE_LB2, 0.25},
        // Plus the two 0.3 s breaks the serial source holds the line for.
        {CReceiverBreakout::MODE_BREAK, 2.85},
        {CReceiverBreakout::MODE_SOFTBREAK, 6.85},
    };
    for (const auto& c : cases) {
        SCOPED_TRACE(c.mode);
        SRecordedRun run(c.mode, true, 230400);
        run.breakout.Perform();
        EXPECT_NEAR(c.seconds, run.totalPause, 1e-9);
    }
}

TEST(ReceiverBreakoutTest, UnknownModeReturnsZeroAndTouchesNothing) {
    for (int32_t mode : {-1, 4, 99, 0x7fffffff}) {
        SCOPED_TRACE(mode);
        SRecordedRun run(mode, false, 230400);
        EXPECT_EQ(0, run.breakout.Perform());
        EXPECT_TRUE(run.timeline.empty());
        EXPECT_EQ("", run.printed.str());
    }
}

TEST(ReceiverBreakoutTest, RunsTheWholeSequenceAgainOnEveryPerform) {
    SRecordedRun run(CReceiverBreakout::MODE_BREAK, true, 230400);
    EXPECT_EQ(1, run.breakout.Perform());
    const size_t once = run.timeline.size();
    EXPECT_EQ(1, run.breakout.Perform());
    ASSERT_EQ(2 * once, run.timeline.size());
    EXPECT_EQ(std::vector<std::string>(run.timeline.begin(), run.timeline.begin() + once),
              std::vector<std::string>(run.timeline.begin() + once, run.timeline.end()));
}

TEST(ReceiverBreakoutTest, WithoutASourceEveryKnownModeCompletesWithoutPausing) {
    for (int32_t mode = CReceiverBreakout::MODE_NONE; mode <= CReceiverBreakout::MODE_SOFTBREAK;
         ++mode) {
        SCOPED_TRACE(mode);
        CReceiverBreakout breakout(nullptr, mode);
        bool paused = false;
        breakout.SetSleep([&paused](double) { paused = true; });
        std::ostringstream printed;
        breakout.SetOutput(printed);
        EXPECT_EQ(1, breakout.Perform());
        EXPECT_FALSE(paused);
    }
}

}  // namespace
