#pragma once
// Helpers for the message-passing tests: a JSON-RPC client on a loopback
// socket that pumps the server's collection while it waits for its answer, and
// a byte source that keeps what the command manager writes to the receiver.

#include <gtest/gtest.h>

#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "platform/Net/SocketCollection.h"
#include "tests/net/NetTestSupport.h"
#include "tests/support/MemorySource.h"

namespace MPITest {

using Json = nlohmann::json;

class CRpcClient {
public:
    CRpcClient(SocketCollectionC& sockets, int port) : m_sockets(sockets), m_client(port) {}

    NetTest::CClient& Socket() { return m_client; }

    // Sends text as it is (add the "\n") and returns the next answer line,
    // parsed; a failure of the test when none comes.
    Json SendRaw(const std::string& text) {
        m_client.Send(text);
        return NextLine();
    }
    // Calls a method with the params array and returns the whole answer.
    Json Call(const std::string& method, const Json& params = Json::array()) {
        const Json request = {
            {"jsonrpc", "2.0"}, {"method", method}, {"params", params}, {"id", ++m_lastId}};
        const Json answer = SendRaw(request.dump() + "\n");
        EXPECT_EQ(m_lastId, answer.value("id", -1)) << answer.dump();
        return answer;
    }
    // The "result" of a call; a failure of the test when an error came.
    Json Result(const std::string& method, const Json& params = Json::array()) {
        const Json answer = Call(method, params);
        EXPECT_FALSE(answer.contains("error")) << method << ": " << answer.dump();
        return answer.contains("result") ? answer["result"] : Json("no result member");
    }
    // The error code of a call, 0 when it succeeded.
    int ErrorCode(const std::string& method, const Json& params) {
        const Json answer = Call(method, params);
        return answer.contains("error") ? answer["error"].value("code", 0) : 0;
    }
    // The next complete line from the server, parsed.
    Json NextLine() {
        const bool arrived = NetTest::PumpUntil(m_sockets, [&] {
            m_client.Poll();
            return m_client.Received().find('\n', m_consumed) != std::string::npos;
        });
        if (!arrived) {
            ADD_FAILURE() << "no answer line came";
            return Json();
        }
        const size_t end = m_client.Received().find('\n', m_consumed);
        const std::string line = m_client.Received().substr(m_consumed, end - m_consumed);
        m_consumed = end + 1;
        return Json::parse(line);
    }
    // Passes over bytes already checked by other means.
    void Skip(size_t bytes) { m_consumed += bytes; }
    // Lines received and not taken yet.
    std::string Unread() {
        m_client.Poll();
        return m_client.Received().substr(m_consumed);
    }

private:
    SocketCollectionC& m_sockets;
    NetTest::CClient m_client;
    size_t m_consumed = 0;
    int m_lastId = 0;
};

// An open receiver port that keeps every line written to it.
using CRecordingSource = TestSupport::CMemorySource;

}  // namespace MPITest
