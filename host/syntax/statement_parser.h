// Parses the statements of a block. A block ends at the words that close it, or at those that close a block around it:
// then its own end is reported as missing.
#pragma once

#include "host/syntax/expression_parser.h"

#include <optional>
#include <vector>

namespace host {

// What is open around a statement, and so may be closed.
enum class BlockKind : uint8_t {
    IF,
    SELECT,
    FOR,
    WHILE,
    DO,
    TRY,
    WITH,
    SUB,
    FUNCTION,
    EVENT,
    CLASS,
    MODULE,
    ENUM,
    PROPERTY,
    GET,
    SET
};

class StatementParser {
public:
    // `allowExpressions`: a statement may be an expression of any form.
    StatementParser(TokenCursor& cursor, DiagnosticList& diagnostics, bool allowExpressions)
        : cursor_(cursor),
          diagnostics_(diagnostics),
          expressions_(cursor, diagnostics),
          allowExpressions_(allowExpressions) {}

    // Adds the statement here to the block.
    void Append(ast::Block& block);
    // Statements up to what ends the block.
    void Body(BlockKind kind, ast::Block& block);
    void Open(BlockKind kind) { open_.push_back({kind, std::nullopt}); }
    // Takes what closes the block, or says that it is missing.
    void Close(BlockKind kind, const Span& opener);
    bool AtBlockEnd(BlockKind kind) const;
    // A word that starts a definition, and so ends every block in which no definition can stand.
    bool AtDefinition() const;
    // The number of words before a definition that say who may use it.
    size_t ModifierCount() const;
    // `name, name As Type = value, …`
    void Variables(std::vector<ast::Variable>& variables);
    ast::ExpressionPtr ReadExpression() { return expressions_.Parse(); }
    // Reports what stands before the end of the line.
    void EndLine();
    void SkipLine();
    // The text ends within a block.
    bool IsIncomplete() const { return isIncomplete_; }

private:
    struct BlockNames {
        BlockKind kind;
        Keyword keyword; // that opens it, and closes it after End
        const char* opener;
        const char* closer;
    };
    static const BlockNames BLOCKS[];
    static const BlockNames& NamesOf(BlockKind kind);

    // The kind of block that the words here belong to, if they end or divide one.
    const BlockNames* Closer() const;
    // Else, Case, Catch … go on with a block, they do not close it.
    bool AtDivision() const;
    // Words that close no open block of theirs.
    void Stray(const BlockNames& closer);
    bool IsOpen(BlockKind kind) const;
    bool AtStatementEnd() const;
    void SkipLineTokens();

    // Each reads the statement whose first word stands here; false when there is none to keep.
    std::unique_ptr<ast::Statement> ParseStatement();
    bool Dispatch(ast::Statement& statement, bool& isBlock);
    bool Simple(ast::Statement& statement);
    bool Jump(ast::Statement& statement);
    bool Redim(ast::Statement& statement);
    bool Static(ast::Statement& statement);
    bool Handler(ast::Statement& statement);
    bool CallOrAssignment(ast::Statement& statement);
    // Marks the end of a block statement's first line.
    void Header(ast::Statement& statement);
    bool If(ast::Statement& statement, bool& isBlock);
    bool OneLineIf(ast::Statement& statement);
    void LineStatement(ast::Block& block);
    bool Select(ast::Statement& statement);
    ast::CaseTest Test();
    bool For(ast::Statement& statement);
    bool While(ast::Statement& statement);
    bool Do(ast::Statement& statement);
    bool DoCondition(ast::Statement& statement);
    bool Try(ast::Statement& statement);
    bool With(ast::Statement& statement);

    TokenCursor& cursor_;
    DiagnosticList& diagnostics_;
    ExpressionParser expressions_;
    bool allowExpressions_;
    // A block, and the first words in it that close one of another kind: perhaps they were meant for this one.
    struct Words {
        BlockKind kind;
        Span span;
        std::string text; // in quotation marks
    };
    struct OpenBlock {
        BlockKind kind;
        std::optional<Words> stray;
    };
    std::vector<OpenBlock> open_;
    std::vector<BlockKind> missing_; // ends that were reported as missing since the function began
    int nesting_ = 0;
    bool inLine_ = false;       // within a one-line If
    bool isAbandoned_ = false;  // nested too deeply
    bool isIncomplete_ = false; // the text ends within a block
};

} // namespace host
