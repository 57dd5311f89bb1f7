// What of libxslt's instructions and functions is done here: xsl:message, and a check of the stack before any of them.
#pragma once

#include "sablotron/transform/error_collector.h"
#include "sablotron/transform/known_values.h"
#include "sablotron/transform/memory_guard.h"
#include "sablotron/transform/stack_guard.h"
#include "sablotron/tree/node_steps.h"
#include "sablotron/tree/tree.h"
#include "sablotron/tree/xpath.h"

#include <array>
#include <string>
#include <unordered_map>

namespace sablot {

// The instructions of a compiled stylesheet, whose functions are replaced by one that checks first.
class Instructions {
public:
    explicit Instructions(xsltStylesheet* stylesheet);

    // What libxslt does for an instruction.
    xsltTransformFunction FunctionOf(const xsltElemPreComp* instruction) const;
    // The compiled value of an xsl:number; null when it has none.
    xmlXPathCompExpr* NumberValue(const xsltElemPreComp* instruction) const;

private:
    // libxslt has one function for each of its own instructions; extensions have theirs.
    std::array<xsltTransformFunction, XSLT_FUNC_EXTENSION> functions_{};
    std::unordered_map<const xsltElemPreComp*, xsltTransformFunction> extensions_;
    std::unordered_map<const xsltElemPreComp*, XPathPointer<xmlXPathCompExpr>> numberValues_;
};

// What instructions share during a run. Its address is the _private field of the transformation context.
struct Run {
    const Instructions& instructions;
    ErrorCollector& errors;
    MemoryGuard& memory;
    StackGuard guard{};
    std::vector<Message> messages{}; // of xsl:message, to be sent when the run is over
    uint64_t steps = 0;              // of expressions, before the instruction at work
    uint64_t maxSteps = 0;
    // Found once, see keys.h, numbering.h and node_steps.h. What the documents of the run hold does not change.
    std::unordered_map<const xmlDoc*, std::unordered_map<std::string, xmlNode*>> firstByKeys{};
    std::unordered_map<const xsltElemPreComp*, std::unordered_map<const xmlNode*, int>> numbers{};
    std::unordered_map<std::string, SiblingCounts> siblings{};
    KnownValues knownValues{};
};

inline Run& RunOf(const xsltTransformContext* context) { return *static_cast<Run*>(context->_private); }

// Lets a run that reads a tree take the more steps the larger that is.
void ExtendLimits(xsltTransformContext* context, const TreeSize& size);

// Ends the run with a failure when the stack could be too small for what comes next; with `walks`, for a walk of a
// tree.
bool CheckStack(xsltTransformContext* context, bool walks);

// Registers a document that the run reads; false after a failure when it is too deep to be walked.
bool RegisterDocument(xsltTransformContext* context, xmlDoc* tree);

// Makes the extension functions of a run go through the check.
void GuardFunctions(xsltTransformContext* context);

} // namespace sablot
