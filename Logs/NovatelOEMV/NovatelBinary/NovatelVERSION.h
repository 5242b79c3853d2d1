#pragma once
// Novatel::CNovatelVERSION: the receiver's VERSION log, one entry per hardware
// or software component of the receiver (the receiver card, its FPGA, the
// enclosure, radios and so on), each with its model, serial number and
// versions. The constellation manager learns from the receiver card's model
// whether the receiver can track GLONASS; the receiver status observer
// publishes the texts.

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "Logs/NovatelOEMV/NovatelRecord.h"

namespace Novatel {

class CNovatelVERSION : public virtual CNovatelRecord {
public:
    // Component type of the receiver card itself.
    static constexpr uint32_t kReceiverCardComponent = 1;

    // One component as the receiver lists it. The text members hold the whole
    // fixed-width field as sent, NUL padding included; the accessors give the
    // text up to its first NUL.
    struct SComponent {
        uint32_t m_type = 0;  // the receiver's component type enumeration
        std::string m_model;
        std::string m_serialNumber;
        std::string m_hardwareVersion;
        std::string m_softwareVersion;
        std::string m_bootVersion;
        std::string m_compileDate;  // "2015/Mar/19"
        std::string m_compileTime;  // "11:35:27"

        // The receiver's component type number (kReceiverCardComponent for the card).
        uint32_t GetType() const { return m_type; }
        // The model designator ("L12LGRV"); it names the receiver's options.
        std::string GetModel() const { return TextOf(m_model); }
        // The product serial number.
        std::string GetSerialNumber() const { return TextOf(m_serialNumber); }
        std::string GetHardwareVersion() const { return TextOf(m_hardwareVersion); }
        std::string GetSoftwareVersion() const { return TextOf(m_softwareVersion); }
        std::string GetBootVersion() const { return TextOf(m_bootVersion); }
        // The firmware's compile date and time, as the receiver writes them.
        std::string GetCompileDate() const { return TextOf(m_compileDate); }
        std::string GetCompileTime() const { return TextOf(m_compileTime); }

    private:
        static std::string TextOf(const std::string& field) { return std::string(field.c_str()); }
    };

    ~CNovatelVERSION() override = default;

    // The components in the order the receiver lists them.
    const std::vector<SComponent>& GetComponents() const { return m_components; }
    // How many components the log lists.
    size_t GetNumberOfComponents() const { return m_components.size(); }

protected:
    std::vector<SComponent> m_components;
};

}  // namespace Novatel
