// The text buffer the datagrams are written into: it keeps its text while it
// grows, is reused without leftovers, and writes whole numbers as printf does.

#include <gtest/gtest.h>

#include <cinttypes>
#include <cstdio>
#include <limits>
#include <string>

#include "platform/Logging/TextBuffer.h"

namespace {

using Logging::CTextBuffer;

TEST(TextBufferTest, KeepsItsTextWhileGrowingFarPastItsFirstRoom) {
    CTextBuffer text(4);
    std::string expected;
    for (int i = 0; i < 5000; ++i) {
        const std::string piece = std::to_string(i) + (i % 7 == 0 ? std::string(100, 'p') : ",");
        text.Append(piece);
        expected += piece;
    }
    text.Append(std::string(70000, 'q'));  // more than doubling at once
    expected += std::string(70000, 'q');
    EXPECT_EQ(expected, text.ToString());
}

TEST(TextBufferTest, ClearedOrTruncatedBufferCarriesNothingOver) {
    CTextBuffer text;
    text.Append(std::string(1000, 'x'));
    text.Clear();
    text.AppendLiteral("short");
    EXPECT_EQ("short", text.ToString());
    text.Truncate(2);
    text.Append('!');
    EXPECT_EQ("sh!", text.ToString());
}

TEST(TextBufferTest, WholeNumbersMatchPrintfAtEveryDigitCountAndTheLimits) {
    CTextBuffer text;
    for (uint64_t power = 1, i = 0; i < 20; ++i, power *= 10) {
        for (uint64_t value : {power - 1, power, power + 1}) {
            char expected[32];
            std::snprintf(expected, sizeof(expected), "%" PRIu64, value);
            text.Clear();
            text.AppendUnsigned(value);
            EXPECT_EQ(expected, text.ToString());
            std::snprintf(expected, sizeof(expected), "%" PRId64, -static_cast<int64_t>(value));
            text.Clear();
            text.AppendInteger(-static_cast<int64_t>(value));
            EXPECT_EQ(expected, text.ToString());
        }
    }
    const int64_t limits[] = {std::numeric_limits<int64_t>::min(),
                              std::numeric_limits<int64_t>::max(),
                              std::numeric_limits<int32_t>::min(), 4294967295, 4294967296};
    for (int64_t value : limits) {
        text.Clear();
        text.AppendInteger(value);
        EXPECT_EQ(std::to_string(value), text.ToString());
    }
    text.Clear();
    text.AppendUnsigned(std::numeric_limits<uint64_t>::max());
    EXPECT_EQ("18446744073709551615", text.ToString());
}

}  // namespace
