#include "tools/simulator/Presenter.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/select.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <termios.h>
#include <time.h>
#include <unistd.h>

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/LogFile/LogFileWriter.h"

namespace Simulator {

namespace {

const size_t kReadSize = 4096;

double MonotonicSeconds() {
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) * 1e-9;
}

void SetNonBlocking(int fd) { fcntl(fd, F_SETFL, fcntl(fd, F_GETFL) | O_NONBLOCK); }

// Writes what the descriptor takes now; the rest is dropped.
void WriteWithoutBlocking(int fd, const ByteVector& bytes) {
    size_t done = 0;
    while (done < bytes.size()) {
        const ssize_t written = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (written <= 0) {
            if (written < 0 && errno == EINTR) continue;
            return;
        }
        done += static_cast<size_t>(written);
    }
}

// The termios speed constant of a rate, B0 for one it has none for.
speed_t SpeedOf(uint32_t baud) {
    switch (baud) {
        case 300:
            return B300;
        case 600:
            return B600;
        case 1200:
            return B1200;
        case 2400:
            return B2400;
        case 4800:
            return B4800;
        case 9600:
            return B9600;
        case 19200:
            return B19200;
        case 38400:
            return B38400;
        case 57600:
            return B57600;
        case 115200:
            return B115200;
        case 230400:
            return B230400;
        case 460800:
            return B460800;
        case 921600:
            return B921600;
        default:
            return B0;
    }
}

// Whether the client's line speed matches the receiver's port rate.
bool LineSpeedMatches(int master, uint32_t baud) {
    termios settings;
    if (tcgetattr(master, &settings) != 0) return true;
    return cfgetospeed(&settings) == SpeedOf(baud);
}

// What bytes sent at the wrong rate look like: junk that never holds a sync
// byte or a sentence start.
void Garble(ByteVector& bytes) {
    for (uint8_t& byte : bytes) {
        byte = static_cast<uint8_t>(byte | 0x80);
        if (byte == 0xAA) byte = 0xAB;
    }
}

std::string SystemError(const std::string& what) { return what + ": " + std::strerror(errno); }

}  // namespace

std::vector<std::string> DaemonLogRequests() {
    return {"log versionb once",       "log rxstatusb once",       "log psrdopb ontime 10",
            "log rxstatusb onchanged", "log comconfigb ontime 10", "log trackstatb ontime 3",
            "log pdpxyzb ontime 0.1",  "log pdpstatb ontime 0.1",  "log rangeb ontime 0.5",
            "log timeb ontime 0.1",    "log gpgsv ontime 1",       "log gpgsa ontime 1",
            "log gpzda ontime 1",      "log gpgst ontime 1",       "log refstationb ontime 10",
            "log chanconfiglistb once"};
}

bool OpenPseudoTerminal(SPseudoTerminal& terminal, std::string& error) {
    terminal.master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal.master < 0) {
        error = SystemError("posix_openpt");
        return false;
    }
    const char* name = nullptr;
    if (::grantpt(terminal.master) != 0 || ::unlockpt(terminal.master) != 0 ||
        (name = ::ptsname(terminal.master)) == nullptr) {
        error = SystemError("pseudo-terminal set-up");
        ::close(terminal.master);
        return false;
    }
    terminal.slavePath = name;
    terminal.slave = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (terminal.slave < 0) {
        error = SystemError("open " + terminal.slavePath);
        ::close(terminal.master);
        return false;
    }
    // Raw line: no echo of our own output back to us, no line editing.
    termios settings;
    if (tcgetattr(terminal.slave, &settings) == 0) {
        cfmakeraw(&settings);
        tcsetattr(terminal.slave, TCSANOW, &settings);
    }
    SetNonBlocking(terminal.master);
    return true;
}

int ListenOnUnixSocket(const std::string& path, std::string& error) {
    sockaddr_un address;
    std::memset(&address, 0, sizeof address);
    if (path.size() >= sizeof address.sun_path) {
        error = "socket path too long: " + path;
        return -1;
    }
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, path.c_str(), path.size());
    const int fd = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        error = SystemError("socket");
        return -1;
    }
    ::unlink(path.c_str());
    if (::bind(fd, reinterpret_cast<sockaddr*>(&address), sizeof address) != 0 ||
        ::listen(fd, 4) != 0) {
        error = SystemError("bind/listen " + path);
        ::close(fd);
        return -1;
    }
    SetNonBlocking(fd);
    return fd;
}

