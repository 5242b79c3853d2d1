#include "control/NovatelAbbreviatedASCIICommand.h"

namespace Novatel {

namespace {

const uint32_t kAbbreviatedASCIIKind = 1;
const uint32_t kDefaultAttribute = 192;
const char kLineEnd[] = "\r\n";

}  // namespace

CNovatelAbbreviatedASCIICommand::CNovatelAbbreviatedASCIICommand()
    : m_kind(kAbbreviatedASCIIKind), m_attribute(kDefaultAttribute), m_valid(false) {}

CNovatelAbbreviatedASCIICommand::~CNovatelAbbreviatedASCIICommand() {}

bool CNovatelAbbreviatedASCIICommand::Render(ByteVector& bytes) {
    if (!m_valid) {
        bytes.clear();
        return false;
    }
    const std::string line = m_command + " " + m_arguments + kLineEnd;
    bytes.reserve(line.size());
    bytes.assign(line.begin(), line.end());
    return true;
}

void CNovatelAbbreviatedASCIICommand::SetAttribute(uint32_t attribute) { m_attribute = attribute; }

void CNovatelAbbreviatedASCIICommand::SetCommand(const std::string& command) {
    m_command = command;
    UpdateValidity();
}

void CNovatelAbbreviatedASCIICommand::SetArguments(const std::string& arguments) {
    m_arguments = arguments;
    UpdateValidity();
}

}  // namespace Novatel
