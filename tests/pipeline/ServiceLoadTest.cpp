// The daemon under load on its services: a hundred clients on the position
// and NMEA ports, some that never read and some that send garbage, while a
// stream of solutions and sentences is written as fast as the line takes it.
// Every record is still handled, and the well-behaved clients get every
// report. Counts are compared, never durations.

#include <gtest/gtest.h>
#include <sys/socket.h>
#include <unistd.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/pipeline/PipelineTestSupport.h"

namespace {

using PipelineTest::CPipelineDaemon;
using PipelineTest::SEpochTime;

const char kWatch[] = "?WATCH={\"enable\":true,\"json\":true};\n";

// A client socket with a small receive buffer, so one that never reads
// backs up into the daemon soon.
int SmallWindowClient(int port) {
    const int fd = TestSupport::ConnectLoopback(port, 10.0);
    if (fd >= 0) {
        const int size = 4096;
        ::setsockopt(fd, SOL_SOCKET, SO_RCVBUF, &size, sizeof size);
    }
    return fd;
}

size_t CountPrefix(const std::vector<std::string>& lines, const std::string& prefix) {
    size_t count = 0;
    for (const std::string& line : lines) count += line.compare(0, prefix.size(), prefix) == 0;
    return count;
}

TEST(ServiceLoadTest, StalledAndGarbageClientsCostNoRecordAndNoReport) {
    const int kEpochs = 600;
    const int kClientsPerService = 50;
    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();

    // The well-behaved ones: a watching position client and an NMEA client.
    const int goodPosition = TestSupport::ConnectLoopback(daemon.PositionPort(), 10.0);
    ASSERT_GE(goodPosition, 0);
    ASSERT_TRUE(PipelineTest::SendAll(goodPosition, kWatch));
    PipelineTest::ReadLinesUntil(goodPosition, 10.0, [](const std::vector<std::string>& lines) {
        return !lines.empty() && lines.back().find("\"class\":\"WATCH\"") != std::string::npos;
    });
    const int goodNmea = TestSupport::ConnectLoopback(daemon.NmeaPort(), 10.0);
    ASSERT_GE(goodNmea, 0);

    // Per service: 20 that never read, 20 that send garbage, 10 that sit idle.
    std::vector<int> stalled, garbage, idle;
    for (int port : {daemon.PositionPort(), daemon.NmeaPort()}) {
        for (int i = 0; i < kClientsPerService; ++i) {
            const int fd = SmallWindowClient(port);
            ASSERT_GE(fd, 0) << "client " << i << " on " << port;
            if (i < 20) {
                if (port == daemon.PositionPort()) PipelineTest::SendAll(fd, kWatch);
                stalled.push_back(fd);
            } else if (i < 40) {
                garbage.push_back(fd);
            } else {
                idle.push_back(fd);
            }
        }
    }
    std::atomic<bool> stopGarbage(false);
    std::thread garbler([&] {
        std::string junk;
        for (int i = 0; i < 3000; ++i) junk += static_cast<char>((i * 7919) % 251 + 1);
        junk += "\n?POLL;\n?WATCH={nonsense\n$GPGSA,not,for,you*00\r\n";
        while (!stopGarbage) {
            for (int fd : garbage)
                ::send(fd, junk.data(), junk.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
            ::usleep(5000);
        }
    });

    std::vector<std::string> positionLines, nmeaLines;
    std::thread positionReader([&] {
        positionLines = PipelineTest::ReadLinesUntil(
            goodPosition, 120.0, [&](const std::vector<std::string>& lines) {
                return CountPrefix(lines, "{\"class\":\"TPV\"") >= static_cast<size_t>(kEpochs);
            });
    });
    std::thread nmeaReader([&] {
        nmeaLines = PipelineTest::ReadLinesUntil(
            goodNmea, 120.0, [&](const std::vector<std::string>& lines) {
                // A chunk's binary frames are handled before its sentences, so
                // the last GPGSV may come after the last GPRMC.
                return CountPrefix(lines, "$GPRMC") >= static_cast<size_t>(kEpochs) &&
                       CountPrefix(lines, "$GPGSV") >= static_cast<size_t>(kEpochs);
            });
    });

    const PipelineTest::SPosition position = PipelineTest::PositionAt(47.3769, 8.5417, 408.0);
    const std::string gsv = PipelineTest::NmeaSentence("GPGSV,1,1,01,05,40,120,45");
    std::set<std::string> times;
    std::string stream;
    SEpochTime time;
    time.milliseconds = 0;
    for (int epoch = 0; epoch < kEpochs; ++epoch) {
        stream += PipelineTest::PdpXyzFrame(time, position) + gsv;
        times.insert(PipelineTest::TpvTime(time));
        time.milliseconds += 200;
    }
    const bool written = daemon.Write(stream);
    positionReader.join();
    nmeaReader.join();
    stopGarbage = true;
    garbler.join();
    EXPECT_TRUE(written);
    EXPECT_TRUE(daemon.WaitForValues("QLS_471", kEpochs, 30.0));
    daemon.Stop();
    for (int fd : stalled) ::close(fd);
    for (int fd : garbage) ::close(fd);
    for (int fd : idle) ::close(fd);
    ::close(goodPosition);
    ::close(goodNmea);
    EXPECT_EQ(0, daemon.ExitStatus()) << daemon.StandardError();

    // Every record was handled ...
    EXPECT_EQ(static_cast<size_t>(kEpochs), daemon.Values("QLS_471").size());
    EXPECT_EQ(static_cast<size_t>(kEpochs), daemon.Values("QLS_65535").size());
    EXPECT_EQ(std::to_string(kEpochs), daemon.LastValue("message18"));
    EXPECT_EQ(std::to_string(kEpochs), daemon.LastValue("pos_messages"));
    // ... and each well-behaved client got every report, once, in order.
    std::vector<std::string> tpvTimes;
    for (const std::string& line : positionLines) {
        const nlohmann::json report = nlohmann::json::parse(line, nullptr, false);
        if (report.is_object() && report.value("class", "") == "TPV")
            tpvTimes.push_back(report.value("time", ""));
    }
    EXPECT_EQ(std::vector<std::string>(times.begin(), times.end()), tpvTimes);
    EXPECT_EQ(static_cast<size_t>(kEpochs), CountPrefix(nmeaLines, "$GPGGA"));
    EXPECT_EQ(static_cast<size_t>(kEpochs), CountPrefix(nmeaLines, "$GPRMC"));
    EXPECT_EQ(static_cast<size_t>(kEpochs), CountPrefix(nmeaLines, "$GPGSV"));
}

TEST(ServiceLoadTest, RequestWithInvalidUtf8GetsAnErrorReportAndTheDaemonGoesOn) {
    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();
    const int client = TestSupport::ConnectLoopback(daemon.PositionPort(), 10.0);
    ASSERT_GE(client, 0);
    // The daemon used to abort on echoing these bytes in the ERROR report.
    ASSERT_TRUE(PipelineTest::SendAll(client, "?\x8B\xFFX;\n?VERSION;\n"));
    const std::vector<std::string> lines = PipelineTest::ReadLinesUntil(
        client, 20.0, [](const std::vector<std::string>& got) { return got.size() >= 3; });
    ::close(client);
    daemon.Stop();
    EXPECT_EQ(0, daemon.ExitStatus()) << daemon.StandardError();
    ASSERT_EQ(3u, lines.size()) << ::testing::PrintToString(lines);
    EXPECT_EQ(0u, lines[0].find("{\"class\":\"VERSION\"")) << lines[0];
    EXPECT_EQ(
        "{\"class\":\"ERROR\",\"message\":\"Unrecognized request "
        "'?\xEF\xBF\xBD\xEF\xBF\xBDX;'\"}",
        lines[1]);
    EXPECT_EQ(0u, lines[2].find("{\"class\":\"VERSION\"")) << lines[2];
}

}  // namespace
