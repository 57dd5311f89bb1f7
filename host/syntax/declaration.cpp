// Single declarations as text: those of records, and as messages show them.
#include "host/syntax/declaration.h"

#include "host/syntax/cursor.h"
#include "host/syntax/lexer.h"

#include <array>
#include <charconv>

namespace host {

namespace {

// Reads the whole of `text` with `read`, a function from a cursor to an optional result.
template <typename Result, typename Read>
std::optional<Result> ParseWhole(std::string_view text, DeclarationError* error, Read read) {
    SourceFiles files{std::make_shared<const SourceFile>("", std::string(text))};
    DiagnosticList diagnostics(files);
    LexResult lexed = Lex(files, 0, diagnostics);
    TokenCursor cursor(lexed.tokens, diagnostics);
    std::optional<Result> result = read(cursor);
    if (result && !(cursor.AtLineEnd() && cursor.Peek(1).kind == TokenKind::END_OF_FILE)) {
        cursor.Expected("the end of the declaration");
    }
    if (!diagnostics.HasErrors()) return result;
    if (error != nullptr) *error = {diagnostics.FirstErrorOffset(), diagnostics.FirstErrorMessage()};
    return std::nullopt;
}

std::string FormatType(const TypeName& type) { return type.name + (type.isArray ? "()" : ""); }

} // namespace

std::optional<Declaration> ParseDeclaration(std::string_view text, DeclarationError* error) {
    return ParseWhole<Declaration>(text, error, [](TokenCursor& cursor) {
        Declaration declaration;
        return cursor.ReadDeclaration(declaration) ? std::optional(declaration) : std::nullopt;
    });
}

std::optional<ConstantDeclaration> ParseConstantDeclaration(std::string_view text, DeclarationError* error) {
    return ParseWhole<ConstantDeclaration>(text, error, [](TokenCursor& cursor) -> std::optional<ConstantDeclaration> {
        const Token* name = cursor.ReadName("a name");
        if (name == nullptr || !cursor.Expect(TokenKind::EQUAL, "\"=\"")) return std::nullopt;
        std::optional<ConstantValue> value = cursor.ReadConstant();
        if (!value) return std::nullopt;
        return ConstantDeclaration{std::string(name->text), *value};
    });
}

std::string FormatConstant(const ConstantValue& value) {
    if (const bool* boolean = std::get_if<bool>(&value)) return *boolean ? "True" : "False";
    if (const int32_t* integer = std::get_if<int32_t>(&value)) return std::to_string(*integer);
    if (const double* number = std::get_if<double>(&value)) {
        std::array<char, 32> digits{};
        auto end = std::to_chars(digits.data(), digits.data() + digits.size(), *number).ptr;
        std::string text(digits.data(), end);
        return text.find_first_of(".en") == std::string::npos ? text + ".0" : text;
    }
    if (const std::string* string = std::get_if<std::string>(&value)) {
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
