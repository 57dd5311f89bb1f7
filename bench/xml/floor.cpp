// What the libraries need by themselves: the jobs of jobs.kova over Expat, libxml2 and libxslt. floor JOB FILE
// [STYLESHEET]
#include <expat.h>
#include <libexslt/exslt.h>
#include <libxml/parser.h>
#include <libxml/xpath.h>
#include <libxslt/transform.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace {

struct Counts {
    size_t elements = 0;
    size_t bytes = 0;
};

Counts& Of(void* data) { return *static_cast<Counts*>(data); }

void Count(void* data, const XML_Char* /*name*/, const XML_Char** /*attributes*/) { ++Of(data).elements; }

void Start(void* data, const XML_Char* /*name*/, const XML_Char** attributes) {
    ++Of(data).elements;
    for (; *attributes != nullptr; attributes += 2) Of(data).bytes += std::strlen(attributes[1]);
}

void End(void* data, const XML_Char* /*name*/) { ++Of(data).bytes; }

void Characters(void* data, const XML_Char* /*text*/, int length) { Of(data).bytes += static_cast<size_t>(length); }

[[noreturn]] void Fail(const std::string& reason) {
    std::fprintf(stderr, "floor: %s\n", reason.c_str());
    std::exit(1);
}

Counts Parse(const std::filesystem::path& path, std::string_view job) {
    constexpr size_t CHUNK_SIZE = 256 * 1024;
    const std::unique_ptr<XML_ParserStruct, decltype(&XML_ParserFree)> parser(XML_ParserCreate(nullptr),
                                                                              XML_ParserFree);
    Counts counts;
    XML_SetUserData(parser.get(), &counts);
    if (job == "elements" || job == "files") {
        XML_SetStartElementHandler(parser.get(), Count);
    } else if (job != "nothing") {
        XML_SetElementHandler(parser.get(), Start, End);
        XML_SetCharacterDataHandler(parser.get(), Characters);
    }
    std::ifstream file(path, std::ios::binary);
    std::vector<char> chunk(CHUNK_SIZE);
    for (bool last = false; !last;) {
        file.read(chunk.data(), CHUNK_SIZE);
        last = !file;
        if (XML_Parse(parser.get(), chunk.data(), static_cast<int>(file.gcount()), static_cast<int>(last))
            == XML_STATUS_ERROR)
            Fail(XML_ErrorString(XML_GetErrorCode(parser.get())));
    }
    return counts;
}

size_t ParseFiles(const char* folder) {
    size_t elements = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) elements += Parse(entry, "files").elements;
    return elements;
}

using Document = std::unique_ptr<xmlDoc, decltype(&xmlFreeDoc)>;

Document Load(const char* path) {
    Document document(xmlReadFile(path, nullptr, XML_PARSE_HUGE), xmlFreeDoc);
    if (!document) Fail(path);
    return document;
}

size_t CountNodes(const xmlNode* node) {
    size_t count = 1;
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) count += CountNodes(child);
    return count;
}

size_t TextLength(const xmlNode* node) {
    if (node->type == XML_TEXT_NODE) return std::strlen(reinterpret_cast<const char*>(node->content));
    size_t length = 0;
    for (const xmlNode* child = node->children; child != nullptr; child = child->next) length += TextLength(child);
    return length;
}

const xmlChar* Name(const char* text) { return reinterpret_cast<const xmlChar*>(text); }

size_t Select(xmlXPathContext* context, const std::string& expression) {
    xmlXPathObject* found = xmlXPathEval(Name(expression.c_str()), context);
    auto count = static_cast<size_t>(xmlXPathNodeSetGetLength(found->nodesetval));
    xmlXPathFreeObject(found);
    return count;
}

size_t Find(xmlXPathContext* context) {
    size_t count = 0;
    for (int i = 1; i <= 10; ++i) count += Select(context, "//record[@id='r" + std::to_string(i * 1000) + "']");
    return count;
}

size_t Queries(xmlDoc* document, xmlXPathContext* context) {
    size_t count = 0;
    for (xmlNode* record = xmlDocGetRootElement(document)->children; record != nullptr; record = record->next) {
        if (record->type != XML_ELEMENT_NODE) continue;
        context->node = record;
        count += Select(context, "price");
    }
    return count;
}

