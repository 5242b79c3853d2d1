// Base64 encoding of raw receiver bytes against the standard's test vectors.

#include <gtest/gtest.h>

#include <string>

#include "platform/Logging/Base64.h"
#include "tests/support/LogServerStub.h"

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
                      SBase64Case{"FourBytes", "foob", "Zm9vYg=="},
                      SBase64Case{"FiveBytes", "fooba", "Zm9vYmE="},
                      SBase64Case{"SixBytes", "foobar", "Zm9vYmFy"},
                      // High bytes must not be sign-extended, NULs must not end the input.
                      SBase64Case{"HighBytesAndNul", std::string("\xFF\xFE\x00", 3), "//4A"},
                      SBase64Case{"OnlyNuls", std::string("\x00\x00", 2), "AAA="},
                      SBase64Case{"BinarySync", "\xAA\x44\x12\x1C", "qkQSHA=="}),
    [](const ::testing::TestParamInfo<SBase64Case>& info) { return std::string(info.param.name); });

TEST(Base64EncodeTest, EveryByteValueDecodesBack) {
    std::string bytes;
    for (int value = 255; value >= 0; --value) bytes += static_cast<char>(value);
    for (size_t length = 0; length <= bytes.size(); length += 37) {
        const std::string part = bytes.substr(0, length);
        EXPECT_EQ(TestSupport::Base64Decode(Logging::Base64Encode(part)), part) << length;
    }
}

}  // namespace
