#include "host/syntax/parser.h"

#include "host/syntax/expression_parser.h"
#include "host/syntax/lexer.h"

#include <algorithm>

namespace host {

using namespace ast;

namespace {

// What is open around a statement, and so may be closed.
enum class BlockKind : uint8_t { IF, SELECT, FOR, WHILE, DO, TRY, SUB, FUNCTION, EVENT, CLASS, MODULE };

struct BlockNames {
    BlockKind kind;
    Keyword keyword; // that opens it, and closes it after End
    const char* opener;
    const char* closer;
};

constexpr BlockNames BLOCKS[] = {
    {BlockKind::IF, Keyword::IF, "If", "End If"},
    {BlockKind::SELECT, Keyword::SELECT, "Select Case", "End Select"},
    {BlockKind::FOR, Keyword::FOR, "For", "Next"},
    {BlockKind::WHILE, Keyword::WHILE, "While", "Wend"},
    {BlockKind::DO, Keyword::DO, "Do", "Loop"},
    {BlockKind::TRY, Keyword::TRY, "Try", "End Try"},
    {BlockKind::SUB, Keyword::SUB, "Sub", "End Sub"},
    {BlockKind::FUNCTION, Keyword::FUNCTION, "Function", "End Function"},
    {BlockKind::EVENT, Keyword::EVENT, "Event", "End Event"},
    {BlockKind::CLASS, Keyword::CLASS, "Class", "End Class"},
    {BlockKind::MODULE, Keyword::MODULE, "Module", "End Module"},
};

const BlockNames& NamesOf(BlockKind kind) { return BLOCKS[static_cast<size_t>(kind)]; }

class Parser {
public:
    Parser(LexResult lexed, DiagnosticList& diagnostics, ParseOptions options)
        : lexed_(std::move(lexed)),
          diagnostics_(diagnostics),
          options_(options),
          cursor_(lexed_.tokens, diagnostics),
          expressions_(cursor_, diagnostics) {}

    std::unique_ptr<Unit> Run() {
        while (!cursor_.At(TokenKind::END_OF_FILE)) {
            cursor_.ClearFailure();
            TopLevel();
        }
        unit_->isIncomplete |= lexed_.endsInContinuation;
        return std::move(unit_);
    }

    ExpressionPtr Whole() {
        ExpressionPtr expression = expressions_.Parse();
        if (!cursor_.AtLineEnd()) cursor_.Expected("the end of the expression");
        return diagnostics_.HasErrors() ? nullptr : std::move(expression);
    }

private:
    void TopLevel() {
        if (cursor_.AtLineEnd()) {
            cursor_.Next();
        } else if (AtDefinition()) {
            Definition();
        } else {
            Append(unit_->statements);
        }
    }

    // A word that starts a definition, and so ends every block in which no definition can stand.
    bool AtDefinition() const {
        switch (cursor_.Peek().keyword) {
        case Keyword::SUB:
        case Keyword::FUNCTION:
        case Keyword::EVENT:
        case Keyword::CLASS:
        case Keyword::MODULE: return cursor_.Peek(1).kind == TokenKind::NAME && cursor_.Peek(1).keyword != Keyword::AS;
        default: return false;
        }
    }

    void Definition() {
        if (cursor_.At(Keyword::CLASS)) {
            unit_->classes.push_back(Class());
        } else if (cursor_.At(Keyword::MODULE)) {
            unit_->modules.push_back(Module());
        } else {
            bool isEvent = cursor_.At(Keyword::EVENT);
            Span span = cursor_.Peek().span;
            auto function = Function();
            if (isEvent)
                diagnostics_.Error(span, "an event handler can only stand in a class");
            else
                unit_->functions.push_back(std::move(function));
        }
    }

    std::unique_ptr<ClassDefinition> Class() {
        auto result = std::make_unique<ClassDefinition>();
        Span opener = cursor_.Next().span;
        ReadDefinitionName(*result);
        EndLine();
        open_.push_back(BlockKind::CLASS);
        while (!AtBlockEnd(BlockKind::CLASS)) ClassMember(*result);
        Close(BlockKind::CLASS, opener);
        return result;
    }

    std::unique_ptr<ModuleDefinition> Module() {
        auto result = std::make_unique<ModuleDefinition>();
        Span opener = cursor_.Next().span;
        ReadDefinitionName(*result);
        EndLine();
        open_.push_back(BlockKind::MODULE);
        while (!AtBlockEnd(BlockKind::MODULE)) {
            if (cursor_.At(Keyword::EVENT) && AtDefinition()) {
                diagnostics_.Error(cursor_.Peek().span, "an event handler can only stand in a class");
                Function();
            } else {
                Member(*result);
            }
        }
        Close(BlockKind::MODULE, opener);
        return result;
    }

