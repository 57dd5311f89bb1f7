// Scopes, variables, and the statements without blocks.
#include "host/language/statement_compiler.h"

#include <algorithm>

namespace host::language {

using ast::Statement;
using ast::StatementKind;

StatementCompiler::StatementCompiler(Environment& environment, DiagnosticList& diagnostics, FunctionContext& context,
                                     Code& code, CompileOptions options)
    : environment_(environment),
      diagnostics_(diagnostics),
      context_(context),
      checker_(environment, diagnostics, context),
      generator_(environment, code),
      code_(code),
      options_(options) {}

void StatementCompiler::OpenScope() {
    context_.scopes.emplace_back();
    context_.constantScopes.emplace_back();
    surroundings_.push_back({.kind = Surrounding::SCOPE, .firstOwned = owned_.size(), .top = generator_.Top()});
}

void StatementCompiler::CloseScope(Flow flow) {
    const Surrounding scope = surroundings_.back();
    for (const VariableSymbol* variable : context_.scopes.back()) WarnUnused(*variable);
    while (owned_.size() > scope.firstOwned) {
        OwnedValue value = owned_.back();
        owned_.pop_back();
        generator_.EndLifetime(value.lifetime);
        if (flow == Flow::CONTINUES) generator_.ReleaseEarly(value.reg, value.type);
    }
    surroundings_.pop_back();
    context_.CloseScope();
    generator_.SetTop(scope.top);
    generator_.SetVariableTop();
}

void StatementCompiler::Leave(size_t depth) {
    size_t upper = owned_.size();
    for (size_t i = surroundings_.size(); i-- > depth;) {
        const Surrounding& surrounding = surroundings_[i];
        if (surrounding.kind == Surrounding::FINALLY) {
            generator_.Jump(Opcode::CALL_FINALLY, surrounding.back, *surrounding.finally);
        } else if (surrounding.kind == Surrounding::SCOPE) {
            while (upper > surrounding.firstOwned) {
                upper--;
                generator_.ReleaseEarly(owned_[upper].reg, owned_[upper].type);
            }
        }
    }
}

bool StatementCompiler::CanLeave(size_t depth, const Span& span) {
    for (size_t i = surroundings_.size(); i-- > depth;) {
        if (surroundings_[i].kind != Surrounding::FINALLY_BODY) continue;
        diagnostics_.Error(span, "a Finally block cannot be left this way");
        return false;
    }
    return true;
}

VariableSymbol* StatementCompiler::Declare(const std::string& name, const Span& span, const ValueType& type) {
    auto symbol = std::make_unique<VariableSymbol>();
    symbol->name = name;
    symbol->span = span;
    symbol->type = type;
    environment_.NoteUse(span, name, span);
    context_.AddLocal(*symbol);
    return locals_.emplace_back(std::move(symbol)).get();
}

void StatementCompiler::Hold(uint16_t reg, const ValueType& type) {
    int32_t lifetime = generator_.BeginLifetime(reg, type);
    if (lifetime >= 0) owned_.push_back({reg, type, lifetime});
    generator_.SetVariableTop();
}

uint16_t StatementCompiler::Hidden(const Node& value) {
    uint16_t reg = generator_.NewRegister();
    Value produced = generator_.GenerateInto(value, reg);
    generator_.EndLifetime(produced.lifetime);
    Hold(reg, value.type);
    return reg;
}

uint16_t StatementCompiler::HiddenNil(const ValueType& type) {
    uint16_t reg = generator_.NewRegister();
    generator_.Emit(Opcode::LOAD_NIL, reg);
    Hold(reg, type);
    return reg;
}

void StatementCompiler::WarnUnused(const VariableSymbol& variable) {
    if (variable.isUsed || variable.isParameter || variable.isLoopVariable) return;
    diagnostics_.Warning(variable.span, "the variable \"" + variable.name + "\" is never used");
}

StatementCompiler::Flow StatementCompiler::CompileBlock(const ast::Block& block) {
    OpenScope();
    Flow flow = CompileStatements(block);
    CloseScope(flow);
    return flow;
}

StatementCompiler::Flow StatementCompiler::CompileStatements(const ast::Block& block) {
    Flow flow = Flow::CONTINUES;
    bool isReported = false;
    for (const auto& statement : block) {
        if (flow == Flow::ENDS && !isReported) {
            diagnostics_.Warning(statement->span, "this is never reached");
            isReported = true;
        }
        generator_.SetPlace(statement->span);
        if (Compile(*statement) == Flow::ENDS) flow = Flow::ENDS;
    }
    return flow;
}

StatementCompiler::Flow StatementCompiler::Compile(const Statement& statement) {
    switch (statement.kind) {
    case StatementKind::DIM: return CompileDim(statement);
    case StatementKind::CONST: return CompileConst(statement);
    case StatementKind::ASSIGN: return CompileAssign(statement);
    case StatementKind::CALL: return CompileCall(statement);
    case StatementKind::IF: return CompileIf(statement);
    case StatementKind::SELECT: return CompileSelect(statement);
    case StatementKind::FOR: return CompileFor(statement);
    case StatementKind::FOR_EACH: return CompileForEach(statement);
    case StatementKind::WITH: return CompileWith(statement);
    case StatementKind::WHILE: return CompileWhile(statement);
    case StatementKind::DO: return CompileDo(statement);
    case StatementKind::EXIT:
    case StatementKind::CONTINUE: return CompileJump(statement);
    case StatementKind::RETURN: return CompileReturn(statement);
    case StatementKind::TRY: return CompileTry(statement);
    case StatementKind::RAISE: return CompileRaise(statement);
    case StatementKind::PRINT: return CompilePrint(statement);
    case StatementKind::REDIM: return CompileRedim(statement);
    case StatementKind::HANDLER: return CompileHandler(statement);
    }
    return Flow::CONTINUES;
}

StatementCompiler::Flow StatementCompiler::CompileDim(const Statement& statement) {
    for (const ast::Variable& variable : statement.variables) {
        if (statement.isStatic)
            CompileStatic(variable);
        else
            CompileVariable(variable);
    }
    return Flow::CONTINUES;
}

void StatementCompiler::ProduceDefault(uint16_t reg, const ValueType& type, const Node* bound) {
    if (!type.Is(TypeKind::ARRAY)) {
        generator_.Emit(Opcode::LOAD_NIL, reg);
        return;
    }
    generator_.Emit(Opcode::NEW_ARRAY, reg, 0, environment_.ArrayClassIndex(type.Element()));
    if (bound == nullptr) return;
    int32_t lifetime = generator_.BeginLifetime(reg, type);
    uint16_t top = generator_.Top();
    Value value = generator_.Generate(*bound);
    generator_.Emit(Opcode::ARRAY_RESIZE, reg, value.reg);
    generator_.SetTop(top);
    generator_.EndLifetime(lifetime);
}

void StatementCompiler::CompileVariable(const ast::Variable& variable) {
    // Variables of statements outside of functions and blocks are known to functions and were declared before.
    bool isTopLevel = context_.isTopLevel && context_.scopes.size() == 1;
    VariableSymbol* symbol = isTopLevel ? environment_.FindVariable(variable.name) : nullptr;
    bool isDouble = isTopLevel ? symbol == nullptr || symbol->span.offset != variable.span.offset
                                     || symbol->span.file != variable.span.file
                               : checker_.FindLocal(variable.name) != nullptr;
    NodePtr bound = variable.bound ? checker_.CheckAs(*variable.bound, INTEGER_TYPE) : nullptr;
    if (isDouble) {
        if (!isTopLevel) diagnostics_.Error(variable.span, "\"" + variable.name + "\" is declared already");
        if (variable.value) checker_.Check(*variable.value);
        return;
    }
    ValueType type = isTopLevel ? symbol->type : checker_.ResolveType(variable);
    NodePtr value;
    if (variable.value && type.Is(TypeKind::INVALID))
        checker_.Check(*variable.value);
    else if (variable.value)
        value = checker_.CheckAs(*variable.value, type);
    if (!isTopLevel) symbol = Declare(variable.name, variable.span, type);
    symbol->isDeclared = true;

    if (symbol->isGlobal) {
        if (!Generating()) return;
        OpenScope();
        uint16_t reg = generator_.NewRegister();
        Value produced;
        if (value != nullptr)
            produced = generator_.GenerateInto(*value, reg);
        else
            ProduceDefault(reg, type, bound.get());
        generator_.EndLifetime(produced.lifetime);
        Hold(reg, type);
        generator_.Assign(*VariableNode(*symbol, variable.span), *RegisterNode(reg, type, variable.span));
        CloseScope(Flow::CONTINUES);
        return;
    }
    symbol->slot = generator_.NewRegister();
    auto reg = static_cast<uint16_t>(symbol->slot);
    if (Generating()) {
        generator_.SetVariableTop();
        Value produced;
        if (value != nullptr)
            produced = generator_.GenerateInto(*value, reg);
        else
            ProduceDefault(reg, type, bound.get());
        generator_.EndLifetime(produced.lifetime);
    }
    Hold(reg, type);
}

StatementCompiler::Flow StatementCompiler::CompileConst(const Statement& statement) {
    auto constant = std::make_unique<ConstantSymbol>();
    constant->name = statement.name;
    constant->span = statement.nameSpan;
    constant->expression = statement.value.get();
    bool isTopLevel = context_.isTopLevel && context_.scopes.size() == 1;
    // A constant of the program was declared and computed before.
    if (isTopLevel) return Flow::CONTINUES;
    if (checker_.FindLocal(statement.name) != nullptr) {
        diagnostics_.Error(statement.nameSpan, "\"" + statement.name + "\" is declared already");
    }
    checker_.Evaluate(*constant);
    context_.constantScopes.back().push_back(constant.get());
    constants_.push_back(std::move(constant));
    return Flow::CONTINUES;
}

StatementCompiler::Flow StatementCompiler::CompileAssign(const Statement& statement) {
    if (statement.operation) return CompileCompound(statement);
    NodePtr place = checker_.CheckPlace(*statement.target);
    NodePtr value = checker_.Check(*statement.value);
    bool isSound = checker_.CheckStore(*statement.target, *place, value);
    if (!isSound || !Generating()) return Flow::CONTINUES;
    if (value == nullptr)
        generator_.GenerateEffect(*place);
    else
        generator_.Assign(*place, *value);
    return Flow::CONTINUES;
}

// What the place is found by is computed once.
void StatementCompiler::HoldOperands(Node& place) {
    auto hold = [this](NodePtr& part) {
        bool isHeld =
            part == nullptr || part->kind == NodeKind::REGISTER || part->kind == NodeKind::SELF || part->IsConstant();
        if (!isHeld) part = RegisterNode(Hidden(*part), part->type, part->span);
    };
    hold(place.left);
    hold(place.right);
    for (NodePtr& argument : place.arguments) hold(argument);
}

// place += value, and the like
StatementCompiler::Flow StatementCompiler::CompileCompound(const Statement& statement) {
    OpenScope();
    NodePtr place = checker_.CheckPlace(*statement.target);
    NodePtr value = checker_.Check(*statement.value);
    bool isSimple = !CallsCode(*place) && !CallsCode(*value);
    if (Generating() && !isSimple) HoldOperands(*place);
    value = checker_.CheckCompound(statement, *place, std::move(value));
    bool isSound = checker_.CheckStore(*statement.target, *place, value);
    if (isSound && Generating()) {
        if (value == nullptr)
            generator_.GenerateEffect(*place);
        else
            generator_.Assign(*place, *value);
    }
    CloseScope(Flow::CONTINUES);
    return Flow::CONTINUES;
}

StatementCompiler::Flow StatementCompiler::CompileCall(const Statement& statement) {
    NodePtr node = checker_.Check(*statement.value, Use::STATEMENT);
    if (node->kind == NodeKind::INVALID) return Flow::CONTINUES;
    bool isCall = node->kind == NodeKind::CALL || node->kind == NodeKind::ARRAY_CALL
                  || node->kind == NodeKind::RAISE_EVENT || node->kind == NodeKind::DELEGATE_CALL
                  || (node->kind == NodeKind::CONSTANT && node->type.Is(TypeKind::NOTHING));
    bool isExpression = options_.printsExpressions && context_.isTopLevel && context_.scopes.size() == 1
                        && !node->type.Is(TypeKind::NOTHING);
    if (isExpression) {
        // The overload whose value is printed may differ from that of a statement.
        node = checker_.Check(*statement.value);
        Print(std::move(node), true);
        return Flow::CONTINUES;
    }
    if (!isCall) {
        diagnostics_.Error(statement.span, "this is no statement: its value is not used");
        return Flow::CONTINUES;
    }
    if (Generating()) generator_.GenerateEffect(*node);
    return Flow::CONTINUES;
}

StatementCompiler::Flow StatementCompiler::CompilePrint(const Statement& statement) {
    if (statement.value == nullptr) {
        if (Generating()) generator_.Emit(Opcode::PRINT_LINE);
        return Flow::CONTINUES;
    }
    Print(checker_.Check(*statement.value), false);
    return Flow::CONTINUES;
}

void StatementCompiler::Print(NodePtr value, bool isExpression) {
    if (value->IsInvalid()) return;
    bool isObject =
        (value->type.IsReference() && !value->type.Is(TypeKind::VARIANT)) || value->type.Is(TypeKind::ADDRESS);
    if (isObject && !isExpression) {
        diagnostics_.Error(value->span, "a value of type " + value->type.Text() + " cannot be printed");
        return;
    }
    if (!Generating()) return;
    uint16_t top = generator_.Top();
    Value printed = generator_.Generate(*value);
    const Kind kind = KindOf(value->type.kind);
    const bool isShown = isExpression && (HoldsObject(kind) || kind == Kind::NOTHING);
    const Opcode opcode = kind == Kind::STRING ? Opcode::PRINT_STRING : isShown ? Opcode::SHOW : Opcode::PRINT_VALUE;
    generator_.Emit(opcode, printed.reg, static_cast<size_t>(kind));
    generator_.Release(printed, value->type);
    generator_.SetTop(top);
}

StatementCompiler::Flow StatementCompiler::CompileRedim(const Statement& statement) {
    NodePtr array = checker_.Check(*statement.target);
    NodePtr bound = checker_.CheckAs(*statement.value, INTEGER_TYPE);
    if (!array->IsInvalid() && !array->type.Is(TypeKind::ARRAY)) {
        diagnostics_.Error(array->span, "expected an array, not " + array->type.Text());
    }
    if (!Generating()) return Flow::CONTINUES;
    uint16_t top = generator_.Top();
    Value value = generator_.Generate(*array);
    Value upper = generator_.Generate(*bound);
    generator_.Emit(Opcode::ARRAY_RESIZE, value.reg, upper.reg);
    generator_.Release(value, array->type);
    generator_.SetTop(top);
    return Flow::CONTINUES;
}

StatementCompiler::Flow StatementCompiler::CompileHandler(const Statement& statement) {
    NodePtr handler = checker_.CheckHandler(statement);
    if (Generating()) generator_.GenerateEffect(*handler);
    return Flow::CONTINUES;
}

StatementCompiler::Flow StatementCompiler::CompileRaise(const Statement& statement) {
    NodePtr exception = checker_.Check(*statement.value);
    if (exception->IsInvalid()) return Flow::ENDS;
    if (!exception->type.Is(TypeKind::NIL) && !checker_.IsException(exception->type)) {
        diagnostics_.Error(exception->span, "only a RuntimeException can be raised, not " + exception->type.Text());
    }
    if (!Generating()) return Flow::ENDS;
    uint16_t top = generator_.Top();
    Value value = generator_.GenerateInto(*exception, generator_.NewRegister());
    generator_.EndLifetime(value.lifetime);
    generator_.SetPlace(statement.span);
    generator_.Emit(Opcode::RAISE, value.reg);
    generator_.SetTop(top);
    return Flow::ENDS;
}

StatementCompiler::Flow StatementCompiler::CompileReturn(const Statement& statement) {
    bool hasResult = !result_.Is(TypeKind::NOTHING);
    NodePtr value;
    if (statement.value != nullptr && !hasResult) {
        bool isFunction = context_.function != nullptr;
        diagnostics_.Error(statement.value->span, isFunction ? "\"" + context_.function->name + "\" has no result"
                                                             : "there is nothing to return a value to");
    } else if (statement.value != nullptr) {
        value = checker_.CheckAs(*statement.value, result_);
    } else if (hasResult) {
        diagnostics_.Error(statement.span, "\"Return\" needs a value of type " + result_.Text());
    }
    CanLeave(0, statement.span);
    if (!Generating()) return Flow::ENDS;
    if (value == nullptr) {
        Leave(0);
        generator_.Emit(Opcode::RETURN);
        return Flow::ENDS;
    }
    uint16_t top = generator_.Top();
    // The outermost Finally keeps the value while the blocks run.
    auto finally = std::find_if(surroundings_.begin(), surroundings_.end(), [](const Surrounding& surrounding) {
        return surrounding.kind == Surrounding::FINALLY;
    });
    uint16_t reg = finally != surroundings_.end() ? finally->result : generator_.NewRegister();
    Value returned = generator_.GenerateInto(*value, finally != surroundings_.end() ? generator_.NewRegister() : reg);
    generator_.EndLifetime(returned.lifetime);
    if (finally != surroundings_.end()) generator_.Emit(Opcode::MOVE, reg, returned.reg);
    Leave(0);
    generator_.Emit(Opcode::RETURN_VALUE, reg);
    generator_.SetTop(top);
    return Flow::ENDS;
}

StatementCompiler::Flow StatementCompiler::CompileJump(const Statement& statement) {
    bool isExit = statement.kind == StatementKind::EXIT;
    const char* word = isExit ? "Exit" : "Continue";
    if (statement.loop == ast::LoopKind::FUNCTION) {
        if (!result_.Is(TypeKind::NOTHING)) {
            diagnostics_.Error(statement.span, "\"Return\" needs a value of type " + result_.Text());
        }
        CanLeave(0, statement.span);
        if (!Generating()) return Flow::ENDS;
        Leave(0);
        generator_.Emit(Opcode::RETURN);
        return Flow::ENDS;
    }
    for (size_t i = surroundings_.size(); i-- > 0;) {
        const Surrounding& loop = surroundings_[i];
        bool isWanted = statement.loop == ast::LoopKind::ANY || statement.loop == loop.loop;
        if (loop.kind != Surrounding::LOOP || !isWanted) continue;
        if (isExit) *loop.hasExit = true;
        if (!CanLeave(i, statement.span) || !Generating()) return Flow::ENDS;
        Leave(i + 1);
        generator_.Jump(Opcode::JUMP, 0, isExit ? *loop.exit : *loop.next);
        return Flow::ENDS;
    }
    static constexpr const char* LOOPS[] = {"", " For", " While", " Do"};
    diagnostics_.Error(statement.span,
                       std::string("\"") + word + LOOPS[static_cast<size_t>(statement.loop)] + "\" outside of a loop");
    return Flow::ENDS;
}

} // namespace host::language
