// Declarations given as single texts, as records have them.
#pragma once

#include "host/syntax/declaration.h"

#include <string_view>

namespace host {

struct DeclarationError {
    uint32_t offset = 0; // byte offset in the declaration
    std::string message;
};

// "Item (index as Integer) as XmlNode": the declaration of a method, event or property. Nothing when it is malformed;
// `error` (may be null) then says what is wrong.
std::optional<Declaration> ParseDeclaration(std::string_view text, DeclarationError* error = nullptr);

// "XML_CQUANT_OPT = 1".
std::optional<ConstantDeclaration> ParseConstantDeclaration(std::string_view text, DeclarationError* error = nullptr);

} // namespace host
