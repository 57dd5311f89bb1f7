// Setting, deleting and appending. Line breaks between elements that stand on lines of their own are kept so.
#include "host/cli/libxml2/edit.h"

#include "host/cli/libxml2/errors.h"
#include "host/cli/libxml2/tree.h"

#include <libxml/parser.h>
#include <libxml/xpathInternals.h>

#include <new>
#include <unordered_set>

namespace host::xml {

namespace {

void SetText(xmlNodePtr node, const std::string& value) {
    switch (node->type) {
    case XML_ATTRIBUTE_NODE: {
        xmlNodePtr element = node->parent;
        // Removes an ID from the document's table and enters the new one.
        xmlSetNsProp(element, node->ns, node->name, Text(value));
        break;
    }
    case XML_ELEMENT_NODE:
        while (xmlNodePtr child = node->children) {
            xmlUnlinkNode(child);
            xmlFreeNode(child);
        }
        if (!value.empty()) xmlNodeAddContent(node, Text(value));
        break;
    case XML_NAMESPACE_DECL:
    case XML_DOCUMENT_NODE: throw std::runtime_error("--set: a document or namespace has no text of its own");
    default: xmlNodeSetContent(node, nullptr); xmlNodeAddContent(node, Text(value));
    }
}

// "//book/@lang" as {"//book", "lang"}; the path is empty when the query does not end in an attribute of elements that
// it names.
std::pair<std::string, std::string> SplitAttribute(const std::string& query) {
    size_t at = query.rfind("/@");
    if (at == std::string::npos || at == 0 || query[at - 1] == '/') return {};
    std::string name = query.substr(at + 2);
    if (xmlValidateQName(Text(name), 0) != 0) return {};
    if (name == "xmlns" || name.starts_with("xmlns:"))
        throw std::runtime_error("--set: namespace declarations cannot be set");
    return {query.substr(0, at), name};
}

void AddAttribute(xmlNodePtr element, const std::string& name, const std::string& value, const Namespaces& namespaces) {
    size_t colon = name.find(':');
    if (colon == std::string::npos) {
        if (xmlHasNsProp(element, Text(name), nullptr) == nullptr) xmlNewProp(element, Text(name), Text(value));
        return;
    }
    std::string prefix = name.substr(0, colon);
    std::string uri;
    for (const auto& [known, knownUri] : namespaces)
        if (known == prefix) uri = knownUri;
    bool isXml = prefix == "xml";
    if (isXml) uri = Text(XML_XML_NAMESPACE);
    xmlNsPtr ns =
        isXml ? xmlSearchNs(element->doc, element, Text(prefix)) : xmlSearchNsByHref(element->doc, element, Text(uri));
    if (ns == nullptr || ns->prefix == nullptr) ns = xmlNewNs(element, Text(uri), Text(prefix));
    if (ns == nullptr)
        throw std::runtime_error("--set: the prefix " + prefix + " cannot be declared where it is needed");
    std::string local = name.substr(colon + 1);
    if (xmlHasNsProp(element, Text(local), Text(uri)) == nullptr) xmlNewNsProp(element, ns, Text(local), Text(value));
}

using NodeSet = std::unordered_set<xmlNodePtr>;

// A node that stood on a line of its own goes with its line break, unless that is to go anyway.
void Remove(xmlNodePtr node, const NodeSet& doomed) {
    if (node->type == XML_ATTRIBUTE_NODE) {
        xmlRemoveProp(reinterpret_cast<xmlAttrPtr>(node));
        return;
    }
    xmlNodePtr before = node->prev;
    bool isAlone = before != nullptr && IsWhiteSpace(before) && (node->next == nullptr || IsWhiteSpace(node->next));
    xmlUnlinkNode(node);
    xmlFreeNode(node);
    if (!isAlone || doomed.contains(before)) return;
    xmlUnlinkNode(before);
    xmlFreeNode(before);
}

xmlNodePtr ParseFragment(xmlNodePtr element, const Input& markup) {
    ErrorCollector errors(markup);
    xmlNodePtr list = nullptr;
    xmlParserErrors result = xmlParseInNodeContext(element, markup.text.data(), static_cast<int>(markup.text.size()),
                                                   XML_PARSE_NONET, &list);
    if (result == XML_ERR_OK && errors.found.empty()) return list;
    xmlFreeNodeList(list);
    for (Diagnostic& fault : errors.found) fault.severity = Severity::ERROR;
    throw TextError(errors.found);
}

void AppendNodes(xmlNodePtr element, xmlNodePtr list) {
    // In an element whose children stand on lines of their own, so do the new ones.
    xmlNodePtr first = element->children;
    xmlNodePtr last = element->last;
    bool hasLines = first != nullptr && first != last && IsWhiteSpace(first) && IsWhiteSpace(last);
    while (list != nullptr) {
        xmlNodePtr node = list;
        list = node->next;
        xmlUnlinkNode(node);
        if (hasLines) {
            xmlAddPrevSibling(last, node);
            xmlAddPrevSibling(node, xmlNewDocText(element->doc, first->content));
        } else {
            xmlAddChild(element, node);
        }
    }
}

} // namespace

size_t Editor::Set(const std::string& query, const std::string& value) const {
    if (auto [path, name] = SplitAttribute(query); !path.empty())
        for (xmlNodePtr element : Evaluate(document, path, namespaces).Nodes())
            if (element->type == XML_ELEMENT_NODE) AddAttribute(element, name, value, namespaces);
    std::vector<xmlNodePtr> nodes = Evaluate(document, query, namespaces).Nodes();
    // From the end: what lies inside an element goes with the element's content, but not before its turn.
    for (auto node = nodes.rbegin(); node != nodes.rend(); ++node) SetText(*node, value);
    return nodes.size();
}

size_t Editor::Delete(const std::string& query) const {
    std::vector<xmlNodePtr> nodes = Evaluate(document, query, namespaces).Nodes();
    NodeSet doomed(nodes.begin(), nodes.end());
    // From the end, as in Set.
    for (auto node = nodes.rbegin(); node != nodes.rend(); ++node) {
        bool isRemovable = (*node)->type != XML_DOCUMENT_NODE && (*node)->type != XML_NAMESPACE_DECL;
        if (!isRemovable || *node == xmlDocGetRootElement(document))
            throw std::runtime_error("--delete: the document, its outermost element and namespaces have to stay");
        Remove(*node, doomed);
    }
    return nodes.size();
}

size_t Editor::Append(const std::string& query, const std::string& markup) const {
    std::vector<xmlNodePtr> nodes = Evaluate(document, query, namespaces).Nodes();
    for (xmlNodePtr node : nodes) {
        if (node->type != XML_ELEMENT_NODE) throw std::runtime_error("--append: only elements have content");
        AppendNodes(node, ParseFragment(node, {"markup", markup}));
    }
    return nodes.size();
}

} // namespace host::xml
