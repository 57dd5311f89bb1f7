// Looking nodes of one set up in another.
#include "sablotron/transform/set_functions.h"

#include "sablotron/tree/tree.h"
#include "sablotron/tree/xpath.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <new>
#include <unordered_set>

namespace sablot {
namespace {

// The nodes on the stack, if they are several. Namespace nodes are compared by what they say.
xmlNodeSet* Several(const xmlXPathObject* value) {
    if (value == nullptr || value->type != XPATH_NODESET || value->nodesetval == nullptr) return nullptr;
    xmlNodeSet* nodes = value->nodesetval;
    const bool isSeveral =
        nodes->nodeNr > 1 && std::none_of(nodes->nodeTab, nodes->nodeTab + nodes->nodeNr, IsDeclaration);
    return isSeveral ? nodes : nullptr;
}

} // namespace

bool RunSetFunction(xmlXPathParserContext* parser, int argumentCount, std::string_view name) {
    const bool isDifference = name == "difference";
    const bool isTest = name == "has-same-node";
    if (argumentCount != 2 || parser->valueNr < 2 || !(isDifference || isTest || name == "intersection")) return false;
    xmlNodeSet* nodes = Several(parser->valueTab[parser->valueNr - 2]);
    const xmlNodeSet* others = Several(parser->value);
    if (nodes == nullptr || others == nullptr) return false;
    try {
        const std::unordered_set<const xmlNode*> known(others->nodeTab, others->nodeTab + others->nodeNr);
        xmlNode** const end = std::remove_if(nodes->nodeTab, nodes->nodeTab + nodes->nodeNr,
                                             [&](const xmlNode* node) { return known.contains(node) == isDifference; });
        nodes->nodeNr = static_cast<int>(end - nodes->nodeTab);
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
        return true;
    }
    xmlXPathFreeObject(valuePop(parser));
    if (isTest) xmlXPathBooleanFunction(parser, 1);
    return true;
}

} // namespace sablot
