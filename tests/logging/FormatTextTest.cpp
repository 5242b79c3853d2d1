// FormatText prints the daemon's usual value formats itself; every text must be
// what the C library's printf gives for the same format and arguments.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <limits>
#include <random>
#include <string>

#include "platform/Logging/FormatText.h"

namespace {

std::string Format(const char* format, ...) __attribute__((format(printf, 1, 2)));
std::string Format(const char* format, ...) {
    va_list args;
    va_start(args, format);
    std::string text = Logging::FormatText(format, args);
    va_end(args);
    return text;
}

std::string Printf(const char* format, double value) {
    char buffer[512];
    std::snprintf(buffer, sizeof(buffer), format, value);
    return buffer;
}

TEST(FormatTextTest, FixedPointMatchesPrintfIncludingTiesAndCarries) {
    const double cases[] = {0.0,
                            -0.0,
                            1.0,
                            -1.5,
                            0.0078125,  // an exact tie at the sixth digit: to even
                            0.0234375,  // ... rounding up to even
                            0.9999995,
                            9.9999999,
                            345600.1,
                            1763751234.567891,
                            4503599627370495.5,
                            9007199254740993.0,
                            1e18,
                            9.3e18,
                            1e300,
                            0.001,
                            1e-7,
                            -1e-9,
                            5e-324,
                            std::numeric_limits<double>::infinity(),
                            -std::numeric_limits<double>::infinity(),
                            std::numeric_limits<double>::quiet_NaN()};
    for (double value : cases) {
        EXPECT_EQ(Printf("%lf", value), Format("%lf", value)) << value;
        EXPECT_EQ(Printf("%f", value), Format("%f", value)) << value;
    }
    std::mt19937_64 random(20261121);
    std::uniform_real_distribution<double> spread(-2e9, 2e9);
    std::uniform_int_distribution<int> scale(-12, 18);
    for (int i = 0; i < 20000; ++i) {
        const double value = spread(random) * std::pow(10.0, scale(random) - 9);
        ASSERT_EQ(Printf("%lf", value), Format("%lf", value)) << value;
    }
}

TEST(FormatTextTest, MixedFormatsMatchPrintfAndFallBackForTheRest) {
    char expected[512];
    std::snprintf(expected, sizeof(expected), "%lf,%d,%lf", 1763751234.5, -20, 345600.25);
    EXPECT_EQ(expected, Format("%lf,%d,%lf", 1763751234.5, -20, 345600.25));
    EXPECT_EQ("100% of 7 u=4294967295 text", Format("100%% of %i u=%u %s", 7, 4294967295u, "text"));
    EXPECT_EQ("  42|3.14|0x1f|-9", Format("%4d|%.2f|%#x|%ld", 42, 3.14159, 31, -9L));
    EXPECT_EQ("", Format("%s", ""));
    EXPECT_EQ(std::string(300, 'y') + "1", Format("%s%d", std::string(300, 'y').c_str(), 1));
}

std::string AppendAfter(const std::string& before, const char* format, ...)
    __attribute__((format(printf, 2, 3)));
std::string AppendAfter(const std::string& before, const char* format, ...) {
    Logging::CTextBuffer text;
    text.Append(before);
    va_list args;
    va_start(args, format);
    Logging::AppendFormatted(text, format, args);
    va_end(args);
    return text.ToString();
}

TEST(FormatTextTest, AppendingKeepsWhatWasThereAndDropsAHalfPrintedPlainAttempt) {
    // "%x" is left to the C library after "7 then " was printed the quick way:
    // that part must be printed once, not twice.
    EXPECT_EQ("key=7 then 1f", AppendAfter("key=", "%d then %x", 7, 31));
    EXPECT_EQ("key=", AppendAfter("key=", "%s", ""));
    const std::string longText(1000, 'L');
    EXPECT_EQ("key=" + longText + "|  5", AppendAfter("key=", "%s|%3d", longText.c_str(), 5));
    EXPECT_EQ("key=1.500000,7", AppendAfter("key=", "%lf,%d", 1.5, 7));
}

}  // namespace
