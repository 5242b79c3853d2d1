#pragma once
// Helpers for the constellation manager tests: a manager on a private store
// whose log server is a stub, the stub's datagrams as short comparable texts,
// and VERSION and CHANCONFIGLIST records built from chosen fields.

#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Logs/NovatelOEMV/GPSRecord.h"
#include "Logs/NovatelOEMV/NovatelMessageIDs.h"
#include "Logs/NovatelOEMV/RecordFactory.h"
#include "control/ConstellationManager.h"
#include "platform/Config/Config.h"
#include "tests/support/LogServerStub.h"
#include "tests/support/TestSupport.h"
#include "tools/common/NovatelFrameBuilder.h"

namespace ConstellationTest {

typedef std::unique_ptr<CGPSRecord> RecordPtr;

// One datagram as a short text: "value key=text", "line text",
// "alarm raise code/index argument" or "alarm clear code/index".
inline std::string Describe(const nlohmann::json& datagram) {
    const std::string type = datagram.value("type", "");
    if (type == "value") {
        return "value " + datagram.value("key", "") + "=" + datagram.value("value", "");
    }
    if (type == "line") return "line " + datagram.value("text", "");
    if (type == "alarm") {
        std::string text = "alarm " + datagram.value("action", "") + " " +
                           std::to_string(datagram.value("code", 0)) + "/" +
                           std::to_string(datagram.value("index", 0));
        if (datagram.value("action", "") == "raise") {
            text += " " + std::to_string(datagram.value("argument", 0));
        }
        return text;
    }
    return datagram.dump();
}

// Owns the store file, the stub log server, the store and the manager.
class CManagerFixture : public ::testing::Test {
protected:
    // Writes a store naming the stub as log server, plus storeText (sections
    // "Quillond" and "Region"), and builds a manager on it.
    CConstellationManager& Manager(const std::string& storeText) {
        m_path = TestSupport::WriteServerConfig(m_dir, "127.0.0.1", m_server.Port(), storeText);
        return Reopen();
    }

    // A fresh store and manager on the existing store file, as after a restart.
    CConstellationManager& Reopen() {
        m_manager.reset();
        m_config.reset(new CConfig(m_path));
        m_manager.reset(new CConstellationManager(*m_config));
        return *m_manager;
    }

    // Everything the manager sent since the last call, described.
    std::vector<std::string> Sent() {
        std::vector<std::string> texts;
        for (const nlohmann::json& datagram : m_server.Drain()) {
            EXPECT_EQ("NovatelConstellationManager", datagram.value("client", ""));
            texts.push_back(Describe(datagram));
        }
        return texts;
    }

    // The store file as written, read back by another store.
    int32_t Stored(const std::string& key, int32_t defaultValue = -99) const {
        CConfig reader(m_path);
        return reader.GetInteger("Quillond", key, defaultValue);
    }

    TestSupport::TempDir m_dir;
    TestSupport::CLogServerStub m_server;
    std::string m_path;
    std::unique_ptr<CConfig> m_config;
    std::unique_ptr<CConstellationManager> m_manager;
};

// A VERSION record listing components given as (type, model).
inline RecordPtr VersionRecord(const std::vector<std::pair<uint32_t, std::string>>& components) {
    Tools::CBodyWriter body;
    body.U32(static_cast<uint32_t>(components.size()));
    for (const auto& component : components) {
        body.U32(component.first);
        body.Text(component.second, 16);  // model
        body.Text("SN0001", 16).Text("HW-1", 16).Text("SW-1", 16).Text("BOOT-1", 16);
        body.Text("2015/Mar/19", 12).Text("11:35:27", 12);
    }
    Tools::SFrameHeader header;
    header.messageId = Novatel::kVERSIONMessageID;
    return RecordPtr(CreateRecord(Tools::BuildBinaryFrame(header, body.Bytes())));
}

// One offered set as its groups (number of channels, signal type).
typedef std::vector<std::pair<uint32_t, uint32_t>> GroupList;

// A CHANCONFIGLIST record: the set in use and the offered sets.
inline RecordPtr ChanConfigListRecord(uint32_t current, const std::vector<GroupList>& sets) {
    Tools::CBodyWriter body;
    body.U32(current).U32(static_cast<uint32_t>(sets.size()));
    for (const GroupList& set : sets) {
        body.U32(static_cast<uint32_t>(set.size()));
        for (const auto& group : set) body.U32(group.first).U32(group.second);
    }
    Tools::SFrameHeader header;
    header.messageId = Novatel::kCHANCONFIGLISTMessageID;
    return RecordPtr(CreateRecord(Tools::BuildBinaryFrame(header, body.Bytes())));
}

// The texts an UpdateChannelConfiguration publishes.
inline std::vector<std::string> UpdateTexts(int fromRefresh, int desired) {
    return {"value desired_channel_configuration=" + std::to_string(desired),
            "line CConstellationManager::UpdateChannelConfiguration(" +
                std::to_string(fromRefresh) + ") " + std::to_string(desired)};
}

inline std::vector<std::string> Joined(std::vector<std::vector<std::string>> parts) {
    std::vector<std::string> all;
    for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
    return all;
}

}  // namespace ConstellationTest
