// What the log server sees for a given receiver stream: the status
// observer's, the position manager's and the constellation manager's keys
// with their documented texts, from frames built here and from a real
// recording whose ASCII twin gives the expected values.

#include <gtest/gtest.h>

#include <atomic>
#include <cstdio>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/pipeline/PipelineTestSupport.h"

namespace {

using PipelineTest::CPipelineDaemon;
using PipelineTest::SEpochTime;

// The client that published a value key, from the datagrams.
std::string ClientOf(const std::vector<nlohmann::json>& datagrams, const std::string& key) {
    for (const nlohmann::json& datagram : datagrams) {
        if (datagram.value("type", "") == "value" && datagram.value("key", "") == key) {
            return datagram.value("client", "");
        }
    }
    return "";
}

TEST(LogServerKeysTest, PublishesDocumentedKeysForStatusPositionAndChannelLogs) {
    CPipelineDaemon daemon;
    ASSERT_TRUE(daemon.Start()) << daemon.StandardError();

    SEpochTime time;
    time.week = 2300;
    time.milliseconds = 475200123;
    const PipelineTest::SPosition position = PipelineTest::PositionAt(51.0789, -114.1337, 1100.0);
    std::string stream;
    stream += PipelineTest::VersionFrame(time, "OEMV3G", "DAB07170018", "OEMV3-1.01", "L6X10200");
    // Antenna open (bit 5) and almanac invalid (bit 18); idle 50 %.
    stream += PipelineTest::TimeFrame(time, 0x00040020, 100);
    stream += PipelineTest::TrackStatFrame(
        time, {
                  {5, 0, true, true, 45.0f},     // GPS 5 on L1 ...
                  {5, 0, true, false, 40.0f},    // ... and L2: one satellite
                  {12, 0, true, false, 38.0f},   // tracked, not used
                  {0, 0, true, false, 30.0f},    // PRN 0: an idle channel
                  {7, 0, false, false, 20.0f},   // no code lock
                  {45, 1, true, true, 42.0f},    // GLONASS slot 8, used
                  {138, 2, true, false, 35.0f},  // WAAS
              });
    stream += PipelineTest::BestPosFrame(time, position, -17.5f);
    stream += PipelineTest::PdpXyzFrame(time, position);
    stream += PipelineTest::PdpStatFrame(time, 9);
    stream += PipelineTest::PdpXyzFrame(time, position);
    stream += PipelineTest::ChanConfigListFrame(time, 2, {{{14, 0}}, {{12, 0}, {2, 4}}});
    ASSERT_TRUE(daemon.Write(stream));
    EXPECT_TRUE(daemon.WaitForValues("channel_config_2", 1, 20.0));
    daemon.Stop();
    EXPECT_EQ(0, daemon.ExitStatus()) << daemon.StandardError();

    const std::vector<nlohmann::json> datagrams = daemon.Datagrams();
    struct SExpectedValue {
        const char* client;
        const char* key;
        const char* value;
    };
    const SExpectedValue expected[] = {
        {"NovatelReceiverStatus", "ReceiverCPUIdlePercentage", "50.0"},
        {"NovatelReceiverStatus", "time_messages", "1"},
        {"NovatelReceiverStatus", "gps_time", "2300,475200.123"},
        {"NovatelReceiverStatus", "version_messages", "1"},
        {"NovatelReceiverStatus", "component_00.componentType", "GPSCARD"},
        {"NovatelReceiverStatus", "component_00.model", "OEMV3G"},
        {"NovatelReceiverStatus", "component_00.psn", "DAB07170018"},
        {"NovatelReceiverStatus", "component_00.hardwareVersion", "OEMV3-1.01"},
        {"NovatelReceiverStatus", "component_00.softwareVersion", "L6X10200"},
        {"NovatelReceiverStatus", "trackstat_messages", "1,475200.123000"},
        {"NovatelReceiverStatus", "sats_tracked_gps", "2,1"},
        {"NovatelReceiverStatus", "sats_tracked_glonass", "1,1"},
        {"NovatelReceiverStatus", "sats_tracked", "4,2,1"},
        {"NovatelReceiverStatus", "sbas_tracking", "138 (WAAS),"},
        {"NovatelPositionManager", "novatel_undulation", "-17.500000"},
        {"NovatelPositionManager", "message18", "2"},
        {"NovatelPositionManager", "pos_messages", "2"},
        {"NovatelPositionManager", "message18_info",
         "0,16,0,8,0.150000,0.000000,0.000000,12,9,9,0,0,0x00000000,0,0x00000001"},
        {"NovatelPositionManager", "message18_pdpstat", "0,1,9,9,9, 0.35,0.01200,0.00800"},
        {"NovatelConstellationManager", "current_channel_configuration", "2"},
        {"NovatelConstellationManager", "number_channel_configs_available", "2"},
        {"NovatelConstellationManager", "channel_config_1", "14 GPSL1, "},
        {"NovatelConstellationManager", "channel_config_2", "12 GPSL1,  2 SBASL1, "},
    };
    for (const SExpectedValue& value : expected) {
        EXPECT_EQ(value.value, daemon.LastValue(value.key)) << value.key;
        EXPECT_EQ(value.client, ClientOf(datagrams, value.key)) << value.key;
    }
    // Published at the first record and at each change: the TIME log's header
    // has two bits set, the logs after it none.
    EXPECT_EQ((std::vector<std::string>{"0x00000000: ", "0x00040020: Antenna open,Almanac invalid,",
                                        "0x00000000: "}),
              daemon.Values("ReceiverStatus"));
    EXPECT_EQ("NovatelReceiverStatus", ClientOf(datagrams, "ReceiverStatus"));
    // Only the PDPXYZ after the PDPSTAT publishes message18_info: before it the
    // filter's state is unknown.
    EXPECT_EQ(1u, daemon.Values("message18_info").size());

    // Every value datagram has exactly the documented fields.
    for (const nlohmann::json& datagram : datagrams) {
        if (datagram.value("type", "") != "value") continue;
        EXPECT_EQ(
            (std::vector<std::string>{"category:integer", "client:string", "index:integer",
                                      "key:string", "time:number", "type:string", "value:string"}),
            TestSupport::FieldShape(datagram))
            << datagram.dump();
        EXPECT_EQ(3, datagram.value("category", 0));
        EXPECT_EQ(-1, datagram.value("index", 0));
    }
    // One QLS_ value per record, with its header time.
    EXPECT_EQ(2u, daemon.Values("QLS_471").size());
    const std::string qls = daemon.LastValue("QLS_471");
    EXPECT_NE(std::string::npos, qls.find(",180,475200.123")) << qls;
}

// ---- A real recording against its ASCII twin ----

std::vector<std::string> Split(const std::string& text, char separator) {
    std::vector<std::string> fields;
    std::string field;
    std::istringstream in(text);
    while (std::getline(in, field, separator)) fields.push_back(field);
    return fields;
}

std::string Unquote(const std::string& text) {
    if (text.size() >= 2 && text.front() == '"' && text.back() == '"')
        return text.substr(1, text.size() - 2);
    return text;
}

// The ASCII logs of a twin: header fields and body fields of each line of the named log.
struct SAsciiLog {
    std::vector<std::string> header;
    std::vector<std::string> body;
};
std::vector<SAsciiLog> AsciiLogs(const std::string& text, const std::string& name) {
    std::vector<SAsciiLog> logs;
    std::istringstream in(text);
    for (std::string line; std::getline(in, line);) {
        if (line.compare(0, name.size() + 1, "#" + name) != 0 || line[name.size() + 1] != ',')
            continue;
        const size_t semicolon = line.find(';');
        const size_t star = line.rfind('*');
        if (semicolon == std::string::npos || star == std::string::npos) continue;
        logs.push_back({Split(line.substr(1, semicolon - 1), ','),
                        Split(line.substr(semicolon + 1, star - semicolon - 1), ',')});
    }
    return logs;
}

// "tracked,used,sbas" the way the status observer counts a TRACKSTAT's channels.
std::string SatsTracked(const SAsciiLog& log) {
    const size_t channels = std::stoul(log.body[3]);
    std::set<std::pair<unsigned, unsigned>> tracked, used;
    for (size_t i = 0; i < channels; ++i) {
        const size_t at = 4 + 10 * i;
        const unsigned prn = static_cast<unsigned>(std::stoul(log.body[at]));
        const unsigned long status = std::stoul(log.body[at + 2], nullptr, 16);
        const unsigned system = static_cast<unsigned>((status >> 16) & 7);
        if (prn == 0 || !(status & (1ul << 12)) || system > 2) continue;
        tracked.insert({system, prn});
        if (log.body[at + 8] == "GOOD") used.insert({system, prn});
    }
    size_t sbas = 0;
    for (const auto& satellite : tracked) sbas += satellite.first == 2;
    return std::to_string(tracked.size()) + "," + std::to_string(used.size()) + "," +
           std::to_string(sbas);
}

TEST(LogServerKeysTest, RealRecordingGivesTheValuesOfItsAsciiTwin) {
    QUILLOND_REQUIRE_CAPTURE(binary, "oemv3-ParsingData2.gps");
    QUILLOND_REQUIRE_CAPTURE(ascii, "oemv3-ParsingData2.asc");
    const std::string twin = TestSupport::ReadWholeFile(ascii);
    const std::vector<SAsciiLog> versions = AsciiLogs(twin, "VERSIONA");
    const std::vector<SAsciiLog> trackstats = AsciiLogs(twin, "TRACKSTATA");
    const std::vector<SAsciiLog> bestpos = AsciiLogs(twin, "BESTPOSA");
    ASSERT_EQ(1u, versions.size());
    ASSERT_FALSE(trackstats.empty());
    ASSERT_FALSE(bestpos.empty());

    TestSupport::CLogServerStub server;
    TestSupport::TempDir dir;
    const std::string config = TestSupport::WriteServerConfig(dir, "127.0.0.1", server.Port());
    std::atomic<bool> ended(false);
    std::vector<nlohmann::json> datagrams;
    std::thread collector([&] {
        for (;;) {
            const std::string text = server.ReceiveWithin(0.5);
            if (text.empty()) {
                if (ended) return;
                continue;
            }
            datagrams.push_back(nlohmann::json::parse(text, nullptr, false));
        }
    });
    const TestSupport::SProcessResult result =
        TestSupport::RunProcess({TestSupport::BuiltProgram("quillond"), "-p", "-f", binary},
                                {{"QUILLOND_CONFIG", config}}, 120.0);
    ended = true;
    collector.join();
    ASSERT_EQ(0, result.exitStatus) << result.standardError;

    std::map<std::string, std::vector<std::string>> values;
    for (const nlohmann::json& datagram : datagrams) {
        if (datagram.is_object() && datagram.value("type", "") == "value")
            values[datagram.value("key", "")].push_back(datagram.value("value", ""));
    }
    auto last = [&](const std::string& key) {
        return values[key].empty() ? std::string("(none)") : values[key].back();
    };
    const std::vector<std::string>& version = versions[0].body;
    EXPECT_EQ(version[1], last("component_00.componentType"));
    EXPECT_EQ(Unquote(version[2]), last("component_00.model"));
    EXPECT_EQ(Unquote(version[3]), last("component_00.psn"));
    EXPECT_EQ(Unquote(version[4]), last("component_00.hardwareVersion"));
    EXPECT_EQ(Unquote(version[5]), last("component_00.softwareVersion"));
    EXPECT_EQ(Unquote(version[10]), last("component_01.model"));

    char expectedTrackstat[64];
    std::snprintf(expectedTrackstat, sizeof expectedTrackstat, "%zu,%f", trackstats.size(),
                  std::stod(trackstats.back().header[6]));
    EXPECT_EQ(expectedTrackstat, last("trackstat_messages"));
    EXPECT_EQ(trackstats.size(), values["sats_tracked"].size());
    EXPECT_EQ(SatsTracked(trackstats.back()), last("sats_tracked"));

    // The twin prints the undulation with four decimals, the key with six.
    EXPECT_EQ(bestpos.size(), values["novatel_undulation"].size());
    EXPECT_NEAR(std::stod(bestpos.back().body[5]), std::stod(last("novatel_undulation")), 5e-5);
    EXPECT_EQ(6u, last("novatel_undulation").size() - last("novatel_undulation").find('.') - 1);
}

}  // namespace
