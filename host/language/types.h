// The types of the language as the checker sees them.
#pragma once

#include "host/runtime/signature.h"

#include <cstdint>
#include <string>

namespace host::language {

struct ClassSymbol;

enum class TypeKind : uint8_t {
    INVALID, // of what was reported already: fits everywhere, so that nothing is reported twice
    NOTHING, // the result of a Sub
    NIL,
    INTEGER,
    BOOLEAN,
    DOUBLE,
    STRING,
    VARIANT,
    OBJECT,
    ARRAY,
};

struct ValueType {
    TypeKind kind = TypeKind::INVALID;
    TypeKind element = TypeKind::INVALID; // of an ARRAY
    ClassSymbol* cls = nullptr;           // of an OBJECT or of an array's elements

    bool operator==(const ValueType&) const = default;
    bool Is(TypeKind other) const { return kind == other; }
    bool IsNumber() const { return kind == TypeKind::INTEGER || kind == TypeKind::DOUBLE; }
    // Held as a pointer to an object: can be Nil.
    bool IsReference() const {
        return kind == TypeKind::OBJECT || kind == TypeKind::VARIANT || kind == TypeKind::ARRAY
               || kind == TypeKind::NIL;
    }
    ValueType Element() const { return {element, TypeKind::INVALID, cls}; }
    ValueType ArrayOf() const { return {TypeKind::ARRAY, kind, cls}; }
    std::string Text() const; // as programs write it
};

inline constexpr ValueType INVALID_TYPE{};
inline constexpr ValueType NO_TYPE{TypeKind::NOTHING};
inline constexpr ValueType NIL_TYPE{TypeKind::NIL};
inline constexpr ValueType INTEGER_TYPE{TypeKind::INTEGER};
inline constexpr ValueType BOOLEAN_TYPE{TypeKind::BOOLEAN};
inline constexpr ValueType DOUBLE_TYPE{TypeKind::DOUBLE};
inline constexpr ValueType STRING_TYPE{TypeKind::STRING};
inline constexpr ValueType VARIANT_TYPE{TypeKind::VARIANT};

// How a register holds a value, and so how it is copied and released.
enum class Storage : uint8_t { PLAIN, STRING, OBJECT };

Storage StorageOf(const ValueType& type);

// The type at the boundary to native code.
Kind KindOf(TypeKind kind);
Type RuntimeType(const ValueType& type);

// The type of a constant of a record or program.
ValueType TypeOf(const ConstantValue& value);

} // namespace host::language
