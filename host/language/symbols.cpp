// Texts of types and signatures as messages show them, and the class hierarchy.
#include "host/language/symbols.h"

#include "host/runtime/numbers.h"

#include <algorithm>

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
    case TypeKind::INT64: return "Int64";
    case TypeKind::CURRENCY: return "Currency";
    case TypeKind::OBJECT: return "Object";
    case TypeKind::ARRAY: return "Array";
    case TypeKind::ADDRESS: return "the address of a function";
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
    case TypeKind::INT64: return Kind::INT64;
    case TypeKind::CURRENCY: return Kind::CURRENCY;
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

ValueType CommonNumber(const ValueType& left, const ValueType& right) {
    switch (host::CommonNumber(KindOf(left.kind), KindOf(right.kind))) {
    case Kind::INTEGER: return INTEGER_TYPE;
    case Kind::INT64: return INT64_TYPE;
    case Kind::DOUBLE: return DOUBLE_TYPE;
    case Kind::CURRENCY: return CURRENCY_TYPE;
    default: return INVALID_TYPE;
    }
}

ValueType TypeOf(const ConstantValue& value) {
    if (std::holds_alternative<bool>(value)) return BOOLEAN_TYPE;
    if (std::holds_alternative<int32_t>(value)) return INTEGER_TYPE;
    if (std::holds_alternative<double>(value)) return DOUBLE_TYPE;
    if (std::holds_alternative<ConstantText>(value)) return STRING_TYPE;
    if (std::holds_alternative<int64_t>(value)) return INT64_TYPE;
    if (std::holds_alternative<Currency>(value)) return CURRENCY_TYPE;
    return NIL_TYPE;
}

bool IsReserved(std::string_view member) { return SameName(member, "Constructor") || SameName(member, "Destructor"); }

std::string FormatParameters(const std::vector<ParameterSymbol>& parameters) {
    std::string text = "(";
    const char* separator = "";
    for (const ParameterSymbol& parameter : parameters) {
        bool isArray = parameter.type.Is(TypeKind::ARRAY);
        text += separator;
        if (parameter.isByRef) text += "ByRef ";
        if (parameter.isExtended) text += "Extends ";
        text += parameter.name + (isArray ? "()" : "") + " As "
                + (isArray ? parameter.type.Element() : parameter.type).Text();
        if (parameter.defaultValue) text += " = " + FormatConstant(*parameter.defaultValue);
        separator = ", ";
    }
    return text + ")";
}

size_t FunctionSymbol::RequiredArguments() const {
    size_t count = parameters.size();
    while (count > 0 && parameters[count - 1].defaultValue) count--;
    return count;
}

std::string FunctionSymbol::Text() const {
    std::string text = name + FormatParameters(parameters);
    return HasResult() ? text + " As " + result.Text() : text;
}

std::string FunctionSymbol::QualifiedName() const {
    if (owner != nullptr) return owner->name + "." + name;
    if (module != nullptr) return module->name + "." + name;
    return name;
}

bool ClassSymbol::IsA(const ClassSymbol* other) const { return DistanceTo(other) >= 0; }

int ClassSymbol::DistanceTo(const ClassSymbol* other) const {
    int distance = 0;
    for (const ClassSymbol* level = this; level != nullptr; level = level->super) {
        if (level == other) return distance;
        distance++;
    }
    return -1;
}

const FunctionSymbol& FirstDeclared(const FunctionSymbol& function) {
    const FunctionSymbol* first = &function;
    if (function.virtualSlot < 0) return *first;
    const auto slot = static_cast<size_t>(function.virtualSlot);
    for (const ClassSymbol* cls = function.owner; cls != nullptr && slot < cls->virtualMethods.size(); cls = cls->super)
        first = cls->virtualMethods[slot];
    return *first;
}

bool SameParameters(const FunctionSymbol& left, const FunctionSymbol& right) {
    return std::equal(left.parameters.begin(), left.parameters.end(), right.parameters.begin(), right.parameters.end(),
                      [](const auto& a, const auto& b) { return a.type == b.type && a.isByRef == b.isByRef; });
}

} // namespace host::language
