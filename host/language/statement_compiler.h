// Compiles the statements of functions: the checker makes nodes of their expressions, the generator code of the nodes;
// this one keeps the order, the scopes and what jumps pass.
#pragma once

#include "host/language/expression_checker.h"
#include "host/language/generator.h"

namespace host::language {

struct CompileOptions {
    bool printsExpressions = false; // a session prints the value of an expression
    bool keepsVariables = false;    // a session's variables at the top live on
};

class StatementCompiler {
public:
    StatementCompiler(Environment& environment, DiagnosticList& diagnostics, FunctionContext& context, Code& code,
                      CompileOptions options = {});

    // A function, method or event handler.
    void CompileFunction(FunctionSymbol& function);
    // The statements outside of functions.
    void CompileProgram(const ast::Unit& unit);
    // The code that sets the initial values of the variables of a class (`cls`) or of a module.
    void CompileInitializer(ClassSymbol& cls);
    void CompileModuleVariables(ModuleSymbol& module);

private:
    // Whether what follows a statement or block can be reached.
    enum class Flow { CONTINUES, ENDS };

    // Something that a jump out of a block passes or ends at.
    struct Surrounding {
        enum Kind { LOOP, SCOPE, FINALLY, FINALLY_BODY } kind;
        ast::LoopKind loop = ast::LoopKind::ANY;
        Label* exit = nullptr;    // LOOP
        Label* next = nullptr;    // LOOP
        bool* hasExit = nullptr;  // LOOP: set by an Exit
        size_t firstOwned = 0;    // SCOPE: of its values in owned_
        uint16_t top = 0;         // SCOPE: its first register
        Label* finally = nullptr; // FINALLY
        uint16_t back = 0;        // FINALLY: where to continue after it
        uint16_t result = 0;      // FINALLY: what a Return in it returns
    };
    // A value held by a variable or hidden register of an open block.
    struct OwnedValue {
        uint16_t reg;
        ValueType type;
        int32_t lifetime;
    };

    Flow CompileBlock(const ast::Block& block);
    Flow CompileStatements(const ast::Block& block);
    Flow Compile(const ast::Statement& statement);
    Flow CompileDim(const ast::Statement& statement);
    void CompileVariable(const ast::Variable& variable);
    void CompileStatic(const ast::Variable& variable);
    void CompileInitialValue(const ast::Variable& definition, const Node& place);
    // Puts zero, Nil or an array of the bound into a register.
    void ProduceDefault(uint16_t reg, const ValueType& type, const Node* bound);
    Flow CompileConst(const ast::Statement& statement);
    Flow CompileAssign(const ast::Statement& statement);
    Flow CompileCompound(const ast::Statement& statement);
    void HoldOperands(Node& place);
    Flow CompileCall(const ast::Statement& statement);
    Flow CompileIf(const ast::Statement& statement);
    Flow CompileSelect(const ast::Statement& statement);
    Flow CompileFor(const ast::Statement& statement);
    Flow CompileForEach(const ast::Statement& statement);
    Flow CompileWith(const ast::Statement& statement);
    Flow CompileWhile(const ast::Statement& statement);
    Flow CompileDo(const ast::Statement& statement);
    Flow CompileJump(const ast::Statement& statement);
    Flow CompileReturn(const ast::Statement& statement);
    Flow CompileTry(const ast::Statement& statement);
    void CompileCatches(const ast::Statement& statement, uint16_t exception, Label& end, bool& continues);
    Flow CompileRaise(const ast::Statement& statement);
    Flow CompilePrint(const ast::Statement& statement);
    Flow CompileRedim(const ast::Statement& statement);
    Flow CompileHandler(const ast::Statement& statement);
    void Print(NodePtr value, bool isExpression);
    NodePtr CaseCondition(const ast::CaseTest& test, const Node& selector, uint16_t reg);

    void OpenScope();
    void CloseScope(Flow flow);
    // Leaves everything down to surrounding number `depth`: releases values and runs Finally blocks.
    void Leave(size_t depth);
    // Whether a jump from here out to surrounding number `depth` is allowed; reports when it is not.
    bool CanLeave(size_t depth, const Span& span);
    VariableSymbol* Declare(const std::string& name, const Span& span, const ValueType& type);
    // The value in a register belongs to the innermost scope from here on.
    void Hold(uint16_t reg, const ValueType& type);
    // A register of the innermost scope that no name stands for, with a value in it.
    uint16_t Hidden(const Node& value);
    uint16_t HiddenNil(const ValueType& type);
    void WarnUnused(const VariableSymbol& variable);
    void BeginFunction(const FunctionSymbol& function, uint32_t file);
    void Finish(const Span& end);
    bool Generating() const { return !diagnostics_.HasErrors(); }
    Flow CompileLoopBody(const ast::Statement& statement, Label& exit, Label& next, bool& hasExit);
    NodePtr LoopVariable(const ast::Statement& statement);
    void CallInheritedConstructor(const FunctionSymbol& function);

    Environment& environment_;
    DiagnosticList& diagnostics_;
    FunctionContext& context_;
    ExpressionChecker checker_;
    Generator generator_;
    Code& code_;
    CompileOptions options_;
    ValueType result_ = NO_TYPE;
    std::vector<Surrounding> surroundings_;
    std::vector<OwnedValue> owned_;
    std::vector<std::unique_ptr<VariableSymbol>> locals_;
    std::vector<std::unique_ptr<ConstantSymbol>> constants_;
};

} // namespace host::language
