// The modules that a stylesheet consists of.
#pragma once

#include "sablotron/tree/tree.h"

#include <libxslt/imports.h>
#include <libxslt/xslt.h>

namespace sablot {

// Whether an element or attribute is named in the XSLT namespace.
inline bool IsXslt(const xmlNode* node) {
    return (node->ns != nullptr) && View(node->ns->href) == Chars(XSLT_NAMESPACE);
}

// Calls visit(tree) for every module: the stylesheet, what it imports and what they include.
template <typename Visit>
void ForEachModule(xsltStylesheet* stylesheet, Visit visit) {
    for (xsltStylesheet* level = stylesheet; level != nullptr; level = xsltNextImport(level)) {
        if (level->doc != nullptr) visit(level->doc);
        for (const xsltDocument* included = level->docList; included != nullptr; included = included->next)
            visit(included->doc);
    }
}

} // namespace sablot
