// The log datagrams are written as text directly; each piece must be byte for
// byte what the JSON library's compact dump gives, or the log server and the
// documented datagram format would see a difference.

#include <gtest/gtest.h>

#include <cstdarg>
#include <cstring>
#include <limits>
#include <nlohmann/json.hpp>
#include <random>
#include <string>

#include "platform/Logging/DatagramText.h"

namespace {

using Json = nlohmann::ordered_json;
using Logging::CTextBuffer;

std::string LibraryDump(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
}

std::string JsonString(const std::string& text) {
    CTextBuffer out;
    Logging::AppendJsonString(out, text);
    return out.ToString();
}

std::string JsonFormattedAfter(const char* before, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
std::string JsonFormattedAfter(const char* before, const char* format, ...) {
    CTextBuffer out;
    out.Append(before, std::strlen(before));
    va_list args;
    va_start(args, format);
    Logging::AppendJsonFormatted(out, format, args);
    va_end(args);
    return out.ToString();
}

#define JsonFormatted(...) JsonFormattedAfter("", __VA_ARGS__)

std::string JsonTime(int64_t milliseconds) {
    CTextBuffer out;
    Logging::AppendJsonTime(out, milliseconds);
    return out.ToString();
}

std::string LibraryTime(int64_t milliseconds) {
    return LibraryDump(Json(static_cast<double>(milliseconds) / 1000.0));
}

TEST(DatagramTextTest, StringsMatchTheLibraryWhetherPlainEscapedOrBadUtf8) {
    const std::string cases[] = {
        "",
        "checksum_stats",
        "1763751234.567000,20,345600.000000",
        "quote \" and backslash \\",
        std::string("control \x01\x1f and \t\r\n\b\f"),
        std::string("nul \0 inside", 12),
        "delete \x7f",
        "valid UTF-8 \xc3\xa9\xe2\x82\xac",
        "bad UTF-8 \xaa\x44\x12 and \xc3 cut",
        std::string(300, 'x'),
    };
    for (const std::string& text : cases)
        EXPECT_EQ(LibraryDump(Json(text)), JsonString(text)) << text;
}

TEST(DatagramTextTest, EveryByteValueAtEveryPlaceInAWordIsTreatedAsTheLibraryDoes) {
    // Plain text is recognised a machine word at a time: a byte that needs an
    // escape must be caught wherever it falls, in a whole word or in the rest.
    for (int value = 0; value < 256; ++value) {
        for (size_t at = 0; at < 19; ++at) {
            std::string text(19, 'a');
            text[at] = static_cast<char>(value);
            ASSERT_EQ(LibraryDump(Json(text)), JsonString(text)) << value << " at " << at;
            if (value == 0) continue;  // "%s" ends at a NUL
            ASSERT_EQ(LibraryDump(Json(text)), JsonFormatted("%s", text.c_str()))
                << value << " at " << at;
        }
    }
}

TEST(DatagramTextTest, FormattedTextIsQuotedOrEscapedAsTheLibraryDoes) {
    EXPECT_EQ("\"12,3\"", JsonFormatted("%d,%d", 12, 3));
    EXPECT_EQ("\"\"", JsonFormatted("%s", ""));
    EXPECT_EQ(LibraryDump(Json("a \"b\" \\ c")), JsonFormatted("a %s \\ %s", "\"b\"", "c"));
    EXPECT_EQ(LibraryDump(Json("\xEF\xBF\xBD\x44\x12 OEMV")),
              JsonFormatted("%s", "\xAA\x44\x12 OEMV"));
    EXPECT_EQ(LibraryDump(Json("  42|3.14")), JsonFormatted("%4d|%.2f", 42, 3.14159));
    const std::string longText(5000, 'z');
    EXPECT_EQ(LibraryDump(Json(longText + "\n")), JsonFormatted("%s\n", longText.c_str()));
}

TEST(DatagramTextTest, EscapedTextReplacesNoneOfWhatTheBufferHeldBefore) {
    CTextBuffer out;
    out.AppendLiteral("{\"key\":");
    Logging::AppendJsonString(out, std::string("k\"ey"));
    out.AppendLiteral(",\"value\":");
    EXPECT_EQ("{\"key\":\"k\\\"ey\",\"value\":", out.ToString());
    EXPECT_EQ("{\"value\":\"tab\\there\"", JsonFormattedAfter("{\"value\":", "tab\t%s", "here"));
}

TEST(DatagramTextTest, NumbersMatchTheLibraryIncludingWholeAndHugeValues) {
    const double cases[] = {0.0,
                            -0.0,
                            1763751234.567,
                            1763751234.0,
                            1763751234.5,
                            0.001,
                            -12.25,
                            1e-7,
                            1e21,
                            123456789012.345,
                            std::numeric_limits<double>::infinity(),
                            std::numeric_limits<double>::quiet_NaN()};
    for (double value : cases) {
        CTextBuffer out;
        Logging::AppendJsonNumber(out, value);
        EXPECT_EQ(LibraryDump(Json(value)), out.ToString()) << value;
    }
}

TEST(DatagramTextTest, TimeStampsMatchTheLibrarysTextOfTheirSeconds) {
    // Whole seconds, trailing zeros, the first and last milliseconds written
    // directly, and values past them (negative, far future) that the library writes.
    const int64_t cases[] = {0,
                             1,
                             10,
                             100,
                             999,
                             1000,
                             1001,
                             1010,
                             1100,
                             86400000,
                             1763751234000,
                             1763751234500,
                             1763751234050,
                             1763751234005,
                             1763751234567,
                             2147483647999,
                             4294967296001,
                             (int64_t(1) << 43) - 1,
                             int64_t(1) << 43,
                             -1,
                             -1763751234567,
                             int64_t(1) << 53,
                             std::numeric_limits<int64_t>::max()};
    for (int64_t ms : cases) EXPECT_EQ(LibraryTime(ms), JsonTime(ms)) << ms;
}

TEST(DatagramTextTest, TimeStampsMatchTheLibraryOverDaysAndCenturies) {
    // Every millisecond of ten recent minutes, a stride through a whole day,
    // and random milliseconds from 1970 to the last one written directly.
    for (int64_t ms = 1763683200000; ms < 1763683200000 + 600000; ++ms) {
        ASSERT_EQ(LibraryTime(ms), JsonTime(ms)) << ms;
    }
    for (int64_t ms = 1763683200000; ms < 1763683200000 + 86400000; ms += 997) {
        ASSERT_EQ(LibraryTime(ms), JsonTime(ms)) << ms;
    }
    std::mt19937_64 random(20261121);
    std::uniform_int_distribution<int64_t> anyTime(0, (int64_t(1) << 43) - 1);
    for (int i = 0; i < 200000; ++i) {
        const int64_t ms = anyTime(random);
        ASSERT_EQ(LibraryTime(ms), JsonTime(ms)) << ms;
    }
}

TEST(DatagramTextTest, TimeStampsWrittenFromTheKeptSecondMatchTheLibrary) {
    // Within a second, across whole seconds, back in time, and out of the
    // direct range and back.
    const int64_t sequence[] = {1763751234567, 1763751234999,    1763751235000, 1763751235001,
                                1763751233999, 1763751233000,    1763751299010, -5,
                                1763751299010, int64_t(1) << 43, 999,           0};
    Logging::CTimeStampText stamps;
    for (int64_t ms : sequence) {
        CTextBuffer out;
        stamps.Append(out, ms);
        EXPECT_EQ(LibraryTime(ms), out.ToString()) << ms;
    }
}

TEST(DatagramTextTest, IntegersMatchTheLibraryAtTheirLimits) {
    const int64_t cases[] = {0,
                             -1,
                             3,
                             9,
                             10,
                             99,
                             100,
                             -100,
                             4294967295,
                             4294967296,
                             -4294967296,
                             std::numeric_limits<int32_t>::min(),
                             std::numeric_limits<int64_t>::max(),
                             std::numeric_limits<int64_t>::min()};
    for (int64_t value : cases) {
        CTextBuffer out;
        Logging::AppendJsonInteger(out, value);
        EXPECT_EQ(LibraryDump(Json(value)), out.ToString()) << value;
    }
}

}  // namespace