    template <typename Result>
    void ReadDefinitionName(Result& result) {
        const Token* name = cursor_.ReadName("a name");
        if (name == nullptr) return;
        result.name = name->text;
        result.span = name->span;
    }

    void ClassMember(ClassDefinition& result) {
        if (cursor_.At(Keyword::INHERITS) && cursor_.Peek(1).keyword != Keyword::AS) {
            cursor_.ClearFailure();
            Span span = cursor_.Next().span;
            if (!result.super.name.empty()) diagnostics_.Error(span, "a class inherits from one class only");
            cursor_.ReadTypeName(result.super);
            EndLine();
        } else {
            Member(result);
        }
    }

    // A property, constant or function of a class or module.
    template <typename Owner>
    void Member(Owner& owner) {
        cursor_.ClearFailure();
        const Token& next = cursor_.Peek(1);
        bool isDeclared = next.keyword == Keyword::AS || next.kind == TokenKind::COMMA
                          || next.kind == TokenKind::LEFT_PARENTHESIS || next.kind == TokenKind::EQUAL;
        if (cursor_.AtLineEnd()) {
            cursor_.Next();
        } else if ((cursor_.At(TokenKind::NAME) && isDeclared) || cursor_.Accept(Keyword::PROPERTY)
                   || cursor_.Accept(Keyword::DIM)) {
            Variables(owner.properties);
            EndLine();
        } else if (cursor_.Accept(Keyword::CONST)) {
            auto& constant = owner.constants.emplace_back();
            ReadDefinitionName(constant);
            if (cursor_.Expect(TokenKind::EQUAL, "\"=\"")) constant.value = expressions_.Parse();
            EndLine();
        } else if (cursor_.At(Keyword::SUB) || cursor_.At(Keyword::FUNCTION) || cursor_.At(Keyword::EVENT)) {
            owner.functions.push_back(Function());
        } else {
            cursor_.Expected("a property, Const, Sub, Function or Event");
            SkipLine();
        }
    }

    std::unique_ptr<ast::Function> Function() {
        auto function = std::make_unique<ast::Function>();
        Span opener = cursor_.Peek().span;
        BlockKind kind = cursor_.At(Keyword::SUB)        ? BlockKind::SUB
                         : cursor_.At(Keyword::FUNCTION) ? BlockKind::FUNCTION
                                                         : BlockKind::EVENT;
        function->kind = kind == BlockKind::SUB        ? FunctionKind::SUB
                         : kind == BlockKind::FUNCTION ? FunctionKind::FUNCTION
                                                       : FunctionKind::EVENT;
        cursor_.Next();
        bool isRead = cursor_.ReadDeclaration(function->declaration);
        const TypeName& result = function->declaration.result;
        if (isRead && kind == BlockKind::SUB && !result.name.empty()) {
            diagnostics_.Error(result.span, "a Sub has no result (use Function)");
        } else if (isRead && kind == BlockKind::FUNCTION && result.name.empty()) {
            cursor_.Expected("\"As\" and the type of the result");
        }
        function->span = Join(opener, cursor_.Previous().span);
        EndLine();
        open_.push_back(kind);
        Body(kind, function->body);
        function->endSpan = cursor_.Peek().span;
        Close(kind, opener);
        return function;
    }

    // Statements up to what ends the block.
    void Body(BlockKind kind, Block& block) {
        while (!AtBlockEnd(kind)) {
            cursor_.ClearFailure();
            if (cursor_.AtLineEnd())
                cursor_.Next();
            else
                Append(block);
        }
    }

    void Append(Block& block) {
        const Token* first = &cursor_.Peek();
        if (auto statement = Statement()) block.push_back(std::move(statement));
        // Whatever could not be read is left behind.
        if (&cursor_.Peek() == first) cursor_.Next();
    }

    // The kind of block that the words here belong to, if they end or divide one.
    const BlockNames* Closer() const {
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
            return nullptr;
        default: return nullptr;
        }
    }

    bool IsOpen(BlockKind kind) const { return std::find(open_.begin(), open_.end(), kind) != open_.end(); }

