#include <gtest/gtest.h>

#include "platform/Core/Time.h"

namespace {

TEST(TimeTest, GpsTimeCountsLeapSecondsFromTheGpsEpoch) {
    // 2017-01-01 00:00:00 UTC is GPS week 1930, 0 d + 18 s (Sunday 1 Jan 2017 starts week 1930).
    Core::Time newYear2017 = Core::Time::FromSeconds(1483228800.0);
    unsigned week = 0;
    double seconds = 0.0;
    newYear2017.AsGPSTime(week, seconds);
    EXPECT_EQ(1930u, week);
    EXPECT_DOUBLE_EQ(18.0, seconds);

    Core::Time gpsEpoch = Core::Time::FromSeconds(315964800.0 - 18.0 + 0.25);
    gpsEpoch.AsGPSTime(week, seconds);
    EXPECT_EQ(0u, week);
    EXPECT_DOUBLE_EQ(0.25, seconds);
}

TEST(TimeTest, NegativeSpanGivesZeroTimevalForSelect) {
    struct timeval value = Core::Time::FromMilliseconds(-5).ToTimeval();
    EXPECT_EQ(0, value.tv_sec);
    EXPECT_EQ(0, value.tv_usec);
    value = Core::Time::FromMilliseconds(2500).ToTimeval();
    EXPECT_EQ(2, value.tv_sec);
    EXPECT_EQ(500000, value.tv_usec);
}

TEST(TimeTest, DefaultMonotonicTimerHasExpiredAndAFutureOneHasNot) {
    EXPECT_TRUE(Core::MonotonicTime().HasExpired());
    EXPECT_FALSE((Core::MonotonicTime::Now() + Core::Time::FromSeconds(10)).HasExpired());
}

}  // namespace
