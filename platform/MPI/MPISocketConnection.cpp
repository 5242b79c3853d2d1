#include "platform/MPI/MPISocketConnection.h"

#include <cstdio>
#include <exception>

#include "platform/MPI/BListJson.h"

namespace {

using MPI::Json;

std::string Text(const Json& message) {
    return message.dump(-1, ' ', false, Json::error_handler_t::replace);
}

Json ErrorAnswer(int code, const std::string& message, const std::string& detail, const Json& id) {
    Json error = {{"code", code}, {"message", message}};
    if (!detail.empty()) error["data"] = detail;
    return Json{{"jsonrpc", "2.0"}, {"error", error}, {"id", id}};
}

bool IsBlank(const std::string& line) {
    return line.find_first_not_of(" \t\r\n") == std::string::npos;
}

// A request's id may be a string, a number or null.
bool IsValidId(const Json& id) { return id.is_string() || id.is_number() || id.is_null(); }

}  // namespace

MPISocketConnectionC::MPISocketConnectionC() = default;

MPISocketConnectionC::~MPISocketConnectionC() = default;

bool MPISocketConnectionC::AddCallback(const std::string& name, MPICallbackBase* callback) {
    std::unique_ptr<MPICallbackBase> owned(callback);
    std::string refusal;
    if (!owned) {
        refusal = "no callback given";
    } else if (name.empty()) {
        refusal = "the name is empty";
    } else if (name.compare(0, 4, "rpc.") == 0) {
        refusal = "names starting with \"rpc.\" are reserved";
    } else if (m_methods.count(name) != 0) {
        refusal = "the name is already offered";
    }
    if (!refusal.empty()) {
        std::fprintf(stderr, "MPI: method \"%s\" not added: %s\n", name.c_str(), refusal.c_str());
        return false;
    }
    m_methods[name] = std::move(owned);
    m_methodOrder.push_back(name);
    return true;
}

bool MPISocketConnectionC::RegisterCallback(const std::string& name) {
    if (name.empty()) return false;
    m_outgoing.insert(name);
    return true;
}

bool MPISocketConnectionC::PostCallback(const std::string& name, const BListC& arguments) {
    if (m_outgoing.count(name) == 0) {
        if (m_reportedUnregistered.insert(name).second) {
            std::fprintf(stderr, "MPI: callback \"%s\" was not registered; not posted\n",
                         name.c_str());
        }
        return false;
    }
    Json notification = {{"jsonrpc", "2.0"}, {"method", name}};
    notification["params"] = arguments.IsNull() ? Json::array() : MPI::ToJson(arguments);
    DeliverToAll(Text(notification));
    return true;
}

std::string MPISocketConnectionC::HandleRequest(const std::string& line) {
    if (IsBlank(line)) return std::string();
    ++m_requestCount;

    Json request;
    try {
        request = Json::parse(line);
    } catch (const std::exception& error) {
        ++m_errorCount;
        return Text(ErrorAnswer(kParseError, "Parse error", error.what(), Json()));
    }

    if (request.is_array()) {
        ++m_errorCount;
        return Text(ErrorAnswer(kInvalidRequest, "Invalid Request",
                                "batches are not supported: send one request per line", Json()));
    }
    if (!request.is_object()) {
        ++m_errorCount;
        return Text(ErrorAnswer(kInvalidRequest, "Invalid Request",
                                "a request must be a JSON object", Json()));
    }

    const bool hasId = request.contains("id");
    const Json id = hasId && IsValidId(request["id"]) ? request["id"] : Json();
    std::string problem;
    if (hasId && !IsValidId(request["id"])) {
        problem = "\"id\" must be a string, a number or null";
    } else if (!request.contains("jsonrpc") || request["jsonrpc"] != "2.0") {
        problem = "\"jsonrpc\" must be \"2.0\"";
    } else if (!request.contains("method") || !request["method"].is_string()) {
        problem = "\"method\" must be a string";
    } else if (request.contains("params") && !request["params"].is_array() &&
               !request["params"].is_object()) {
        problem = "\"params\" must be an array";
    }
    if (!problem.empty()) {
        ++m_errorCount;
        return Text(ErrorAnswer(kInvalidRequest, "Invalid Request", problem, id));
    }

    const std::string& name = request["method"].get_ref<const std::string&>();
    auto method = m_methods.find(name);
    Json answer;
    if (method == m_methods.end()) {
        answer = ErrorAnswer(kMethodNotFound, "Method not found", "no method \"" + name + "\"", id);
    } else if (request.contains("params") && request["params"].is_object()) {
        answer = ErrorAnswer(kInvalidParams, "Invalid params",
                             "parameters are passed by position, in an array", id);
    } else {
        try {
            const BListC arguments =
                request.contains("params") ? MPI::FromJson(request["params"]) : BListC();
            const BListC result = (*method->second)(arguments);
            answer = Json{{"jsonrpc", "2.0"}, {"result", MPI::ToJson(result)}, {"id", id}};
        } catch (const BListC::TypeError& error) {
            answer = ErrorAnswer(kInvalidParams, "Invalid params", error.what(), id);
        } catch (const std::exception& error) {
            answer = ErrorAnswer(kInternalError, "Internal error", error.what(), id);
        }
    }
    if (answer.contains("error")) ++m_errorCount;
    // A notification gets no answer, not even an error.
    return hasId ? Text(answer) : std::string();
}
