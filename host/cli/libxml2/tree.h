// Small things about libxml2's trees that more than one file here needs.
#pragma once

#include <libxml/tree.h>

#include <memory>
#include <string>

namespace host::xml {

struct FreeString {
    void operator()(xmlChar* text) const { xmlFree(text); }
};
using CString = std::unique_ptr<xmlChar, FreeString>;

// Text of libxml2.
inline const char* Text(const xmlChar* text) { return text != nullptr ? reinterpret_cast<const char*>(text) : ""; }
inline const xmlChar* Text(const char* text) { return reinterpret_cast<const xmlChar*>(text); }
inline const xmlChar* Text(const std::string& text) { return Text(text.c_str()); }

// A text of nothing but white space.
inline bool IsWhiteSpace(const xmlNode* node) { return node->type == XML_TEXT_NODE && xmlIsBlankNode(node) != 0; }

} // namespace host::xml
