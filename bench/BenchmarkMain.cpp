// Entry point of quillond-bench. Before any benchmark runs, the process's
// configuration store is pointed at a private file whose log server is a UDP
// socket of this process on a free port, so every datagram the daemon's parts
// send is really sent and received (and then left unread: the kernel drops
// what overflows the socket's buffer).

#include <arpa/inet.h>
#include <benchmark/benchmark.h>
#include <netinet/in.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <string>

namespace {

int OpenLogServerSink() {
    const int sink = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
    if (sink < 0) return -1;
    struct sockaddr_in address;
    std::memset(&address, 0, sizeof(address));
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof(address);
    if (::bind(sink, reinterpret_cast<struct sockaddr*>(&address), sizeof(address)) != 0 ||
        ::getsockname(sink, reinterpret_cast<struct sockaddr*>(&address), &length) != 0) {
        ::close(sink);
        return -1;
    }
    return ntohs(address.sin_port);
}

}  // namespace

int main(int argc, char** argv) {
    char directory[] = "/tmp/quillond-bench-XXXXXX";
    if (::mkdtemp(directory) == nullptr) {
        std::perror("quillond-bench: mkdtemp");
        return 1;
    }
    const std::string config = std::string(directory) + "/system.conf";
    {
        std::ofstream out(config);
        out << "[LogServer]\nhost = 127.0.0.1\nport = " << OpenLogServerSink() << "\n";
    }
    ::setenv("QUILLOND_CONFIG", config.c_str(), 1);

    benchmark::Initialize(&argc, argv);
    if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    ::unlink(config.c_str());
    ::rmdir(directory);
    return 0;
}
