// The text checksum tests: hexadecimal conversion, the NMEA exclusive-or and
// the NovAtel ASCII CRC-32, each with the boundary cases of its rules.

#include <gtest/gtest.h>

#include "Logs/NovatelOEMV/SentenceChecksums.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;

namespace {

TEST(HexToUInt, ConvertsAsTheStandardUnsignedConversionDoes) {
    struct {
        std::string text;
        unsigned value;
    } cases[] = {
        {"", 0},
        {"0", 0},
        {"1F", 0x1F},
        {"1f", 0x1F},
        {"b52aef0c", 0xB52AEF0Cu},
        {"FFFFFFFF", 0xFFFFFFFFu},
        {"zz", 0},                    // no digits
        {"4G", 4},                    // stops at the first non-digit
        {std::string("7\08", 3), 7},  // and at a NUL
        {" 2A", 0x2A},                // leading blanks are skipped
        {"123456789", 0x23456789u},   // wider values keep their low 32 bits
    };
    for (const auto& c : cases) {
        EXPECT_EQ(HexToUInt(Bytes(c.text)), c.value) << testing::PrintToString(c.text);
    }
}

TEST(NmeaChecksum, AcceptsCorrectAndRejectsMalformedSentences) {
    const std::string good = NmeaSentence("GPZDA,064929.00,28,11,2018,,");
    std::string wrong = good;
    wrong[wrong.size() - 3] = wrong[wrong.size() - 3] == '0' ? '1' : '0';
    std::string upper = good;
    for (char& c : upper) c = static_cast<char>(toupper(c));
    struct {
        std::string sentence;
        bool valid;
    } cases[] = {
        {good, true},
        {upper, true},                        // digits in either case
        {"noise before " + good, true},       // counted from the first "$"
        {NmeaSentence("GPZDA,1", ""), true},  // no line end needed
        {"$A*4", false},                      // both digits must be there
        {NmeaSentence("GPZDA,1", "\n"), true},
        {wrong, false},
        {"", false},
        {"GPZDA,064929.00*67\r\n", false},  // no "$"
        {"$GPZDA,064929.00\r\n", false},    // no "*"
        {"$*2A\r", true},                   // nothing between: the "*" stands in
        {"$A*41\r", true},
        {"$A*42\r", false},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(HasValidNmeaChecksum(Bytes(c.sentence)), c.valid)
            << testing::PrintToString(c.sentence);
    }
}

TEST(AsciiChecksum, AcceptsCorrectAndRejectsMalformedSentences) {
    const std::string text =
        "BESTPOSA,COM1,0,80.0,FINESTEERING,1957,339804.750;SOL_COMPUTED,SINGLE";
    const std::string good = AsciiSentence(text);
    std::string wrong = good;
    wrong[wrong.size() - 4] = wrong[wrong.size() - 4] == '0' ? '1' : '0';
    struct {
        std::string sentence;
        bool valid;
    } cases[] = {
        {good, true},
        {AsciiSentence(text, "\r"), true},
        {AsciiSentence(text, ""), false},      // nothing after the eight digits
        {AsciiSentence("A,B*C", "\r"), true},  // the last "*" ends the text
        {AsciiSentence("ab", "\r"), true},     // shortest text the rule allows
        {AsciiSentence("a", "\r"), false},
        {"x" + good, true},  // counted from the first "#"
        {wrong, false},
        {"#ab*1234\r", false},               // 9 bytes or fewer
        {"#abc*0000\r", false},              // fewer than eight digits
        {"#LOGA,COM1;OK\r\n", false},        // no "*"
        {"LOGA,COM1;OK*12345678\r", false},  // no "#"
        {"*12345678#abcdefgh\r", false},     // "#" after the "*"
    };
    for (const auto& c : cases) {
        EXPECT_EQ(HasValidAsciiChecksum(Bytes(c.sentence)), c.valid)
            << testing::PrintToString(c.sentence);
    }
}

}  // namespace
