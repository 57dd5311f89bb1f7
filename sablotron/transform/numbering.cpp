// xsl:number (XSLT 1.0, section 7.7).
#include "sablotron/transform/numbering.h"

#include "sablotron/transform/instructions.h"
#include "sablotron/tree/number_text.h"
#include "sablotron/tree/tree.h"
#include "sablotron/tree/xpath.h"

#include <libxslt/numbersInternals.h>
#include <libxslt/pattern.h>
#include <libxslt/templates.h>
#include <libxslt/transform.h>

namespace sablot {
namespace {

// Whether xsl:number would put more levels into its list than libxslt has room for, which it leaves out.
bool HasTooManyLevels(xsltTransformContext* context, xmlNode* node, const xsltNumberData& number) {
    constexpr size_t MAX_LEVELS = 1024;
    if (View(number.level) != "multiple") return false;
    size_t depth = 0;
    for (const xmlNode* ancestor = node; ancestor != nullptr; ancestor = ancestor->parent) ++depth;
    if (depth <= MAX_LEVELS) return false;
    size_t levels = 0;
    for (xmlNode* ancestor = node; IsElement(ancestor); ancestor = ancestor->parent) {
        if ((number.fromPat != nullptr) && xsltTestCompMatchList(context, ancestor, number.fromPat) == 1) break;
        const bool counts = number.countPat != nullptr ? xsltTestCompMatchList(context, ancestor, number.countPat) == 1
                                                       : View(ancestor->name) == View(node->name);
        levels += counts ? 1 : 0;
    }
    return levels > MAX_LEVELS;
}

// The value of an expression that an instruction has.
XPathPointer<xmlXPathObject> Evaluate(const xsltTransformContext* context, xmlNode* node,
                                      const xsltStylePreComp& compiled, xmlXPathCompExpr* expression) {
    xmlXPathContext* const xpath = context->xpathCtxt;
    const xmlXPathContext before = *xpath;
    xpath->node = node;
    xpath->namespaces = compiled.nsList;
    xpath->nsNr = compiled.nsNr;
    XPathPointer<xmlXPathObject> result(xmlXPathCompiledEval(expression, xpath));
    xpath->node = before.node;
    xpath->namespaces = before.namespaces;
    xpath->nsNr = before.nsNr;
    xpath->proximityPosition = before.proximityPosition;
    xpath->contextSize = before.contextSize;
    return result;
}

// libxslt would write 0 for a negative number, which is to be written as it is (XSLT 1.0 Errata, E24). False when it is
// none, or the value fails.
bool WriteNegative(xsltTransformContext* context, xmlNode* node, const xsltStylePreComp& compiled,
                   xmlXPathCompExpr* value) {
    const XPathPointer<xmlXPathObject> result = Evaluate(context, node, compiled, value);
    const double number = result ? xmlXPathCastToNumber(result.get()) : 0;
    if (!(number < 0)) return false;
    xsltCopyTextString(context, context->insert, Chars(NumberText(number).c_str()), 0);
    return true;
}

std::string_view NamespaceUri(const xmlNode* element) {
    return element->ns != nullptr ? View(element->ns->href) : std::string_view();
}

// Whether an xsl:number at the node counts another one.
bool Counts(xsltTransformContext* context, const xsltNumberData& number, const xmlNode* node, xmlNode* other) {
    if (number.countPat != nullptr) return xsltTestCompMatchList(context, other, number.countPat) == 1;
    return IsElement(other) && View(other->name) == View(node->name) && NamespaceUri(other) == NamespaceUri(node);
}

// Whether a pattern matches the same nodes each time.
bool IsSteady(const xmlChar* pattern) { return View(pattern).find_first_of("[($") == std::string_view::npos; }

using Numbers = std::unordered_map<const xmlNode*, int>;

// Numbers an element and its siblings.
void NumberSiblings(xsltTransformContext* context, const xsltNumberData& number, const xmlNode* node, Numbers& numbers,
                    const xmlNode* counted) {
    int last = 0;
    for (xmlNode* sibling = counted->parent->children; sibling != nullptr; sibling = sibling->next)
        if (Counts(context, number, node, sibling)) numbers.emplace(sibling, ++last);
}

// Numbers what counts in the document of an element, anew from each node that matches "from".
void NumberDocument(xsltTransformContext* context, const xsltNumberData& number, const xmlNode* node,
                    Numbers& numbers) {
    int last = 0;
    for (xmlNode* other : Walk(AsNode(node->doc))) {
        if (number.fromPat != nullptr && xsltTestCompMatchList(context, other, number.fromPat) == 1) last = 0;
        if (Counts(context, number, node, other)) numbers.emplace(other, ++last);
    }
}

// Writes the number of an element among its siblings or in its document, which libxslt would count anew for each. False
// where that is to count: on several levels, in fragments, and by patterns that need not match each time.
bool WriteKnownNumber(xsltTransformContext* context, xmlNode* node, const xsltElemPreComp* instruction,
                      const xsltNumberData& number) {
    const bool isSingle = number.level == nullptr || View(number.level) == "single";
    const bool isAny = View(number.level) == "any";
    const bool isSteady = IsSteady(number.count) && (number.from == nullptr || (isAny && IsSteady(number.from)));
    if (!(isSingle || isAny) || !isSteady || !IsElement(node) || IsFragment(AsNode(node->doc))) return false;
    xmlNode* counted = node;
    while (isSingle && IsElement(counted) && !Counts(context, number, node, counted)) counted = counted->parent;
    if (!IsElement(counted) || counted->parent == nullptr || !Counts(context, number, node, counted)) return false;

    Numbers& numbers = RunOf(context).numbers[instruction];
    if (!numbers.contains(counted)) {
        if (isAny)
            NumberDocument(context, number, node, numbers);
        else
            NumberSiblings(context, number, node, numbers, counted);
    }
    const std::string value = std::to_string(numbers.at(counted));
    xsltNumberData known = number;
    known.value = Chars(value.c_str());
    xsltNumberFormat(context, &known, node);
    return true;
}

} // namespace

bool WriteNumber(xsltTransformContext* context, xmlNode* node, const xsltElemPreComp* instruction) {
    const auto& compiled = *reinterpret_cast<const xsltStylePreComp*>(instruction);
    Run& run = RunOf(context);
    if (HasTooManyLevels(context, node, compiled.numdata)) {
        run.errors.Fail({.code = CODE_OTHER, .text = "More than 1,024 levels to number"});
        return true;
    }
    if (compiled.numdata.value == nullptr) return WriteKnownNumber(context, node, instruction, compiled.numdata);
    xmlXPathCompExpr* value = run.instructions.NumberValue(instruction);
    return value != nullptr && WriteNegative(context, node, compiled, value);
}

} // namespace sablot
