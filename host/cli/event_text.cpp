// Quoting, and attributes as a start tag has them.
#include "host/cli/event_text.h"

#include "host/runtime/dynamic.h"

namespace host {

void AppendQuoted(std::string& out, std::string_view text) {
    constexpr char HEX[] = "0123456789ABCDEF";
    out += '"';
    for (char c : text) {
        switch (c) {
        case '"': out += "\\\""; break;
        case '\\': out += "\\\\"; break;
        case '\n': out += "\\n"; break;
        case '\r': out += "\\r"; break;
        case '\t': out += "\\t"; break;
        default:
            if (static_cast<unsigned char>(c) < ' ' || c == '\x7F')
                out.append("\\x").append(1, HEX[(c >> 4) & 15]).append(1, HEX[c & 15]);
            else
                out += c;
        }
    }
    out += '"';
}

void AppendAttributes(std::string& out, const ObjectRef& list) {
    out += '{';
    int32_t count = GetProperty(list, "Count").Integer();
    for (int32_t i = 0; i < count; ++i) {
        if (i > 0) out += ' ';
        out += Call(list, "Key", {i}).Text();
        out += '=';
        AppendQuoted(out, Call(list, "Value(index as Integer) as String", {i}).Text());
    }
    out += '}';
}

} // namespace host
