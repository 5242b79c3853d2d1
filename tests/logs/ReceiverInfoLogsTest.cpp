// The receiver information logs VERSION, COMCONFIG and CHANCONFIGLIST: real
// recordings decoded and compared with the receiver's own ASCII rendering (or a
// hand decode), the layout details that are easy to get wrong, and the length
// checks that end the process, with their exact messages, including counts
// chosen to overflow 32-bit length sums.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <map>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLISTB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelCOMCONFIGB.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelVERSIONB.h"
#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/logs/LogsTestSupport.h"

using Novatel::CNovatelCHANCONFIGLIST;
using Novatel::CNovatelCHANCONFIGLISTB;
using Novatel::CNovatelCOMCONFIG;
using Novatel::CNovatelCOMCONFIGB;
using Novatel::CNovatelVERSION;
using Novatel::CNovatelVERSIONB;
using ::testing::ContainsRegex;
using ::testing::HasSubstr;

namespace {

using LogsTest::Decode;
using LogsTest::ParseFunction;

// Week and time fixed: the VERSION report dumps the header bytes.
ByteVector LogFrame(uint16_t messageId, const ByteVector& body) {
    Tools::SFrameHeader header;
    header.messageId = messageId;
    header.week = 1860;
    header.milliseconds = 201734525;
    return Tools::BuildBinaryFrame(header, body);
}

// The line a failed length check leaves on standard error, whole.
::testing::Matcher<const std::string&> AssertionLine(const std::string& source,
                                                     const std::string& function,
                                                     const std::string& condition) {
    return ContainsRegex("(^|\n)" + LogsTest::AssertionPattern(source, function, condition) + "\n");
}

// ---------------------------------------------------------------- VERSION

// A component's type and its seven texts, in frame order.
struct SComponentText {
    uint32_t type;
    std::vector<std::string> texts;
};

ByteVector VersionBody(const std::vector<SComponentText>& components) {
    const size_t widths[] = {16, 16, 16, 16, 16, 12, 12};
    Tools::CBodyWriter body;
    body.U32(static_cast<uint32_t>(components.size()));
    for (const SComponentText& c : components) {
        body.U32(c.type);
        for (size_t i = 0; i < 7; ++i) body.Text(c.texts.at(i), widths[i]);
    }
    return body.Bytes();
}

// Component types by the names the receivers print in their ASCII logs. The
// DL-V3 firmware did not know type 0x3A7A0005 and printed ERROR for it.
const std::map<uint32_t, std::string> kComponentTypeNames = {
    {1, "GPSCARD"},   {3, "ENCLOSURE"}, {8, "USERINFO"},       {12, "OEM6FPGA"},
    {13, "GPSCARD2"}, {15, "WIFI"},     {0x3A7A0005, "ERROR"}, {0x3A7A0008, "DB_WWWISO"},
};

std::string TypeName(uint32_t type) {
    const auto name = kComponentTypeNames.find(type);
    return name == kComponentTypeNames.end() ? "type " + std::to_string(type) : name->second;
}

// A component as the ASCII log prints it: type name, then the seven texts.
std::vector<std::string> ComponentFields(const CNovatelVERSION::SComponent& c) {
    return {TypeName(c.GetType()),  c.GetModel(),       c.GetSerialNumber(), c.GetHardwareVersion(),
            c.GetSoftwareVersion(), c.GetBootVersion(), c.GetCompileDate(),  c.GetCompileTime()};
}

// A frame's header as its twin prints it, from the sequence number on (the
// names of the time status left out): sequence, idle percent, week, seconds,
// receiver status, reserved word, software build.
std::string PrintedHeader(const ByteVector& frame) {
    const Novatel::SBinaryHeader h = Novatel::CNovatelBinaryRecord(frame).GetHeader();
    char text[96];
    std::snprintf(text, sizeof text, "%u,%.1f,%u,%.3f,%08x,%04x,%u", h.m_sequence,
                  h.m_idleTime * 0.5, h.m_week, h.m_milliseconds / 1000.0, h.m_receiverStatus,
                  h.m_reserved, h.m_softwareBuild);
    return text;
}

// The frame whose header is the one the twin log prints, or null.
const ByteVector* FrameWithHeaderOf(const std::vector<ByteVector>& frames,
                                    const LogsTest::SAsciiLog& twin) {
    const std::vector<std::string>& h = twin.header;
    const std::string printed =
        h[1] + "," + h[2] + "," + h[4] + "," + h[5] + "," + h[6] + "," + h[7] + "," + h[8];
    for (const ByteVector& frame : frames) {
        if (PrintedHeader(frame) == printed) return &frame;
    }
    return nullptr;
}

class NovatelVERSIONBTwin : public ::testing::TestWithParam<LogsTest::STwinCase> {};

TEST_P(NovatelVERSIONBTwin, EveryComponentFieldMatchesTheReceiversAsciiLog) {
    const LogsTest::STwinCase& c = GetParam();
    QUILLOND_REQUIRE_CAPTURE(recording, c.recording);
    QUILLOND_REQUIRE_CAPTURE(twinPath, c.TwinFile());
    const std::vector<ByteVector> frames =
        LogsTest::FramesWithId(LogsTest::BinaryFramesOf(recording), Novatel::kVERSIONMessageID);
    const std::vector<LogsTest::SAsciiLog> twins = LogsTest::ReadAsciiTwin(twinPath, "VERSIONA");
    ASSERT_EQ(twins.size(), c.logs);

    for (const LogsTest::SAsciiLog& twin : twins) {
        const ByteVector* frame = FrameWithHeaderOf(frames, twin);
        ASSERT_NE(frame, nullptr) << "no frame with the header of " << twin.header[5];
        const auto version = Decode<CNovatelVERSION>(*frame);
        ASSERT_NE(version, nullptr);
        const std::vector<std::string>& body = twin.body;
        ASSERT_EQ(body[0], std::to_string(version->GetNumberOfComponents()));
        ASSERT_EQ(body.size(), 1 + 8 * version->GetNumberOfComponents());
        for (size_t i = 0; i < version->GetNumberOfComponents(); ++i) {
            const std::vector<std::string> printed(body.begin() + 1 + 8 * i,
                                                   body.begin() + 1 + 8 * (i + 1));
            EXPECT_EQ(ComponentFields(version->GetComponents()[i]), printed) << "component " << i;
        }
    }
}

// oem7-version.asc renders the OEM638's VERSION that the mixed recording
// holds (same week and time), not the frame of oem7-version.gps.
INSTANTIATE_TEST_SUITE_P(Recordings, NovatelVERSIONBTwin,
                         ::testing::Values(LogsTest::STwinCase("oemv3-ParsingData.gps", 3),
                                           LogsTest::STwinCase("oemv3-ParsingData2.gps", 1),
                                           LogsTest::STwinCase("oemv3-PropakWithGlonass.gps", 1),
                                           LogsTest::STwinCase("mixed-alllogs-repaired.gps", 1,
                                                               "oem7-version.asc")),
                         LogsTest::TwinCaseName);

TEST(NovatelVERSIONB, Oem729RecordingMatchesHandDecode) {
    // No ASCII rendering of this frame exists; the values were read off the
    // hex dump of its 328-byte body: count 3, then three 108-byte components.
    QUILLOND_REQUIRE_CAPTURE(recording, "oem7-version.gps");
    const std::vector<ByteVector> frames =
        LogsTest::FramesWithId(LogsTest::BinaryFramesOf(recording), Novatel::kVERSIONMessageID);
    ASSERT_EQ(frames.size(), 1u);
    const auto version = Decode<CNovatelVERSION>(frames[0]);
    ASSERT_NE(version, nullptr);
    const std::vector<std::vector<std::string>> expected = {
        {"GPSCARD", "FFNRNNCVN", "BMGX15200058X", "OEM729-0.00E", "OM7MGMAINDN0000",
         "OM7BR0000RBG000", "2018/Apr/10", "14:57:59"},
        {"type 21", "", "", "", "OMV070001RN0000", "", "", ""},
        {"DB_WWWISO", "WWWISO", "0", "", "WMC010203RN0001", "", "2018/Mar/19", "10:21:29"},
    };
    ASSERT_EQ(version->GetNumberOfComponents(), expected.size());
    for (size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(ComponentFields(version->GetComponents()[i]), expected[i]) << i;
    }
}

TEST(NovatelVERSIONB, KeepsWholeFieldWidthsAndReadsTextUpToFirstNul) {
    // A model filling its whole field has no NUL; the software version's
    // bytes after its NUL are not part of the text.
    const std::string softwareField = std::string("L6X10200\0junk", 13);
    const auto version = Decode<CNovatelVERSION>(LogFrame(
        Novatel::kVERSIONMessageID, VersionBody({{1,
                                                  {"ABCDEFGHIJKLMNOP", "SN1", "HW", softwareField,
                                                   "BOOT", "2010/Apr/29", "16:11:14"}}})));
    ASSERT_NE(version, nullptr);
    ASSERT_EQ(version->GetNumberOfComponents(), 1u);
    const CNovatelVERSION::SComponent& component = version->GetComponents()[0];
    EXPECT_EQ(component.GetModel(), "ABCDEFGHIJKLMNOP");
    EXPECT_EQ(component.GetSoftwareVersion(), "L6X10200");
    EXPECT_EQ(component.m_softwareVersion, softwareField + std::string(3, '\0'));
    EXPECT_EQ(component.m_serialNumber.size(), 16u);
    EXPECT_EQ(component.m_compileDate.size(), 12u);
    EXPECT_EQ(component.m_compileTime, std::string("16:11:14\0\0\0\0", 12));
}

ByteVector WithBodyByte(ByteVector body, uint8_t extra) {
    body.push_back(extra);
    return body;
}

ByteVector WithCount(ByteVector body, uint32_t count) {
    for (int i = 0; i < 4; ++i) body[i] = static_cast<uint8_t>(count >> (8 * i));
    return body;
}

TEST(NovatelVERSIONBDeathTest, WrongLengthReportsLengthsAndBytesThenEndsProcess) {
    const SComponentText card = {
        1,
        {"L12LGRV", "DAB06210079", "OEMV3G-3.01-2T2", "3.701", "3.000", "2010/Apr/29", "16:11:14"}};
    const ByteVector oneComponent = VersionBody({card});
    const std::string heading = "Sentence Data is as follows:\n";
    const std::string frameStart = "0xAA0x440x120x1C0x250x000x000x20";
    const struct {
        const char* fault;
        ByteVector body;
        std::string report;  // what precedes the assertion line
    } cases[] = {
        {"one byte too many", WithBodyByte(VersionBody({}), 0x5A),
         "NovatelVERSIONB: Unexpected length. Got 37, expected 36 from 0 components\n" + heading +
             "0xAA0x440x120x1C0x250x000x000x200x050x000x000x000x640xB40x440x07\n"
             "0x7D0x390x060x0C0x000x000x000x000x000x000x000x000x000x000x000x00\n"
             "0x5A0x240x310x470x5E\n"},
        {"component cut short", ByteVector(oneComponent.begin(), oneComponent.end() - 1),
         "NovatelVERSIONB: Unexpected length. Got 143, expected 144 from 1 components\n" + heading +
             frameStart},
        // 28 + 8 + 108 * 0xFFFFFFFF, as a 32-bit int.
        {"count of 2^32 - 1", WithCount(oneComponent, 0xFFFFFFFF),
         "NovatelVERSIONB: Unexpected length. Got 144, expected -72 from -1 components\n" +
             heading + frameStart},
    };
    const std::string function = ParseFunction("CNovatelVERSIONB");
    for (const auto& c : cases) {
        const ByteVector frame = LogFrame(Novatel::kVERSIONMessageID, c.body);
        EXPECT_DEATH(
            CNovatelVERSIONB version(frame),
            ::testing::AllOf(
                HasSubstr(c.report),
                AssertionLine("Logs/NovatelOEMV/NovatelBinary/NovatelVERSIONB.cpp", function,
                              "sentenceData.size() == (m_header.m_headerLength + 8 + "
                              "(numberOfComponents * 108))")))
            << c.fault;
    }
}

// ---------------------------------------------------------------- COMCONFIG

struct SPortWords {
    uint32_t words[11];
};

// A decoded port as the eleven words it came from (flags as 0 or 1).
std::vector<uint32_t> WordsOf(const CNovatelCOMCONFIG::SPortConfig& p) {
    return std::vector<uint32_t>(
        {p.m_port, p.m_baudRate, p.m_parity, p.m_dataBits, p.m_stopBits, p.m_handshake, p.m_echo,
         p.m_breakDetection, p.m_receiveInterfaceMode, p.m_transmitInterfaceMode, p.m_responses});
}

ByteVector ComConfigBody(const std::vector<SPortWords>& ports) {
    Tools::CBodyWriter body;
    body.U32(static_cast<uint32_t>(ports.size()));
    for (const SPortWords& port : ports) {
        for (uint32_t word : port.words) body.U32(word);
    }
    return body.Bytes();
}

// Every frame with a good CRC that starts at any sync pattern of a
// recording, overlapping ones included (unlike the framer, which skips what a
// damaged frame's length covers).
std::vector<ByteVector> FramesAtEverySync(const std::string& path) {
    const std::string bytes = TestSupport::ReadWholeFile(path);
    std::vector<ByteVector> frames;
    for (size_t at = bytes.find("\xAA\x44\x12"); at != std::string::npos;
         at = bytes.find("\xAA\x44\x12", at + 1)) {
        const ByteVector head(bytes.begin() + at, bytes.begin() + std::min(bytes.size(), at + 10));
        if (head.size() < 10) break;
        const size_t length = ReadUInt8(head, 3) + ReadUInt16(head, 8) + kNovatelCrcSize;
        if (at + length > bytes.size()) continue;
        const ByteVector frame(bytes.begin() + at, bytes.begin() + at + length);
        if (HasValidCrc(frame)) frames.push_back(frame);
    }
    return frames;
}

TEST(NovatelCOMCONFIGB, RecordingMatchesHandDecode) {
    // The mixed recording's only COMCONFIG (week 1860, 201770.335 s) has no
    // ASCII rendering, and lies inside the span that a damaged frame before it
    // claims, so the framer never delivers it; it is cut out at its sync bytes.
    // Hand decode of its 444-byte body: count 0x0000000A, then ten ports of
    // eleven words. Port 1 reads 01000000 00100E00 00000000 08000000 01000000
    // 00000000 00000000 01000000 01000000 01000000 01000000: COM1 at 921600
    // baud, no parity, 8 data bits, 1 stop bit, no handshake, echo off, break
    // detection on, NOVATEL in and out, responses on. Ports 2 to 10 differ
    // only in their identifier and run at 9600 (80250000).
    QUILLOND_REQUIRE_CAPTURE(recording, "mixed-alllogs-repaired.gps");
    const std::vector<ByteVector> frames =
        LogsTest::FramesWithId(FramesAtEverySync(recording), Novatel::kCOMCONFIGMessageID);
    ASSERT_EQ(frames.size(), 1u);
    const auto config = Decode<CNovatelCOMCONFIG>(frames[0]);
    ASSERT_NE(config, nullptr);
    EXPECT_EQ(config->GetWeek(), 1860u);
    EXPECT_EQ(config->GetSeconds(), 201770.335);
    ASSERT_EQ(config->GetNumberOfPorts(), 10u);
    ASSERT_EQ(config->GetPorts().size(), 10u);
    const uint32_t identifiers[] = {1, 2, 3, 19, 31, 32, 34, 35, 36, 37};
    for (size_t i = 0; i < 10; ++i) {
        const uint32_t baudRate = i == 0 ? 921600 : 9600;
        EXPECT_EQ(WordsOf(config->GetPorts()[i]),
                  std::vector<uint32_t>({identifiers[i], baudRate, 0, 8, 1, 0, 0, 1, 1, 1, 1}))
            << "port " << i;
    }
}

TEST(NovatelCOMCONFIGB, ThreePortsInFrameOfHeaderPlus140DecodeAndOnlyOneSetsAFlag) {
    // Distinct values everywhere, so a shifted offset shows; a flag word other
    // than 1 (2, or 1 in the wrong byte) reads as not set.
    const uint32_t flagWords[] = {2, 1, 0x01000000};
    std::vector<SPortWords> ports;
    for (uint32_t p = 0; p < 3; ++p) {
        const uint32_t flag = flagWords[p];
        ports.push_back({{p + 1, 115200 + p, 2, 7, 2, 1, flag, flag, 14 + p, 15 + p, flag}});
    }
    const ByteVector frame = LogFrame(Novatel::kCOMCONFIGMessageID, ComConfigBody(ports));
    ASSERT_EQ(frame.size(), 28u + 4u + 132u + 4u);
    const auto config = Decode<CNovatelCOMCONFIG>(frame);
    ASSERT_NE(config, nullptr);
    ASSERT_EQ(config->GetPorts().size(), 3u);
    for (uint32_t p = 0; p < 3; ++p) {
        const uint32_t set = flagWords[p] == 1;
        EXPECT_EQ(
            WordsOf(config->GetPorts()[p]),
            std::vector<uint32_t>({p + 1, 115200 + p, 2, 7, 2, 1, set, set, 14 + p, 15 + p, set}));
    }
}

TEST(NovatelCOMCONFIGBDeathTest, LengthOtherThanTheCountSaysEndsProcess) {
    const SPortWords port = {{1, 9600, 0, 8, 1, 0, 0, 1, 1, 1, 1}};
    const ByteVector threePorts = ComConfigBody({port, port, port});
    const struct {
        const char* fault;
        ByteVector body;
    } cases[] = {
        {"one byte more", WithBodyByte(threePorts, 0)},
        {"one byte less", ByteVector(threePorts.begin(), threePorts.end() - 1)},
        {"count of 2^32 - 1", WithCount(threePorts, 0xFFFFFFFF)},
        // 0x40000003 * 44 is 3 * 44 in 32 bits: the sum must not wrap.
        {"count wrapping onto the length", WithCount(threePorts, 0x40000003)},
    };
    const std::string function = ParseFunction("CNovatelCOMCONFIGB");
    for (const auto& c : cases) {
        const ByteVector frame = LogFrame(Novatel::kCOMCONFIGMessageID, c.body);
        EXPECT_DEATH(CNovatelCOMCONFIGB config(frame),
                     AssertionLine("Logs/NovatelOEMV/NovatelBinary/NovatelCOMCONFIGB.cpp", function,
                                   "sentenceData.size() == (m_header.m_headerLength + 4 + "
                                   "(m_numberOfPorts * 44) + 4)"))
            << c.fault;
    }
}

// ----------------------------------------------------------- CHANCONFIGLIST

// Signal types by the names the receiver prints in its ASCII log.
const std::map<uint32_t, std::string> kSignalTypeNames = {
    {0, "GPSL1"}, {1, "GPSL1L2"},      {4, "SBASL1"},       {8, "GLOL1L2"},
    {9, "LBAND"}, {16, "GPSL1L2PL2C"}, {25, "GLOL1L2PL2C"}, {27, "QZSSL1CAL2C"},
};

std::string SignalName(uint32_t type) {
    const auto name = kSignalTypeNames.find(type);
    return name == kSignalTypeNames.end() ? "signal " + std::to_string(type) : name->second;
}

// A decoded list as the ASCII log prints it: set in use, number of sets, then
// per set its group count and that many (channels, signal name) pairs.
std::vector<std::string> ListFields(const CNovatelCHANCONFIGLIST& list) {
    std::vector<std::string> fields = {std::to_string(list.GetCurrentConfigSet()),
                                       std::to_string(list.GetNumberOfConfigSets())};
    for (const CNovatelCHANCONFIGLIST::SChannelConfigSet& set : list.GetConfigSets()) {
        fields.push_back(std::to_string(set.number_signals));
        for (const CNovatelCHANCONFIGLIST::SChannelGroup& group : set.signals) {
            fields.push_back(std::to_string(group.number_channels));
            fields.push_back(SignalName(group.signal_type));
        }
    }
    return fields;
}

void ExpectSetsNumberedFromOne(const CNovatelCHANCONFIGLIST& list) {
    for (size_t i = 0; i < list.GetConfigSets().size(); ++i) {
        EXPECT_EQ(list.GetConfigSets()[i].set_number, i + 1);
    }
}

TEST(NovatelCHANCONFIGLISTB, RecordingMatchesTheReceiversAsciiLog) {
    QUILLOND_TWIN_PAIRS(twins, LogsTest::STwinCase("oem6-chanconfiglist.gps", 1),
                        Novatel::kCHANCONFIGLISTMessageID, "CHANCONFIGLISTA");
    ASSERT_EQ(FrameWithHeaderOf(twinsFrames, twins[0]), &twinsFrames[0]);
    const auto list = Decode<CNovatelCHANCONFIGLIST>(twinsFrames[0]);
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(ListFields(*list), twins[0].body);
    ExpectSetsNumberedFromOne(*list);
}

TEST(NovatelCHANCONFIGLISTB, EmptySetTakesFourBytesAndNextFollowsDirectly) {
    const ByteVector body = Tools::CBodyWriter()
                                .U32(3)  // set in use
                                .U32(3)  // sets
                                .U32(0)  // set 1: no groups
                                .U32(2)  // set 2: two groups
                                .U32(12)
                                .U32(0)
                                .U32(2)
                                .U32(4)
                                .U32(0)  // set 3: no groups, the last bytes of the body
                                .Bytes();
    const auto list =
        Decode<CNovatelCHANCONFIGLIST>(LogFrame(Novatel::kCHANCONFIGLISTMessageID, body));
    ASSERT_NE(list, nullptr);
    EXPECT_EQ(ListFields(*list),
              std::vector<std::string>({"3", "3", "0", "2", "12", "GPSL1", "2", "SBASL1", "0"}));
    ExpectSetsNumberedFromOne(*list);
}

TEST(NovatelCHANCONFIGLISTBDeathTest, SetRunningPastTheFrameEndsProcess) {
    const struct {
        const char* fault;
        ByteVector body;
    } cases[] = {
        {"groups cut short", Tools::CBodyWriter().U32(1).U32(1).U32(2).U32(12).U32(0).Bytes()},
        {"set count of 2^32 - 1", Tools::CBodyWriter().U32(1).U32(0xFFFFFFFF).U32(0).Bytes()},
        {"group count of 2^32 - 1", Tools::CBodyWriter().U32(1).U32(1).U32(0xFFFFFFFF).Bytes()},
        // 0x20000001 * 8 is 8 in 32 bits: the sum must not wrap.
        {"group count wrapping onto the length",
         Tools::CBodyWriter().U32(1).U32(1).U32(0x20000001).U32(12).U32(0).Bytes()},
    };
    const std::string function =
        "size_t Novatel::CNovatelCHANCONFIGLISTB::ParseConfigSet(const std::vector<unsigned char, "
        "std::allocator<unsigned char> >&, size_t, "
        "Novatel::CNovatelCHANCONFIGLIST::SChannelConfigSet&)";
    for (const auto& c : cases) {
        const ByteVector frame = LogFrame(Novatel::kCHANCONFIGLISTMessageID, c.body);
        EXPECT_DEATH(
            CNovatelCHANCONFIGLISTB list(frame),
            AssertionLine("Logs/NovatelOEMV/NovatelBinary/NovatelCHANCONFIGLISTB.cpp", function,
                          "sentenceData.size() >= (set.number_signals * 8) + startIndex + 4"))
            << c.fault;
    }
}

}  // namespace
