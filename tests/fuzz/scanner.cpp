// The markup scanner: it drops whitespace, and nothing else.
#include "dom/markup_scanner.h"
#include "tests/fuzz/plugin.h"

namespace {

std::string WithoutWhitespace(std::string_view text) {
    std::string rest(text);
    std::erase_if(rest, [](char byte) { return byte == ' ' || byte == '\t' || byte == '\n' || byte == '\r'; });
    return rest;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartHost();
    std::string text(reinterpret_cast<const char*>(data), size);
    text.resize(std::min(text.find('\0'), text.size()));
    const host::StringRef result =
        host::StringRef::Adopt(reinterpret_cast<host::String*>(kova::MarkupScanner().Run(text.c_str())));
    Require(WithoutWhitespace(result.View()) == WithoutWhitespace(text), "only whitespace goes");
    return 0;
}
