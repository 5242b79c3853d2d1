// The record factory: the order of its tests (first byte, response bit,
// message ID), the binary command response it makes, and every sentence of real recordings, framed
// by the real framers, turned into the record it should be.

#include <gtest/gtest.h>

#include <memory>
#include <ostream>
#include <string>
#include <typeinfo>

#include "Logs/NovatelOEMV/NMEARecord.h"
#include "Logs/NovatelOEMV/NMEASentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelASCIISentenceConstructor.h"
#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryResponse.h"
#include "Logs/NovatelOEMV/NovatelBinaryFields.h"
#include "Logs/NovatelOEMV/NovatelBinarySentenceConstructor.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;
using Novatel::CNovatelBinaryRecord;
using Novatel::CNovatelBinaryResponse;

namespace {

typedef std::unique_ptr<CGPSRecord> RecordPtr;

ByteVector TypedFrame(uint16_t messageId, uint8_t messageType, const ByteVector& body) {
    Tools::SFrameHeader header;
    header.messageId = messageId;
    header.messageType = messageType;
    return Tools::BuildBinaryFrame(header, body);
}

TEST(RecordFactory, DollarMakesNmeaRecordWhateverFollows) {
    const ByteVector binaryAfterDollar = Join({Bytes("$"), BinaryFrame(42, CountingBody(8))});
    for (const ByteVector& sentence :
         {Bytes(NmeaSentence("GPGSV,1,1,01,05,40,083,46")), Bytes("$"), binaryAfterDollar}) {
        const RecordPtr record(CreateRecord(sentence));
        const CNMEARecord* nmea = dynamic_cast<const CNMEARecord*>(record.get());
        ASSERT_NE(nmea, nullptr) << Text(sentence);
        EXPECT_EQ(nmea->GetSentence(), Text(sentence));
    }
}

TEST(RecordFactory, NovatelAsciiSentenceMakesNoRecord) {
    EXPECT_EQ(CreateRecord(Bytes(AsciiSentence("BESTPOSA,COM1,0,78.5,FINESTEERING;SOL_COMPUTED"))),
              nullptr);
    EXPECT_EQ(CreateRecord(Bytes("#")), nullptr);
}

TEST(RecordFactory, ResponseBitMakesResponseWhateverTheMessageId) {
    const ByteVector body = Tools::CBodyWriter().U32(0x01020304).Text("OK", 2).Bytes();
    for (uint8_t messageType : {0x80, 0x82, 0xC0}) {
        const RecordPtr record(CreateRecord(TypedFrame(42, messageType, body)));
        // As the screen dump reads it: through the record's NovAtel and response parts.
        const auto* novatel = dynamic_cast<const Novatel::CNovatelRecord*>(record.get());
        const auto* response = dynamic_cast<const Novatel::CNovatelResponse*>(record.get());
        ASSERT_NE(novatel, nullptr) << "type " << int(messageType);
        ASSERT_NE(response, nullptr) << "type " << int(messageType);
        EXPECT_NE(dynamic_cast<CNovatelBinaryResponse*>(record.get()), nullptr);
        EXPECT_EQ(novatel->GetMessageID(), 42);
        EXPECT_EQ(novatel->GetMessageBody().size(), 6u);
        EXPECT_EQ(response->GetResponseID(), 0x01020304u);
        EXPECT_EQ(response->GetResponseText(), "OK");  // no terminator in the frame
    }
    const RecordPtr notResponse(CreateRecord(TypedFrame(42, 0x40, body)));
    EXPECT_EQ(dynamic_cast<CNovatelBinaryResponse*>(notResponse.get()), nullptr);
}

// The response text is what the body holds up to its first NUL, bounded by
// the header's message length and by the frame.
TEST(NovatelBinaryResponse, TextStopsAtNulAndIsEmptyWhenMessageLengthDoesNotFit) {
    const int kAsBuilt = -1;
    const struct {
        std::string sent;
        int claimedLength;  // message length written into the header
        std::string read;
    } cases[] = {
        {"", kAsBuilt, ""},
        {"OK", kAsBuilt, "OK"},
        {std::string("OK\0\0", 4), kAsBuilt, "OK"},
        {"Invalid Message ID", kAsBuilt, "Invalid Message ID"},
        // Shorter than the response ID, or more than the frame holds: no
        // text, and nothing read beyond the frame.
        {"OK", 0, ""},
        {"OK", 2, ""},
        {"OK", 3, ""},
        {"OK", 400, ""},
    };
    for (const auto& c : cases) {
        ByteVector frame =
            TypedFrame(36, 0x80, Tools::CBodyWriter().U32(1).Text(c.sent, c.sent.size()).Bytes());
        if (c.claimedLength != kAsBuilt) {
            frame[8] = static_cast<uint8_t>(c.claimedLength);
            frame[9] = static_cast<uint8_t>(c.claimedLength >> 8);
        }
        const CNovatelBinaryResponse response(frame);
        EXPECT_EQ(response.GetResponseText(), c.read)
            << '"' << c.sent << "\" length " << c.claimedLength;
        if (c.claimedLength == kAsBuilt) {
            EXPECT_EQ(response.GetResponseID(), 1u);
        }
    }
}

TEST(RecordFactory, IdWithoutClassMakesPlainBinaryRecordKeepingItsId) {
    for (uint16_t messageId : {0, 1, 8, 36, 2000, 65535}) {
        const RecordPtr record(CreateRecord(TypedFrame(messageId, 0, CountingBody(16))));
        ASSERT_NE(record, nullptr);
        const CGPSRecord& made = *record;
        EXPECT_EQ(typeid(made), typeid(CNovatelBinaryRecord)) << "ID " << messageId;
        EXPECT_EQ(record->GetMessageID(), messageId);
    }
}

// What the framers and the factory make of a whole recording.
struct SRecordingCase {
    const char* file;
    size_t binaryRecords;
    int responses;
    size_t asciiSentences;
    size_t nmeaRecords;
};

void PrintTo(const SRecordingCase& c, std::ostream* out) { *out << c.file; }

class RecordFactoryRecording : public ::testing::TestWithParam<SRecordingCase> {};

// Checks one binary record against its frame, read independently of the record.
void ExpectBinaryRecordMatchesFrame(const CGPSRecord* record, const ByteVector& frame,
                                    int& responses) {
    const CNovatelBinaryRecord* binary = dynamic_cast<const CNovatelBinaryRecord*>(record);
    ASSERT_NE(binary, nullptr);
    EXPECT_EQ(binary->GetMessageID(), ReadUInt16(frame, 4));
    EXPECT_EQ(binary->GetMessageBody().size(), ReadUInt16(frame, 8));
    EXPECT_EQ(binary->GetSentenceData(), frame);
    unsigned week = 0;
    double seconds = 0;
    EXPECT_TRUE(binary->GetGPSTime(week, seconds));
    EXPECT_EQ(week, ReadUInt16(frame, 14));

    const bool isResponse = (frame[6] & 0x80) != 0;
    const Novatel::CNovatelResponse* response =
        dynamic_cast<const Novatel::CNovatelResponse*>(record);
    EXPECT_EQ(response != nullptr, isResponse) << "message ID " << binary->GetMessageID();
    if (response != nullptr) {
        ++responses;
        // Every response in these recordings is the receiver's plain OK.
        EXPECT_EQ(response->GetResponseID(), 1u);
        EXPECT_EQ(response->GetResponseText(), "OK");
    }
}

TEST_P(RecordFactoryRecording, EverySentenceMakesTheRecordOfItsKind) {
    const SRecordingCase& c = GetParam();
    QUILLOND_REQUIRE_CAPTURE(path, c.file);
    const ByteVector stream = ReadCapture(path);
    // The framers work independently, so each may take the whole stream alone.
    Novatel::CNovatelBinarySentenceConstructor binaryFramer;
    Novatel::CNovatelASCIISentenceConstructor asciiFramer;
    CNMEASentenceConstructor nmeaFramer;
    const size_t chunkSize = 1024;

    int responses = 0;
    const SDrained binary = Feed(binaryFramer, stream, chunkSize);
    for (const ByteVector& frame : binary.sentences) {
        const RecordPtr record(CreateRecord(frame));
        ExpectBinaryRecordMatchesFrame(record.get(), frame, responses);
    }
    const SDrained ascii = Feed(asciiFramer, stream, chunkSize);
    for (const ByteVector& sentence : ascii.sentences) {
        EXPECT_EQ(RecordPtr(CreateRecord(sentence)), nullptr) << Text(sentence);
    }
    const SDrained nmea = Feed(nmeaFramer, stream, chunkSize);
    for (const ByteVector& sentence : nmea.sentences) {
        const RecordPtr record(CreateRecord(sentence));
        const CNMEARecord* nmeaRecord = dynamic_cast<const CNMEARecord*>(record.get());
        ASSERT_NE(nmeaRecord, nullptr) << Text(sentence);
        EXPECT_EQ(nmeaRecord->GetSentence(), Text(sentence));
    }
    EXPECT_EQ(binary.sentences.size(), c.binaryRecords);
    EXPECT_EQ(responses, c.responses);
    EXPECT_EQ(ascii.sentences.size(), c.asciiSentences);
    EXPECT_EQ(nmea.sentences.size(), c.nmeaRecords);
}

// All counts agree with an independent scan of the files (valid CRC-32 frames,
// "#" sentences with a valid CRC, "$" sentences passing the NMEA test). The two
// NMEA records of the 2009 recording are binary bytes that start with "$", end
// in a carriage return and pass the lenient NMEA checksum test.
INSTANTIATE_TEST_SUITE_P(Recordings, RecordFactoryRecording,
                         ::testing::Values(SRecordingCase{"oemv3-OnceEachAgain.gps", 49, 0, 9, 0},
                                           SRecordingCase{"oemv-2009-rtklib.gps", 317, 0, 0, 2},
                                           SRecordingCase{"oemv3-ParsingData.gps", 288, 23, 0, 0}),
                         [](const ::testing::TestParamInfo<SRecordingCase>& info) {
                             return RecordingTestName(info.param.file);
                         });

}  // namespace
