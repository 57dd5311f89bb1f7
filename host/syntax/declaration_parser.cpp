// Parses single declarations.
#include "host/syntax/declaration_parser.h"

#include "host/syntax/cursor.h"
#include "host/syntax/lexer.h"

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

} // namespace host
