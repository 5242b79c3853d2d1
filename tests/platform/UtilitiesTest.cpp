#include <gtest/gtest.h>

#include "platform/Core/Utilities.h"

using Core::Utilities::ParseInt;
using Core::Utilities::SplitString;
using Core::Utilities::StringToUpper;
using Core::Utilities::trim;

namespace {

struct SParseCase {
    const char* text;
    bool accepted;
    int32_t value;
};

class ParseIntTest : public ::testing::TestWithParam<SParseCase> {};

TEST_P(ParseIntTest, AcceptsOnlyWholeDecimalNumbersThatFitIn32Bits) {
    const SParseCase& c = GetParam();
    int32_t value = 12345;
    EXPECT_EQ(c.accepted, ParseInt(c.text, value)) << '"' << c.text << '"';
    EXPECT_EQ(c.accepted ? c.value : 12345, value) << '"' << c.text << '"';
}

INSTANTIATE_TEST_SUITE_P(
    Cases, ParseIntTest,
    ::testing::Values(SParseCase{"42", true, 42}, SParseCase{" 42 ", true, 42},
                      SParseCase{"-7", true, -7}, SParseCase{"+9", true, 9},
                      SParseCase{"2147483647", true, 2147483647},
                      SParseCase{"-2147483648", true, INT32_MIN},
                      SParseCase{"2147483648", false, 0}, SParseCase{"99999999999", false, 0},
                      SParseCase{"", false, 0}, SParseCase{"-", false, 0},
                      SParseCase{"0x10", false, 0}, SParseCase{"12abc", false, 0},
                      SParseCase{"1 2", false, 0}, SParseCase{"3.5", false, 0}));

TEST(SplitStringTest, KeepsEmptyFieldsSoPositionsStayMeaningful) {
    EXPECT_EQ((std::vector<std::string>{"a", "", "b"}), SplitString("a,,b", ','));
    EXPECT_EQ((std::vector<std::string>{"", ""}), SplitString(",", ','));
    EXPECT_EQ((std::vector<std::string>{""}), SplitString("", ','));
    EXPECT_EQ((std::vector<std::string>{"LOG", "COM1", "BESTPOSB"}),
              SplitString("LOG COM1 BESTPOSB", ' '));
}

TEST(TrimTest, RemovesBlanksAndLineEndsAtBothEndsOnly) {
    EXPECT_EQ("a b", trim(" \t a b \r\n"));
    EXPECT_EQ("", trim(" \t\r\n"));
    EXPECT_EQ("x", trim("x"));
}

TEST(StringToUpperTest, LeavesNonLettersAlone) {
    EXPECT_EQ("LOG COM1 BESTPOSB ONTIME 1\r\n", StringToUpper("log com1 bestposb ontime 1\r\n"));
}

}  // namespace
