#include <gtest/gtest.h>

#include <stdexcept>
#include <string>

#include "platform/Config/Config.h"
#include "platform/MPI/MPICallback.h"
#include "platform/MPI/MPISocketServer.h"
#include "tests/mpi/MPITestSupport.h"
#include "tests/support/TestSupport.h"

namespace {

using MPITest::CRpcClient;
using MPITest::Json;

// A server with a few methods that show each kind of answer.
class CTestServer : public MPISocketServerC {
public:
    explicit CTestServer(CConfig& config) : MPISocketServerC(true, config) {
        AddCallback("Echo", new MPICallback<CTestServer>(this, &CTestServer::Echo));
        AddCallback("Nothing", new MPICallback<CTestServer>(this, &CTestServer::Nothing));
        AddCallback("Add", new MPICallback<CTestServer>(this, &CTestServer::Add));
        AddCallback("Fail", new MPICallback<CTestServer>(this, &CTestServer::Fail));
        RegisterCallback("cb_test");
    }
    BListC Echo(const BListC& arguments) {
        ++calls;
        return arguments;
    }
    BListC Nothing(const BListC&) {
        ++calls;
        return BListC::Null();
    }
    BListC Add(const BListC& arguments) {
        return BListC().Append(arguments.GetInteger(0) + arguments.GetInteger(1));
    }
    BListC Fail(const BListC&) { throw std::runtime_error("out of sorts"); }

    int calls = 0;
};

class MPIServerTest : public ::testing::Test {
protected:
    MPIServerTest() : m_config(WriteStore(m_dir, "[MPIServer]\nport = 0\n")), m_server(m_config) {
        m_sockets.SetServer(&m_server);
    }

    static std::string WriteStore(const TestSupport::TempDir& dir, const std::string& text) {
        TestSupport::WriteWholeFile(dir.File("system.conf"), text);
        return dir.File("system.conf");
    }

