// The configuration exchange with real parts: a pseudo-terminal stands in for
// the receiver, the port handler drives the serial source on its slave side
// with the command manager and the constellation manager as observers, and
// the test reads the commands from the master side as the receiver would.

#include <gtest/gtest.h>
#include <poll.h>
#include <unistd.h>

#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "control/CommandManager.h"
#include "control/ConstellationManager.h"
#include "io/SerialHandler.h"
#include "main/PortHandler.h"
#include "platform/Config/Config.h"
#include "tests/commands/CommandsTestSupport.h"
#include "tests/platform/PseudoTerminal.h"
#include "tools/common/NovatelFrameBuilder.h"

using Lines = std::vector<std::string>;

namespace {

// The serial source, counting the writes so each pass's share can be checked.
class CCountingSerialHandler : public CSerialHandler {
public:
    using CSerialHandler::Write;
    int Write(const std::string& text) override {
        ++m_writes;
        return CSerialHandler::Write(text);
    }
    int m_writes = 0;
};

// A CHANCONFIGLIST log reporting the given configuration in use, of two offered.
std::string ChannelConfigList(uint32_t current) {
    Tools::CBodyWriter body;
    body.U32(current).U32(2);
    body.U32(1).U32(14).U32(0);
    body.U32(2).U32(12).U32(0).U32(2).U32(4);
    Tools::SFrameHeader header;
    header.messageId = Novatel::kCHANCONFIGLISTMessageID;
    header.week = 2390;
    header.milliseconds = 345600000;
    const ByteVector frame = Tools::BuildBinaryFrame(header, body.Bytes());
    return std::string(frame.begin(), frame.end());
}

class ConfigurationExchangeTest : public ::testing::Test {
protected:
    ConfigurationExchangeTest()
        : m_config(CommandsTest::WriteStore(m_dir, m_server, "[Quillond]\n")),
          m_constellation(m_config),
          m_commands(m_config),
          m_handler("NovatelPortHandler", m_config) {
        m_port.SetBaudRate(115200);
        m_port.SetReadSize(1024);
        m_port.SetPortName(m_line.SlaveName());
        m_commands.SetByteSource(&m_port);
        m_commands.SetConstellationManager(&m_constellation);
        m_commands.LoadInitialisations("");
        m_handler.SetByteSource(&m_port);
        m_handler.SetFramers({&m_binary, &m_ascii, &m_nmea});
        m_handler.SetObservers({&m_constellation, &m_commands});
        m_handler.SetCommandManager(&m_commands);
    }

    // One pass of the main loop (with a shorter wait, to keep the test quick);
    // the line written in it, if any, read from the receiver's side.
    std::string Pass() {
        if (!m_port.IsOpen()) m_port.Open();
        struct pollfd port = {m_handler.GetFileDescriptor(), POLLIN, 0};
        const bool ready = port.fd > 0 && ::poll(&port, 1, 10) > 0 && (port.revents & POLLIN);
        const int writesBefore = m_port.m_writes;
        m_handler.Process(ready);
        const int written = m_port.m_writes - writesBefore;
        EXPECT_LE(written, 1) << "more than one command in one pass";
        return written > 0 ? ReceiveLine() : std::string();
    }

    // The next "\r\n"-terminated line the receiver got.
    std::string ReceiveLine() {
        size_t end;
        while ((end = m_received.find("\r\n")) == std::string::npos) {
            const std::string more = m_line.Receive(1, 2000);
            if (more.empty()) {
                ADD_FAILURE() << "a written line did not arrive: " << m_received;
                return std::string();
            }
            m_received += more;
        }
        const std::string line = m_received.substr(0, end + 2);
        m_received.erase(0, end + 2);
        return line;
    }

    // Passes until lines stop coming: the first within firstWithin seconds,
    // each next one within half a second.
    Lines Collect(double firstWithin) {
        Lines lines;
        Core::MonotonicTime deadline =
            Core::MonotonicTime::Now() + Core::Time::FromSeconds(firstWithin);
        while (!deadline.HasExpired()) {
            const std::string line = Pass();
            if (line.empty()) continue;
            lines.push_back(line);
            deadline = Core::MonotonicTime::Now() + Core::Time::FromSeconds(0.5);
        }
        return lines;
    }

    int32_t CurrentConfiguration() const {
        int32_t configuration = -1;
        m_constellation.GetCurrentChannelConfiguration(configuration);
        return configuration;
    }

    TestSupport::Watchdog m_watchdog{60};
    TestSupport::CLogServerStub m_server;
    TestSupport::TempDir m_dir;
    TestSupport::PseudoTerminal m_line;
    std::string m_received;
    CConfig m_config;
    CCountingSerialHandler m_port;
    Novatel::CNovatelBinarySentenceConstructor m_binary;
    Novatel::CNovatelASCIISentenceConstructor m_ascii;
    CNMEASentenceConstructor m_nmea;
    CConstellationManager m_constellation;
    CCommandManager m_commands;
    CPortHandler m_handler;
};

TEST_F(ConfigurationExchangeTest, SelectsChannelsOnceAndSendsWholeSequenceAgainAfterSilence) {
    Lines withSelection = CommandsTest::DefaultConfiguration();
    withSelection.insert(withSelection.begin() + 1, "selectchanconfig 1\r\n");

    m_handler.Start();
    EXPECT_EQ(withSelection, Collect(2.0));
    EXPECT_EQ(1, CurrentConfiguration());

    // The receiver confirms the selection: nothing more is asked of it.
    m_line.Send(ChannelConfigList(1));
    EXPECT_EQ(Lines(), Collect(0.5));
    ASSERT_EQ(1u, m_handler.GetGoodSentenceCount()) << "the log was not decoded";

    // The receiver reports another configuration: the selection is made again, once.
    const Core::MonotonicTime lastRecord = Core::MonotonicTime::Now();
    m_line.Send(ChannelConfigList(2));
    EXPECT_EQ(withSelection, Collect(2.0));
    ASSERT_EQ(2u, m_handler.GetGoodSentenceCount());
    EXPECT_EQ(1, CurrentConfiguration());

    // Silence restarts the link; the selection, already made, is not repeated.
    EXPECT_EQ(CommandsTest::DefaultConfiguration(), Collect(12.0));
    EXPECT_EQ(2u, m_handler.GetReceiverInitialisations());
    EXPECT_GE((Core::MonotonicTime::Now() - lastRecord).Seconds(), 9.5);
}

}  // namespace
