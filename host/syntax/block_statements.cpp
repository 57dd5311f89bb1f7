// The part of the statement parser that reads branches, loops and Try.
#include "host/syntax/statement_parser.h"

#include <algorithm>

namespace host {

using namespace ast;

bool StatementParser::If(Statement& statement, bool& isBlock) {
    statement.kind = StatementKind::IF;
    Span opener = cursor_.Next().span;
    Branch& first = statement.branches.emplace_back();
    first.span = opener;
    first.condition = expressions_.Parse();
    cursor_.Expect(Keyword::THEN);
    if (inLine_ || (!cursor_.AtLineEnd() && !cursor_.HasFailed())) {
        isBlock = false;
        return OneLineIf(statement);
    }
    Header(statement);
    Open(BlockKind::IF);
    Body(BlockKind::IF, first.body);
    auto isWrittenApart = [this] { return cursor_.At(Keyword::ELSE) && cursor_.Peek(1).keyword == Keyword::IF; };
    while (cursor_.At(Keyword::ELSEIF) || isWrittenApart()) {
        Branch& branch = statement.branches.emplace_back();
        if (isWrittenApart()) {
            const Span start = cursor_.Next().span;
            diagnostics_.Error(Join(start, cursor_.Peek().span), "\"else if\" is written \"ElseIf\"");
        }
        branch.span = cursor_.Next().span;
        branch.condition = expressions_.Parse();
        cursor_.Expect(Keyword::THEN);
        EndLine();
        Body(BlockKind::IF, branch.body);
    }
    if (cursor_.Accept(Keyword::ELSE)) {
        statement.hasElse = true;
        EndLine();
        Body(BlockKind::IF, statement.elseBody);
    }
    Close(BlockKind::IF, opener);
    return true;
}

// If condition Then statement [Else statement]
bool StatementParser::OneLineIf(Statement& statement) {
    bool wasInLine = inLine_;
    inLine_ = true;
    LineStatement(statement.branches[0].body);
    if (cursor_.Accept(Keyword::ELSE)) {
        statement.hasElse = true;
        LineStatement(statement.elseBody);
    }
    inLine_ = wasInLine;
    return true;
}

void StatementParser::LineStatement(Block& block) {
    if (cursor_.AtLineEnd()) {
        cursor_.Expected("a statement");
        return;
    }
    switch (cursor_.Peek().keyword) {
    case Keyword::FOR:
    case Keyword::WHILE:
    case Keyword::DO:
    case Keyword::SELECT:
    case Keyword::TRY:
    case Keyword::WITH:
        cursor_.Fail(cursor_.Peek().span, "a block cannot stand in a one-line If");
        SkipLineTokens();
        return;
    default: Append(block);
    }
}

bool StatementParser::Select(Statement& statement) {
    statement.kind = StatementKind::SELECT;
    Span opener = cursor_.Next().span;
    cursor_.Expect(Keyword::CASE);
    statement.value = expressions_.Parse();
    Header(statement);
    Open(BlockKind::SELECT);
    Block before;
    Body(BlockKind::SELECT, before);
    if (!before.empty()) cursor_.Fail(before[0]->span, "statement before the first \"Case\"");
    while (cursor_.At(Keyword::CASE)) {
        cursor_.ClearFailure();
        Span span = cursor_.Next().span;
        if (statement.hasElse) diagnostics_.Error(span, "\"Case\" after \"Case Else\"");
        if (cursor_.Accept(Keyword::ELSE)) {
            statement.hasElse = true;
            EndLine();
            Body(BlockKind::SELECT, statement.elseBody);
            continue;
        }
        Branch& branch = statement.branches.emplace_back();
        branch.span = span;
        do {
            branch.tests.push_back(Test());
        } while (cursor_.Accept(TokenKind::COMMA));
        EndLine();
        Body(BlockKind::SELECT, branch.body);
    }
    Close(BlockKind::SELECT, opener);
    return true;
}

CaseTest StatementParser::Test() {
    CaseTest test;
    if (cursor_.Accept(Keyword::IS)) {
        static constexpr std::pair<TokenKind, Operation> COMPARISONS[] = {
            {TokenKind::EQUAL, Operation::EQUAL},     {TokenKind::NOT_EQUAL, Operation::NOT_EQUAL},
            {TokenKind::LESS, Operation::LESS},       {TokenKind::LESS_EQUAL, Operation::LESS_EQUAL},
            {TokenKind::GREATER, Operation::GREATER}, {TokenKind::GREATER_EQUAL, Operation::GREATER_EQUAL},
        };
        auto found = std::find_if(std::begin(COMPARISONS), std::end(COMPARISONS),
                                  [this](const auto& row) { return cursor_.At(row.first); });
        if (found == std::end(COMPARISONS)) {
            cursor_.Expected("a comparison");
        } else {
            cursor_.Next();
            test.operation = found->second;
        }
    }
    test.value = expressions_.Parse();
    if (test.operation == Operation::EQUAL && cursor_.Accept(Keyword::TO)) test.upper = expressions_.Parse();
    return test;
}

bool StatementParser::For(Statement& statement) {
    statement.kind = StatementKind::FOR;
    Span opener = cursor_.Next().span;
    bool isEach = cursor_.At(Keyword::EACH) && cursor_.Peek(1).kind == TokenKind::NAME;
    if (isEach) {
        cursor_.Next();
        statement.kind = StatementKind::FOR_EACH;
    }
    if (const Token* name = cursor_.ReadName("a variable")) {
        statement.name = name->text;
        statement.nameSpan = name->span;
    }
    if (cursor_.Accept(Keyword::AS)) cursor_.ReadTypeName(statement.type);
    const bool isForeign = !isEach && cursor_.At(Keyword::IN);
    if (isForeign) {
        cursor_.Fail(Join(opener, cursor_.Peek().span), "a loop over elements is written \"For Each x As … In …\", one "
                                                        "that counts \"For i As Integer = 0 To 9\"");
        SkipLineTokens();
    } else if (isEach) {
        cursor_.Expect(Keyword::IN);
        statement.value = expressions_.Parse();
    } else {
        cursor_.Expect(TokenKind::EQUAL, "\"=\"");
        statement.value = expressions_.Parse();
        statement.isDescending = cursor_.Accept(Keyword::DOWNTO);
        if (!statement.isDescending) cursor_.Expect(Keyword::TO);
        statement.limit = expressions_.Parse();
        if (cursor_.Accept(Keyword::STEP)) statement.step = expressions_.Parse();
    }
    Header(statement);
    Open(BlockKind::FOR);
    Body(BlockKind::FOR, statement.body);
    statement.endSpan = cursor_.Peek().span;
    if (cursor_.At(Keyword::NEXT) && cursor_.Peek(1).kind == TokenKind::NAME) statement.nextSpan = cursor_.Peek(1).span;
    Close(BlockKind::FOR, opener);
    return !statement.name.empty() && !isForeign;
}

bool StatementParser::While(Statement& statement) {
    statement.kind = StatementKind::WHILE;
    Span opener = cursor_.Next().span;
    statement.value = expressions_.Parse();
    Header(statement);
    Open(BlockKind::WHILE);
    Body(BlockKind::WHILE, statement.body);
    statement.endSpan = cursor_.Peek().span;
    Close(BlockKind::WHILE, opener);
    return true;
}

// Do [Until|While condition] … Loop [Until|While condition]
bool StatementParser::Do(Statement& statement) {
    statement.kind = StatementKind::DO;
    Span opener = cursor_.Next().span;
    bool hasCondition = DoCondition(statement);
    Header(statement);
    Open(BlockKind::DO);
    Body(BlockKind::DO, statement.body);
    statement.endSpan = cursor_.Peek().span;
    bool isClosed = cursor_.At(Keyword::LOOP);
    Close(BlockKind::DO, opener);
    if (!isClosed) return true;
    if (!hasCondition && DoCondition(statement)) statement.testsAtEnd = true;
    EndLine();
    return true;
}

bool StatementParser::DoCondition(Statement& statement) {
    if (!cursor_.At(Keyword::UNTIL) && !cursor_.At(Keyword::WHILE)) return false;
    statement.isUntil = cursor_.Next().keyword == Keyword::UNTIL;
    statement.value = expressions_.Parse();
    return true;
}

bool StatementParser::With(Statement& statement) {
    statement.kind = StatementKind::WITH;
    Span opener = cursor_.Next().span;
    statement.value = expressions_.Parse();
    Header(statement);
    Open(BlockKind::WITH);
    Body(BlockKind::WITH, statement.body);
    statement.endSpan = cursor_.Peek().span;
    Close(BlockKind::WITH, opener);
    return true;
}

bool StatementParser::Try(Statement& statement) {
    statement.kind = StatementKind::TRY;
    Span opener = cursor_.Next().span;
    Header(statement);
    Open(BlockKind::TRY);
    Body(BlockKind::TRY, statement.body);
    while (cursor_.At(Keyword::CATCH)) {
        cursor_.ClearFailure();
        Branch& branch = statement.branches.emplace_back();
        branch.span = cursor_.Next().span;
        if (cursor_.At(TokenKind::NAME)) {
            const Token& name = cursor_.Next();
            branch.name = name.text;
            branch.nameSpan = name.span;
            if (cursor_.Accept(Keyword::AS)) cursor_.ReadTypeName(branch.type);
        }
        EndLine();
        Body(BlockKind::TRY, branch.body);
    }
    if (cursor_.At(Keyword::FINALLY)) {
        statement.endSpan = cursor_.Next().span;
        statement.hasElse = true;
        EndLine();
        Body(BlockKind::TRY, statement.elseBody);
    }
    bool isClosed = cursor_.At(Keyword::END) && cursor_.Peek(1).keyword == Keyword::TRY;
    if (statement.branches.empty() && !statement.hasElse && isClosed) {
        diagnostics_.Error(opener, "\"Try\" without \"Catch\" or \"Finally\"");
    }
    Close(BlockKind::TRY, opener);
    return true;
}

} // namespace host