    // At the end of the innermost block, or at what ends a block around it: then its own end is missing.
    bool AtBlockEnd(BlockKind kind) const {
        if (cursor_.At(TokenKind::END_OF_FILE)) return true;
        if (AtDefinition()) {
            bool isFunction = !cursor_.At(Keyword::CLASS) && !cursor_.At(Keyword::MODULE);
            return !(isFunction && (kind == BlockKind::CLASS || kind == BlockKind::MODULE));
        }
        const BlockNames* closer = Closer();
        return closer != nullptr && (closer->kind == kind || IsOpen(closer->kind));
    }

    // Takes what closes the block, or says that it is missing.
    void Close(BlockKind kind, const Span& opener) {
        open_.pop_back();
        const BlockNames& names = NamesOf(kind);
        cursor_.ClearFailure();
        const BlockNames* closer = Closer();
        bool divides = cursor_.At(Keyword::ELSE) || cursor_.At(Keyword::ELSEIF) || cursor_.At(Keyword::CASE)
                       || cursor_.At(Keyword::CATCH) || cursor_.At(Keyword::FINALLY);
        if (closer != nullptr && closer->kind == kind && !divides) {
            if (cursor_.Next().keyword == Keyword::END) cursor_.Next();
            // Next may repeat the name of its variable; Loop may be followed by a condition.
            if (kind == BlockKind::FOR && cursor_.At(TokenKind::NAME)) cursor_.Next();
            if (kind != BlockKind::DO) EndLine();
            return;
        }
        if (isAbandoned_) return;
        if (cursor_.At(TokenKind::END_OF_FILE)) unit_->isIncomplete = true;
        diagnostics_.Error(opener, std::string("\"") + names.opener + "\" without \"" + names.closer + "\"");
    }

    void SkipLine() {
        while (!cursor_.AtLineEnd()) cursor_.Next();
        cursor_.Accept(TokenKind::END_OF_LINE);
    }

    void EndLine() {
        if (!cursor_.AtLineEnd()) cursor_.Expected("the end of the line");
        SkipLine();
    }

