// quillond-mkcapture: writes a raw capture of synthetic receiver traffic, one
// epoch per second: TIME and BESTPOS binary logs and an NMEA GPGGA sentence,
// for a receiver circling slowly around a fixed point.

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iostream>
#include <string>

#include "platform/Core/Maths.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace {

const uint16_t kTimeMessageId = 101;
const uint16_t kBestPosMessageId = 42;

void PrintUsage(std::ostream& out) {
    out << "Usage: quillond-mkcapture [-n epochs] [-w week] [-s seconds] OUTPUT\n"
           "Writes a raw capture of synthetic receiver traffic: per one-second epoch a TIME\n"
           "and a BESTPOS binary log and a GPGGA sentence.\n"
           "  -n epochs   number of epochs (default 10)\n"
           "  -w week     GPS week of the first epoch (default 2390)\n"
           "  -s seconds  GPS seconds of week of the first epoch (default 345600)\n";
}

bool ParseNumber(const char* text, long& value) {
    char* end = nullptr;
    value = std::strtol(text, &end, 10);
    return end != text && *end == '\0' && value >= 0;
}

ByteVector TimeBody(uint32_t milliseconds) {
    uint32_t secondOfDay = (milliseconds / 1000) % 86400;
    return Tools::CBodyWriter()
        .U32(0)       // clock status: valid
        .F64(1.2e-9)  // receiver clock offset, s
        .F64(3.0e-9)  // its standard deviation, s
        .F64(-18.0)   // GPS to UTC offset, s
        .U32(2025)
        .U8(10)
        .U8(21)
        .U8(static_cast<uint8_t>(secondOfDay / 3600))
        .U8(static_cast<uint8_t>(secondOfDay / 60 % 60))
        .U32(secondOfDay % 60 * 1000)
        .U32(1)  // UTC status: valid
        .Bytes();
}

ByteVector BestPosBody(double latitude, double longitude, double height) {
    return Tools::CBodyWriter()
        .U32(0)   // solution computed
        .U32(16)  // single point
        .F64(latitude)
        .F64(longitude)
        .F64(height)
        .F32(47.3f)  // undulation, m
        .U32(61)     // WGS84
        .F32(1.2f)
        .F32(1.1f)
        .F32(2.3f)
        .Text("0", 4)
        .F32(0.0f)
        .F32(0.0f)
        .U8(9)
        .U8(8)
        .U8(8)
        .U8(8)
        .U8(0)
        .U8(0)
        .U8(0)
        .U8(3)
        .Bytes();
}

std::string Gpgga(uint32_t milliseconds, double latitude, double longitude, double height) {
    uint32_t secondOfDay = (milliseconds / 1000 + 86400 - 18) % 86400;
    auto degreesMinutes = [](double degrees, int width) {
        double whole = std::floor(std::fabs(degrees));
        double minutes = (std::fabs(degrees) - whole) * 60.0;
        char text[32];
        std::snprintf(text, sizeof text, "%0*d%07.4f", width, static_cast<int>(whole), minutes);
        return std::string(text);
    };
    char body[160];
    std::snprintf(body, sizeof body, "GPGGA,%02u%02u%02u.00,%s,%c,%s,%c,1,08,1.1,%.3f,M,47.300,M,,",
                  secondOfDay / 3600, secondOfDay / 60 % 60, secondOfDay % 60,
                  degreesMinutes(latitude, 2).c_str(), latitude < 0 ? 'S' : 'N',
                  degreesMinutes(longitude, 3).c_str(), longitude < 0 ? 'W' : 'E', height - 47.3);
    unsigned char checksum = 0;
    for (const char* c = body; *c; ++c) checksum ^= static_cast<unsigned char>(*c);
    char sentence[200];
    std::snprintf(sentence, sizeof sentence, "$%s*%02X\r\n", body, checksum);
    return sentence;
}

}  // namespace

int main(int argc, char* argv[]) {
    long epochs = 10, week = 2390, seconds = 345600;
    const char* output = nullptr;
    for (int i = 1; i < argc; ++i) {
        std::string argument = argv[i];
        if (argument == "-h" || argument == "--help") {
            PrintUsage(std::cout);
            return 0;
        }
        long* target = argument == "-n"   ? &epochs
                       : argument == "-w" ? &week
                       : argument == "-s" ? &seconds
                                          : nullptr;
        if (target) {
            if (i + 1 >= argc || !ParseNumber(argv[++i], *target)) {
                std::cerr << "quillond-mkcapture: " << argument << " needs a whole number\n";
                return 2;
            }
        } else if (!output && argument[0] != '-') {
            output = argv[i];
        } else {
            std::cerr << "quillond-mkcapture: unexpected argument \"" << argument << "\"\n";
            PrintUsage(std::cerr);
            return 2;
        }
    }
    if (!output) {
        PrintUsage(std::cerr);
        return 2;
    }
    std::ofstream out(output, std::ios::binary | std::ios::trunc);
    if (!out) {
        std::cerr << "quillond-mkcapture: cannot write " << output << ": " << std::strerror(errno)
                  << "\n";
        return 1;
    }

    const double centreLatitude = 51.4779, centreLongitude = -0.0015, height = 92.0;
    for (long epoch = 0; epoch < epochs; ++epoch) {
        Tools::SFrameHeader header;
        header.week =
            static_cast<uint16_t>(week + (seconds + epoch) / Core::Maths::SECONDS_PER_WEEK);
        header.milliseconds =
            static_cast<uint32_t>((seconds + epoch) % Core::Maths::SECONDS_PER_WEEK * 1000);
        header.sequence = 0;
        double angle = 2.0 * Core::Maths::PI * static_cast<double>(epoch) / 60.0;
        double latitude = centreLatitude + 1e-5 * std::sin(angle);
        double longitude = centreLongitude + 1e-5 * std::cos(angle);

        header.messageId = kTimeMessageId;
        ByteVector frame = Tools::BuildBinaryFrame(header, TimeBody(header.milliseconds));
        header.messageId = kBestPosMessageId;
        ByteVector position =
            Tools::BuildBinaryFrame(header, BestPosBody(latitude, longitude, height));
        frame.insert(frame.end(), position.begin(), position.end());
        std::string gga = Gpgga(header.milliseconds, latitude, longitude, height);
        frame.insert(frame.end(), gga.begin(), gga.end());
        out.write(reinterpret_cast<const char*>(frame.data()),
                  static_cast<std::streamsize>(frame.size()));
    }
    out.close();
    if (!out) {
        std::cerr << "quillond-mkcapture: write to " << output << " failed\n";
        return 1;
    }
    return 0;
}
