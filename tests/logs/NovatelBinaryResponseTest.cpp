// The binary command response: response ID and text read from the body, the
// text bounded by the header's message length and by the frame.

#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "Logs/NovatelOEMV/NovatelBinary/NovatelBinaryResponse.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "tests/framing/FramingTestSupport.h"

using namespace FramingTest;
using Novatel::CNovatelBinaryResponse;

namespace {

ByteVector ResponseFrame(uint16_t commandId, const ByteVector& body) {
    Tools::SFrameHeader header;
    header.messageId = commandId;
    header.messageType = 0x80;
    return Tools::BuildBinaryFrame(header, body);
}

ByteVector ResponseBody(uint32_t responseId, const std::string& text) {
    return Tools::CBodyWriter().U32(responseId).Text(text, text.size()).Bytes();
}

TEST(NovatelBinaryResponse, ReadsIdAndTextThatHasNoTerminatorInTheFrame) {
    // As the screen dump reads it: through the record's NovAtel and response parts.
    const std::unique_ptr<CGPSRecord> record(
        CreateRecord(ResponseFrame(1, ResponseBody(0x01020304, "OK"))));
    const auto* novatel = dynamic_cast<const Novatel::CNovatelRecord*>(record.get());
    const auto* response = dynamic_cast<const Novatel::CNovatelResponse*>(record.get());
    ASSERT_NE(novatel, nullptr);
    ASSERT_NE(response, nullptr);
    EXPECT_EQ(novatel->GetMessageID(), 1);
    EXPECT_EQ(novatel->GetMessageBody().size(), 6u);
    EXPECT_EQ(response->GetResponseID(), 0x01020304u);
    EXPECT_EQ(response->GetResponseText(), "OK");
}

TEST(NovatelBinaryResponse, TextIsWhatTheBodyHoldsUpToItsFirstNul) {
    const struct {
        std::string sent;
        std::string read;
    } cases[] = {
        {"", ""},
        {"OK", "OK"},
        {std::string("OK\0\0", 4), "OK"},
        {"Invalid Message ID", "Invalid Message ID"},
    };
    for (const auto& c : cases) {
        const CNovatelBinaryResponse response(ResponseFrame(36, ResponseBody(1, c.sent)));
        EXPECT_EQ(response.GetResponseText(), c.read) << '"' << c.sent << '"';
        EXPECT_EQ(response.GetResponseID(), 1u);
    }
}

TEST(NovatelBinaryResponse, TextIsEmptyWhenMessageLengthDoesNotFitFrameOrId) {
    // A message length shorter than the response ID, and one that claims more
    // than the frame holds: no text, and nothing read beyond the frame.
    for (uint16_t claimed : {0, 2, 3, 400}) {
        ByteVector frame = ResponseFrame(1, ResponseBody(1, "OK"));
        frame[8] = static_cast<uint8_t>(claimed);
        frame[9] = static_cast<uint8_t>(claimed >> 8);
        const CNovatelBinaryResponse response(frame);
        EXPECT_EQ(response.GetResponseText(), "") << "message length " << claimed;
    }
}

}  // namespace
