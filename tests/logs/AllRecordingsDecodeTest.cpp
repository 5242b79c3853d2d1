// Every real recording present is framed and decoded as the port handler does
// it (each chunk to every framer, each sentence through the record factory),
// in a child process: a log class that ends the process on a real frame fails
// the recording it came from, with the child's last words in the report.

#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/framing/FramingTestSupport.h"

namespace {

// The port handler's default read size: it reads at most this many bytes at a time.
const size_t kChunkSize = 1024;

// The recordings in the shared captures directory (its README aside), sorted;
// none when the directory cannot be read.
std::vector<std::string> Recordings() {
    std::vector<std::string> names;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator(QUILLOND_CAPTURES_DIR, error)) {
        const std::string name = entry.path().filename().string();
        if (name[0] == '.' || name == "README.md") continue;
        names.push_back(name);
    }
    std::sort(names.begin(), names.end());
    return names;
}

// Frames the whole recording with all three framers fed the same chunks and
// turns every sentence into its record, which is then deleted.
void DecodeRecording(const std::string& path) {
    const ByteVector stream = FramingTest::ReadCapture(path);
    Novatel::CNovatelBinarySentenceConstructor binaryFramer;
    Novatel::CNovatelASCIISentenceConstructor asciiFramer;
    CNMEASentenceConstructor nmeaFramer;
    CSentenceConstructor* framers[] = {&binaryFramer, &asciiFramer, &nmeaFramer};
    for (size_t at = 0; at < stream.size(); at += kChunkSize) {
        const size_t end = std::min(at + kChunkSize, stream.size());
        const ByteVector chunk(stream.begin() + static_cast<std::ptrdiff_t>(at),
                               stream.begin() + static_cast<std::ptrdiff_t>(end));
        for (CSentenceConstructor* framer : framers) {
            framer->AddData(chunk);
            ByteVector sentence;
            int result;
            while ((result = framer->GetSentence(sentence)) != 0) {
                if (result == 1) delete CreateRecord(sentence);
            }
        }
    }
}

class AllRecordingsDecode : public ::testing::TestWithParam<std::string> {};

TEST_P(AllRecordingsDecode, WithoutEndingTheProcess) {
    const std::string path = std::string(QUILLOND_CAPTURES_DIR) + "/" + GetParam();
    EXPECT_EXIT(
        {
            DecodeRecording(path);
            std::exit(0);
        },
        ::testing::ExitedWithCode(0), "")
        << GetParam();
}

INSTANTIATE_TEST_SUITE_P(Captures, AllRecordingsDecode, ::testing::ValuesIn(Recordings()),
                         [](const ::testing::TestParamInfo<std::string>& info) {
                             return FramingTest::RecordingTestName(info.param.c_str());
                         });
// Without the captures directory there is nothing to instantiate.
GTEST_ALLOW_UNINSTANTIATED_PARAMETERIZED_TEST(AllRecordingsDecode);

// Guards the test above against passing by finding nothing to decode.
TEST(AllRecordingsListing, FindsTheRecordingsOfAReadableDirectory) {
    if (access(QUILLOND_CAPTURES_DIR, R_OK) != 0) {
        GTEST_SKIP() << "no recordings in " << QUILLOND_CAPTURES_DIR;
    }
    EXPECT_FALSE(Recordings().empty()) << QUILLOND_CAPTURES_DIR;
}

}  // namespace
