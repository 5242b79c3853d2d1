#include <gtest/gtest.h>

#include <sstream>
#include <string>
#include <vector>

#include "main/ProgramOptions.h"
#include "platform/Config/Config.h"
#include "tests/support/TestSupport.h"

namespace {

// getopt wants writable argv.
bool Parse(SProgramOptions& options, std::vector<std::string> arguments,
           std::string* errors = nullptr) {
    arguments.insert(arguments.begin(), "quillond");
    std::vector<char*> argv;
    for (std::string& argument : arguments) argv.push_back(&argument[0]);
    argv.push_back(nullptr);
    std::ostringstream messages;
    bool accepted =
        ApplyCommandLine(options, static_cast<int>(arguments.size()), argv.data(), messages);
    if (errors) *errors = messages.str();
    return accepted;
}

TEST(ProgramOptionsTest, EmptyStoreGivesPortRouterSoftbreakAt230400) {
    TestSupport::TempDir dir;
    CConfig config(dir.File("absent.conf"));
    SProgramOptions options;
    ApplyConfiguration(options, config);
    EXPECT_TRUE(options.IsTolvek());
    EXPECT_EQ("122", options.GetInputName());
    EXPECT_EQ(BREAKOUT_SOFTBREAK, options.GetBreakoutMode());
    EXPECT_EQ(230400, options.GetBaudRate());
    // Only these survive from the built-in layer.
    EXPECT_EQ(100, options.GetReadTimeout());
    EXPECT_EQ(1024, options.GetReadSize());
    EXPECT_TRUE(options.GetElevatePriority());
    EXPECT_FALSE(options.GetDisplayPackets());
}

TEST(ProgramOptionsTest, CommandLineOverridesStoreFieldByField) {
    TestSupport::TempDir dir;
    TestSupport::WriteWholeFile(
        dir.File("system.conf"),
        "[Quillond]\nio_type = 1\ninput_filename = /dev/ttyS3\n"
        "baud_rate = 57600\nbreakout_mode = 2\nconfiguration_file = rx.cfg\n");
    CConfig config(dir.File("system.conf"));
    SProgramOptions options;
    ApplyConfiguration(options, config);
    ASSERT_TRUE(Parse(options, {"-b", "9600", "-z", "4096", "-t", "250", "-p", "-d"}));
    EXPECT_TRUE(options.IsSerial());
    EXPECT_EQ("/dev/ttyS3", options.GetInputName());
    EXPECT_EQ(9600, options.GetBaudRate());
    EXPECT_EQ(BREAKOUT_BREAK, options.GetBreakoutMode());
    EXPECT_EQ("rx.cfg", options.GetConfigurationFile());
    EXPECT_EQ(4096, options.GetReadSize());
    EXPECT_EQ(250, options.GetReadTimeout());
    EXPECT_FALSE(options.GetElevatePriority());
    EXPECT_TRUE(options.GetDisplayPackets());
}

TEST(ProgramOptionsTest, LastSourceOptionWinsForTypeAndName) {
    struct SCase {
        std::vector<std::string> arguments;
        int32_t ioType;
        const char* name;
    } cases[] = {
        {{"-s", "/dev/ttyS1", "-f", "x.bin"}, IO_TYPE_FILE, "x.bin"},
        {{"-f", "x.bin", "-s", "/dev/ttyS1"}, IO_TYPE_SERIAL, "/dev/ttyS1"},
        {{"-k", "7", "-r", "log.qlog"}, IO_TYPE_REPLAY, "log.qlog"},
        {{"-r", "log.qlog", "-k", "7"}, IO_TYPE_TOLVEK, "7"},
    };
    for (const SCase& c : cases) {
        SProgramOptions options;
        ASSERT_TRUE(Parse(options, c.arguments));
        EXPECT_EQ(c.ioType, options.GetIoType()) << c.name;
        EXPECT_EQ(c.name, options.GetInputName());
    }
}

TEST(ProgramOptionsTest, BreakoutNamesAreExactAndCaseSensitive) {
    const char* names[] = {"none", "lb2", "break", "softbreak"};
    for (int mode = 0; mode < 4; ++mode) {
        SProgramOptions options;
        ASSERT_TRUE(Parse(options, {"-u", names[mode]}));
        EXPECT_EQ(mode, options.GetBreakoutMode());
    }
    for (const char* rejected : {"LB2", "Break", "soft", ""}) {
        SProgramOptions options;
        std::string errors;
        EXPECT_FALSE(Parse(options, {"-u", rejected}, &errors));
        EXPECT_EQ(std::string("Unrecognised argument \"") + rejected + "\" for 'u'\n\n", errors);
    }
}

TEST(ProgramOptionsTest, UnknownOptionNamesItsCharacterCode) {
    struct SCase {
        std::vector<std::string> arguments;
        const char* message;
    } cases[] = {
        {{"-d", "-h"}, "Unrecognised argument \"104\"\n\n"},
        {{"-x"}, "Unrecognised argument \"120\"\n\n"},
        // An option whose value is missing is reported the same way.
        {{"-f"}, "Unrecognised argument \"102\"\n\n"},
    };
    for (const SCase& c : cases) {
        SProgramOptions options;
        std::string errors;
        EXPECT_FALSE(Parse(options, c.arguments, &errors));
        EXPECT_EQ(c.message, errors);
    }
}

TEST(ProgramOptionsTest, NumbersAreReadLikeStrtolWithoutRangeChecks) {
    SProgramOptions options;
    ASSERT_TRUE(Parse(options, {"-b", "115200baud", "-z", "junk"}));
    EXPECT_EQ(115200, options.GetBaudRate());
    EXPECT_EQ(0, options.GetReadSize());
}

TEST(ProgramOptionsTest, HelpOnlyAsTheSingleArgument) {
    char program[] = "quillond";
    char shortHelp[] = "-h";
    char longHelp[] = "--help";
    char display[] = "-d";
    char* alone[] = {program, shortHelp, nullptr};
    char* aloneLong[] = {program, longHelp, nullptr};
    char* withOther[] = {program, display, shortHelp, nullptr};
    EXPECT_TRUE(IsHelpRequest(2, alone));
    EXPECT_TRUE(IsHelpRequest(2, aloneLong));
    EXPECT_FALSE(IsHelpRequest(3, withOther));
}

}  // namespace
