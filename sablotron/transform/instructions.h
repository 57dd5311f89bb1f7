// What of libxslt's instructions and functions is done here: xsl:message, and a check of the stack before any of them.
#pragma once

#include "sablotron/transform/error_collector.h"
#include "sablotron/transform/stack_guard.h"
#include "sablotron/transform/stylesheet.h"

namespace sablot {

// What instructions share during a run. Its address is the _private field of the transformation context.
struct Run {
    const Stylesheet& stylesheet;
    ErrorCollector& errors;
    StackGuard guard;
    std::vector<Message> messages; // of xsl:message, to be sent when the run is over
};

inline Run& RunOf(const xsltTransformContext* context) { return *static_cast<Run*>(context->_private); }

// Ends the run with a failure when the stack could be too small for what comes next; with `walks`, for a walk of a
// tree.
bool CheckStack(xsltTransformContext* context, bool walks);

// Makes a tree one that the run may walk; false after a failure when it is too deep for that.
bool KnowTree(xsltTransformContext* context, const xmlDoc* tree);

// Stands for the function of every compiled instruction, which Stylesheet::FunctionOf knows.
void RunInstruction(xsltTransformContext* context, xmlNode* node, xmlNode* instruction, xsltElemPreComp* compiled);

// The compiled form of every xsl:message.
xsltElemPreComp* MessageInstruction();

// Makes the extension functions of a run go through the check.
void GuardFunctions(xsltTransformContext* context);

} // namespace sablot
