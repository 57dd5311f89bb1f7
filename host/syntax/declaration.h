// Types, parameters and signatures as they are written.
#pragma once

#include "host/syntax/currency.h"
#include "host/syntax/source.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace host {

// A type of its own: libstdc++ 12 takes a variant of std::string for one that always holds something, and destroys one
// whose copy has failed for want of memory.
struct ConstantText : std::string {
    ConstantText(std::string text) : std::string(std::move(text)) {}
};

// A constant: Nil, Boolean, Integer, Double, String, Int64 or Currency.
using ConstantValue = std::variant<std::monostate, bool, int32_t, double, ConstantText, int64_t, Currency>;

// A type as written, e.g. "XmlNode", or "String" with isArray for `map() as String`. Names are compared without case.
struct TypeName {
    std::string name; // empty where no type stands: a Sub has no result
    bool isArray = false;
    Span span;
};

struct Parameter {
    std::string name;
    TypeName type;
    bool isByRef = false;
    bool isExtended = false; // Extends: the object that the function is called on like a method
    std::optional<ConstantValue> defaultValue;
    Span span; // of the name
};

// A method, event or property as records and programs declare it.
struct Declaration {
    std::string name;
    bool hasParameterList = false; // false for a property-like "DocumentElement as XmlElement"
    std::vector<Parameter> parameters;
    TypeName result; // empty name: no result
    Span span;       // of the name
};

struct ConstantDeclaration {
    std::string name;
    ConstantValue value;
};

// The declaration in one spelling, e.g. `Read(Count As Integer, enc As TextEncoding = Nil) As String`.
std::string FormatDeclaration(const Declaration& declaration);
std::string FormatConstant(const ConstantValue& value);

} // namespace host
