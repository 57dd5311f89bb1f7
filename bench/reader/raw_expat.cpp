// The yardstick for the event reader: Expat alone with the same callbacks, all of them empty. raw_expat FILE
#include <expat.h>

#include <cstdio>
#include <fstream>
#include <memory>
#include <type_traits>
#include <vector>

namespace {

template <typename Result, typename... Args>
Result Empty(Args...) {
    if constexpr (!std::is_void_v<Result>) return 1;
}

using Text = const XML_Char*;

void SetHandlers(XML_Parser parser) {
    XML_SetNotStandaloneHandler(parser, Empty<int, void*>);
    XML_SetSkippedEntityHandler(parser, Empty<void, void*, Text, int>);
    XML_SetExternalEntityRefHandler(parser, Empty<int, XML_Parser, Text, Text, Text, Text>);
    XML_SetElementHandler(parser, Empty<void, void*, Text, const XML_Char**>, Empty<void, void*, Text>);
    XML_SetCharacterDataHandler(parser, Empty<void, void*, Text, int>);
    XML_SetProcessingInstructionHandler(parser, Empty<void, void*, Text, Text>);
    XML_SetCommentHandler(parser, Empty<void, void*, Text>);
    XML_SetCdataSectionHandler(parser, Empty<void, void*>, Empty<void, void*>);
    XML_SetDoctypeDeclHandler(parser, Empty<void, void*, Text, Text, Text, int>, Empty<void, void*>);
    XML_SetXmlDeclHandler(parser, Empty<void, void*, Text, Text, int>);
    XML_SetParamEntityParsing(parser, XML_PARAM_ENTITY_PARSING_ALWAYS);
}

} // namespace

int main(int argc, char** argv) {
    constexpr size_t CHUNK_SIZE = 256 * 1024;
    std::ifstream file(argc == 2 ? argv[1] : "", std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "usage: raw_expat FILE\n");
        return 2;
    }
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate("UTF-8"),
                                                                              XML_ParserFree);
    SetHandlers(parser.get());
    std::vector<char> chunk(CHUNK_SIZE);
    for (bool last = false; !last;) {
        file.read(chunk.data(), CHUNK_SIZE);
        last = !file;
        if (XML_Parse(parser.get(), chunk.data(), static_cast<int>(file.gcount()), static_cast<int>(last))
            == XML_STATUS_ERROR) {
            std::fprintf(stderr, "%s:%lu: %s\n", argv[1], XML_GetCurrentLineNumber(parser.get()),
                         XML_ErrorString(XML_GetErrorCode(parser.get())));
            return 1;
        }
    }
}
