// Comparing with what an absolute path finds, once in a run for each document.
#include "sablotron/transform/known_values.h"

#include "sablotron/transform/expression_wrapping.h"
#include "sablotron/transform/instructions.h"
#include "sablotron/tree/tree.h"

#include <libxml/xpathInternals.h>
#include <libxslt/extensions.h>

#include <algorithm>
#include <new>

namespace sablot {
namespace {

std::string TextOf(xmlNode* node) {
    xmlChar* content = xmlXPathCastNodeToString(node);
    if (content == nullptr) throw std::bad_alloc();
    std::string text(View(content));
    xmlFree(content);
    return text;
}

// False when it fails, which has been told then.
bool Find(xmlXPathContext& context, const xmlChar* path, KnownValue& known) {
    constexpr size_t MAX_SIZE = size_t{1} << 24; // elements around each other can have very much text
    const std::string prepared = Prepared(Chars(path), ExpressionUse::VALUE);
    const XPathPointer<xmlXPathCompExpr> compiled(xmlXPathCtxtCompile(&context, Chars(prepared.c_str())));
    if (!compiled) return false;
    const xmlXPathContext before = context;
    context.node = AsNode(context.doc);
    known.nodes.reset(xmlXPathCompiledEval(compiled.get(), &context));
    context.node = before.node;
    context.doc = before.doc;
    context.proximityPosition = before.proximityPosition;
    context.contextSize = before.contextSize;
    if (!known.nodes || known.nodes->type != XPATH_NODESET) return false;
    const xmlNodeSet* nodes = known.nodes->nodesetval;
    size_t size = 0;
    for (int i = 0; nodes != nullptr && i < nodes->nodeNr && size < MAX_SIZE; ++i)
        size += known.texts.insert(TextOf(nodes->nodeTab[i])).first->size();
    known.hasTexts = size < MAX_SIZE;
    return true;
}

// Compares the value on the stack.
bool IsIn(xmlXPathParserContext* parser, const KnownValue& known) {
    const xmlXPathObject* value = parser->value;
    if (!known.hasTexts || (value->type != XPATH_NODESET && value->type != XPATH_STRING)) {
        valuePush(parser, xmlXPathObjectCopy(known.nodes.get()));
        return xmlXPathEqualValues(parser) != 0;
    }
    const XPathPointer<xmlXPathObject> own(valuePop(parser));
    if (own->type == XPATH_STRING) return known.texts.contains(std::string(View(own->stringval)));
    const xmlNodeSet* nodes = own->nodesetval;
    return nodes != nullptr && std::any_of(nodes->nodeTab, nodes->nodeTab + nodes->nodeNr, [&known](xmlNode* node) {
               return known.texts.contains(TextOf(node));
           });
}

} // namespace

void IsAmong(xmlXPathParserContext* parser, int argumentCount) {
    if (argumentCount != 2 || parser->valueNr < 2) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    const XPathPointer<xmlXPathObject> path(valuePop(parser));
    if (path->type != XPATH_STRING) return xmlXPathErr(parser, XPATH_INVALID_TYPE);
    const xmlDoc* document = parser->context->doc;
    try {
        KnownValue found;
        KnownValue* known = &found;
        if (document != nullptr && !IsFragment(AsNode(document)))
            known = &RunOf(xsltXPathGetTransformContext(parser)).knownValues[document][Chars(path->stringval)];
        if (!known->nodes && !Find(*parser->context, path->stringval, *known)) {
            parser->error = XPATH_STACK_ERROR;
            return;
        }
        valuePush(parser, xmlXPathNewBoolean(IsIn(parser, *known) ? 1 : 0));
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
}

} // namespace sablot
