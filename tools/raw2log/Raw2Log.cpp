// quillond-raw2log: turns a raw capture of the receiver's byte stream into a
// recorded log that the replay source plays back at the recorded pace.
//
// The capture is cut into chunks; each chunk becomes one record, stamped with
// the GPS time of the first NovAtel binary frame that starts in it.

#include <getopt.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "platform/LogFile/LogFileFormat.h"
#include "platform/LogFile/LogFileWriter.h"
#include "tools/raw2log/FrameClock.h"

namespace {

const char kProgram[] = "quillond-raw2log";

const char kUsage[] =
    "Usage: quillond-raw2log [-z chunk] INPUT.raw OUTPUT.qlog\n"
    "\n"
    "Turns a raw capture of the receiver's byte stream into a recorded log for\n"
    "the replay source (quillond -r). The capture is cut into chunks, each\n"
    "written as one record stamped with the GPS time (week * 604800 +\n"
    "milliseconds / 1000) of the first NovAtel binary frame with a correct CRC\n"
    "that starts in the chunk. A chunk without such a frame keeps the previous\n"
    "stamp; chunks before the first frame get the first stamp found, or 0 when\n"
    "the capture holds no frame at all. OUTPUT is created or replaced.\n"
    "\n"
    "  -z chunk    bytes per record, 1 to 1048576 (default 1024)\n"
    "  -h, --help  print this help and exit\n";

const int kExitFailure = 1;
const int kExitUsage = 2;

struct SOptions {
    size_t chunkSize = 1024;
    std::string input;
    std::string output;
};

int UsageError(const char* format, const char* argument) {
    std::fprintf(stderr, "%s: ", kProgram);
    std::fprintf(stderr, format, argument);
    std::fprintf(stderr, "\nTry '%s --help' for more information.\n", kProgram);
    return kExitUsage;
}

// Returns -1 to go on, otherwise the exit status.
int ParseArguments(int argc, char** argv, SOptions& options) {
    static const struct option kLongOptions[] = {{"help", no_argument, nullptr, 'h'},
                                                 {nullptr, 0, nullptr, 0}};
    int option;
    while ((option = getopt_long(argc, argv, "hz:", kLongOptions, nullptr)) != -1) {
        switch (option) {
            case 'h':
                std::fputs(kUsage, stdout);
                return 0;
            case 'z': {
                char* end = nullptr;
                errno = 0;
                unsigned long size = std::strtoul(optarg, &end, 10);
                if (errno != 0 || end == optarg || *end != '\0' || optarg[0] == '-' || size == 0 ||
                    size > LogFileFormat::kMaxRecordSize) {
                    return UsageError("invalid chunk size '%s' (1 to 1048576 bytes)", optarg);
                }
                options.chunkSize = size;
                break;
            }
            default:  // getopt has named the fault already
                std::fprintf(stderr, "Try '%s --help' for more information.\n", kProgram);
                return kExitUsage;
        }
    }
    if (argc - optind != 2) {
        return UsageError("%s", "expected INPUT and OUTPUT");
    }
    options.input = argv[optind];
    options.output = argv[optind + 1];
    return -1;
}

struct SCounts {
    unsigned long long records = 0;
    unsigned long long bytes = 0;
    unsigned long long framed = 0;  // records whose stamp came from a frame inside them
};

// Reads the capture chunk by chunk, keeping enough bytes beyond each chunk to
// check a frame that starts in it but ends in a later one.
int Convert(FILE* input, const SOptions& options, CLogFileWriter& writer, SCounts& counts) {
    const size_t wanted = options.chunkSize + Raw2Log::kMaxFrameSize - 1;
    std::vector<uint8_t> window;
    bool atEnd = false;
    double stamp = 0.0;
    bool haveStamp = false;
    // Chunks before the first frame wait here for its stamp.
    std::vector<std::string> waiting;

    for (;;) {
        while (!atEnd && window.size() < wanted) {
            const size_t old = window.size();
            window.resize(wanted);
            const size_t got = std::fread(&window[old], 1, wanted - old, input);
            window.resize(old + got);
            if (got == 0) {
                if (std::ferror(input)) {
                    std::fprintf(stderr, "%s: %s: read error: %s\n", kProgram,
                                 options.input.c_str(), std::strerror(errno));
                    return kExitFailure;
                }
                atEnd = true;
            }
        }
        if (window.empty()) break;

        const size_t chunkLength = std::min(options.chunkSize, window.size());
        double frameTime = 0.0;
        const bool framed =
            Raw2Log::FindFirstFrameTime(window.data(), window.size(), chunkLength, frameTime);
        const auto chunkEnd = window.begin() + static_cast<std::ptrdiff_t>(chunkLength);
        std::string chunk(window.begin(), chunkEnd);
        window.erase(window.begin(), chunkEnd);

        if (framed) {
            stamp = frameTime;
            ++counts.framed;
            if (!haveStamp) {
                for (const std::string& early : waiting) {
                    if (!writer.Write(stamp, early)) return kExitFailure;
                }
                waiting.clear();
                haveStamp = true;
            }
        }
        if (haveStamp) {
            if (!writer.Write(stamp, chunk)) return kExitFailure;
        } else {
            waiting.push_back(std::move(chunk));
        }
        ++counts.records;
        counts.bytes += chunkLength;
    }
    for (const std::string& early : waiting) {
        if (!writer.Write(0.0, early)) return kExitFailure;
    }
    return 0;
}

bool SameFile(FILE* input, const std::string& outputPath) {
    struct stat in {};
    struct stat out {};
    return ::fstat(fileno(input), &in) == 0 && ::stat(outputPath.c_str(), &out) == 0 &&
           in.st_dev == out.st_dev && in.st_ino == out.st_ino;
}

}  // namespace

int main(int argc, char** argv) {
    SOptions options;
    int status = ParseArguments(argc, argv, options);
    if (status >= 0) return status;

    FILE* input = std::fopen(options.input.c_str(), "rb");
    if (input == nullptr) {
        std::fprintf(stderr, "%s: cannot open %s: %s\n", kProgram, options.input.c_str(),
                     std::strerror(errno));
        return kExitFailure;
    }
    if (SameFile(input, options.output)) {
        std::fprintf(stderr, "%s: %s: output is the input; refusing to overwrite it\n", kProgram,
                     options.output.c_str());
        std::fclose(input);
        return kExitFailure;
    }

    CLogFileWriter writer;
    if (!writer.Open(options.output)) {
        std::fclose(input);
        return kExitFailure;
    }
    SCounts counts;
    status = Convert(input, options, writer, counts);
    std::fclose(input);
    if (!writer.Close() || status != 0) {
        std::fprintf(stderr, "%s: %s is incomplete\n", kProgram, options.output.c_str());
        return kExitFailure;
    }
    std::printf("%s: wrote %llu bytes to %s: records %llu, stamped by their own frame %llu\n",
                kProgram, counts.bytes, options.output.c_str(), counts.records, counts.framed);
    return 0;
}
