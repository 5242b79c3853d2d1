// The configuration store within one process: parsing, integers, writing back.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <string>

#include "platform/Config/Config.h"
#include "tests/support/TestSupport.h"

namespace {

using TestSupport::ReadWholeFile;
using TestSupport::TempDir;
using TestSupport::WriteWholeFile;

const char kAbsent[] = "<absent>";

std::unique_ptr<CConfig> LoadText(const TempDir& dir, const std::string& text) {
    const std::string path = dir.File("system.conf");
    WriteWholeFile(path, text);
    return std::make_unique<CConfig>(path);
}

size_t CountLines(const std::string& text) {
    return static_cast<size_t>(std::count(text.begin(), text.end(), '\n'));
}

struct SParseCase {
    const char* name;
    const char* text;
    const char* section;
    const char* key;
    const char* expected;  // kAbsent when the default must come back
};

const SParseCase kParseCases[] = {
    {"PlainKey", "[Quillond]\nio_type = 3\n", "Quillond", "io_type", "3"},
    {"BlanksAroundKeyAndValueAreTrimmed", "[Q]\n \t input_filename\t=  /dev/ttyS1 \t\n", "Q",
     "input_filename", "/dev/ttyS1"},
    {"BlanksInsideHeaderAreTrimmed", "  [ Q ]  \nkey=v\n", "Q", "key", "v"},
    {"HashLineIsComment", "[Q]\n# key = hidden\n", "Q", "key", kAbsent},
    {"IndentedSemicolonLineIsComment", "[Q]\n   ; key = hidden\n", "Q", "key", kAbsent},
    {"HashInsideValueIsKept", "[Q]\nkey = a#b ;c\n", "Q", "key", "a#b ;c"},
    {"EqualsInsideValueIsKept", "[Q]\nkey = a=b\n", "Q", "key", "a=b"},
    {"EmptyValueIsPresentNotDefault", "[Q]\nkey =\n", "Q", "key", ""},
    {"SectionNamesAreCaseSensitive", "[quillond]\nkey = v\n", "Quillond", "key", kAbsent},
    {"KeyNamesAreCaseSensitive", "[Q]\nKey = v\n", "Q", "key", kAbsent},
    {"LastDuplicateKeyWins", "[Q]\nkey = first\nkey = second\n", "Q", "key", "second"},
    {"RepeatedSectionContinues", "[Q]\na = 1\n[R]\nb = 2\n[Q]\nc = 3\n", "Q", "c", "3"},
    {"RepeatedSectionKeepsEarlierKeys", "[Q]\na = 1\n[R]\nb = 2\n[Q]\nc = 3\n", "Q", "a", "1"},
    {"KeyBeforeAnyHeaderIsInEmptySection", "top = 1\n[Q]\n", "", "top", "1"},
    {"KeyBeforeAnyHeaderIsNotInNextSection", "top = 1\n[Q]\n", "Q", "top", kAbsent},
    {"HeaderMayCarryComment", "[Q] # main\nkey = v\n", "Q", "key", "v"},
    {"CrLfLineEndsAreTrimmed", "[Q]\r\nkey = v\r\n", "Q", "key", "v"},
    {"LastLineNeedsNoLineEnd", "[Q]\nkey = v", "Q", "key", "v"},
    {"KeyMayHoldBlanks", "[Q]\nmy key = v\n", "Q", "my key", "v"},
    {"LineWithoutEqualsIsSkipped", "[Q]\njunk\nkey = v\n", "Q", "key", "v"},
    {"UnterminatedHeaderLeavesPreviousSection", "[Q]\n[R\nkey = v\n", "Q", "key", "v"},
};

class ConfigParseTest : public ::testing::TestWithParam<SParseCase> {};

TEST_P(ConfigParseTest, ReadsValueAsDocumented) {
    const SParseCase& c = GetParam();
    TempDir dir;
    ::testing::internal::CaptureStderr();
    const auto config = LoadText(dir, c.text);
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(config->GetString(c.section, c.key, kAbsent), c.expected);
}

INSTANTIATE_TEST_SUITE_P(Cases, ConfigParseTest, ::testing::ValuesIn(kParseCases),
                         [](const ::testing::TestParamInfo<SParseCase>& info) {
                             return std::string(info.param.name);
                         });

TEST(ConfigTest, ReportsEachMalformedLineOnceWithFileAndLine) {
    TempDir dir;
    const std::string text = "[Q]\njunk line\n[Broken\n= no key\n[Q] extra\nkey = v\n";
    ::testing::internal::CaptureStderr();
    const auto config = LoadText(dir, text);
    config->SetString("Q", "other", "w");
    EXPECT_TRUE(config->Commit());  // re-reads the file: no second report
    const std::string errors = ::testing::internal::GetCapturedStderr();

    EXPECT_EQ(CountLines(errors), 4u) << errors;
    for (const char* where : {":2:", ":3:", ":4:", ":5:"}) {
        EXPECT_NE(errors.find(config->GetPath() + where), std::string::npos) << where << errors;
    }
    // Skipped, not dropped: the user's text is still in the file.
    EXPECT_EQ(ReadWholeFile(config->GetPath()), text + "other = w\n");
}

TEST(ConfigTest, MissingFileGivesDefaultsSilently) {
    TempDir dir;
    ::testing::internal::CaptureStderr();
    CConfig config(dir.File("absent.conf"));
    EXPECT_EQ(::testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(config.GetString("Quillond", "input_filename", "122"), "122");
    EXPECT_EQ(config.GetInteger("Quillond", "io_type", 3), 3);
}

TEST(ConfigTest, DirectoryInPlaceOfFileGivesDefaultsAndOneMessageAndCannotBeCommittedOver) {
    TempDir dir;
    ::testing::internal::CaptureStderr();
    CConfig config(dir.Path());
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(CountLines(errors), 1u) << errors;
    EXPECT_NE(errors.find(dir.Path()), std::string::npos) << errors;
    EXPECT_EQ(config.GetInteger("Quillond", "baud_rate", 230400), 230400);
    config.SetString("Q", "key", "v");
    ::testing::internal::CaptureStderr();
    EXPECT_FALSE(config.Commit());
    ::testing::internal::GetCapturedStderr();
    struct stat info;
    ASSERT_EQ(::stat(dir.Path().c_str(), &info), 0);
    EXPECT_TRUE(S_ISDIR(info.st_mode));
}

TEST(ConfigTest, UnreadableFileGivesDefaultsAndIsNeverOverwritten) {
    if (::geteuid() == 0) GTEST_SKIP() << "root reads any file";
    TempDir dir;
    const std::string path = dir.File("system.conf");
    WriteWholeFile(path, "[Q]\nkey = secret\n");
    ASSERT_EQ(::chmod(path.c_str(), 0), 0);
    ::testing::internal::CaptureStderr();
    CConfig config(path);
    config.SetString("Q", "other", "x");
    EXPECT_FALSE(config.Commit());
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(CountLines(errors), 2u) << errors;  // the load and the commit
    EXPECT_EQ(config.GetString("Q", "key", kAbsent), kAbsent);
    ASSERT_EQ(::chmod(path.c_str(), 0600), 0);
    EXPECT_EQ(ReadWholeFile(path), "[Q]\nkey = secret\n");
}

struct SIntegerCase {
    const char* text;
    bool valid;
    int32_t expected;
};

const SIntegerCase kIntegerCases[] = {
    {" 42 ", true, 42},
    {"-7", true, -7},
    {"+8", true, 8},
    {"2147483647", true, INT32_MAX},
    {"-2147483648", true, INT32_MIN},
    {"0x10", false, 0},
    {"12abc", false, 0},
    {"", false, 0},
    {"4.0", false, 0},
    {"1 2", false, 0},
    {"-", false, 0},
    {"2147483648", false, 0},
    {"-2147483649", false, 0},
    {"99999999999", false, 0},
    {"99999999999999999999999", false, 0},
};

class ConfigIntegerTest : public ::testing::TestWithParam<SIntegerCase> {};

TEST_P(ConfigIntegerTest, GivesNumberOrDefaultWithOneWarning) {
    const SIntegerCase& c = GetParam();
    TempDir dir;
    const auto config = LoadText(dir, std::string("[Quillond]\nbaud_rate = ") + c.text + "\n");
    ::testing::internal::CaptureStderr();
    const int32_t first = config->GetInteger("Quillond", "baud_rate", 230400);
    const int32_t second = config->GetInteger("Quillond", "baud_rate", 230400);
    const std::string errors = ::testing::internal::GetCapturedStderr();

    EXPECT_EQ(first, c.valid ? c.expected : 230400);
    EXPECT_EQ(second, first);
    if (c.valid) {
        EXPECT_EQ(errors, "");
    } else {
        EXPECT_EQ(CountLines(errors), 1u) << "warned on every read: " << errors;
        EXPECT_NE(errors.find(config->GetPath() + ":2:"), std::string::npos) << errors;
        EXPECT_NE(errors.find("baud_rate"), std::string::npos) << errors;
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, ConfigIntegerTest, ::testing::ValuesIn(kIntegerCases));

TEST(ConfigTest, SetValuesAreReadBackBeforeAndAfterCommit) {
    TempDir dir;
    const std::string path = dir.File("system.conf");
    {
        CConfig config(path);
        config.SetString("Quillond", "input_filename", " /dev/ttyS1 ");
        config.SetInteger("Quillond", "baud_rate", -115200);
        config.SetString("", "top", "level");
        EXPECT_EQ(config.GetString("Quillond", "input_filename", ""), "/dev/ttyS1");
        EXPECT_EQ(config.GetInteger("Quillond", "baud_rate", 0), -115200);
        ASSERT_TRUE(config.Commit());
    }
    CConfig reloaded(path);
    EXPECT_EQ(reloaded.GetString("Quillond", "input_filename", ""), "/dev/ttyS1");
    EXPECT_EQ(reloaded.GetInteger("Quillond", "baud_rate", 0), -115200);
    EXPECT_EQ(reloaded.GetString("", "top", ""), "level");
}

TEST(ConfigTest, CommitKeepsCommentsOrderAndUnknownSections) {
    TempDir dir;
    const auto config = LoadText(dir,
                                 "# quillond settings\n"
                                 "[Quillond]\n"
                                 "io_type = 1   \n"
                                 "; serial device\n"
                                 "input_filename=/dev/ttyS1\n"
                                 "\n"
                                 "[Other]\n"
                                 "zeta = 1\n"
                                 "alpha = 2\n");
    config->SetInteger("Quillond", "io_type", 3);
    config->SetInteger("Quillond", "baud_rate", 230400);
    config->SetString("Extra", "x", "1");
    ASSERT_TRUE(config->Commit());
    EXPECT_EQ(ReadWholeFile(config->GetPath()),
              "# quillond settings\n"
              "[Quillond]\n"
              "io_type = 3\n"
              "; serial device\n"
              "input_filename=/dev/ttyS1\n"
              "baud_rate = 230400\n"
              "\n"
              "[Other]\n"
              "zeta = 1\n"
              "alpha = 2\n"
              "\n"
              "[Extra]\n"
              "x = 1\n");
}

TEST(ConfigTest, CommitRewritesTheDuplicateThatIsInEffect) {
    TempDir dir;
    const auto config = LoadText(dir, "[Q]\nkey = first\nkey = second\n");
    config->SetString("Q", "key", "third");
    ASSERT_TRUE(config->Commit());
    EXPECT_EQ(ReadWholeFile(config->GetPath()), "[Q]\nkey = first\nkey = third\n");
    EXPECT_EQ(CConfig(config->GetPath()).GetString("Q", "key", ""), "third");
}

TEST(ConfigTest, RefusesWhatTheFileCannotHold) {
    TempDir dir;
    CConfig config(dir.File("system.conf"));
    ::testing::internal::CaptureStderr();
    config.SetString("Q", "key", "two\nlines");
    config.SetString("Q", "a=b", "v");
    config.SetString("Q", "", "v");
    config.SetString("Q", "#key", "v");
    config.SetString("Q]", "key", "v");
    const std::string errors = ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(CountLines(errors), 5u) << errors;
    EXPECT_EQ(config.GetString("Q", "key", kAbsent), kAbsent);
    EXPECT_EQ(config.GetString("Q", "a=b", kAbsent), kAbsent);
}

TEST(ConfigTest, StaleTemporaryFileDoesNotBreakCommit) {
    TempDir dir;
    const std::string path = dir.File("system.conf");
    WriteWholeFile(path + ".tmp", "half-written garbage");
    ASSERT_EQ(::chmod((path + ".tmp").c_str(), 0444), 0);
    CConfig config(path);
    config.SetString("Q", "key", "v");
    ASSERT_TRUE(config.Commit());
    EXPECT_EQ(ReadWholeFile(path), "[Q]\nkey = v\n");
    EXPECT_NE(::access((path + ".tmp").c_str(), F_OK), 0);
}

TEST(ConfigTest, CommitKeepsFilePermissions) {
    TempDir dir;
    const auto config = LoadText(dir, "[Q]\n");
    ASSERT_EQ(::chmod(config->GetPath().c_str(), 0600), 0);
    config->SetString("Q", "key", "v");
    ASSERT_TRUE(config->Commit());
    struct stat info;
    ASSERT_EQ(::stat(config->GetPath().c_str(), &info), 0);
    EXPECT_EQ(info.st_mode & 0777, 0600u);
}

}  // namespace
