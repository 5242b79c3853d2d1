#include <gtest/gtest.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "LogObserver/ScreenDumpObserver.h"
#include "Logs/NovatelOEMV/NMEARecord.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace {

ByteVector Frame(uint16_t messageId, uint8_t messageType, const ByteVector& body, uint16_t week,
                 uint32_t milliseconds) {
    Tools::SFrameHeader header;
    header.messageId = messageId;
    header.messageType = messageType;
    header.week = week;
    header.milliseconds = milliseconds;
    return Tools::BuildBinaryFrame(header, body);
}

std::string Dump(const ByteVector& sentence) {
    std::ostringstream out;
    CScreenDumpObserver observer(out);
    std::unique_ptr<CGPSRecord> record(CreateRecord(sentence));
    observer.NewPacket(record.get());
    return out.str();
}

TEST(ScreenDumpObserverTest, PacketLineUsesDefaultStreamNotationForSeconds) {
    struct SCase {
        uint32_t milliseconds;
        const char* seconds;
    } cases[] = {{412345250, "412345"}, {86400500, "86400.5"}, {0, "0"}, {604799900, "604800"}};
    for (const SCase& c : cases) {
        EXPECT_EQ(std::string("ID = 42, size = 72, week = 1520, seconds = ") + c.seconds + "\n",
                  Dump(Frame(42, 0, ByteVector(72, 0), 1520, c.milliseconds)));
    }
}

// Seconds are formatted without the stream; they must read exactly as the stream's
// default notation would write them, rounding ties and switching to exponents alike.
TEST(ScreenDumpObserverTest, SecondsMatchTheStreamsDefaultNotationOverTheWholeRange) {
    std::vector<uint32_t> milliseconds = {1,         5,         999,        1000,
                                          1234567,   100000500, 100001500,  999999499,
                                          999999500, 999999999, 1000000000, 4294967295u};
    for (uint32_t value = 7; value < 4000000000u; value = value * 3 + 11) {
        milliseconds.push_back(value);
    }
    for (uint32_t value : milliseconds) {
        std::ostringstream expected;
        expected << "ID = 42, size = 0, week = 3, seconds = " << value / 1000.0 << "\n";
        EXPECT_EQ(expected.str(), Dump(Frame(42, 0, ByteVector(), 3, value))) << value;
    }
}

TEST(ScreenDumpObserverTest, EmptyBodyPrintsSizeZero) {
    EXPECT_EQ("ID = 8, size = 0, week = 1, seconds = 2\n",
              Dump(Frame(8, 0, ByteVector(), 1, 2000)));
}

TEST(ScreenDumpObserverTest, ResponseGetsASecondLineWithItsIdAndText) {
    ByteVector ok = Tools::CBodyWriter().U32(1).Text("OK", 2).Bytes();
    EXPECT_EQ("ID = 1, size = 6, week = 0, seconds = 0\nResponse: Log=1, ID=1: \"OK\"\n",
              Dump(Frame(1, 0x80, ok, 0, 0)));
    ByteVector empty = Tools::CBodyWriter().U32(7).Bytes();
    EXPECT_EQ("ID = 42, size = 4, week = 0, seconds = 0\nResponse: Log=42, ID=7: \"\"\n",
              Dump(Frame(42, 0x80, empty, 0, 0)));
}

TEST(ScreenDumpObserverTest, NmeaAndNullRecordsPrintNothing) {
    std::string gga = "$GPZDA,120000.00,21,11,2026,,*60\r\n";
    EXPECT_EQ("", Dump(ByteVector(gga.begin(), gga.end())));
    std::ostringstream out;
    CScreenDumpObserver(out).NewPacket(nullptr);
    EXPECT_EQ("", out.str());
}

}  // namespace
