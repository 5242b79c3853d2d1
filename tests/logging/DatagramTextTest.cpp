// The log datagrams are written as text directly; each piece must be byte for
// byte what the JSON library's compact dump gives, or the log server and the
// documented datagram format would see a difference.

#include <gtest/gtest.h>

#include <limits>
#include <nlohmann/json.hpp>
#include <string>

#include "platform/Logging/DatagramText.h"

namespace {

using Json = nlohmann::ordered_json;

std::string LibraryDump(const Json& value) {
    return value.dump(-1, ' ', false, Json::error_handler_t::replace);
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
    for (const std::string& text : cases) {
        std::string out;
        Logging::AppendJsonString(out, text);
        EXPECT_EQ(LibraryDump(Json(text)), out) << text;
    }
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
        std::string out;
        Logging::AppendJsonNumber(out, value);
        EXPECT_EQ(LibraryDump(Json(value)), out) << value;
    }
    // Time stamps to the millisecond over a whole day of a recent date.
    for (int64_t ms = 1763683200000; ms < 1763683200000 + 86400000; ms += 9973) {
        const double value = static_cast<double>(ms) / 1000.0;
        std::string out;
        Logging::AppendJsonNumber(out, value);
        ASSERT_EQ(LibraryDump(Json(value)), out) << ms;
    }
}

TEST(DatagramTextTest, IntegersMatchTheLibraryAtTheirLimits) {
    const int64_t cases[] = {0,
                             -1,
                             3,
                             std::numeric_limits<int32_t>::min(),
                             std::numeric_limits<int64_t>::max(),
                             std::numeric_limits<int64_t>::min()};
    for (int64_t value : cases) {
        std::string out;
        Logging::AppendJsonInteger(out, value);
        EXPECT_EQ(LibraryDump(Json(value)), out) << value;
    }
}

}  // namespace
