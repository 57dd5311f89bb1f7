// Lines of texts.
#include "host/cli/libxml2/input.h"

#include <libxml/xmlstring.h>

namespace host::xml {

uint32_t FirstColumn(std::string_view line) {
    size_t first = line.find_first_not_of(" \t");
    return first == std::string_view::npos ? 1 : static_cast<uint32_t>(first) + 1;
}

std::string LineOf(const std::string& text, uint32_t line) {
    size_t start = 0;
    for (; line > 1; --line) {
        start = text.find('\n', start);
        if (start++ == std::string::npos) return "";
    }
    std::string found = text.substr(start, text.find('\n', start) - start);
    if (found.ends_with('\r')) found.pop_back();
    bool isReadable =
        found.find('\0') == std::string::npos && xmlCheckUTF8(reinterpret_cast<const xmlChar*>(found.c_str())) != 0;
    return isReadable ? found : "";
}

} // namespace host::xml
