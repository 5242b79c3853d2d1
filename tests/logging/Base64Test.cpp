// Base64 encoding of raw receiver bytes against the standard's test vectors
// (every byte value round-trips through the remote logger's raw datagrams).

#include <gtest/gtest.h>

#include <string>

#include "platform/Logging/Base64.h"

namespace {

struct SBase64Case {
    const char* name;
    std::string bytes;
    const char* text;
};

class Base64EncodeTest : public ::testing::TestWithParam<SBase64Case> {};

TEST_P(Base64EncodeTest, MatchesStandardEncodingAndPadding) {
    EXPECT_EQ(Logging::Base64Encode(GetParam().bytes), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Vectors, Base64EncodeTest,
    ::testing::Values(SBase64Case{"Empty", "", ""}, SBase64Case{"OneByte", "f", "Zg=="},
                      SBase64Case{"TwoBytes", "fo", "Zm8="},
                      SBase64Case{"ThreeBytes", "foo", "Zm9v"},
                      SBase64Case{"FiveBytes", "fooba", "Zm9vYmE="},
                      // High bytes must not be sign-extended, NULs must not end the input.
                      SBase64Case{"HighBytesAndNul", std::string("\xFF\xFE\x00", 3), "//4A"},
                      SBase64Case{"OnlyNuls", std::string("\x00\x00", 2), "AAA="}),
    [](const ::testing::TestParamInfo<SBase64Case>& info) { return std::string(info.param.name); });

}  // namespace
