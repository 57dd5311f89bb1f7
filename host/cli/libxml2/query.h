// XPath 1.0 expressions over a document.
#pragma once

#include "host/cli/libxml2/document.h"

#include <string>
#include <utility>
#include <vector>

struct _xmlXPathObject;

namespace host::xml {

// Prefix and URI.
using Namespaces = std::vector<std::pair<std::string, std::string>>;

// The namespaces that the document declares, each prefix with the URI it is first bound to; the first default namespace
// has the prefix "_".
Namespaces DeclaredNamespaces(const _xmlDoc* document);

// The query is wrong, whatever the document.
struct QueryError : std::invalid_argument {
    explicit QueryError(Diagnostic found);
    Diagnostic fault;
};

class QueryResult {
public:
    explicit QueryResult(_xmlXPathObject* object);

    enum class Kind { NODES, NUMBER, STRING, BOOLEAN };
    Kind GetKind() const;
    // In document order.
    std::vector<_xmlNode*> Nodes() const;
    bool Boolean() const;
    // Of a number, string or boolean: what the function string() makes of it.
    std::string String() const;

private:
    struct FreeObject {
        void operator()(_xmlXPathObject* object) const;
    };
    std::unique_ptr<_xmlXPathObject, FreeObject> object_;
};

// Throws QueryError with the place in the query.
QueryResult Evaluate(_xmlDoc* document, const std::string& query, const Namespaces& namespaces);

// What a node is.
struct NodeDescription {
    std::string type; // "element", "attribute", "text", "comment" …
    std::string name;
    long line = 0;
    Namespaces attributes; // names and values
};
NodeDescription DescribeNode(const _xmlNode* node);

} // namespace host::xml