    // `name, name As Type = value, …`
    void Variables(std::vector<Variable>& variables) {
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
                if (!cursor_.Expect(TokenKind::RIGHT_PARENTHESIS, "\")\"")) return;
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

    std::unique_ptr<ast::Statement> Statement() {
        if (nesting_ >= MAX_NESTING) {
            cursor_.Fail(cursor_.Peek().span, "blocks are nested too deeply");
            // Nothing sensible can be said about the rest.
            isAbandoned_ = true;
            while (!cursor_.At(TokenKind::END_OF_FILE)) cursor_.Next();
            return nullptr;
        }
        nesting_++;
        auto statement = std::make_unique<ast::Statement>();
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
    void Header(ast::Statement& statement) {
        statement.span = Join(statement.span, cursor_.Previous().span);
        EndLine();
    }

    bool Dispatch(ast::Statement& statement, bool& isBlock) {
        if (const BlockNames* closer = Closer()) {
            cursor_.Fail(cursor_.Peek().span, '"' + CloserText() + "\" without \"" + closer->opener + '"');
            SkipLineTokens();
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
        default: isBlock = false; return Simple(statement);
        }
    }

    std::string CloserText() const {
        std::string text(cursor_.Peek().text);
        if (cursor_.At(Keyword::END)) text += " " + std::string(cursor_.Peek(1).text);
        return text;
    }

    void SkipLineTokens() {
        while (!cursor_.AtLineEnd()) cursor_.Next();
    }

    bool Simple(ast::Statement& statement) {
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
        default: return CallOrAssignment(statement);
        }
    }

    bool AtStatementEnd() const { return cursor_.AtLineEnd() || (inLine_ && cursor_.At(Keyword::ELSE)); }

    bool Jump(ast::Statement& statement) {
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

    bool Redim(ast::Statement& statement) {
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

    bool CallOrAssignment(ast::Statement& statement) {
        statement.kind = StatementKind::CALL;
        bool startsExpression = cursor_.At(TokenKind::NAME) && !cursor_.At(Keyword::NOT) && !cursor_.At(Keyword::NEW);
        if (!startsExpression) {
            if (!options_.allowExpressions || !open_.empty()) {
                cursor_.Expected("a statement");
                SkipLineTokens();
                return false;
            }
            statement.value = expressions_.Parse();
            return true;
        }
        ExpressionPtr target = expressions_.ParsePostfix();
        if (cursor_.Accept(TokenKind::EQUAL)) {
            statement.kind = StatementKind::ASSIGN;
            statement.target = std::move(target);
            statement.value = expressions_.Parse();
            return true;
        }
        bool isName = target->kind == ExpressionKind::NAME || target->kind == ExpressionKind::MEMBER;
        if (isName && expressions_.AtOperand() && !AtStatementEnd()) {
            target = expressions_.ParseBareArguments(std::move(target));
        } else if (options_.allowExpressions && open_.empty()) {
            target = expressions_.ParseRest(std::move(target));
        }
        statement.value = std::move(target);
        return true;
    }

    bool If(ast::Statement& statement, bool& isBlock) {
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
        open_.push_back(BlockKind::IF);
        Body(BlockKind::IF, first.body);
        while (cursor_.At(Keyword::ELSEIF)) {
            Branch& branch = statement.branches.emplace_back();
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
    bool OneLineIf(ast::Statement& statement) {
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

    void LineStatement(Block& block) {
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
            cursor_.Fail(cursor_.Peek().span, "a block cannot stand in a one-line If");
            SkipLineTokens();
            return;
        default: Append(block);
        }
    }

    bool Select(ast::Statement& statement) {
        statement.kind = StatementKind::SELECT;
        Span opener = cursor_.Next().span;
        cursor_.Expect(Keyword::CASE);
        statement.value = expressions_.Parse();
        Header(statement);
        open_.push_back(BlockKind::SELECT);
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

    CaseTest Test() {
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

    bool For(ast::Statement& statement) {
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
        if (isEach) {
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
        open_.push_back(BlockKind::FOR);
        Body(BlockKind::FOR, statement.body);
        statement.endSpan = cursor_.Peek().span;
        Close(BlockKind::FOR, opener);
        return !statement.name.empty();
    }

    bool While(ast::Statement& statement) {
        statement.kind = StatementKind::WHILE;
        Span opener = cursor_.Next().span;
        statement.value = expressions_.Parse();
        Header(statement);
        open_.push_back(BlockKind::WHILE);
        Body(BlockKind::WHILE, statement.body);
        statement.endSpan = cursor_.Peek().span;
        Close(BlockKind::WHILE, opener);
        return true;
    }

    // Do [Until|While condition] … Loop [Until|While condition]
    bool Do(ast::Statement& statement) {
        statement.kind = StatementKind::DO;
        Span opener = cursor_.Next().span;
        bool hasCondition = DoCondition(statement);
        Header(statement);
        open_.push_back(BlockKind::DO);
        Body(BlockKind::DO, statement.body);
        statement.endSpan = cursor_.Peek().span;
        bool isClosed = cursor_.At(Keyword::LOOP);
        Close(BlockKind::DO, opener);
        if (!isClosed) return true;
        if (!hasCondition && DoCondition(statement)) statement.testsAtEnd = true;
        EndLine();
        return true;
    }

    bool DoCondition(ast::Statement& statement) {
        if (!cursor_.At(Keyword::UNTIL) && !cursor_.At(Keyword::WHILE)) return false;
        statement.isUntil = cursor_.Next().keyword == Keyword::UNTIL;
        statement.value = expressions_.Parse();
        return true;
    }

    bool Try(ast::Statement& statement) {
        statement.kind = StatementKind::TRY;
        Span opener = cursor_.Next().span;
        Header(statement);
        open_.push_back(BlockKind::TRY);
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
        if (statement.branches.empty() && !statement.hasElse && !cursor_.At(TokenKind::END_OF_FILE)) {
            diagnostics_.Error(opener, "\"Try\" without \"Catch\" or \"Finally\"");
        }
        Close(BlockKind::TRY, opener);
        return true;
    }

    static constexpr int MAX_NESTING = 100;

    LexResult lexed_;
    DiagnosticList& diagnostics_;
    ParseOptions options_;
    TokenCursor cursor_;
    ExpressionParser expressions_;
    std::unique_ptr<Unit> unit_ = std::make_unique<Unit>();
    std::vector<BlockKind> open_;
    int nesting_ = 0;
    bool inLine_ = false;      // within a one-line If
    bool isAbandoned_ = false; // nested too deeply
};

} // namespace

std::unique_ptr<Unit> Parse(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics,
                            ParseOptions options) {
    return Parser(Lex(files, file, diagnostics), diagnostics, options).Run();
}

ExpressionPtr ParseExpression(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics) {
    return Parser(Lex(files, file, diagnostics), diagnostics, {}).Whole();
}

} // namespace host
