#include <gtest/gtest.h>
#include <sys/select.h>

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

#include "platform/Config/Config.h"
#include "platform/MPI/MPICallback.h"
#include "platform/MPI/MPISocketServer.h"
#include "platform/Net/SocketCollection.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::RunProcess;
using TestSupport::SProcessResult;

// A server with an echoing method, served by a thread of the test while the
// tool runs; it posts "cb_test" [1,2] every 50 ms.
class CServedServer : public MPISocketServerC {
public:
    explicit CServedServer(CConfig& config) : MPISocketServerC(true, config) {
        AddCallback("Echo", new MPICallback<CServedServer>(this, &CServedServer::Echo));
        AddCallback("Nothing", new MPICallback<CServedServer>(this, &CServedServer::Nothing));
        RegisterCallback("cb_test");
        m_sockets.Add(this);
        m_thread = std::thread([this] { Serve(); });
    }
    ~CServedServer() override {
        m_stop = true;
        m_thread.join();
    }

    BListC Echo(const BListC& arguments) { return arguments; }
    BListC Nothing(const BListC&) { return BListC::Null(); }

private:
    void Serve() {
        auto nextPost = std::chrono::steady_clock::now();
        while (!m_stop) {
            fd_set readSet;
            fd_set writeSet;
            FD_ZERO(&readSet);
            FD_ZERO(&writeSet);
            const int largest = m_sockets.AddToSets(readSet, writeSet);
            struct timeval timeout = {0, 10000};
            if (::select(largest + 1, &readSet, &writeSet, nullptr, &timeout) >= 0) {
                m_sockets.HandleReady(readSet, writeSet);
            }
            if (std::chrono::steady_clock::now() >= nextPost) {
                PostCallback("cb_test", BListC().Append(1).Append(2));
                nextPost += std::chrono::milliseconds(50);
            }
        }
    }

    SocketCollectionC m_sockets;
    std::atomic<bool> m_stop{false};
    std::thread m_thread;
};

class QuillondCallTest : public ::testing::Test {
protected:
    QuillondCallTest() : m_config(WriteStore(m_dir)), m_server(m_config) {}

    static std::string WriteStore(const TestSupport::TempDir& dir) {
        TestSupport::WriteWholeFile(dir.File("system.conf"), "[MPIServer]\nport = 0\n");
        return dir.File("system.conf");
    }

    SProcessResult Call(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(), {TestSupport::BuiltProgram("quillond-call"), "--port",
                                             std::to_string(m_server.GetPort())});
        return RunProcess(arguments, {}, 30.0);
    }

    TestSupport::TempDir m_dir;
    CConfig m_config;
    CServedServer m_server;
};

TEST_F(QuillondCallTest, PrintsTheResultOfACallWithTypedArguments) {
    const SProcessResult result =
        Call({"Echo", "i:3", "d:2", "s:GPGGA", "s:", "[1,[2]]", "2.5", "GPGGA", "i:-1"});
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ("[3,2.0,\"GPGGA\",\"\",[1,[2]],2.5,\"GPGGA\",-1]\n", result.standardOutput);
}

TEST_F(QuillondCallTest, PrintsNullForNoResult) {
    const SProcessResult result = Call({"Nothing"});
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ("null\n", result.standardOutput);
}

TEST_F(QuillondCallTest, ReportsAnErrorAnswerWithExitStatusOne) {
    const SProcessResult missing = Call({"Missing"});
    EXPECT_EQ(1, missing.exitStatus);
    EXPECT_EQ("", missing.standardOutput);
    EXPECT_EQ("quillond-call: Missing: error -32601: Method not found: no method \"Missing\"\n",
              missing.standardError);

    const SProcessResult tooBig = Call({"Echo", "4294967296"});
    EXPECT_EQ(1, tooBig.exitStatus);
    EXPECT_NE(std::string::npos, tooBig.standardError.find("error -32602")) << tooBig.standardError;
}

TEST_F(QuillondCallTest, WatchPrintsCallbacksAsTheyArrive) {
    const SProcessResult result = Call({"--watch", "--count", "2"});
    EXPECT_EQ(0, result.exitStatus) << result.standardError;
    EXPECT_EQ("cb_test [1,2]\ncb_test [1,2]\n", result.standardOutput);

    // With a method: its result first, then the callbacks.
    const SProcessResult both = Call({"-w", "-n", "1", "Echo", "i:7"});
    EXPECT_EQ(0, both.exitStatus) << both.standardError;
    EXPECT_EQ("[7]\ncb_test [1,2]\n", both.standardOutput);
}

TEST(QuillondCallUsageTest, AnswersHelpAndRefusesBadUsageBeforeConnecting) {
    const std::string program = TestSupport::BuiltProgram("quillond-call");
    const SProcessResult help = RunProcess({program, "--help"});
    EXPECT_EQ(0, help.exitStatus);
    EXPECT_NE(std::string::npos, help.standardOutput.find("Usage: quillond-call"));

    struct SCase {
        std::vector<std::string> arguments;
        std::string message;
    };
    const SCase cases[] = {
        {{}, "no METHOD given"},
        {{"Echo", "i:x"}, "\"i:x\" is not a 32-bit integer"},
        {{"Echo", "i:2147483648"}, "\"i:2147483648\" is not a 32-bit integer"},
        {{"Echo", "d:1.5x"}, "\"d:1.5x\" is not a double"},
        {{"--port", "70000", "Echo"}, "is not a number from 1 to 65535"},
        {{"--bogus", "Echo"}, "unknown option"},
    };
    for (const SCase& c : cases) {
        std::vector<std::string> arguments = {program, "--port", "1"};
        arguments.insert(arguments.end(), c.arguments.begin(), c.arguments.end());
        const SProcessResult result = RunProcess(arguments);
        EXPECT_EQ(2, result.exitStatus) << c.message;
        EXPECT_NE(std::string::npos, result.standardError.find(c.message)) << result.standardError;
    }
}

TEST(QuillondCallUsageTest, ReportsARefusedConnectionWithExitStatusThree) {
    const int port = TestSupport::ClosedPort();
    const SProcessResult result = RunProcess({TestSupport::BuiltProgram("quillond-call"), "--port",
                                              std::to_string(port), "DummyFunction"});
    EXPECT_EQ(3, result.exitStatus);
    EXPECT_NE(std::string::npos,
              result.standardError.find("cannot connect to 127.0.0.1:" + std::to_string(port)))
        << result.standardError;
}

}  // namespace
