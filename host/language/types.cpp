#include "host/language/types.h"

#include "host/language/symbols.h"

namespace host::language {

namespace {

const char* NameOf(TypeKind kind) {
    switch (kind) {
    case TypeKind::INVALID: return "?";
    case TypeKind::NOTHING: return "nothing";
    case TypeKind::NIL: return "Nil";
    case TypeKind::INTEGER: return "Integer";
    case TypeKind::BOOLEAN: return "Boolean";
    case TypeKind::DOUBLE: return "Double";
    case TypeKind::STRING: return "String";
    case TypeKind::VARIANT: return "Variant";
    case TypeKind::OBJECT: return "Object";
    case TypeKind::ARRAY: return "Array";
    }
    return "";
}

} // namespace

std::string ValueType::Text() const {
    if (kind == TypeKind::ARRAY) return Element().Text() + "()";
    return kind == TypeKind::OBJECT && cls != nullptr ? cls->name : NameOf(kind);
}

Storage StorageOf(const ValueType& type) {
    if (type.kind == TypeKind::STRING) return Storage::STRING;
    return type.IsReference() ? Storage::OBJECT : Storage::PLAIN;
}

Kind KindOf(TypeKind kind) {
    switch (kind) {
    case TypeKind::INTEGER: return Kind::INTEGER;
    case TypeKind::BOOLEAN: return Kind::BOOLEAN;
    case TypeKind::DOUBLE: return Kind::DOUBLE;
    case TypeKind::STRING: return Kind::STRING;
    case TypeKind::VARIANT: return Kind::VARIANT;
    case TypeKind::OBJECT: return Kind::OBJECT;
    case TypeKind::ARRAY: return Kind::ARRAY;
    default: return Kind::NOTHING;
    }
}

Type RuntimeType(const ValueType& type) {
    Type result;
    result.kind = KindOf(type.kind);
    if (type.kind == TypeKind::ARRAY) result.element = KindOf(type.element);
    if (type.cls != nullptr) result.className = type.cls->name;
    return result;
}

ValueType TypeOf(const ConstantValue& value) {
    if (std::holds_alternative<bool>(value)) return BOOLEAN_TYPE;
    if (std::holds_alternative<int32_t>(value)) return INTEGER_TYPE;
    if (std::holds_alternative<double>(value)) return DOUBLE_TYPE;
    if (std::holds_alternative<std::string>(value)) return STRING_TYPE;
    return NIL_TYPE;
}

} // namespace host::language
