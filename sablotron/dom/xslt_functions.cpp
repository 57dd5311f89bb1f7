// The functions of XSLT 1.0 (12) that queries know too.
#include "sablotron/dom/xslt_functions.h"

#include "sablotron/tree/library_scope.h"
#include "sablotron/tree/order_sort.h"
#include "sablotron/tree/xpath.h"

#include <libxml/xpathInternals.h>
#include <libxslt/xsltInternals.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <cstdio>
#include <string>

namespace sablot {

namespace {

using ObjectPointer = XPathPointer<xmlXPathObject>;

// Letters and digits that tell a node from every other one, as long as it lives.
std::string IdOf(const xmlNode* node) {
    std::string suffix;
    if (IsDeclaration(node)) { // a copy, which knows its element
        for (const char byte : "n" + std::string(View(AsDeclaration(node)->prefix))) {
            char hex[3];
            std::snprintf(hex, sizeof hex, "%02x", static_cast<unsigned char>(byte));
            suffix += hex;
        }
        node = AsNode(AsDeclaration(node)->next);
    }
    return "id" + std::to_string(reinterpret_cast<uintptr_t>(node)) + (suffix.empty() ? "" : "n" + suffix);
}

void GenerateId(xmlXPathParserContext* parser, int argumentCount) noexcept {
    const xmlNode* node = parser->context->node;
    ObjectPointer nodes;
    if (argumentCount > 1) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    if (argumentCount == 1) {
        nodes.reset(valuePop(parser));
        if (!nodes || nodes->type != XPATH_NODESET) return xmlXPathErr(parser, XPATH_INVALID_TYPE);
        const xmlNodeSet* set = nodes->nodesetval;
        node = set == nullptr || set->nodeNr == 0
                   ? nullptr
                   : *std::min_element(set->nodeTab, set->nodeTab + set->nodeNr, [](auto* left, auto* right) {
                         return !IsDeclaration(left) && !IsDeclaration(right) && CompareInTree(left, right) < 0;
                     });
    }
    try {
        valuePush(parser, xmlXPathNewCString(node != nullptr ? IdOf(node).c_str() : ""));
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
}

// What xsl:decimal-format says where it says nothing.
xsltDecimalFormat& DefaultFormat() {
    const auto text = [](const char* symbol) { return const_cast<xmlChar*>(Chars(symbol)); };
    static xsltDecimalFormat format{
        .next = nullptr,
        .name = nullptr,
        .digit = text("#"),
        .patternSeparator = text(";"),
        .minusSign = text("-"),
        .infinity = text("Infinity"),
        .noNumber = text("NaN"),
        .decimalPoint = text("."),
        .grouping = text(","),
        .percent = text("%"),
        .permille = text("\u2030"),
        .zeroDigit = text("0"),
        .nsUri = nullptr,
    };
    return format;
}

void FormatNumber(xmlXPathParserContext* parser, int argumentCount) noexcept {
    // A third argument names an xsl:decimal-format, which a query has none of.
    if (argumentCount != 2) return xmlXPathErr(parser, XPATH_INVALID_ARITY);
    xmlChar* pattern = xmlXPathPopString(parser);
    const double number = xmlXPathPopNumber(parser);
    xmlChar* text = nullptr;
    // Faults of the pattern are told to this handler only.
    const xmlGenericErrorFunc handler = xsltGenericError;
    void* const handlerData = xsltGenericErrorContext;
    xsltSetGenericErrorFunc(nullptr, DropGeneric);
    const bool done = pattern != nullptr && parser->error == XPATH_EXPRESSION_OK
                      && xsltFormatNumberConversion(&DefaultFormat(), pattern, number, &text) == XPATH_EXPRESSION_OK;
    xsltSetGenericErrorFunc(handlerData, handler);
    xmlFree(pattern);
    if (done)
        valuePush(parser, xmlXPathWrapString(text));
    else
        xmlXPathErr(parser, XPATH_EXPR_ERROR);
}

} // namespace

void RegisterXsltFunctions(xmlXPathContext* context) {
    if (xmlXPathRegisterFunc(context, Chars("generate-id"), GenerateId) != 0
        || xmlXPathRegisterFunc(context, Chars("format-number"), FormatNumber) != 0)
        throw std::bad_alloc();
}

} // namespace sablot
