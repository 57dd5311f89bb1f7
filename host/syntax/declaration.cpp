// Declarations as messages show them.
#include "host/syntax/declaration.h"

#include <array>
#include <charconv>

namespace host {

namespace {

std::string FormatType(const TypeName& type) { return type.name + (type.isArray ? "()" : ""); }

} // namespace

std::string FormatConstant(const ConstantValue& value) {
    if (const bool* boolean = std::get_if<bool>(&value)) return *boolean ? "True" : "False";
    if (const int32_t* integer = std::get_if<int32_t>(&value)) return std::to_string(*integer);
    if (const int64_t* wide = std::get_if<int64_t>(&value)) return std::to_string(*wide);
    if (const Currency* amount = std::get_if<Currency>(&value)) return CurrencyText(*amount);
    if (const double* number = std::get_if<double>(&value)) {
        std::array<char, 32> digits{};
        auto end = std::to_chars(digits.data(), digits.data() + digits.size(), *number).ptr;
        std::string text(digits.data(), end);
        return text.find_first_of(".en") == std::string::npos ? text + ".0" : text;
    }
    if (const std::string* string = std::get_if<ConstantText>(&value)) {
        std::string text = "\"";
        for (char c : *string) text += c == '"' ? "\"\"" : std::string(1, c);
        return text + "\"";
    }
    return "Nil";
}

std::string FormatDeclaration(const Declaration& declaration) {
    std::string text = declaration.name;
    if (declaration.hasParameterList) {
        text += "(";
        const char* separator = "";
        for (const Parameter& parameter : declaration.parameters) {
            text += separator;
            if (parameter.isByRef) text += "ByRef ";
            if (parameter.isExtended) text += "Extends ";
            text += parameter.name + (parameter.type.isArray ? "()" : "") + " As " + parameter.type.name;
            if (parameter.defaultValue) text += " = " + FormatConstant(*parameter.defaultValue);
            separator = ", ";
        }
        text += ")";
    }
    if (!declaration.result.name.empty()) text += " As " + FormatType(declaration.result);
    return text;
}

} // namespace host
