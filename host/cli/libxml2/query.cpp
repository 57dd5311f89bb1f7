// Evaluation of queries, and the places of their faults.
#include "host/cli/libxml2/query.h"

#include "host/cli/libxml2/errors.h"
#include "host/cli/libxml2/tree.h"

#include <libxml/tree.h>
#include <libxml/xpath.h>
#include <libxml/xpathInternals.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <set>
#include <string_view>

namespace host::xml {

namespace {

struct FreeContext {
    void operator()(xmlXPathContextPtr context) const { xmlXPathFreeContext(context); }
};
struct FreeExpression {
    void operator()(xmlXPathCompExprPtr expression) const { xmlXPathFreeCompExpr(expression); }
};

std::string String(const xmlChar* text) { return Text(text); }

bool IsNameByte(char c) {
    auto byte = static_cast<unsigned char>(c);
    return std::isalnum(byte) != 0 || c == '_' || c == '-' || c == '.' || byte >= 0x80;
}

// libxml2 tells where a query cannot be read on, but not where a name stands that evaluation does not know.
class UnknownName {
public:
    UnknownName(const std::string& query, xmlXPathContextPtr context) : query_(query), context_(context) {}

    // Finds the first prefix, function or variable that the context lacks.
    bool Find() {
        for (size_t i = 0; i < query_.size();) {
            char c = query_[i];
            if (c == '"' || c == '\'') {
                size_t end = query_.find(c, i + 1);
                i = end == std::string::npos ? query_.size() : end + 1;
            } else if (!IsNameByte(c) || std::isdigit(static_cast<unsigned char>(c)) != 0) {
                ++i;
            } else {
                size_t end = i;
                while (end < query_.size() && IsNameByte(query_[end])) ++end;
                if (IsUnknown(i, end)) return true;
                i = end;
            }
        }
        return false;
    }

    size_t offset = 0;
    std::string name;
    std::string kind;

private:
    bool IsUnknown(size_t start, size_t end) {
        offset = start;
        name = query_.substr(start, end - start);
        bool isPrefix = Follows(end, ":") && !Follows(end, "::");
        bool isPrefixed = start > 0 && query_[start - 1] == ':' && (start < 2 || query_[start - 2] != ':');
        if (isPrefix) {
            kind = "the namespace prefix";
            return xmlXPathNsLookup(context_, Text(name)) == nullptr;
        }
        if (start > 0 && query_[start - 1] == '$') {
            kind = "the variable";
            return true;
        }
        size_t next = std::min(query_.find_first_not_of(" \t\r\n", end), query_.size());
        static const std::set<std::string> OTHERS = {"node", "text", "comment", "processing-instruction",
                                                     "and",  "or",   "div",     "mod"};
        kind = "the function";
        return !isPrefixed && Follows(next, "(") && !OTHERS.contains(name)
               && xmlXPathFunctionLookup(context_, Text(name)) == nullptr;
    }

    bool Follows(size_t place, std::string_view text) const { return query_.compare(place, text.size(), text) == 0; }

