// Keys (XSLT 1.0, section 12.2): key() itself and the first of what it finds.
#include "sablotron/transform/keys.h"

#include "sablotron/transform/instructions.h"
#include "sablotron/transform/key_tables.h"
#include "sablotron/tree/element_numbers.h"
#include "sablotron/tree/number_text.h"
#include "sablotron/tree/tree.h"

#include <libxml/xpathInternals.h>
#include <libxslt/extensions.h>
#include <libxslt/functions.h>

#include <new>
#include <optional>
#include <unordered_set>

namespace sablot {
namespace {

// What the arguments on the stack ask for, in one text. Nothing when that can be something else the next time, or when
// there are several values.
std::optional<std::string> TextOf(const xmlXPathParserContext& parser) {
    const xmlXPathObject* value = parser.value;
    const xmlXPathObject* name = parser.valueNr > 1 ? parser.valueTab[parser.valueNr - 2] : nullptr;
    // What a prefix means depends on the instruction.
    if (name == nullptr || name->type != XPATH_STRING || View(name->stringval).find(':') != std::string_view::npos)
        return std::nullopt;
    std::string text(View(name->stringval));
    text += '\n';
    if (value->type == XPATH_STRING) return text.append(View(value->stringval));
    if (value->type != XPATH_NODESET || value->nodesetval == nullptr || value->nodesetval->nodeNr != 1)
        return std::nullopt;
    xmlChar* content = xmlXPathCastNodeToString(value->nodesetval->nodeTab[0]);
    text.append(View(content));
    xmlFree(content);
    return text;
}

xmlNode* FirstOf(const xmlXPathObject* found) {
    xmlNodeSet* nodes = found != nullptr && found->type == XPATH_NODESET ? found->nodesetval : nullptr;
    if (nodes == nullptr || nodes->nodeNr == 0) return nullptr;
    SortNodes(nodes);
    return nodes->nodeTab[0];
}

// In place of what key() found, the first of it.
xmlNode* TakeFirst(xmlXPathParserContext* parser) {
    const XPathPointer<xmlXPathObject> found(valuePop(parser));
    return FirstOf(found.get());
}

// Namespace nodes are copies.
bool AreSame(const xmlNode* node, const xmlNode* other) {
    if (node == nullptr || other == nullptr || !IsDeclaration(node) || !IsDeclaration(other)) return node == other;
    const xmlNs* one = AsDeclaration(node);
    const xmlNs* two = AsDeclaration(other);
    return one->next == two->next && View(one->prefix) == View(two->prefix);
}

// Asks for each value once; libxslt compares what it finds for one with all that it has.
void FindBySeveral(xmlXPathParserContext* parser) {
    const XPathPointer<xmlXPathObject> values(valuePop(parser));
    const XPathPointer<xmlXPathObject> name(valuePop(parser));
    XPathPointer<xmlXPathObject> result(xmlXPathNewNodeSet(nullptr));
    std::unordered_set<std::string> asked;
    std::unordered_set<const xmlNode*> known;
    if (!result || !name) throw std::bad_alloc();
    for (int i = 0; i < values->nodesetval->nodeNr; ++i) {
        XPathPointer<xmlXPathObject> text(xmlXPathWrapString(xmlXPathCastNodeToString(values->nodesetval->nodeTab[i])));
        if (!text) throw std::bad_alloc();
        if (!asked.emplace(View(text->stringval)).second) continue;
        valuePush(parser, xmlXPathObjectCopy(name.get()));
        valuePush(parser, text.release());
        xsltKeyFunction(parser, 2);
        if (parser->error != 0) return;
        const XPathPointer<xmlXPathObject> found(valuePop(parser));
        const xmlNodeSet* nodes = found ? found->nodesetval : nullptr;
        for (int k = 0; nodes != nullptr && k < nodes->nodeNr; ++k) {
            xmlNode* node = nodes->nodeTab[k];
            if (known.insert(node).second && xmlXPathNodeSetAddUnique(result->nodesetval, node) < 0)
                throw std::bad_alloc();
        }
    }
    valuePush(parser, result.release());
}

void FillTables(xmlXPathParserContext* parser) {
    xsltTransformContext* context = xsltXPathGetTransformContext(parser);
    const xmlNode* node = parser->context->node;
    if (context != nullptr && node != nullptr && !IsDeclaration(node)) FillKeyTables(context, node->doc);
}

} // namespace

void FindByKey(xmlXPathParserContext* parser, int argumentCount) {
    NumbersToStrings(parser, argumentCount);
    const xmlXPathObject* value = parser->value;
    try {
        FillTables(parser);
        if (argumentCount == 2 && value != nullptr && value->type == XPATH_NODESET && value->nodesetval != nullptr
            && value->nodesetval->nodeNr > 1)
            FindBySeveral(parser);
        else
            xsltKeyFunction(parser, argumentCount);
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
    SortValue(parser); // nodes of several values come by value
}

void FindFirstByKey(xmlXPathParserContext* parser, int argumentCount) {
    NumbersToStrings(parser, argumentCount);
    const xsltTransformContext* context = xsltXPathGetTransformContext(parser);
    const xmlNode* node = parser->context->node;
    const bool isSteady = argumentCount == 2 && context != nullptr && node != nullptr && !IsDeclaration(node)
                          && !IsFragment(AsNode(node->doc));
    try {
        FillTables(parser);
        std::optional<std::string> text = isSteady ? TextOf(*parser) : std::nullopt;
        if (!text) {
            xsltKeyFunction(parser, argumentCount);
            if (parser->error == 0) valuePush(parser, xmlXPathNewNodeSet(TakeFirst(parser)));
            return;
        }
        auto& known = RunOf(context).firstByKeys[node->doc];
        auto found = known.find(*text);
        if (found == known.end()) {
            xsltKeyFunction(parser, argumentCount);
            if (parser->error != 0) return;
            found = known.emplace(std::move(*text), TakeFirst(parser)).first;
        } else {
            xmlXPathFreeObject(valuePop(parser));
            xmlXPathFreeObject(valuePop(parser));
        }
        valuePush(parser, xmlXPathNewNodeSet(found->second));
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
}

void HaveSameId(xmlXPathParserContext* parser, int argumentCount) {
    if (argumentCount != 2 || parser->valueNr < 2) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    XPathPointer<xmlXPathObject> other(valuePop(parser));
    if (parser->value->type != XPATH_NODESET) return xsltGenerateIdFunction(parser, 1); // it tells the fault
    const XPathPointer<xmlXPathObject> one(valuePop(parser));
    if (other->type != XPATH_NODESET) {
        valuePush(parser, other.release());
        return xsltGenerateIdFunction(parser, 1);
    }
    try {
        valuePush(parser, xmlXPathNewBoolean(AreSame(FirstOf(one.get()), FirstOf(other.get())) ? 1 : 0));
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
}

} // namespace sablot
