#include "platform/Core/Utilities.h"

#include <cctype>
#include <cerrno>
#include <climits>
#include <cstdlib>

namespace Core {
namespace Utilities {

std::vector<std::string> SplitString(const std::string& text, char delimiter) {
    std::vector<std::string> fields;
    std::string::size_type start = 0;
    for (;;) {
        std::string::size_type end = text.find(delimiter, start);
        if (end == std::string::npos) {
            fields.push_back(text.substr(start));
            return fields;
        }
        fields.push_back(text.substr(start, end - start));
        start = end + 1;
    }
}

bool ParseInt(const std::string& text, int32_t& value) {
    std::string digits = trim(text);
    if (digits.empty()) return false;
    std::string::size_type first = (digits[0] == '+' || digits[0] == '-') ? 1 : 0;
    if (first == digits.size()) return false;
    for (std::string::size_type i = first; i < digits.size(); ++i) {
        if (!std::isdigit(static_cast<unsigned char>(digits[i]))) return false;
    }
    errno = 0;
    long long parsed = std::strtoll(digits.c_str(), nullptr, 10);
    if (errno == ERANGE || parsed < INT32_MIN || parsed > INT32_MAX) return false;
    value = static_cast<int32_t>(parsed);
    return true;
}

std::string StringToUpper(const std::string& text) {
    std::string upper(text);
    for (char& c : upper) c = static_cast<char>(std::toupper(static_cast<unsigned char>(c)));
    return upper;
}

std::string trim(const std::string& text) {
    const char* blanks = " \t\r\n\f\v";
    std::string::size_type first = text.find_first_not_of(blanks);
    if (first == std::string::npos) return std::string();
    std::string::size_type last = text.find_last_not_of(blanks);
    return text.substr(first, last - first + 1);
}

}  // namespace Utilities
}  // namespace Core
