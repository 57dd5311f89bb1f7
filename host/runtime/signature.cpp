// Types and signatures as text and from text.
#include "host/runtime/signature.h"

#include "host/syntax/declaration_parser.h"
#include "host/syntax/names.h"

#include <algorithm>
#include <array>
#include <utility>

namespace host {

namespace {

constexpr std::array<std::pair<const char*, Kind>, 7> BUILT_IN_TYPES = {{
    {"Integer", Kind::INTEGER},
    {"Boolean", Kind::BOOLEAN},
    {"Double", Kind::DOUBLE},
    {"String", Kind::STRING},
    {"Variant", Kind::VARIANT},
    {"Int64", Kind::INT64},
    {"Currency", Kind::CURRENCY},
}};

} // namespace

const char* BuiltInName(Kind kind) {
    for (const auto& [name, builtIn] : BUILT_IN_TYPES) {
        if (builtIn == kind) return name;
    }
    return "";
}

std::vector<std::string> BuiltInTypeNames() {
    std::vector<std::string> names;
    names.reserve(BUILT_IN_TYPES.size());
    for (const auto& [name, kind] : BUILT_IN_TYPES) names.emplace_back(name);
    return names;
}

std::string Type::Text() const {
    Kind plain = kind == Kind::ARRAY ? element : kind;
    std::string text = plain == Kind::OBJECT ? className : BuiltInName(plain);
    return kind == Kind::ARRAY ? text + "()" : text;
}

bool Type::operator==(const Type& other) const {
    return kind == other.kind && element == other.element && SameName(className, other.className);
}

Type TypeNamed(std::string_view name, bool isArray) {
    Type type;
    type.kind = Kind::OBJECT;
    for (const auto& [builtInName, kind] : BUILT_IN_TYPES) {
        if (SameName(name, builtInName)) type.kind = kind;
    }
    if (type.kind == Kind::OBJECT) type.className = name;
    if (isArray) type.element = std::exchange(type.kind, Kind::ARRAY);
    return type;
}

std::string Signature::Text() const {
    std::string text = name + "(";
    const char* separator = "";
    for (const FormalParameter& parameter : parameters) {
        text += separator;
        if (parameter.byRef) text += "ByRef ";
        bool isArray = parameter.type.kind == Kind::ARRAY;
        std::string typeText = parameter.type.Text();
        if (isArray) typeText.resize(typeText.size() - 2);
        text += parameter.name + (isArray ? "()" : "") + " As " + typeText;
        if (parameter.defaultValue) text += " = " + FormatConstant(*parameter.defaultValue);
        separator = ", ";
    }
    text += ")";
    if (result.kind != Kind::NOTHING) text += " As " + result.Text();
    return text;
}

bool Signature::SameParameters(const Signature& other) const {
    return std::equal(
        parameters.begin(), parameters.end(), other.parameters.begin(), other.parameters.end(),
        [](const FormalParameter& a, const FormalParameter& b) { return a.type == b.type && a.byRef == b.byRef; });
}

bool Signature::Matches(const Signature& other) const {
    return SameName(name, other.name) && result == other.result && SameParameters(other);
}

Signature ToSignature(const Declaration& declaration) {
    Signature signature;
    signature.name = declaration.name;
    for (const Parameter& parameter : declaration.parameters) {
        signature.parameters.push_back({parameter.name, TypeNamed(parameter.type.name, parameter.type.isArray),
                                        parameter.isByRef, parameter.defaultValue});
    }
    if (!declaration.result.name.empty()) {
        signature.result = TypeNamed(declaration.result.name, declaration.result.isArray);
    }
    return signature;
}

Signature ParseSignature(std::string_view declaration) {
    DeclarationError error;
    std::optional<Declaration> parsed = ParseDeclaration(declaration, &error);
    if (!parsed) {
        throw DefinitionError("declaration \"" + std::string(declaration) + "\", column "
                              + std::to_string(error.offset + 1) + ": " + error.message);
    }
    return ToSignature(*parsed);
}

} // namespace host
