#pragma once
// The message-passing endpoint: the named methods a process offers to its
// clients and the callbacks it posts to them, spoken as JSON-RPC 2.0 with one
// JSON object per line. MPISocketServerC serves it over TCP; this class holds
// the method table and turns a request line into its answer.
//
// A request {"jsonrpc":"2.0","method":"M","params":[...],"id":1} is answered by
// {"jsonrpc":"2.0","result":[...],"id":1}, or "result":null when the method
// has no result, or by an "error" object with one of the standard codes below.
// A request without "id" is a notification: it runs and gets no answer.

#include <map>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "platform/MPI/BList.h"
#include "platform/MPI/MPICallback.h"

class MPISocketConnectionC {
public:
    // JSON-RPC 2.0 error codes.
    static constexpr int kParseError = -32700;
    static constexpr int kInvalidRequest = -32600;
    static constexpr int kMethodNotFound = -32601;
    static constexpr int kInvalidParams = -32602;
    static constexpr int kInternalError = -32603;

    MPISocketConnectionC();
    // Deletes every method's callback.
    virtual ~MPISocketConnectionC();

    MPISocketConnectionC(const MPISocketConnectionC&) = delete;
    MPISocketConnectionC& operator=(const MPISocketConnectionC&) = delete;

    // Offers a method under the name and takes ownership of the callback. A
    // null callback, an empty name, a name starting with "rpc." (reserved by
    // JSON-RPC) or one already offered is refused with a message on standard
    // error; the callback is deleted and the result is false.
    bool AddCallback(const std::string& name, MPICallbackBase* callback);
    // Declares an outgoing callback name that PostCallback may send.
    bool RegisterCallback(const std::string& name);
    // Sends the notification {"jsonrpc":"2.0","method":name,"params":[...]} to
    // every connected client. False (with one message per name) when the name
    // was not registered.
    bool PostCallback(const std::string& name, const BListC& arguments);

    // The offered method names in the order they were added.
    const std::vector<std::string>& GetMethodNames() const { return m_methodOrder; }
    bool HasMethod(const std::string& name) const { return m_methods.count(name) != 0; }

    // Handles one request line and returns the answer line (no line end), or
    // "" when nothing is answered (a notification, a blank line).
    std::string HandleRequest(const std::string& line);

    // Requests handled and errors answered, for diagnostics.
    uint64_t GetRequestCount() const { return m_requestCount; }
    uint64_t GetErrorCount() const { return m_errorCount; }

protected:
    // Delivers one notification line (no line end) to every client.
    virtual void DeliverToAll(const std::string& line) = 0;

private:
    std::map<std::string, std::unique_ptr<MPICallbackBase>> m_methods;
    std::vector<std::string> m_methodOrder;
    std::set<std::string> m_outgoing;
    std::set<std::string> m_reportedUnregistered;
    uint64_t m_requestCount = 0;
    uint64_t m_errorCount = 0;
};