size_t Append() {
    constexpr int ITEMS = 200000;
    const Document document(xmlNewDoc(Name("1.0")), xmlFreeDoc);
    xmlNode* list = xmlNewDocNode(document.get(), nullptr, Name("list"), nullptr);
    xmlDocSetRootElement(document.get(), list);
    for (int i = 0; i < ITEMS; ++i) xmlAddChild(list, xmlNewDocNode(document.get(), nullptr, Name("item"), nullptr));
    return xmlChildElementCount(list);
}

size_t SetAttributes(xmlDoc* document) {
    size_t count = 0;
    for (xmlNode* record = xmlDocGetRootElement(document)->children; record != nullptr; record = record->next) {
        if (record->type != XML_ELEMENT_NODE) continue;
        for (int i = 1; i <= 5; ++i) {
            xmlSetProp(record, Name(("seen" + std::to_string(i)).c_str()), Name(std::to_string(count).c_str()));
            ++count;
        }
    }
    return count;
}

size_t TransformedLength(xsltStylesheet* sheet, xmlDoc* document) {
    const Document result(xsltApplyStylesheet(sheet, document, nullptr), xmlFreeDoc);
    xmlChar* text = nullptr;
    int length = 0;
    if (!result || xsltSaveResultToString(&text, &length, result.get(), sheet) != 0) Fail("no result");
    xmlFree(text);
    return static_cast<size_t>(length);
}

size_t SmallTransformations(xsltStylesheet* sheet) {
    constexpr int RUNS = 10000;
    size_t length = 0;
    for (int i = 1; i <= RUNS; ++i) {
        std::string text = "<item n='" + std::to_string(i) + "'><name>amber basin</name><price>12.50</price></item>";
        const Document document(xmlReadMemory(text.data(), static_cast<int>(text.size()), nullptr, nullptr, 0),
                                xmlFreeDoc);
        length += TransformedLength(sheet, document.get());
    }
    return length;
}

void PrintCount(size_t count) { std::printf("%zu\n", count); }

void PrintTransformed(std::string_view job, const char* file, const char* path) {
    exsltRegisterAll();
    const std::unique_ptr<xsltStylesheet, decltype(&xsltFreeStylesheet)> sheet(xsltParseStylesheetFile(Name(path)),
                                                                               xsltFreeStylesheet);
    if (!sheet) Fail(path);
    if (job == "small") return PrintCount(SmallTransformations(sheet.get()));
    std::puts(TransformedLength(sheet.get(), Load(file).get()) > 1000 ? "done" : "too short");
}

void PrintFromTree(std::string_view job, const char* file, const char* output) {
    const Document document = Load(file);
    const std::unique_ptr<xmlXPathContext, decltype(&xmlXPathFreeContext)> context(xmlXPathNewContext(document.get()),
                                                                                   xmlXPathFreeContext);
    xmlNode* root = xmlDocGetRootElement(document.get());
    if (job == "load") {
        size_t count = 0;
        for (const xmlNode* child = root->children; child != nullptr; child = child->next) ++count;
        PrintCount(count);
    } else if (job == "walk") {
        PrintCount(CountNodes(root));
    } else if (job == "texts") {
        PrintCount(TextLength(root));
    } else if (job == "find") {
        PrintCount(Find(context.get()));
    } else if (job == "queries") {
        PrintCount(Queries(document.get(), context.get()));
    } else if (job == "set") {
        PrintCount(SetAttributes(document.get()));
    } else {
        std::puts(xmlSaveFormatFileEnc(output, document.get(), "UTF-8", 0) > 0 ? "saved" : "not saved");
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) Fail("usage: floor JOB FILE [STYLESHEET]");
    const std::string_view job = argv[1];
    const char* extra = argc > 3 ? argv[3] : "";
    constexpr std::array<std::string_view, 7> TREES = {"load", "walk", "texts", "find", "queries", "save", "set"};
    if (job == "nothing") {
        Parse(argv[2], job);
        std::puts("parsed");
    } else if (job == "elements") {
        PrintCount(Parse(argv[2], job).elements);
    } else if (job == "files") {
        PrintCount(ParseFiles(argv[2]));
    } else if (job == "all" || job == "attributes" || job == "text") {
        const Counts counts = Parse(argv[2], job);
        std::printf("%zu %zu\n", counts.elements, counts.bytes);
    } else if (job == "append") {
        PrintCount(Append());
    } else if (std::find(TREES.begin(), TREES.end(), job) != TREES.end()) {
        PrintFromTree(job, argv[2], extra);
    } else {
        PrintTransformed(job, argv[2], extra);
    }
}
