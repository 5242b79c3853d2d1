#pragma once
// The whole system on one machine for the end-to-end tests: a real
// quillond-sim process presenting the receiver's port on a pseudo-terminal,
// the real daemon on it with a private store and private service ports, a log
// server stub catching its datagrams and, on demand, a gpsd-style client on
// its position service.

#include <sys/types.h>

#include <functional>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

#include "tests/support/LogServerStub.h"
#include "tests/support/ReceiverConfiguration.h"
#include "tests/support/TestSupport.h"

namespace EndToEnd {

// A child process whose standard input is /dev/null and whose output goes to
// files; stopped with SIGKILL and reaped if it is still running at the end.
class CChild {
public:
    CChild(const std::vector<std::string>& argv, const std::string& outputPath,
           const std::string& errorPath, const std::map<std::string, std::string>& environment);
    ~CChild();
    CChild(const CChild&) = delete;
    CChild& operator=(const CChild&) = delete;

    bool Started() const { return m_started; }
    // True while the child has not ended.
    bool Running();
    // Sends the signal and reaps the child (SIGKILL after 10 s); its exit
    // status, or 128 + signal number when a signal ended it.
    int Stop(int signal);

private:
    pid_t m_pid = -1;
    bool m_started = false;
    int m_exitStatus = -1;
};

class CRig {
public:
    // How the daemon reaches the simulator.
    enum class EFace { kSerial, kPortRouter };

    // Starts the simulator with --trace, its port presented on the given face
    // and the given extra arguments; storeExtra is appended to the private store.
    explicit CRig(const std::vector<std::string>& simulatorArguments,
                  const std::string& storeExtra = "", EFace face = EFace::kSerial);
    ~CRig();
    CRig(const CRig&) = delete;
    CRig& operator=(const CRig&) = delete;

    // True when the simulator's pseudo-terminal link or socket appeared.
    bool SimulatorReady() const { return m_simulatorReady; }
    // Starts a daemon on the simulator's port (-p -u none, screen dump on; -s
    // on the link, or -k on port-router port 5 whose socket the store names);
    // its output goes to files numbered by the daemon's start.
    void StartDaemon();
    // Ends the running daemon with SIGTERM; its exit status.
    int StopDaemon();

    // The command lines the simulator has executed so far, without the "> ".
    std::vector<std::string> Trace() const;
    // Every datagram that arrived so far, parsed, in order of arrival.
    const std::vector<nlohmann::json>& Datagrams();
    // Values of the "value" datagrams of the given client and key so far.
    std::vector<std::string> Values(const std::string& client, const std::string& key);

    // Connects a client to the position service and asks it to watch.
    bool WatchPositions(double seconds);
    // The reports of the given class ("TPV", "SKY") the position client received so far.
    const std::vector<nlohmann::json>& Reports(const std::string& reportClass);

    // Collects what is waiting and calls condition until it holds or the
    // time is up; the condition's last answer.
    bool WaitFor(const std::function<bool()>& condition, double seconds);

    int PositionPort() const { return m_positionPort; }
    int RemoteMethodPort() const { return m_remoteMethodPort; }
    int NMEAPort() const { return m_nmeaPort; }
    const std::string& StorePath() const { return m_store; }
    // Standard output or error of the daemon started n-th (from 1).
    std::string DaemonOutput(int n) const;
    std::string DaemonErrors(int n) const;
    std::string SimulatorErrors() const;
    // A text for failure messages: the daemon's and simulator's last words.
    std::string Diagnosis() const;

private:
    void Collect();

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_logServer;
    int m_positionPort = 0;
    int m_remoteMethodPort = 0;
    int m_nmeaPort = 0;
    std::string m_store;
    EFace m_face;
    std::string m_link;
    bool m_simulatorReady = false;
    std::unique_ptr<CChild> m_simulator;
    std::unique_ptr<CChild> m_daemon;
    int m_daemonsStarted = 0;
    std::vector<nlohmann::json> m_datagrams;
    int m_positionClient = -1;
    std::string m_positionBuffer;
    std::map<std::string, std::vector<nlohmann::json>> m_reports;
};

// The configuration sequence the daemon builds from the store's defaults
// with SBAS not in use, without its selectchanconfig line.
inline std::vector<std::string> DefaultConfigurationSequence() {
    return TestSupport::DefaultReceiverConfiguration();
}

}  // namespace EndToEnd
