#pragma once
// Helpers for the command tests: a byte source that keeps what is written to
// it, a private store pointing the log clients at a stub, and the receiver
// configuration the command manager builds from an empty store.

#include <string>
#include <vector>

#include "tests/support/LogServerStub.h"
#include "tests/support/MemorySource.h"
#include "tests/support/ReceiverConfiguration.h"
#include "tests/support/TestSupport.h"

namespace CommandsTest {

// A receiver port in memory, closed until opened: reads give nothing, writes
// are kept in order.
class CRecordingSource : public TestSupport::CMemorySource {
public:
    CRecordingSource() { m_open = false; }
};

// A store file in dir pointing the log clients at the stub, with extra text appended.
inline std::string WriteStore(const TestSupport::TempDir& dir,
                              const TestSupport::CLogServerStub& server,
                              const std::string& extra = "") {
    return TestSupport::WriteServerConfig(dir, "127.0.0.1", server.Port(), extra);
}

// The receiver configuration for an empty store and no constellation manager,
// each line with its "\r\n".
inline std::vector<std::string> DefaultConfiguration() {
    std::vector<std::string> configuration;
    for (const std::string& line : TestSupport::DefaultReceiverConfiguration()) {
        configuration.push_back(line + "\r\n");
    }
    return configuration;
}

}  // namespace CommandsTest
