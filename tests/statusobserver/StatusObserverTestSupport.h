#pragma once
// Helpers for the receiver status observer tests: log frames built field by
// field, and an observer whose datagrams go to a private log server stub.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "LogObserver/ReceiverStatusObserver.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "platform/Config/Config.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace StatusObserverTest {

// Header fields a test sets on a frame.
struct SHeader {
    uint8_t idleTime = 100;
    uint32_t receiverStatus = 0;
    uint16_t week = 1687;
    uint32_t milliseconds = 419234000;
};

inline ByteVector Frame(uint16_t messageId, const ByteVector& body, const SHeader& fields = {}) {
    Tools::SFrameHeader header;
    header.messageId = messageId;
    header.idleTime = fields.idleTime;
    header.receiverStatus = fields.receiverStatus;
    header.week = fields.week;
    header.milliseconds = fields.milliseconds;
    return Tools::BuildBinaryFrame(header, body);
}

// One TRACKSTAT channel.
struct SChannel {
    uint16_t prn;
    uint32_t trackingStatus;
    float carrierToNoise;
    uint32_t rejectCode;
};

// Tracking status words as the receiver sends them: code locked in the L1
// C/A signal (GPS, GLONASS, SBAS), code locked in L2 P codeless (GPS), and a
// GPS channel still searching.
const uint32_t kGPSL1Locked = 0x18109C04;
const uint32_t kGPSL2Locked = 0x11309C0B;
const uint32_t kGLONASSL1Locked = 0x08119C04;
const uint32_t kSBASL1Locked = 0x0802BC04;
const uint32_t kGPSSearching = 0x08008082;
const uint32_t kLBand = 0x0AE70200;
const uint32_t kRejectGood = 0;
const uint32_t kRejectNoIonoCorrection = 16;
const uint32_t kRejectNotApplicable = 99;

inline ByteVector TrackstatBody(const std::vector<SChannel>& channels) {
    Tools::CBodyWriter body;
    body.U32(0).U32(16).F32(5.0f).U32(static_cast<uint32_t>(channels.size()));
    for (const SChannel& channel : channels) {
        body.U16(channel.prn).U16(0).U32(channel.trackingStatus).F64(2.0e7).F32(-1000.0f);
        body.F32(channel.carrierToNoise).F32(3800.0f).F32(0.1f).U32(channel.rejectCode);
        body.F32(0.25f);
    }
    return body.Bytes();
}

// One VERSION component: type, model, serial number, hardware and software versions.
struct SComponent {
    uint32_t type;
    const char* model;
    const char* serialNumber;
    const char* hardwareVersion;
    const char* softwareVersion;
};

inline ByteVector VersionBody(const std::vector<SComponent>& components) {
    Tools::CBodyWriter body;
    body.U32(static_cast<uint32_t>(components.size()));
    for (const SComponent& component : components) {
        body.U32(component.type).Text(component.model, 16).Text(component.serialNumber, 16);
        body.Text(component.hardwareVersion, 16).Text(component.softwareVersion, 16);
        body.Text("3.000", 16).Text("2007/Dec/20", 12).Text("12:48:12", 12);
    }
    return body.Bytes();
}

// One COMCONFIG port: identifier, baud rate, receive and transmit interface modes.
struct SPort {
    uint32_t port;
    uint32_t baudRate;
    uint32_t receiveMode;
    uint32_t transmitMode;
};

inline ByteVector ComconfigBody(const std::vector<SPort>& ports) {
    Tools::CBodyWriter body;
    body.U32(static_cast<uint32_t>(ports.size()));
    for (const SPort& port : ports) {
        body.U32(port.port).U32(port.baudRate).U32(0).U32(8).U32(1).U32(0).U32(0).U32(1);
        body.U32(port.receiveMode).U32(port.transmitMode).U32(1);
    }
    return body.Bytes();
}

inline ByteVector RxstatusBody(uint32_t errorWord, uint32_t statusWord) {
    return Tools::CBodyWriter().U32(errorWord).U32(1).U32(statusWord).U32(0).U32(0).U32(0).Bytes();
}

inline ByteVector TimeBody() {
    Tools::CBodyWriter body;
    body.U32(0).F64(1e-9).F64(2e-9).F64(-15.0).U32(2012).U8(5).U8(7).U8(20).U8(27);
    return body.U32(12000).U32(1).Bytes();
}

// A published value: key and text.
typedef std::pair<std::string, std::string> Value;

// An observer publishing to a private log server stub.
class StatusObserverFixture : public ::testing::Test {
protected:
    StatusObserverFixture()
        : m_config(TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port())),
          m_observer(new CReceiverStatusObserver(m_config)) {}

    // Offers the record the factory makes of the frame.
    void Feed(const ByteVector& frame) {
        std::unique_ptr<CGPSRecord> record(CreateRecord(frame));
        ASSERT_NE(nullptr, record.get());
        m_observer->NewPacket(record.get());
    }

    // Every datagram sent since the last call.
    std::vector<nlohmann::json> Datagrams() { return m_server.Drain(); }

    // The values among the datagrams, in the order sent.
    static std::vector<Value> ValuesOf(const std::vector<nlohmann::json>& datagrams) {
        std::vector<Value> values;
        for (const nlohmann::json& datagram : datagrams) {
            if (datagram.value("type", "") != "value") continue;
            EXPECT_EQ(CReceiverStatusObserver::kClientName, datagram.value("client", ""));
            EXPECT_EQ(3, datagram.value("category", 0));
            EXPECT_EQ(-1, datagram.value("index", 0));
            values.emplace_back(datagram.value("key", ""), datagram.value("value", ""));
        }
        return values;
    }
    std::vector<Value> Values() { return ValuesOf(Datagrams()); }

    // The values with the given key, in the order sent.
    static std::vector<std::string> Texts(const std::vector<Value>& values,
                                          const std::string& key) {
        std::vector<std::string> texts;
        for (const Value& value : values) {
            if (value.first == key) texts.push_back(value.second);
        }
        return texts;
    }

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_server;
    CConfig m_config;
    std::unique_ptr<CReceiverStatusObserver> m_observer;
};

}  // namespace StatusObserverTest
