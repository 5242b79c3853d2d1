#include "platform/MPI/BList.h"

#include <utility>

struct BListC::SElement {
    EType type = kInteger;
    int32_t integer = 0;
    double number = 0.0;
    std::string text;
    BListC list;
};

BListC::BListC() = default;
BListC::~BListC() = default;
BListC::BListC(const BListC& other) = default;
BListC& BListC::operator=(const BListC& other) = default;
BListC::BListC(BListC&& other) noexcept = default;
BListC& BListC::operator=(BListC&& other) noexcept = default;

size_t BListC::Size() const { return m_elements.size(); }

bool BListC::Empty() const { return m_elements.empty(); }

BListC BListC::Null() {
    BListC list;
    list.m_null = true;
    return list;
}

BListC& BListC::Append(int32_t value) {
    SElement element;
    element.type = kInteger;
    element.integer = value;
    m_elements.push_back(std::move(element));
    m_null = false;
    return *this;
}

BListC& BListC::Append(double value) {
    SElement element;
    element.type = kDouble;
    element.number = value;
    m_elements.push_back(std::move(element));
    m_null = false;
    return *this;
}

BListC& BListC::Append(const std::string& value) {
    SElement element;
    element.type = kString;
    element.text = value;
    m_elements.push_back(std::move(element));
    m_null = false;
    return *this;
}

BListC& BListC::Append(const char* value) { return Append(std::string(value ? value : "")); }

BListC& BListC::Append(const BListC& value) {
    SElement element;
    element.type = kList;
    element.list = value;
    m_elements.push_back(std::move(element));
    m_null = false;
    return *this;
}

const char* BListC::TypeName(EType type) {
    switch (type) {
        case kInteger:
            return "integer";
        case kDouble:
            return "double";
        case kString:
            return "string";
        case kList:
            return "list";
    }
    return "unknown";
}

const BListC::SElement& BListC::At(size_t index, EType wanted) const {
    if (index >= m_elements.size()) {
        throw TypeError("argument " + std::to_string(index + 1) + " (" + TypeName(wanted) +
                        ") is missing: " + std::to_string(m_elements.size()) + " given");
    }
    const SElement& element = m_elements[index];
    const bool fits = element.type == wanted || (wanted == kDouble && element.type == kInteger);
    if (!fits) {
        throw TypeError("argument " + std::to_string(index + 1) + " is " +
                        (element.type == kInteger ? "an " : "a ") + TypeName(element.type) +
                        ", not " + (wanted == kInteger ? "an " : "a ") + TypeName(wanted));
    }
    return element;
}

BListC::EType BListC::GetType(size_t index) const {
    if (index >= m_elements.size()) {
        throw TypeError("argument " + std::to_string(index + 1) +
                        " is missing: " + std::to_string(m_elements.size()) + " given");
    }
    return m_elements[index].type;
}

int32_t BListC::GetInteger(size_t index) const { return At(index, kInteger).integer; }

double BListC::GetDouble(size_t index) const {
    const SElement& element = At(index, kDouble);
    return element.type == kInteger ? static_cast<double>(element.integer) : element.number;
}

const std::string& BListC::GetString(size_t index) const { return At(index, kString).text; }

const BListC& BListC::GetList(size_t index) const { return At(index, kList).list; }

bool BListC::operator==(const BListC& other) const {
    if (m_null != other.m_null || m_elements.size() != other.m_elements.size()) return false;
    for (size_t i = 0; i < m_elements.size(); ++i) {
        const SElement& a = m_elements[i];
        const SElement& b = other.m_elements[i];
        if (a.type != b.type) return false;
        switch (a.type) {
            case kInteger:
                if (a.integer != b.integer) return false;
                break;
            case kDouble:
                if (!(a.number == b.number)) return false;
                break;
            case kString:
                if (a.text != b.text) return false;
                break;
            case kList:
                if (a.list != b.list) return false;
                break;
        }
    }
    return true;
}