void RunLive(CSimulatedReceiver& receiver, const SLiveSettings& settings) {
    const double stepSeconds = CSimulatedReceiver::kStepMs / 1000.0;
    const double start = MonotonicSeconds();
    double nextStep = start + stepSeconds;
    int client = -1;
    uint8_t buffer[kReadSize];
    while (!(settings.stop && *settings.stop)) {
        const double now = MonotonicSeconds();
        if (settings.seconds > 0.0 && now - start >= settings.seconds) break;
        while (nextStep <= now) {
            receiver.Advance(CSimulatedReceiver::kStepMs);
            nextStep += stepSeconds;
        }
        ByteVector output = receiver.TakeOutput();
        const bool lineGood = !settings.strictBaud || settings.ptyMaster < 0 ||
                              LineSpeedMatches(settings.ptyMaster, receiver.GetBaudRate());
        if (!lineGood) Garble(output);
        if (!output.empty()) {
            if (settings.ptyMaster >= 0) WriteWithoutBlocking(settings.ptyMaster, output);
            if (client >= 0) WriteWithoutBlocking(client, output);
        }

        fd_set readable;
        FD_ZERO(&readable);
        int highest = -1;
        for (int fd : {settings.ptyMaster, settings.listenSocket, client}) {
            if (fd < 0) continue;
            FD_SET(fd, &readable);
            if (fd > highest) highest = fd;
        }
        const double wait = nextStep - MonotonicSeconds();
        timeval timeout;
        timeout.tv_sec = 0;
        timeout.tv_usec = wait > 0.0 ? static_cast<suseconds_t>(wait * 1e6) : 0;
        const int ready = ::select(highest + 1, &readable, nullptr, nullptr, &timeout);
        if (ready <= 0) continue;
        if (settings.ptyMaster >= 0 && FD_ISSET(settings.ptyMaster, &readable)) {
            const ssize_t got = ::read(settings.ptyMaster, buffer, sizeof buffer);
            // The client may have changed its line speed while we waited.
            const bool heard = !settings.strictBaud ||
                               LineSpeedMatches(settings.ptyMaster, receiver.GetBaudRate());
            if (got > 0 && heard) receiver.Receive(buffer, static_cast<size_t>(got));
        }
        if (settings.listenSocket >= 0 && FD_ISSET(settings.listenSocket, &readable)) {
            const int accepted = ::accept(settings.listenSocket, nullptr, nullptr);
            if (accepted >= 0) {
                if (client >= 0) ::close(client);
                client = accepted;
                SetNonBlocking(client);
            }
        }
        if (client >= 0 && FD_ISSET(client, &readable)) {
            const ssize_t got = ::read(client, buffer, sizeof buffer);
            if (got > 0) {
                receiver.Receive(buffer, static_cast<size_t>(got));
            } else if (got == 0 || (errno != EAGAIN && errno != EINTR)) {
                ::close(client);
                client = -1;
            }
        }
    }
    if (client >= 0) ::close(client);
}

bool WriteOutputFile(CSimulatedReceiver& receiver, const std::string& path, EFileKind kind,
                     double seconds, std::string& error) {
    CLogFileWriter log;
    FILE* raw = nullptr;
    if (kind == kRecordedLog) {
        if (!log.Open(path)) {
            error = "cannot write recorded log " + path;
            return false;
        }
    } else if ((raw = std::fopen(path.c_str(), "wb")) == nullptr) {
        error = SystemError("cannot write " + path);
        return false;
    }
    bool ok = true;
    const long steps = std::lround(seconds * 1000.0 / CSimulatedReceiver::kStepMs);
    for (long step = 0; step <= steps && ok; ++step) {
        if (step > 0) receiver.Advance(CSimulatedReceiver::kStepMs);
        const ByteVector output = receiver.TakeOutput();
        if (output.empty()) continue;
        if (kind == kRecordedLog) {
            ok = log.Write(receiver.GetGpsSeconds(), output);
        } else {
            ok = std::fwrite(output.data(), 1, output.size(), raw) == output.size();
        }
    }
    if (kind == kRecordedLog) {
        ok = log.Close() && ok;
    } else {
        ok = std::fclose(raw) == 0 && ok;
    }
    if (!ok) error = "writing " + path + " failed";
    return ok;
}

}  // namespace Simulator
