#pragma once
// The argument and result lists of remote method calls: an ordered list whose
// elements are 32-bit integers, doubles, strings or nested lists. On the wire a
// list is a JSON array (see MPISocketServer.h). A list may also be null, which
// is how a method says that it has no result to give.

#include <cstddef>
#include <cstdint>
#include <stdexcept>
#include <string>
#include <vector>

class BListC {
public:
    enum EType { kInteger, kDouble, kString, kList };

    // Thrown by the accessors when an element is missing or of another type;
    // the server answers such a call with "invalid params".
    class TypeError : public std::runtime_error {
    public:
        explicit TypeError(const std::string& message) : std::runtime_error(message) {}
    };

    // An empty list (not null).
    BListC();
    ~BListC();
    BListC(const BListC& other);
    BListC& operator=(const BListC& other);
    BListC(BListC&& other) noexcept;
    BListC& operator=(BListC&& other) noexcept;

    // The null list: no result.
    static BListC Null();
    bool IsNull() const { return m_null; }

    size_t Size() const;
    bool Empty() const;

    // Appending to a null list makes it a list. Each returns the list, so
    // appends can be chained.
    BListC& Append(int32_t value);
    BListC& Append(double value);
    BListC& Append(const std::string& value);
    BListC& Append(const char* value);
    BListC& Append(const BListC& value);

    // The type of an element; TypeError when there is no such element.
    EType GetType(size_t index) const;
    // Typed access by position; TypeError when the element is missing or of
    // another type. GetDouble also takes an integer element.
    int32_t GetInteger(size_t index) const;
    double GetDouble(size_t index) const;
    const std::string& GetString(size_t index) const;
    const BListC& GetList(size_t index) const;

    // Same nullness, same elements of the same types with equal values.
    bool operator==(const BListC& other) const;
    bool operator!=(const BListC& other) const { return !(*this == other); }

    // "integer", "double", "string" or "list", for messages.
    static const char* TypeName(EType type);

private:
    struct SElement;
    const SElement& At(size_t index, EType wanted) const;

    std::vector<SElement> m_elements;
    bool m_null = false;
};