    const std::string& query_;
    xmlXPathContextPtr context_;
};

[[noreturn]] void Fail(const std::string& query, xmlXPathContextPtr context, const ErrorCollector& errors,
                       bool isCompiled) {
    Diagnostic fault;
    fault.file = "query";
    fault.message = errors.found.empty() ? "this is no XPath expression" : errors.found.front().message;
    size_t offset = isCompiled ? 0 : std::min(static_cast<size_t>(std::max(context->lastError.int1, 0)), query.size());
    if (UnknownName unknown(query, context); isCompiled && unknown.Find()) {
        offset = unknown.offset;
        fault.message = unknown.kind + " \"" + unknown.name + "\" is not known";
        fault.length = static_cast<uint32_t>(xmlUTF8Strlen(Text(unknown.name)));
    }
    size_t line = query.rfind('\n', offset == 0 ? 0 : offset - 1);
    size_t start = line == std::string::npos ? 0 : line + 1;
    fault.line = 1 + static_cast<uint32_t>(std::count(query.begin(), query.begin() + static_cast<long>(start), '\n'));
    fault.sourceLine = LineOf(query, fault.line);
    fault.column = 1 + static_cast<uint32_t>(xmlUTF8Strlen(Text(query.substr(start, offset - start))));
    throw QueryError(fault);
}

// The query with ways to children or attributes by name and back, "a/b/..", as predicates, "a[b]", for which libxml2
// does not compare each node with each. What stands before the way may be no step: then the result is no expression.
std::string WithoutWaysBack(const std::string& query) {
    constexpr std::string_view TO_PARENT = "/..";
    std::string result = query;
    if (query.find_first_of("\"'") != std::string::npos) return result;
    for (size_t at = result.find(TO_PARENT); at != std::string::npos; at = result.find(TO_PARENT, at + 1)) {
        size_t begin = at;
        while (begin > 0 && (IsNameByte(result[begin - 1]) || result[begin - 1] == ':')) --begin;
        if (begin == at && begin > 0 && result[begin - 1] == '*') --begin;
        if (begin > 0 && result[begin - 1] == '@') --begin;
        std::string step = result.substr(begin, at - begin);
        bool isStep = !step.empty() && step[0] != '.' && step.find("::") == std::string::npos;
        if (!isStep || begin < 2 || result[begin - 1] != '/') continue;
        bool isAnywhere = result[begin - 2] == '/';
        begin -= isAnywhere ? 2 : 1;
        result.replace(begin, at + TO_PARENT.size() - begin,
                       (isAnywhere ? "/descendant-or-self::node()[" : "[") + step + "]");
        at = begin;
    }
    return result;
}

// XPath 1.0, 4.2: a decimal number without exponent.
std::string FormatNumber(double number) {
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number > 0 ? "Infinity" : "-Infinity";
    if (number == 0) return "0";
    std::array<char, 400> text;
    auto end = std::to_chars(text.data(), text.data() + text.size(), number, std::chars_format::fixed).ptr;
    return {text.data(), end};
}

const char* TypeName(xmlElementType type) {
    switch (type) {
    case XML_ELEMENT_NODE: return "element";
    case XML_ATTRIBUTE_NODE: return "attribute";
    case XML_NAMESPACE_DECL: return "namespace";
    case XML_COMMENT_NODE: return "comment";
    case XML_PI_NODE: return "processing-instruction";
    case XML_DOCUMENT_NODE: return "document";
    default: return "text";
    }
}

std::string QualifiedName(const xmlNs* ns, const xmlChar* name) {
    if (name == nullptr) return "";
    return ns != nullptr && ns->prefix != nullptr ? String(ns->prefix) + ":" + String(name) : String(name);
}

} // namespace

Namespaces DeclaredNamespaces(const _xmlDoc* document) {
    Namespaces result;
    std::set<std::string> prefixes;
    const _xmlNode* node = document->children;
    while (node != nullptr) {
        for (const xmlNs* ns = node->type == XML_ELEMENT_NODE ? node->nsDef : nullptr; ns != nullptr; ns = ns->next) {
            std::string prefix = ns->prefix != nullptr ? Text(ns->prefix) : "_";
            bool isUsable = ns->href != nullptr && *ns->href != '\0';
            if (isUsable && prefixes.insert(prefix).second) result.emplace_back(prefix, Text(ns->href));
        }
        const _xmlNode* next = node->type == XML_ELEMENT_NODE ? node->children : nullptr;
        while (next == nullptr && node != nullptr) {
            next = node->next;
            if (next == nullptr) node = node->parent;
            if (node == nullptr || node->type == XML_DOCUMENT_NODE) return result;
        }
        node = next;
    }
    return result;
}

QueryError::QueryError(Diagnostic found) : std::invalid_argument(found.message), fault(std::move(found)) {}

QueryResult::QueryResult(_xmlXPathObject* object) : object_(object) {}

void QueryResult::FreeObject::operator()(_xmlXPathObject* object) const { xmlXPathFreeObject(object); }

QueryResult::Kind QueryResult::GetKind() const {
    switch (object_->type) {
    case XPATH_NODESET: return Kind::NODES;
    case XPATH_NUMBER: return Kind::NUMBER;
    case XPATH_BOOLEAN: return Kind::BOOLEAN;
    default: return Kind::STRING;
    }
}

std::vector<_xmlNode*> QueryResult::Nodes() const {
    const xmlNodeSet* set = object_->nodesetval;
    if (set == nullptr) return {};
    return {set->nodeTab, set->nodeTab + set->nodeNr};
}

bool QueryResult::Boolean() const { return xmlXPathCastToBoolean(object_.get()) != 0; }

std::string QueryResult::String() const {
    if (object_->type == XPATH_NUMBER) return FormatNumber(object_->floatval);
    CString text(xmlXPathCastToString(object_.get()));
    return Text(text.get());
}

QueryResult Evaluate(_xmlDoc* document, const std::string& query, const Namespaces& namespaces) {
    Input input{"query", query};
    ErrorCollector errors(input);
    std::unique_ptr<xmlXPathContext, FreeContext> context(xmlXPathNewContext(document));
    if (context == nullptr) throw std::bad_alloc();
    for (const auto& [prefix, uri] : namespaces)
        xmlXPathRegisterNs(context.get(), Text(prefix), uri.empty() ? nullptr : Text(uri));
    context->node = reinterpret_cast<xmlNodePtr>(document);
    std::unique_ptr<xmlXPathCompExpr, FreeExpression> expression(xmlXPathCtxtCompile(context.get(), Text(query)));
    if (expression == nullptr) Fail(query, context.get(), errors, false);
    if (xmlXPathCompExprPtr cheaper = xmlXPathCtxtCompile(context.get(), Text(WithoutWaysBack(query))))
        expression.reset(cheaper);
    errors.found.clear();
    xmlXPathOrderDocElems(document);
    xmlXPathObjectPtr object = xmlXPathCompiledEval(expression.get(), context.get());
    if (object == nullptr) Fail(query, context.get(), errors, true);
    QueryResult result(object);
    if (object->nodesetval != nullptr) xmlXPathNodeSetSort(object->nodesetval);
    return result;
}

NodeDescription DescribeNode(const _xmlNode* found) {
    auto* node = const_cast<xmlNodePtr>(found);
    NodeDescription result;
    result.type = TypeName(node->type);
    if (node->type == XML_NAMESPACE_DECL) {
        result.name = Text(reinterpret_cast<const xmlNs*>(node)->prefix);
        return result;
    }
    result.line = std::max(xmlGetLineNo(node), 0L);
    if (node->type == XML_ELEMENT_NODE || node->type == XML_ATTRIBUTE_NODE)
        result.name = QualifiedName(node->ns, node->name);
    else if (node->type == XML_PI_NODE)
        result.name = Text(node->name);
    if (node->type != XML_ELEMENT_NODE) return result;
    for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
        result.attributes.emplace_back(QualifiedName(attribute->ns, attribute->name),
                                       StringValue(reinterpret_cast<const xmlNode*>(attribute)));
    return result;
}

} // namespace host::xml
