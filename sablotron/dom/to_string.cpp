// Documents and elements as text.
#include "sablotron/dom/call.h"
#include "sablotron/tree/serialise.h"

using namespace sablot;

extern "C" {

SDOM_Exception SDOM_docToString(SablotSituation situation, SDOM_Document document, char** text) {
    *text = nullptr;
    return CallOnDocument(situation, document, [&](const Document& found) {
        TextBuffer buffer;
        SerialiseDocument(found, buffer);
        *text = buffer.Release();
        return SDOM_OK;
    });
}

SDOM_Exception SDOM_nodeToString(SablotSituation situation, SDOM_Document, SDOM_Node node, char** text) {
    *text = nullptr;
    return CallOnNode(situation, node, [&](xmlNode* found) {
        TextBuffer buffer;
        if (IsElement(found)) SerialiseElement(found, buffer);
        *text = buffer.Release();
        return SDOM_OK;
    });
}

} // extern "C"