    TestSupport::TempDir m_dir;
    CConfig m_config;
    CTestServer m_server;
    SocketCollectionC m_sockets;
};

TEST_F(MPIServerTest, ListensOnTheStoredPortZeroAndTellsWhichPortItGot) {
    ASSERT_TRUE(m_server.IsListening());
    EXPECT_GT(m_server.GetPort(), 0);
    EXPECT_EQ("127.0.0.1", m_server.GetBindAddress());
}

TEST_F(MPIServerTest, AnswersResultsAsArraysOrNull) {
    CRpcClient client(m_sockets, m_server.GetPort());
    const Json answer = client.Call("Echo", Json::parse("[3, 2.5, \"GPGGA\", [1, [2]]]"));
    EXPECT_EQ(Json::parse(R"({"jsonrpc":"2.0","result":[3,2.5,"GPGGA",[1,[2]]],"id":1})"), answer);
    EXPECT_TRUE(client.Result("Nothing").is_null());
    // Params may be left out: an empty list.
    const Json bare = client.SendRaw(R"({"jsonrpc":"2.0","method":"Echo","id":"x"})"
                                     "\n");
    EXPECT_EQ(Json::array(), bare["result"]);
    EXPECT_EQ("x", bare["id"]);
}

TEST_F(MPIServerTest, AnswersEachKindOfBadRequestWithItsStandardError) {
    struct SCase {
        const char* line;
        int code;
        Json id;
    };
    const SCase cases[] = {
        {"{not json", -32700, nullptr},
        {R"([{"jsonrpc":"2.0","method":"Echo","id":1}])", -32600, nullptr},  // a batch
        {"[]", -32600, nullptr},
        {"42", -32600, nullptr},
        {R"({"method":"Echo","id":5})", -32600, 5},  // no "jsonrpc"
        {R"({"jsonrpc":"1.0","method":"Echo","id":5})", -32600, 5},
        {R"({"jsonrpc":"2.0","method":7,"id":5})", -32600, 5},
        {R"({"jsonrpc":"2.0","method":"Echo","params":3,"id":5})", -32600, 5},
        {R"({"jsonrpc":"2.0","method":"Echo","id":{"a":1}})", -32600, nullptr},
        {R"({"jsonrpc":"2.0","method":"Missing","id":6})", -32601, 6},
        {R"({"jsonrpc":"2.0","method":"Add","params":[1,"two"],"id":7})", -32602, 7},
        {R"({"jsonrpc":"2.0","method":"Add","params":[1],"id":7})", -32602, 7},
        {R"({"jsonrpc":"2.0","method":"Echo","params":[4294967296],"id":7})", -32602, 7},
        {R"({"jsonrpc":"2.0","method":"Echo","params":{"a":1},"id":7})", -32602, 7},
        {R"({"jsonrpc":"2.0","method":"Fail","id":8})", -32603, 8},
    };
    CRpcClient client(m_sockets, m_server.GetPort());
    for (const SCase& c : cases) {
        const Json answer = client.SendRaw(std::string(c.line) + "\n");
        EXPECT_EQ("2.0", answer.value("jsonrpc", "")) << c.line;
        ASSERT_TRUE(answer.contains("error")) << c.line << " -> " << answer.dump();
        EXPECT_EQ(c.code, answer["error"].value("code", 0)) << c.line;
        EXPECT_TRUE(answer["error"]["message"].is_string()) << c.line;
        EXPECT_EQ(c.id, answer["id"]) << c.line;
        EXPECT_FALSE(answer.contains("result")) << c.line;
    }
    // The connection survives every one of them.
    EXPECT_EQ(Json::parse("[3]"), client.Result("Add", Json::parse("[1,2]")));
}

TEST_F(MPIServerTest, RunsNotificationsWithoutAnsweringThem) {
    CRpcClient client(m_sockets, m_server.GetPort());
    client.Socket().Send(R"({"jsonrpc":"2.0","method":"Echo","params":[1]})"
                         "\n");
    client.Socket().Send(R"({"jsonrpc":"2.0","method":"Missing"})"
                         "\n");
    client.Socket().Send("\n  \r\n");  // blank lines are passed over
    // The next answer is the one for the call after them.
    EXPECT_EQ(Json::parse("[2]"), client.Result("Echo", Json::parse("[2]")));
    EXPECT_EQ(2, m_server.calls);
    EXPECT_EQ("", client.Unread());
}

TEST_F(MPIServerTest, DropsOnlyTheClientThatSendsAnOversizeLine) {
    CRpcClient sender(m_sockets, m_server.GetPort());
    CRpcClient other(m_sockets, m_server.GetPort());
    EXPECT_TRUE(other.Result("Nothing").is_null());

    sender.Socket().Send("[\"" + std::string(70000, 'x') + "\"]\n");
    ASSERT_TRUE(NetTest::PumpUntil(m_sockets, [&] {
        sender.Socket().Poll();
        return sender.Socket().Closed();
    }));
    EXPECT_EQ(1u, m_server.GetDroppedCount());
    EXPECT_EQ(Json::parse("[5]"), other.Result("Add", Json::parse("[2,3]")));
}

TEST_F(MPIServerTest, PostsRegisteredCallbacksToEveryClient) {
    CRpcClient first(m_sockets, m_server.GetPort());
    CRpcClient second(m_sockets, m_server.GetPort());
    ASSERT_TRUE(NetTest::PumpUntil(m_sockets, [&] { return m_server.GetClientCount() == 2; }));

    EXPECT_TRUE(m_server.PostCallback("cb_test", BListC().Append(1).Append(2)));
    const Json expected = Json::parse(R"({"jsonrpc":"2.0","method":"cb_test","params":[1,2]})");
    EXPECT_EQ(expected, first.NextLine());
    EXPECT_EQ(expected, second.NextLine());

    // An unregistered name is not sent.
    EXPECT_FALSE(m_server.PostCallback("cb_other", BListC()));
    EXPECT_EQ(Json::parse("[1]"), first.Result("Echo", Json::parse("[1]")));
}

TEST_F(MPIServerTest, DropsAClientThatNeverReadsItsCallbacksWhileOthersKeepWorking) {
    m_server.SetMaxOutput(64 * 1024);
    NetTest::CClient stalled(m_server.GetPort(), 4096);
    CRpcClient reader(m_sockets, m_server.GetPort());
    ASSERT_TRUE(NetTest::PumpUntil(m_sockets, [&] { return m_server.GetClientCount() == 2; }));

    const BListC big = BListC().Append(std::string(8000, 'v'));
    size_t posts = 0;
    while (m_server.GetDroppedCount() == 0 && posts < 20000) {
        m_server.PostCallback("cb_test", big);
        ++posts;
        NetTest::Pump(m_sockets, 0);
        reader.Socket().Poll();  // keeps reading
    }
    ASSERT_EQ(1u, m_server.GetDroppedCount()) << "no drop after " << posts << " callbacks";
    EXPECT_EQ(1u, m_server.GetClientCount());
    // The reader got every callback, whole.
    const std::string line =
        R"({"jsonrpc":"2.0","method":"cb_test","params":[")" + std::string(8000, 'v') + "\"]}\n";
    ASSERT_TRUE(NetTest::PumpUntil(m_sockets, [&] {
        reader.Socket().Poll();
        return reader.Socket().Received().size() >= posts * line.size();
    }));
    EXPECT_EQ(posts * line.size(), reader.Socket().Received().size());
    EXPECT_EQ(line, reader.Socket().Received().substr(0, line.size()));
    reader.Skip(posts * line.size());
    EXPECT_EQ(Json::parse("[9]"), reader.Result("Echo", Json::parse("[9]")));
}

TEST(MPIServerRegistrationTest, RefusesDuplicateReservedAndEmptyMethodNames) {
    TestSupport::TempDir dir;
    TestSupport::WriteWholeFile(dir.File("system.conf"), "[MPIServer]\nport = 0\n");
    CConfig config(dir.File("system.conf"));
    CTestServer server(config);
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(
        server.AddCallback("Echo", new MPICallback<CTestServer>(&server, &CTestServer::Nothing)));
    EXPECT_FALSE(server.AddCallback("rpc.discover",
                                    new MPICallback<CTestServer>(&server, &CTestServer::Nothing)));
    EXPECT_FALSE(
        server.AddCallback("", new MPICallback<CTestServer>(&server, &CTestServer::Nothing)));
    EXPECT_FALSE(server.AddCallback("Null", nullptr));
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(std::string::npos, errors.find("\"Echo\" not added: the name is already offered"));
    EXPECT_EQ((std::vector<std::string>{"Echo", "Nothing", "Add", "Fail"}),
              server.GetMethodNames());
}

TEST(MPIServerStartTest, ReportsABusyPortAndGoesOnWithoutTheService) {
    NetTest::CBusyPort busy;
    TestSupport::TempDir dir;
    TestSupport::WriteWholeFile(dir.File("system.conf"),
                                "[MPIServer]\nport = " + std::to_string(busy.Port()) + "\n");
    CConfig config(dir.File("system.conf"));
    ::testing::internal::CaptureStderr();
    CTestServer server(config);
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_FALSE(server.IsListening());
    EXPECT_NE(std::string::npos,
              errors.find("MPIServer: cannot listen on 127.0.0.1:" + std::to_string(busy.Port())))
        << errors;
}

}  // namespace
