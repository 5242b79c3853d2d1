#include <gtest/gtest.h>

#include <ostream>
#include <string>

#include "control/NovatelAbbreviatedASCIICommand.h"

using Novatel::CNovatelAbbreviatedASCIICommand;

namespace {

std::string Rendered(CNovatelAbbreviatedASCIICommand& command, bool& result) {
    ByteVector bytes = {'o', 'l', 'd'};
    result = command.Render(bytes);
    return std::string(bytes.begin(), bytes.end());
}

TEST(NovatelAbbreviatedASCIICommandTest, StartsInvalidWithKindOneAndAttribute192) {
    CNovatelAbbreviatedASCIICommand command;
    EXPECT_FALSE(command.IsValid());
    EXPECT_EQ(1u, command.GetKind());
    EXPECT_EQ(192u, command.GetAttribute());
}

struct SRenderCase {
    const char* command;
    const char* arguments;
    bool valid;
    const char* line;  // what Render leaves in the vector
};

void PrintTo(const SRenderCase& c, std::ostream* os) {
    *os << ::testing::PrintToString(std::string(c.command) + "|" + c.arguments);
}

class RenderTest : public ::testing::TestWithParam<SRenderCase> {};

// Render replaces what the vector held; the blank after the word is always written.
TEST_P(RenderTest, ReplacesVectorWithExactLine) {
    const SRenderCase& c = GetParam();
    CNovatelAbbreviatedASCIICommand command;
    command.SetArguments(c.arguments);  // arguments first: validity follows the word only
    command.SetCommand(c.command);
    command.SetAttribute(7);  // takes no part in the line
    bool result = false;
    EXPECT_EQ(c.line, Rendered(command, result));
    EXPECT_EQ(c.valid, result);
    EXPECT_EQ(c.valid, command.IsValid());
}

INSTANTIATE_TEST_SUITE_P(Lines, RenderTest,
                         ::testing::Values(SRenderCase{"LOG", "BESTPOSB ONTIME 1", true,
                                                       "LOG BESTPOSB ONTIME 1\r\n"},
                                           SRenderCase{"FRESET", "", true, "FRESET \r\n"},
                                           SRenderCase{"", "BESTPOSB ONTIME 1", false, ""},
                                           SRenderCase{"", "", false, ""},
                                           // No case change, trimming or escaping.
                                           SRenderCase{" log", "ionutcb onchanged \t\"x\"", true,
                                                       " log ionutcb onchanged \t\"x\"\r\n"}));

TEST(NovatelAbbreviatedASCIICommandTest, BecomesInvalidAgainWhenWordIsCleared) {
    CNovatelAbbreviatedASCIICommand command;
    command.SetCommand("LOG");
    command.SetCommand("");
    bool result = true;
    EXPECT_EQ("", Rendered(command, result));
    EXPECT_FALSE(result);
}

}  // namespace
