// The jobs of jobs.kova over trees in pugixml, the fastest of the small C++ libraries: not validating, in place,
// without namespaces. pugi JOB FILE [OUTPUT]
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <pugixml.hpp>
#include <string>
#include <string_view>

namespace {

[[noreturn]] void Fail(const char* reason) {
    std::fprintf(stderr, "pugi: %s\n", reason);
    std::exit(1);
}

auto CountChildren(pugi::xml_node node) { return std::distance(node.begin(), node.end()); }

size_t CountNodes(pugi::xml_node node) {
    size_t count = 1;
    for (const pugi::xml_node child : node) count += CountNodes(child);
    return count;
}

size_t TextLength(pugi::xml_node node) {
    if (node.type() == pugi::node_pcdata) return std::strlen(node.value());
    size_t length = 0;
    for (const pugi::xml_node child : node) length += TextLength(child);
    return length;
}

size_t Find(const pugi::xml_document& document) {
    size_t count = 0;
    for (int i = 1; i <= 10; ++i)
        count += document.select_nodes(("//record[@id='r" + std::to_string(i * 1000) + "']").c_str()).size();
    return count;
}

size_t Queries(pugi::xml_node root) {
    size_t count = 0;
    for (const pugi::xml_node record : root.children("record")) count += record.select_nodes("price").size();
    return count;
}

size_t Append() {
    constexpr int ITEMS = 200000;
    pugi::xml_document document;
    pugi::xml_node list = document.append_child("list");
    for (int i = 0; i < ITEMS; ++i) list.append_child("item");
    return static_cast<size_t>(CountChildren(list));
}

size_t SetAttributes(pugi::xml_node root) {
    size_t count = 0;
    for (pugi::xml_node record : root.children("record")) {
        for (int i = 1; i <= 5; ++i) {
            const std::string name = "seen" + std::to_string(i);
            pugi::xml_attribute attribute = record.attribute(name.c_str());
            if (attribute.empty()) attribute = record.append_attribute(name.c_str());
            attribute.set_value(std::to_string(count).c_str());
            ++count;
        }
    }
    return count;
}

size_t Run(std::string_view job, const pugi::xml_document& document) {
    const pugi::xml_node root = document.document_element();
    if (job == "load") return static_cast<size_t>(CountChildren(root));
    if (job == "walk") return CountNodes(root);
    if (job == "texts") return TextLength(root);
    if (job == "find") return Find(document);
    if (job == "queries") return Queries(root);
    if (job == "set") return SetAttributes(root);
    Fail("no such job");
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 3) Fail("usage: pugi JOB FILE [OUTPUT]");
    const std::string_view job = argv[1];
    pugi::xml_document document;
    if (job != "append" && !document.load_file(argv[2], pugi::parse_full | pugi::parse_ws_pcdata)) Fail(argv[2]);
    if (job == "save")
        std::puts(argc > 3 && document.save_file(argv[3], "", pugi::format_raw) ? "saved" : "not saved");
    else
        std::printf("%zu\n", job == "append" ? Append() : Run(job, document));
}
