// The endings of messages that help.
#pragma once

#include "host/language/suggestion.h"
#include "host/language/symbols.h"

#include <string>

namespace host::language {

// How to get from one type to another that it is not converted to by itself, or nothing.
std::string ConversionHint(const ValueType& from, const ValueType& to);

// What is written here for a member that a class, module or built-in type has elsewhere, or nothing.
std::string MemberHint(std::string_view type, std::string_view member);

// What is written here for a name, or a type, that other languages have, or nothing.
std::string NameHint(std::string_view name);
std::string TypeHint(std::string_view name);

// "1 argument", "2 arguments"
std::string Plural(size_t count, const std::string& noun);

} // namespace host::language
