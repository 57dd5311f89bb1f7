// Types and signatures of members, read from their declarations.
#pragma once

#include "host/syntax/declaration.h"

#include <cstdint>
#include <optional>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// A definition (record, declaration, class) that cannot be accepted; the message names the class and member.
struct DefinitionError : std::runtime_error {
    using std::runtime_error::runtime_error;
};

// What a value is at the boundary. Integer and Boolean are 32-bit words (any non-zero word is True), Double, Int64
// and Currency (ten-thousandths) 64 bits, the rest pointers: String*, Object*, a boxed value or object (Variant),
// Array*.
enum class Kind : uint8_t { NOTHING, INTEGER, BOOLEAN, DOUBLE, STRING, OBJECT, VARIANT, ARRAY, INT64, CURRENCY };

// Whether a value takes 64 bits; the others take 32.
constexpr bool IsWide(Kind kind) { return kind == Kind::DOUBLE || kind == Kind::INT64 || kind == Kind::CURRENCY; }
constexpr bool IsNumber(Kind kind) { return kind == Kind::INTEGER || IsWide(kind); }
constexpr bool HoldsObject(Kind kind) { return kind == Kind::OBJECT || kind == Kind::VARIANT || kind == Kind::ARRAY; }

// The type's name; "" for what is named by its class.
const char* BuiltInName(Kind kind);
std::vector<std::string> BuiltInTypeNames();

struct Type {
    Kind kind = Kind::NOTHING;
    Kind element = Kind::NOTHING; // of an Array
    std::string className;        // as written, of an Object or of an array's elements

    std::string Text() const; // "Integer", "XmlNode", "String()"
    bool operator==(const Type& other) const;
};

// "integer" → Kind::INTEGER; any name that is not a built-in type is a class.
Type TypeNamed(std::string_view name, bool isArray = false);

struct FormalParameter {
    std::string name;
    Type type;
    bool byRef = false; // passed as a pointer to the variable
    std::optional<ConstantValue> defaultValue;
};

struct Signature {
    std::string name;
    std::vector<FormalParameter> parameters;
    Type result; // Kind::NOTHING for a Sub

    std::string Text() const; // "Parse(s As String, isFinal As Boolean) As Boolean"
    bool SameParameters(const Signature& other) const;
    // Same name, parameter types and result; parameter names and defaults do not count.
    bool Matches(const Signature& other) const;
};

// Reads a declaration such as "Read(Count as Integer, enc as TextEncoding = nil) as String". Throws DefinitionError.
Signature ParseSignature(std::string_view declaration);
Signature ToSignature(const Declaration& declaration);

} // namespace host
