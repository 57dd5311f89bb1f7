// RFC 8259, section 7.
#include "host/cli/json.h"

#include <array>
#include <cstdio>

namespace host {

std::string JsonString(std::string_view text) {
    std::string result = "\"";
    for (char c : text) {
        switch (c) {
        case '"': result += "\\\""; break;
        case '\\': result += "\\\\"; break;
        case '\n': result += "\\n"; break;
        case '\r': result += "\\r"; break;
        case '\t': result += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) >= ' ') {
                result += c;
            } else {
                std::array<char, 8> escape;
                std::snprintf(escape.data(), escape.size(), "\\u%04x", static_cast<unsigned>(c));
                result += escape.data();
            }
        }
    }
    return result + '"';
}

} // namespace host
