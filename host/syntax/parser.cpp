// Parses whole sources: definitions of classes, modules and functions, and the statements between them.
#include "host/syntax/parser.h"

#include "host/syntax/lexer.h"
#include "host/syntax/statement_parser.h"

namespace host {

using namespace ast;

namespace {

class Parser {
public:
    Parser(LexResult lexed, DiagnosticList& diagnostics, ParseOptions options)
        : lexed_(std::move(lexed)),
          diagnostics_(diagnostics),
          cursor_(lexed_.tokens, diagnostics),
          statements_(cursor_, diagnostics, options.allowExpressions) {}

    std::unique_ptr<Unit> Run() {
        while (!cursor_.At(TokenKind::END_OF_FILE)) {
            cursor_.ClearFailure();
            TopLevel();
        }
        unit_->isIncomplete = lexed_.endsInContinuation || cursor_.EndsInParentheses() || statements_.IsIncomplete();
        return std::move(unit_);
    }

    ExpressionPtr Whole() {
        ExpressionPtr expression = statements_.ReadExpression();
        if (!cursor_.AtLineEnd()) cursor_.Expected("the end of the expression");
        return diagnostics_.HasErrors() ? nullptr : std::move(expression);
    }

private:
    // Import "helpers.kova", Import <xml>
    bool AtImport() const {
        TokenKind next = cursor_.Peek(1).kind;
        return cursor_.At(Keyword::IMPORT) && (next == TokenKind::STRING || next == TokenKind::LESS);
    }

    void Import() {
        Span start = cursor_.Next().span;
        ast::Import import;
        if (cursor_.At(TokenKind::STRING)) {
            import.name = StringValue(cursor_.Next());
        } else {
            import.isLibrary = true;
            cursor_.Next();
            if (const Token* name = cursor_.ReadName("the name of a library")) import.name = name->text;
            cursor_.Expect(TokenKind::GREATER, "\">\"");
        }
        import.span = Join(start, cursor_.Previous().span);
        if (!cursor_.HasFailed()) unit_->imports.push_back(import);
        statements_.EndLine();
    }

    void TopLevel() {
        if (cursor_.AtLineEnd()) {
            cursor_.Next();
        } else if (AtImport()) {
            Import();
        } else if (statements_.AtDefinition()) {
            Definition();
        } else {
            statements_.Append(unit_->statements);
        }
    }

    // Delegate Sub Name(parameters), Delegate Function Name(parameters) As Type
    void Delegate() {
        cursor_.Next();
        bool isFunction = cursor_.Next().keyword == Keyword::FUNCTION;
        auto definition = std::make_unique<DelegateDefinition>();
        ReadSignature(definition->declaration, isFunction);
        statements_.EndLine();
        unit_->delegates.push_back(std::move(definition));
    }

    void ReadSignature(Declaration& declaration, bool isFunction) {
        if (!cursor_.ReadDeclaration(declaration)) return;
        const TypeName& result = declaration.result;
        if (!isFunction && !result.name.empty()) {
            diagnostics_.Error(result.span, "a Sub has no result (use Function)");
        } else if (isFunction && result.name.empty()) {
            cursor_.Expected("\"As\" and the type of the result");
        }
    }

    void Definition() {
        if (cursor_.At(Keyword::DELEGATE)) {
            Delegate();
        } else if (cursor_.At(Keyword::CLASS)) {
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
        statements_.EndLine();
        statements_.Open(BlockKind::CLASS);
        while (!statements_.AtBlockEnd(BlockKind::CLASS)) ClassMember(*result);
        statements_.Close(BlockKind::CLASS, opener);
        return result;
    }

    std::unique_ptr<ModuleDefinition> Module() {
        auto result = std::make_unique<ModuleDefinition>();
        Span opener = cursor_.Next().span;
        ReadDefinitionName(*result);
        statements_.EndLine();
        statements_.Open(BlockKind::MODULE);
        while (!statements_.AtBlockEnd(BlockKind::MODULE)) {
            if (cursor_.At(Keyword::EVENT) && statements_.AtDefinition()) {
                diagnostics_.Error(cursor_.Peek().span, "an event handler can only stand in a class");
                Function();
            } else {
                Member(*result);
            }
        }
        statements_.Close(BlockKind::MODULE, opener);
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
            statements_.EndLine();
        } else if (cursor_.At(Keyword::DECLARE) && cursor_.Peek(1).keyword == Keyword::EVENT) {
            cursor_.ClearFailure();
            cursor_.Next();
            cursor_.Next();
            cursor_.ReadDeclaration(result.events.emplace_back());
            statements_.EndLine();
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
            statements_.Variables(owner.properties);
            statements_.EndLine();
        } else if (cursor_.Accept(Keyword::CONST)) {
            auto& constant = owner.constants.emplace_back();
            ReadDefinitionName(constant);
            if (cursor_.Expect(TokenKind::EQUAL, "\"=\"")) constant.value = statements_.ReadExpression();
            statements_.EndLine();
        } else if (cursor_.At(Keyword::SUB) || cursor_.At(Keyword::FUNCTION) || cursor_.At(Keyword::EVENT)) {
            owner.functions.push_back(Function());
        } else {
            cursor_.Expected("a property, Const, Sub, Function or Event");
            statements_.SkipLine();
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
        if (kind == BlockKind::EVENT)
            cursor_.ReadDeclaration(function->declaration);
        else
            ReadSignature(function->declaration, kind == BlockKind::FUNCTION);
        function->span = Join(opener, cursor_.Previous().span);
        statements_.EndLine();
        statements_.Open(kind);
        statements_.Body(kind, function->body);
        function->endSpan = cursor_.Peek().span;
        statements_.Close(kind, opener);
        return function;
    }

    LexResult lexed_;
    DiagnosticList& diagnostics_;
    TokenCursor cursor_;
    StatementParser statements_;
    std::unique_ptr<Unit> unit_ = std::make_unique<Unit>();
};

} // namespace

std::unique_ptr<Unit> Parse(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics,
                            ParseOptions options) {
    auto unit = Parser(Lex(files, file, diagnostics), diagnostics, options).Run();
    unit->file = file;
    return unit;
}

ExpressionPtr ParseExpression(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics) {
    return Parser(Lex(files, file, diagnostics), diagnostics, {}).Whole();
}

} // namespace host
