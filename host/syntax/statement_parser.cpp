// Blocks, and the statements that are a line each.
#include "host/syntax/statement_parser.h"

#include <algorithm>

namespace host {

using namespace ast;

namespace {

// What other languages write there; read as a modifier so that nothing follows from it.
bool IsForeignModifier(std::string_view word) {
    return SameName(word, "Public") || SameName(word, "ReadOnly") || SameName(word, "WriteOnly");
}

} // namespace

constexpr StatementParser::BlockNames StatementParser::BLOCKS[] = {
    {BlockKind::IF, Keyword::IF, "If", "End If"},
    {BlockKind::SELECT, Keyword::SELECT, "Select Case", "End Select"},
    {BlockKind::FOR, Keyword::FOR, "For", "Next"},
    {BlockKind::WHILE, Keyword::WHILE, "While", "Wend"},
    {BlockKind::DO, Keyword::DO, "Do", "Loop"},
    {BlockKind::TRY, Keyword::TRY, "Try", "End Try"},
    {BlockKind::WITH, Keyword::WITH, "With", "End With"},
    {BlockKind::SUB, Keyword::SUB, "Sub", "End Sub"},
    {BlockKind::FUNCTION, Keyword::FUNCTION, "Function", "End Function"},
    {BlockKind::EVENT, Keyword::EVENT, "Event", "End Event"},
    {BlockKind::CLASS, Keyword::CLASS, "Class", "End Class"},
    {BlockKind::MODULE, Keyword::MODULE, "Module", "End Module"},
    {BlockKind::ENUM, Keyword::ENUM, "Enum", "End Enum"},
    {BlockKind::PROPERTY, Keyword::PROPERTY, "Property", "End Property"},
    {BlockKind::GET, Keyword::GET, "Get", "End Get"},
    {BlockKind::SET, Keyword::SET, "Set", "End Set"},
};

const StatementParser::BlockNames& StatementParser::NamesOf(BlockKind kind) {
    return BLOCKS[static_cast<size_t>(kind)];
}

size_t StatementParser::ModifierCount() const {
    size_t count = 0;
    for (;; ++count) {
        const Token& token = cursor_.Peek(count);
        bool isModifier = token.keyword == Keyword::PRIVATE || token.keyword == Keyword::PROTECTED
                          || token.keyword == Keyword::SHARED
                          || (token.kind == TokenKind::NAME && IsForeignModifier(token.text));
        const Token& next = cursor_.Peek(count + 1);
        if (!isModifier || next.kind != TokenKind::NAME || next.keyword == Keyword::AS) return count;
    }
}

// A word that starts a definition, and so ends every block in which no definition can stand.
bool StatementParser::AtDefinition() const {
    const size_t first = ModifierCount();
    const Token& next = cursor_.Peek(first + 1);
    switch (cursor_.Peek(first).keyword) {
    case Keyword::ENUM:
    case Keyword::SUB:
    case Keyword::FUNCTION:
    case Keyword::EVENT:
    case Keyword::CLASS:
    case Keyword::MODULE: return next.kind == TokenKind::NAME && next.keyword != Keyword::AS;
    case Keyword::DELEGATE: return next.keyword == Keyword::SUB || next.keyword == Keyword::FUNCTION;
    default: return false;
    }
}

// Statements up to what ends the block.
void StatementParser::Body(BlockKind kind, Block& block) {
    while (!AtBlockEnd(kind)) {
        cursor_.ClearFailure();
        if (cursor_.AtLineEnd())
            cursor_.Next();
        else
            Append(block);
    }
}

void StatementParser::Append(Block& block) {
    const Token* first = &cursor_.Peek();
    if (auto statement = ParseStatement()) block.push_back(std::move(statement));
    // Whatever could not be read is left behind.
    if (&cursor_.Peek() == first) cursor_.Next();
}

// The kind of block that the words here belong to, if they end or divide one.
const StatementParser::BlockNames* StatementParser::Closer() const {
    const Token& token = cursor_.Peek();
    switch (token.keyword) {
    case Keyword::ELSE:
    case Keyword::ELSEIF: return &NamesOf(BlockKind::IF);
    case Keyword::CASE: return &NamesOf(BlockKind::SELECT);
    case Keyword::NEXT: return &NamesOf(BlockKind::FOR);
    case Keyword::WEND: return &NamesOf(BlockKind::WHILE);
    case Keyword::LOOP: return &NamesOf(BlockKind::DO);
    case Keyword::CATCH:
    case Keyword::FINALLY: return &NamesOf(BlockKind::TRY);
    case Keyword::END:
        for (const BlockNames& names : BLOCKS) {
            if (cursor_.Peek(1).keyword == names.keyword) return &names;
        }
        // Reported where it began.
        if (SameName(cursor_.Peek(1).text, "Constructor")) return &NamesOf(BlockKind::SUB);
        return nullptr;
    default: return nullptr;
    }
}

bool StatementParser::IsOpen(BlockKind kind) const {
    return std::any_of(open_.begin(), open_.end(), [kind](const OpenBlock& block) { return block.kind == kind; });
}

// At the end of the innermost block, or at what ends a block around it: then its own end is missing.
bool StatementParser::AtBlockEnd(BlockKind kind) const {
    if (cursor_.At(TokenKind::END_OF_FILE)) return true;
    if (AtDefinition()) {
        Keyword keyword = cursor_.Peek(ModifierCount()).keyword;
        bool isFunction = keyword == Keyword::SUB || keyword == Keyword::FUNCTION || keyword == Keyword::EVENT;
        return !(isFunction && (kind == BlockKind::CLASS || kind == BlockKind::MODULE));
    }
    const BlockNames* closer = Closer();
    return closer != nullptr && (closer->kind == kind || IsOpen(closer->kind));
}

bool StatementParser::AtDivision() const {
    return cursor_.At(Keyword::ELSE) || cursor_.At(Keyword::ELSEIF) || cursor_.At(Keyword::CASE)
           || cursor_.At(Keyword::CATCH) || cursor_.At(Keyword::FINALLY);
}

// Takes what closes the block, or says that it is missing.
void StatementParser::Close(BlockKind kind, const Span& opener) {
    const std::optional<Words> stray = open_.back().stray;
    open_.pop_back();
    if (kind >= BlockKind::SUB) missing_.clear();
    const BlockNames& names = NamesOf(kind);
    cursor_.ClearFailure();
    const BlockNames* closer = Closer();
    if (closer != nullptr && closer->kind == kind && !AtDivision()) {
        if (stray) diagnostics_.Error(stray->span, stray->text + " without \"" + NamesOf(stray->kind).opener + '"');
        if (cursor_.Next().keyword == Keyword::END) cursor_.Next();
        // Next may repeat the name of its variable; Loop may be followed by a condition.
        if (kind == BlockKind::FOR && cursor_.At(TokenKind::NAME)) cursor_.Next();
        if (kind != BlockKind::DO) EndLine();
        return;
    }
    if (isAbandoned_) return;
    if (stray) {
        diagnostics_.Error(stray->span, stray->text + " does not close the \"" + names.opener + "\" in line "
                                            + std::to_string(diagnostics_.LineOf(opener)) + ": \"" + names.closer
                                            + "\" does");
        return;
    }
    if (cursor_.At(TokenKind::END_OF_FILE)) isIncomplete_ = true;
    if (closer != nullptr) missing_.push_back(kind);
    diagnostics_.Error(opener, std::string("\"") + names.opener + "\" without \"" + names.closer + "\"");
}

// Words that close no open block of theirs. Whether they were meant for the innermost one shows at its end.
void StatementParser::Stray(const BlockNames& closer) {
    const Span span = cursor_.Peek().span;
    std::string text = '"' + std::string(cursor_.Peek().text);
    if (cursor_.At(Keyword::END)) text += " " + std::string(cursor_.Peek(1).text);
    text += '"';
    const bool isDivision = AtDivision();
    auto missing = std::find(missing_.begin(), missing_.end(), closer.kind);
    if (isDivision && cursor_.At(Keyword::ELSE) && !open_.empty() && open_.back().kind == BlockKind::SELECT) {
        cursor_.Fail(span, "in a \"Select Case\" it is written \"Case Else\"");
    } else if (!isDivision && missing != missing_.end()) {
        missing_.erase(missing); // It stands too late.
    } else if (!isDivision && !open_.empty() && !open_.back().stray) {
        open_.back().stray = Words{closer.kind, span, std::move(text)};
    } else {
        cursor_.Fail(span, text + " without \"" + closer.opener + '"');
    }
    SkipLineTokens();
}

void StatementParser::SkipLine() {
    while (!cursor_.AtLineEnd()) cursor_.Next();
    cursor_.Accept(TokenKind::END_OF_LINE);
}

void StatementParser::EndLine() {
    if (!cursor_.AtLineEnd()) cursor_.Expected("the end of the line");
    SkipLine();
}

// `name, name As Type = value, …`
void StatementParser::Variables(std::vector<Variable>& variables) {
    do {
        size_t first = variables.size();
        do {
            const Token* name = cursor_.ReadName("a name");
            if (name == nullptr) return;
            Variable& variable = variables.emplace_back();
            variable.name = name->text;
            variable.span = name->span;
            if (!cursor_.Accept(TokenKind::LEFT_PARENTHESIS)) continue;
            variable.type.isArray = true;
            if (!cursor_.At(TokenKind::RIGHT_PARENTHESIS)) variable.bound = expressions_.Parse();
            if (!cursor_.Expect(TokenKind::RIGHT_PARENTHESIS, "\")\"")) {
                variables.resize(first);
                return;
            }
        } while (cursor_.Accept(TokenKind::COMMA));

        if (!cursor_.Expect(Keyword::AS)) {
            variables.resize(first);
            return;
        }
        TypeName type;
        std::shared_ptr<Expression> value;
        if (cursor_.At(Keyword::NEW)) {
            value = expressions_.ParseNew();
            type.name = value->name;
            type.span = value->nameSpan;
        } else if (!cursor_.ReadTypeName(type)) {
            variables.resize(first);
            return;
        }
        if (value == nullptr && cursor_.Accept(TokenKind::EQUAL)) value = expressions_.Parse();
        for (size_t i = first; i < variables.size(); ++i) {
            variables[i].type.name = type.name;
            variables[i].type.span = type.span;
            variables[i].type.isArray |= type.isArray;
            variables[i].value = value;
        }
    } while (cursor_.Accept(TokenKind::COMMA));
}

std::unique_ptr<Statement> StatementParser::ParseStatement() {
    if (nesting_ >= MAX_NESTING) {
        cursor_.Fail(cursor_.Peek().span, "blocks are nested too deeply");
        // Nothing sensible can be said about the rest.
        isAbandoned_ = true;
        while (!cursor_.At(TokenKind::END_OF_FILE)) cursor_.Next();
        return nullptr;
    }
    nesting_++;
    auto statement = std::make_unique<Statement>();
    Span start = cursor_.Peek().span;
    statement->span = start;
    bool isBlock = false;
    if (!Dispatch(*statement, isBlock))
        statement = nullptr;
    else if (!isBlock)
        statement->span = Join(start, cursor_.Previous().span);
    nesting_--;
    if (!isBlock && !inLine_) EndLine();
    return statement;
}

// Marks the end of a block statement's first line.
void StatementParser::Header(Statement& statement) {
    statement.span = Join(statement.span, cursor_.Previous().span);
    EndLine();
}

bool StatementParser::Dispatch(Statement& statement, bool& isBlock) {
    if (const BlockNames* closer = Closer()) {
        Stray(*closer);
        return false;
    }
    isBlock = true;
    switch (cursor_.Peek().keyword) {
    case Keyword::IF: return If(statement, isBlock);
    case Keyword::SELECT: return Select(statement);
    case Keyword::FOR: return For(statement);
    case Keyword::WHILE: return While(statement);
    case Keyword::DO: return Do(statement);
    case Keyword::TRY: return Try(statement);
    case Keyword::WITH: return With(statement);
    default: isBlock = false; return Simple(statement);
    }
}

void StatementParser::SkipLineTokens() {
    while (!cursor_.AtLineEnd()) cursor_.Next();
}

bool StatementParser::Simple(Statement& statement) {
    Keyword keyword = cursor_.Peek().keyword;
    switch (keyword) {
    case Keyword::DIM:
        cursor_.Next();
        statement.kind = StatementKind::DIM;
        Variables(statement.variables);
        return true;
    case Keyword::CONST:
        cursor_.Next();
        statement.kind = StatementKind::CONST;
        if (const Token* name = cursor_.ReadName("a name")) {
            statement.name = name->text;
            statement.nameSpan = name->span;
        }
        if (cursor_.Expect(TokenKind::EQUAL, "\"=\"")) statement.value = expressions_.Parse();
        return statement.value != nullptr;
    case Keyword::EXIT:
    case Keyword::CONTINUE: return Jump(statement);
    case Keyword::RETURN:
        cursor_.Next();
        statement.kind = StatementKind::RETURN;
        if (!AtStatementEnd()) statement.value = expressions_.Parse();
        return true;
    case Keyword::RAISE:
        cursor_.Next();
        statement.kind = StatementKind::RAISE;
        statement.value = expressions_.Parse();
        return true;
    case Keyword::PRINT:
        cursor_.Next();
        statement.kind = StatementKind::PRINT;
        if (!AtStatementEnd()) statement.value = expressions_.Parse();
        return true;
    case Keyword::REDIM: return Redim(statement);
    case Keyword::STATIC: return Static(statement);
    case Keyword::ADDHANDLER:
    case Keyword::REMOVEHANDLER: return Handler(statement);
    default: return CallOrAssignment(statement);
    }
}

bool StatementParser::AtStatementEnd() const { return cursor_.AtLineEnd() || (inLine_ && cursor_.At(Keyword::ELSE)); }

bool StatementParser::Jump(Statement& statement) {
    bool isExit = cursor_.Next().keyword == Keyword::EXIT;
    statement.kind = isExit ? StatementKind::EXIT : StatementKind::CONTINUE;
    if (cursor_.Accept(Keyword::FOR))
        statement.loop = LoopKind::FOR;
    else if (cursor_.Accept(Keyword::WHILE))
        statement.loop = LoopKind::WHILE;
    else if (cursor_.Accept(Keyword::DO))
        statement.loop = LoopKind::DO;
    else if (isExit && (cursor_.Accept(Keyword::SUB) || cursor_.Accept(Keyword::FUNCTION)))
        statement.loop = LoopKind::FUNCTION;
    return true;
}

// Static name As Type, unless the word is a name.
bool StatementParser::Static(Statement& statement) {
    if (cursor_.Peek(1).kind != TokenKind::NAME) return CallOrAssignment(statement);
    cursor_.Next();
    statement.kind = StatementKind::DIM;
    statement.isStatic = true;
    Variables(statement.variables);
    return true;
}

bool StatementParser::Redim(Statement& statement) {
    cursor_.Next();
    statement.kind = StatementKind::REDIM;
    ExpressionPtr call = expressions_.ParsePostfix();
    if (call->kind != ExpressionKind::CALL || call->arguments.size() != 1) {
        if (call->kind != ExpressionKind::INVALID) {
            cursor_.Fail(call->span, "expected an array with its new upper bound, as in \"Redim a(9)\"");
        }
        return false;
    }
    statement.target = std::move(call->left);
    statement.value = std::move(call->arguments[0]);
    return true;
}

// AddHandler object.Event, AddressOf Function
bool StatementParser::Handler(Statement& statement) {
    statement.kind = StatementKind::HANDLER;
    statement.isRemoval = cursor_.Next().keyword == Keyword::REMOVEHANDLER;
    statement.target = expressions_.ParsePostfix();
    if (!cursor_.Expect(TokenKind::COMMA, "\",\"")) return false;
    statement.value = expressions_.Parse();
    return true;
}

bool StatementParser::CallOrAssignment(Statement& statement) {
    statement.kind = StatementKind::CALL;
    bool startsExpression = cursor_.At(TokenKind::LEFT_PARENTHESIS) || cursor_.At(TokenKind::DOT)
                            || (cursor_.At(TokenKind::NAME) && !cursor_.At(Keyword::NOT) && !cursor_.At(Keyword::NEW));
    if (!startsExpression) {
        if (!allowExpressions_ || !open_.empty()) {
            cursor_.Expected("a statement");
            SkipLineTokens();
            return false;
        }
        statement.value = expressions_.Parse();
        return true;
    }
    ExpressionPtr target = expressions_.ParsePostfix();
    static constexpr std::pair<TokenKind, Operation> COMPOUNDS[] = {
        {TokenKind::PLUS_EQUAL, Operation::ADD},
        {TokenKind::MINUS_EQUAL, Operation::SUBTRACT},
        {TokenKind::STAR_EQUAL, Operation::MULTIPLY},
        {TokenKind::SLASH_EQUAL, Operation::DIVIDE},
    };
    for (const auto& [kind, operation] : COMPOUNDS) {
        if (cursor_.At(kind)) statement.operation = operation;
    }
    if (statement.operation || cursor_.At(TokenKind::EQUAL)) {
        statement.operationSpan = cursor_.Next().span;
        statement.kind = StatementKind::ASSIGN;
        statement.target = std::move(target);
        statement.value = expressions_.Parse();
        return true;
    }
    bool counts = (cursor_.At(TokenKind::PLUS) || cursor_.At(TokenKind::MINUS))
                  && cursor_.Peek(1).kind == cursor_.Peek().kind && cursor_.Peek(2).kind == TokenKind::END_OF_LINE;
    if (counts) {
        std::string sign(cursor_.Peek().text);
        cursor_.Fail(Join(cursor_.Peek().span, cursor_.Peek(1).span), "counting is written \"" + sign + "= 1\"");
        SkipLineTokens();
        return false;
    }
    bool isName = target->kind == ExpressionKind::NAME || target->kind == ExpressionKind::MEMBER;
    if (isName && expressions_.AtOperand() && !AtStatementEnd()) {
        target = expressions_.ParseBareArguments(std::move(target));
    } else if (allowExpressions_ && open_.empty()) {
        target = expressions_.ParseRest(std::move(target));
    }
    statement.value = std::move(target);
    return true;
}

} // namespace host
