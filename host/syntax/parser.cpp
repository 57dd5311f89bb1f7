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

    // Words that say who may use what is defined behind them.
    Modifiers ReadModifiers(bool isClass) {
        Modifiers modifiers;
        for (size_t count = statements_.ModifierCount(); count > 0; --count) {
            const Token& word = cursor_.Next();
            modifiers.span = word.span;
            if (word.keyword == Keyword::SHARED)
                modifiers.isShared = true;
            else if (word.keyword != Keyword::NONE)
                modifiers.visibility = word.keyword == Keyword::PRIVATE ? Visibility::PRIVATE : Visibility::PROTECTED;
            else if (!SameName(word.text, "Public"))
                diagnostics_.Error(word.span,
                                   "a property with \"Get\" alone can only be read, with \"Set\" alone only be set");
            else
                diagnostics_.Error(word.span, "members are public unless they are \"Private\" or \"Protected\"");
            bool fits = isClass || word.keyword == Keyword::PRIVATE || word.keyword == Keyword::NONE;
            if (!fits) diagnostics_.Error(word.span, Quoted(word) + " has a meaning only in a class");
        }
        return modifiers;
    }

    static std::string Quoted(const Token& word) { return '"' + std::string(word.text) + '"'; }

    void Definition() {
        if (statements_.ModifierCount() > 0) {
            diagnostics_.Error(cursor_.Peek().span,
                               Quoted(cursor_.Peek()) + " has a meaning only in a class or module");
            for (size_t count = statements_.ModifierCount(); count > 0; --count) cursor_.Next();
        }
        if (cursor_.At(Keyword::DELEGATE)) {
            Delegate();
        } else if (cursor_.At(Keyword::CLASS)) {
            unit_->classes.push_back(Class());
        } else if (cursor_.At(Keyword::MODULE)) {
            unit_->modules.push_back(Module());
        } else if (cursor_.At(Keyword::ENUM)) {
            unit_->modules.push_back(Enumeration());
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

    std::unique_ptr<ModuleDefinition> Enumeration() {
        auto result = std::make_unique<ModuleDefinition>();
        result->isEnum = true;
        Span opener = cursor_.Next().span;
        ReadDefinitionName(*result);
        statements_.EndLine();
        statements_.Open(BlockKind::ENUM);
        while (!statements_.AtBlockEnd(BlockKind::ENUM)) {
            cursor_.ClearFailure();
            auto& constant = result->constants.emplace_back();
            ReadDefinitionName(constant);
            size_t count = result->constants.size();
            constant.value = cursor_.Accept(TokenKind::EQUAL)
                                 ? statements_.ReadExpression()
                                 : Successor(count > 1 ? &result->constants[count - 2] : nullptr, constant.span);
            statements_.EndLine();
        }
        statements_.Close(BlockKind::ENUM, opener);
        return result;
    }

    // 0, or the constant before it and one more.
    static ExpressionPtr Successor(const ConstantDefinition* before, const Span& span) {
        auto make = [&span](ExpressionKind kind) {
            auto expression = std::make_unique<Expression>();
            expression->kind = kind;
            expression->span = span;
            expression->nameSpan = span;
            return expression;
        };
        auto number = make(ExpressionKind::CONSTANT);
        number->constant = before == nullptr ? 0 : 1;
        if (before == nullptr) return number;
        auto sum = make(ExpressionKind::BINARY);
        sum->left = make(ExpressionKind::NAME);
        sum->left->name = before->name;
        sum->right = std::move(number);
        return sum;
    }

    // A property, constant or function of a class or module.
    template <typename Owner>
    void Member(Owner& owner) {
        cursor_.ClearFailure();
        const Modifiers modifiers = ReadModifiers(std::is_same_v<Owner, ClassDefinition>);
        const Token& next = cursor_.Peek(1);
        bool isDeclared = next.keyword == Keyword::AS || next.kind == TokenKind::COMMA
                          || next.kind == TokenKind::LEFT_PARENTHESIS || next.kind == TokenKind::EQUAL;
        if (cursor_.AtLineEnd()) {
            cursor_.Next();
        } else if (cursor_.At(TokenKind::NAME) && SameName(cursor_.Peek().text, "Constructor")
                   && next.kind == TokenKind::LEFT_PARENTHESIS) {
            diagnostics_.Error(cursor_.Peek().span, "a constructor is written \"Sub Constructor(…) … End Sub\"");
            auto function = std::make_unique<ast::Function>();
            Span opener = cursor_.Peek().span;
            ReadSignature(function->declaration, false);
            ReadBody(BlockKind::SUB, *function, opener);
            owner.functions.push_back(std::move(function));
        } else if ((cursor_.At(TokenKind::NAME) && isDeclared) || cursor_.At(Keyword::PROPERTY)
                   || cursor_.At(Keyword::DIM)) {
            Span opener = cursor_.Peek().span;
            bool isWord = !isDeclared && cursor_.Next().keyword == Keyword::PROPERTY;
            const size_t first = owner.properties.size();
            statements_.Variables(owner.properties);
            for (size_t i = first; i < owner.properties.size(); ++i) owner.properties[i].modifiers = modifiers;
            statements_.EndLine();
            if (isWord && AtAccessor()) Accessors(owner, opener, first);
        } else if (cursor_.Accept(Keyword::CONST)) {
            auto& constant = owner.constants.emplace_back();
            ReadDefinitionName(constant);
            constant.modifiers = modifiers;
            if (cursor_.Expect(TokenKind::EQUAL, "\"=\"")) constant.value = statements_.ReadExpression();
            statements_.EndLine();
        } else if (cursor_.At(Keyword::SUB) || cursor_.At(Keyword::FUNCTION) || cursor_.At(Keyword::EVENT)) {
            if (cursor_.At(Keyword::EVENT) && modifiers.span.length > 0)
                diagnostics_.Error(modifiers.span, "an event handler is called by its event, whoever raises it");
            owner.functions.push_back(Function());
            owner.functions.back()->modifiers = modifiers;
        } else {
            cursor_.Expected("a property, Const, Sub, Function or Event");
            statements_.SkipLine();
        }
    }

    bool AtAccessor() const {
        TokenKind next = cursor_.Peek(1).kind;
        bool isSetter = next == TokenKind::LEFT_PARENTHESIS && cursor_.Peek(2).kind == TokenKind::NAME;
        return (cursor_.At(Keyword::GET) && next == TokenKind::END_OF_LINE)
               || (cursor_.At(Keyword::SET) && (isSetter || next == TokenKind::END_OF_LINE));
    }

    // The blocks of a computed property, which was read as number `index` of the properties so far.
    template <typename Owner>
    void Accessors(Owner& owner, const Span& opener, size_t index) {
        auto property = std::make_unique<ComputedProperty>();
        bool isOne = index + 1 == owner.properties.size();
        if (isOne) property->property = std::move(owner.properties[index]);
        owner.properties.resize(index);
        statements_.Open(BlockKind::PROPERTY);
        while (!statements_.AtBlockEnd(BlockKind::PROPERTY)) {
            cursor_.ClearFailure();
            if (AtAccessor()) {
                auto& accessor = cursor_.At(Keyword::GET) ? property->getter : property->setter;
                if (accessor != nullptr) diagnostics_.Error(cursor_.Peek().span, "there is one already");
                accessor = Accessor(property->property);
            } else {
                cursor_.Expected("Get or Set");
                statements_.SkipLine();
            }
        }
        statements_.Close(BlockKind::PROPERTY, opener);
        bool hasValue = property->property.value != nullptr || property->property.bound != nullptr;
        if (!isOne || hasValue) diagnostics_.Error(opener, "a computed property has a name and a type only");
        owner.computed.push_back(std::move(property));
    }

    std::unique_ptr<ast::Function> Accessor(const Variable& property) {
        auto function = std::make_unique<ast::Function>();
        Span opener = cursor_.Peek().span;
        bool isGetter = cursor_.At(Keyword::GET);
        Declaration& declaration = function->declaration;
        function->kind = isGetter ? FunctionKind::FUNCTION : FunctionKind::SUB;
        cursor_.ReadDeclaration(declaration);
        bool isSetter = declaration.parameters.size() == 1 && declaration.result.name.empty();
        if (!isGetter && !isSetter) diagnostics_.Error(opener, "\"Set\" takes the new value: Set(value As Type)");
        declaration.name = property.name;
        declaration.span = opener;
        if (isGetter) declaration.result = property.type;
        function->modifiers = property.modifiers;
        ReadBody(isGetter ? BlockKind::GET : BlockKind::SET, *function, opener);
        return function;
    }

    // From behind the declaration to the end of the function.
    void ReadBody(BlockKind kind, ast::Function& function, const Span& opener) {
        function.span = Join(opener, cursor_.Previous().span);
        statements_.EndLine();
        statements_.Open(kind);
        statements_.Body(kind, function.body);
        function.endSpan = cursor_.Peek().span;
        statements_.Close(kind, opener);
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
        ReadBody(kind, *function, opener);
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
