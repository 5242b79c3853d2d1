// The texts published for the receiver's numbers: status and error word bits,
// SBAS systems by PRN, port protocols, VERSION component types.

#include <gtest/gtest.h>

#include <cstdint>
#include <string>

#include "LogObserver/ReceiverStatusTexts.h"

namespace {

using namespace ReceiverStatusTexts;

TEST(ReceiverStatusTextsTest, StatusWordJoinsSetBitTextsInBitOrder) {
    struct SCase {
        uint32_t word;
        const char* text;
    } cases[] = {
        {0x00000000, ""},
        {0x00000081, "Error,CPU overload,"},
        {0x00000001, "Error,"},
        {0x80000000, "Auxiliary 1 status event,"},
        {0x60000000, "Auxiliary 3 status event,Auxiliary 2 status event,"},
        // Bits 13, 14, 26, 27 and 28 have no text.
        {0x1C006000, ""},
        {0x00800000, "external oscillator,"},
        {0x00018000, "L1 AGC error,Reserved,"},
        {0x02000010, "Reserved 1,Reserved 4,"},
        {0x00001F00,
         "COM1 buffer overrun,COM2 buffer overrun,COM3 buffer overrun,USB buffer overrun,"
         "Reserved 2,"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.text, StatusWordText(c.word)) << std::hex << c.word;
}

TEST(ReceiverStatusTextsTest, ErrorWordIsNoErrorsWhenZeroAndIgnoresUnnamedBits) {
    struct SCase {
        uint32_t word;
        const char* text;
    } cases[] = {
        {0x00000000, "No Errors"},
        {0x00000008, ""},  // bit 3 has no text
        {0x00000001, "DRAM Error,"},
        {0x00000280, "Supply voltage outside limits,Temperature outside limits,"},
        {0x00310000, "Software resource limit,Remote loading has begun,Export restriction error,"},
        {0x80008000, "NVM Error,Component hardware failure,"},
        {0x00007C00,
         "MINOS5 error,L1 PLL hardware error,L2 PLL hardware error,L1 hardware error,L2 hardware "
         "error,"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.text, ErrorWordText(c.word)) << std::hex << c.word;
}

TEST(ReceiverStatusTextsTest, SbasSystemOfEachKnownPrnAndEmptyForOthers) {
    struct SCase {
        int32_t prn;
        const char* system;
    } cases[] = {
        {122, "WAAS"},  {134, "WAAS"},  {135, "WAAS"},  {138, "WAAS"}, {120, "EGNOS"},
        {124, "EGNOS"}, {126, "EGNOS"}, {131, "EGNOS"}, {129, "MSAS"}, {137, "MSAS"},
        {133, ""},      {121, ""},      {0, ""},        {-1, ""},      {158, ""},
    };
    for (const auto& c : cases) EXPECT_EQ(c.system, SBASSystemName(c.prn)) << c.prn;
}

TEST(ReceiverStatusTextsTest, PortProtocolModesWithoutNameAreUnknownWithTheirNumber) {
    struct SCase {
        uint32_t mode;
        const char* name;
    } cases[] = {
        {0, "NONE"},           {10, "TCOM1"},        {11, "UNKNOWN (11)"}, {12, "TCOM2"},
        {15, "NOVATELBINARY"}, {16, "UNKNOWN (16)"}, {17, "UNKNOWN (17)"}, {18, "GENERIC"},
        {19, "UNKNOWN (19)"},  {20, "MRTCA"},        {21, "UNKNOWN (21)"}, {1000, "UNKNOWN (1000)"},
    };
    for (const auto& c : cases) EXPECT_EQ(c.name, PortProtocolName(c.mode)) << c.mode;
}

TEST(ReceiverStatusTextsTest, ComponentTypeNamesKnownTypesAndNumbersOthers) {
    EXPECT_EQ("GPSCARD", ComponentTypeName(1));
    EXPECT_EQ("ENCLOSURE", ComponentTypeName(3));
    EXPECT_EQ("USERINFO", ComponentTypeName(8));
    EXPECT_EQ("DB_WWWISO", ComponentTypeName(981073928));
    EXPECT_EQ("4", ComponentTypeName(4));
    EXPECT_EQ("4294967295", ComponentTypeName(0xFFFFFFFF));
}

}  // namespace
