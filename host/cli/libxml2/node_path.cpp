// Steps of a path, from the node up.
#include "host/cli/libxml2/node_path.h"

#include "host/cli/libxml2/tree.h"

#include <algorithm>
#include <vector>

namespace host::xml {

namespace {

std::string StepName(const xmlNode* node) {
    switch (node->type) {
    case XML_ELEMENT_NODE:
    case XML_ATTRIBUTE_NODE: {
        std::string name = Text(node->name);
        if (node->ns == nullptr) return name;
        return std::string(node->ns->prefix != nullptr ? Text(node->ns->prefix) : "_") + ":" + name;
    }
    case XML_COMMENT_NODE: return "comment()";
    case XML_PI_NODE: return "processing-instruction()";
    case XML_TEXT_NODE:
    case XML_CDATA_SECTION_NODE: return "text()";
    default: return "node()";
    }
}

} // namespace

size_t NodePaths::Position(const _xmlNode* node, const std::string& name) {
    auto& [seen, position] = last_[{node->parent, name}];
    const _xmlNode* from = seen;
    while (from != nullptr && from != node) {
        from = from->next;
        if (from != nullptr && StepName(from) == name) ++position;
    }
    if (from == nullptr) {
        position = 0;
        for (from = node; from != nullptr; from = from->prev)
            if (StepName(from) == name) ++position;
    }
    seen = node;
    return position;
}

std::string NodePaths::Of(const _xmlNode* node) {
    std::vector<std::string> steps;
    for (; node != nullptr && node->type != XML_DOCUMENT_NODE; node = node->parent) {
        std::string name = StepName(node);
        bool isAttribute = node->type == XML_ATTRIBUTE_NODE;
        steps.push_back(isAttribute ? "/@" + name : "/" + name + "[" + std::to_string(Position(node, name)) + "]");
    }
    if (steps.empty()) return "/";
    std::string path;
    for (auto step = steps.rbegin(); step != steps.rend(); ++step) path += *step;
    return path;
}

} // namespace host::xml
