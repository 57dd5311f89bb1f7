// The part of the statement compiler that handles branches, loops and exceptions.
#include "host/language/statement_compiler.h"

namespace host::language {

namespace {

bool IsZero(const ConstantValue& number) {
    if (const auto* integer = std::get_if<int32_t>(&number)) return *integer == 0;
    if (const auto* value = std::get_if<double>(&number)) return *value == 0;
    if (const auto* amount = std::get_if<Currency>(&number)) return amount->units == 0;
    return std::get<int64_t>(number) == 0;
}

Opcode ForOpcode(const ValueType& type, Opcode integer, Opcode number, Opcode wide) {
    if (type.Is(TypeKind::INTEGER)) return integer;
    return type.Is(TypeKind::DOUBLE) ? number : wide;
}

} // namespace

using ast::Operation;
using ast::Statement;
using ast::StatementKind;

StatementCompiler::Flow StatementCompiler::CompileIf(const Statement& statement) {
    Label end;
    Flow flow = Flow::ENDS;
    for (const ast::Branch& branch : statement.branches) {
        Label otherwise;
        NodePtr condition = checker_.CheckCondition(*branch.condition);
        if (Generating()) generator_.Branch(*condition, otherwise, false);
        Flow branchFlow = CompileBlock(branch.body);
        if (branchFlow == Flow::CONTINUES) flow = Flow::CONTINUES;
        bool isLast = &branch == &statement.branches.back() && !statement.hasElse;
        if (branchFlow == Flow::CONTINUES && !isLast) generator_.Jump(Opcode::JUMP, 0, end);
        generator_.Bind(otherwise);
    }
    if (!statement.hasElse || CompileBlock(statement.elseBody) == Flow::CONTINUES) flow = Flow::CONTINUES;
    generator_.Bind(end);
    return flow;
}

NodePtr StatementCompiler::CaseCondition(const ast::CaseTest& test, const Node& selector, uint16_t reg) {
    auto compare = [&](Operation operation, const ast::Expression& side) {
        NodePtr value = checker_.Check(side);
        return checker_.Binary(operation, RegisterNode(reg, selector.type, side.span), std::move(value), side.span);
    };
    if (test.upper == nullptr) return compare(test.operation, *test.value);
    NodePtr lower = compare(Operation::GREATER_EQUAL, *test.value);
    return checker_.Binary(Operation::AND, std::move(lower), compare(Operation::LESS_EQUAL, *test.upper),
                           test.value->span);
}

StatementCompiler::Flow StatementCompiler::CompileSelect(const Statement& statement) {
    NodePtr selector = checker_.Check(*statement.value);
    if (selector->IsInvalid()) selector = InvalidNode(statement.value->span);
    OpenScope();
    uint16_t reg = 0;
    if (Generating()) reg = Hidden(*selector);
    Label end;
    Flow flow = Flow::ENDS;
    for (const ast::Branch& branch : statement.branches) {
        Label body;
        Label otherwise;
        for (const ast::CaseTest& test : branch.tests) {
            NodePtr condition = CaseCondition(test, *selector, reg);
            if (!Generating()) continue;
            bool isLast = &test == &branch.tests.back();
            generator_.Branch(*condition, isLast ? otherwise : body, !isLast);
        }
        generator_.Bind(body);
        Flow branchFlow = CompileBlock(branch.body);
        if (branchFlow == Flow::CONTINUES) {
            flow = Flow::CONTINUES;
            generator_.Jump(Opcode::JUMP, 0, end);
        }
        generator_.Bind(otherwise);
    }
    if (!statement.hasElse || CompileBlock(statement.elseBody) == Flow::CONTINUES) flow = Flow::CONTINUES;
    generator_.Bind(end);
    CloseScope(flow);
    return flow;
}

// Loops

StatementCompiler::Flow StatementCompiler::CompileLoopBody(const Statement& statement, Label& exit, Label& next,
                                                           bool& hasExit) {
    ast::LoopKind kind = statement.kind == StatementKind::WHILE ? ast::LoopKind::WHILE
                         : statement.kind == StatementKind::DO  ? ast::LoopKind::DO
                                                                : ast::LoopKind::FOR;
    surroundings_.push_back(
        {.kind = Surrounding::LOOP, .loop = kind, .exit = &exit, .next = &next, .hasExit = &hasExit});
    Flow flow = CompileBlock(statement.body);
    surroundings_.pop_back();
    generator_.SetPlace(statement.endSpan);
    return flow;
}

StatementCompiler::Flow StatementCompiler::CompileWith(const Statement& statement) {
    OpenScope();
    NodePtr object = checker_.Check(*statement.value);
    const uint16_t reg = Generating() ? Hidden(*object) : uint16_t{0};
    context_.withObjects.emplace_back(reg, object->type);
    Flow flow = CompileBlock(statement.body);
    context_.withObjects.pop_back();
    CloseScope(flow);
    return flow;
}

StatementCompiler::Flow StatementCompiler::CompileWhile(const Statement& statement) {
    Label next;
    Label exit;
    bool hasExit = false;
    NodePtr condition = checker_.CheckCondition(*statement.value);
    generator_.Bind(next);
    if (Generating()) generator_.Branch(*condition, exit, false);
    CompileLoopBody(statement, exit, next, hasExit);
    generator_.Jump(Opcode::JUMP_BACK, 0, next);
    generator_.Bind(exit);
    bool isEndless = condition->IsConstant() && condition->type.Is(TypeKind::BOOLEAN)
                     && std::get<bool>(condition->constant) && !hasExit;
    return isEndless ? Flow::ENDS : Flow::CONTINUES;
}

StatementCompiler::Flow StatementCompiler::CompileDo(const Statement& statement) {
    Label start;
    Label next;
    Label exit;
    bool hasExit = false;
    bool testsAtStart = statement.value != nullptr && !statement.testsAtEnd;
    NodePtr condition = statement.value != nullptr ? checker_.CheckCondition(*statement.value) : nullptr;
    generator_.Bind(start);
    if (testsAtStart) {
        generator_.Bind(next);
        if (Generating()) generator_.Branch(*condition, exit, statement.isUntil);
    }
    CompileLoopBody(statement, exit, next, hasExit);
    if (!testsAtStart) generator_.Bind(next);
    if (statement.testsAtEnd && Generating()) {
        generator_.SetPlace(statement.value->span);
        generator_.Branch(*condition, exit, statement.isUntil);
    }
    generator_.Jump(Opcode::JUMP_BACK, 0, start);
    generator_.Bind(exit);
    return statement.value == nullptr && !hasExit ? Flow::ENDS : Flow::CONTINUES;
}

// The variable of a For: declared by it, or one that exists.
NodePtr StatementCompiler::LoopVariable(const Statement& statement) {
    if (statement.type.name.empty()) {
        NodePtr variable = checker_.CheckVariable(statement.name, statement.nameSpan);
        if (variable != nullptr) {
            if (variable->variable != nullptr)
                environment_.NoteUse(statement.nextSpan, statement.name, variable->variable->span);
            return variable;
        }
        const bool isEach = statement.kind == StatementKind::FOR_EACH;
        diagnostics_.Error(statement.nameSpan, "unknown variable \"" + statement.name + "\" (declare it with \"For "
                                                   + (isEach ? "Each " : "") + statement.name
                                                   + (isEach ? " As … In …\")" : " As Integer = …\")"));
        return InvalidNode(statement.nameSpan);
    }
    ValueType type = checker_.ResolveType(statement.type);
    if (checker_.FindLocal(statement.name) != nullptr) {
        diagnostics_.Error(statement.nameSpan, "\"" + statement.name + "\" is declared already");
    }
    VariableSymbol* symbol = Declare(statement.name, statement.nameSpan, type);
    environment_.NoteUse(statement.nextSpan, statement.name, symbol->span);
    symbol->isLoopVariable = true;
    symbol->slot = generator_.NewRegister();
    auto reg = static_cast<uint16_t>(symbol->slot);
    generator_.Emit(Opcode::LOAD_NIL, reg);
    Hold(reg, type);
    return type.Is(TypeKind::INVALID) ? InvalidNode(statement.nameSpan) : VariableNode(*symbol, statement.nameSpan);
}

StatementCompiler::Flow StatementCompiler::CompileFor(const Statement& statement) {
    OpenScope();
    // The bounds are computed before the variable is known.
    NodePtr from = checker_.Check(*statement.value);
    NodePtr to = checker_.Check(*statement.limit);
    NodePtr step = statement.step ? checker_.Check(*statement.step) : ConstantNode(1, statement.span);
    NodePtr variable = LoopVariable(statement);
    Label start;
    Label next;
    Label exit;
    bool hasExit = false;
    if (!variable->IsInvalid() && !variable->type.IsNumber()) {
        diagnostics_.Error(statement.nameSpan, "the variable of a For must be a number, not " + variable->type.Text());
        variable = InvalidNode(statement.nameSpan);
    }
    const ValueType type = variable->type;
    from = checker_.Convert(std::move(from), type);
    to = checker_.Convert(std::move(to), type);
    step = checker_.Convert(std::move(step), type);
    if (!step->IsInvalid() && step->IsConstant() && IsZero(step->constant))
        diagnostics_.Error(step->span, "the step must not be 0");

    uint16_t counter = 0;
    uint16_t limit = 0;
    uint16_t stride = 0;
    // A variable in a register counts itself; any other is set anew for each turn.
    bool isRegister =
        variable->kind == NodeKind::VARIABLE && !variable->variable->isGlobal && !variable->variable->isByRef;
    if (Generating()) {
        counter = Hidden(*from);
        limit = Hidden(*to);
        stride = Hidden(*step);
        if (statement.isDescending) {
            generator_.Emit(NegationOf(type), stride, stride);
        }
        if (isRegister) {
            generator_.Emit(Opcode::MOVE, variable->variable->slot, counter);
            counter = static_cast<uint16_t>(variable->variable->slot);
        }
        generator_.Emit(ForOpcode(type, Opcode::FOR_TEST_INTEGER, Opcode::FOR_TEST_DOUBLE, Opcode::FOR_TEST_WIDE),
                        counter, limit, stride);
        generator_.Jump(Opcode::JUMP, 0, exit);
        generator_.Bind(start);
        if (!isRegister) generator_.Assign(*variable, *RegisterNode(counter, type, statement.nameSpan));
    }
    CompileLoopBody(statement, exit, next, hasExit);
    generator_.Bind(next);
    if (Generating()) {
        if (!isRegister) generator_.GenerateInto(*variable, counter);
        const bool isByOne = type.Is(TypeKind::INTEGER) && !statement.isDescending && step->IsConstant()
                             && std::get<int32_t>(step->constant) == 1;
        Opcode onward = isByOne ? Opcode::FOR_NEXT_ONE : Opcode::FOR_NEXT_INTEGER;
        generator_.Emit(ForOpcode(type, onward, Opcode::FOR_NEXT_DOUBLE, Opcode::FOR_NEXT_WIDE), counter, limit,
                        stride);
        generator_.Jump(Opcode::JUMP_BACK, 0, start);
        generator_.Bind(exit);
    }
    CloseScope(Flow::CONTINUES);
    return Flow::CONTINUES;
}

StatementCompiler::Flow StatementCompiler::CompileForEach(const Statement& statement) {
    OpenScope();
    NodePtr list = checker_.Check(*statement.value);
    uint16_t listRegister = 0;
    uint16_t index = 0;
    uint16_t last = 0;
    if (Generating()) {
        listRegister = Hidden(*list);
        index = HiddenNil(INTEGER_TYPE);
        last = HiddenNil(INTEGER_TYPE);
        generator_.EmitLong(Opcode::LOAD_INTEGER, index, -1);
    }
    NodePtr variable = LoopVariable(statement);

    auto [count, item] = checker_.CheckItems(*list, listRegister, index);
    bool isNarrower = item != nullptr && item->type.Is(TypeKind::OBJECT) && variable->type.Is(TypeKind::OBJECT)
                      && variable->type.cls != item->type.cls && variable->type.cls->IsA(item->type.cls);
    if (isNarrower) {
        diagnostics_.Error(statement.nameSpan, "the items are " + item->type.Text()
                                                   + " (let the variable be one, and use " + variable->type.Text() + "("
                                                   + statement.name + ") in the loop)");
        item = InvalidNode(statement.nameSpan);
    }
    if (item != nullptr) item = checker_.Convert(std::move(item), variable->type);

    Label next;
    Label exit;
    bool hasExit = false;
    // An object is asked once, so that a loop may delete what it walks over; an array may grow.
    if (Generating() && count != nullptr) {
        generator_.SetPlace(statement.span);
        generator_.GenerateInto(*count, last);
    }
    generator_.Bind(next);
    if (Generating()) {
        generator_.SetPlace(statement.span);
        generator_.Emit(Opcode::ADD_CONSTANT, index, index, 1);
        if (count == nullptr) {
            generator_.Emit(Opcode::ARRAY_BOUND, last, listRegister);
            generator_.Emit(Opcode::TEST_LESS_EQUAL, index, last);
        } else {
            generator_.Emit(Opcode::TEST_LESS, index, last);
        }
        generator_.Jump(Opcode::JUMP, 0, exit);
        generator_.Assign(*variable, *item);
    }
    CompileLoopBody(statement, exit, next, hasExit);
    generator_.Jump(Opcode::JUMP_BACK, 0, next);
    generator_.Bind(exit);
    CloseScope(Flow::CONTINUES);
    return Flow::CONTINUES;
}

// Exceptions

void StatementCompiler::CompileCatches(const Statement& statement, uint16_t exception, Label& end, bool& continues) {
    const ValueType anyObject{TypeKind::OBJECT, TypeKind::INVALID, nullptr};
    for (const ast::Branch& branch : statement.branches) {
        ValueType type = checker_.CaughtType(branch);
        Label otherwise;
        int32_t pending = generator_.BeginLifetime(exception, anyObject);
        if (Generating()) {
            generator_.SetPlace(branch.span);
            uint16_t test = generator_.NewRegister();
            generator_.Emit(Opcode::IS_A, test, exception, environment_.ClassIndex(type.cls));
            generator_.Jump(Opcode::JUMP_UNLESS, test, otherwise);
        }
        generator_.EndLifetime(pending);
        OpenScope();
        uint16_t reg = generator_.NewRegister();
        if (!branch.name.empty()) {
            if (checker_.FindLocal(branch.name) != nullptr) {
                diagnostics_.Error(branch.nameSpan, "\"" + branch.name + "\" is declared already");
            }
            VariableSymbol* variable = Declare(branch.name, branch.nameSpan, type);
            variable->isLoopVariable = true;
            variable->slot = reg;
        }
        generator_.Emit(Opcode::MOVE, reg, exception);
        Hold(reg, anyObject);
        Flow flow = CompileStatements(branch.body);
        CloseScope(flow);
        if (flow == Flow::CONTINUES) {
            continues = true;
            generator_.Jump(Opcode::JUMP, 0, end);
        }
        generator_.Bind(otherwise);
    }
    generator_.Emit(Opcode::RAISE_AGAIN, exception);
}

StatementCompiler::Flow StatementCompiler::CompileTry(const Statement& statement) {
    const ValueType anyObject{TypeKind::OBJECT, TypeKind::INVALID, nullptr};
    OpenScope();
    Label finally;
    Label afterCatches;
    Label end;
    uint16_t back = 0;
    uint16_t exception = 0;
    if (statement.hasElse) {
        exception = HiddenNil(anyObject);
        uint16_t result = HiddenNil(NO_TYPE);
        back = HiddenNil(NO_TYPE);
        // Both lie fallow unless an exception or a Return is on its way through the Finally block.
        surroundings_.push_back({.kind = Surrounding::FINALLY, .finally = &finally, .back = back, .result = result});
    }
    int32_t resultLifetime = statement.hasElse ? generator_.BeginLifetime(surroundings_.back().result, result_) : -1;

    uint32_t bodyStart = generator_.Position();
    bool continues = CompileBlock(statement.body) == Flow::CONTINUES;
    uint32_t bodyEnd = generator_.Position();
    generator_.Jump(Opcode::JUMP, 0, afterCatches);
    if (!statement.branches.empty()) {
        uint16_t caught = generator_.NewRegister();
        generator_.SetVariableTop();
        code_.handlers.push_back({bodyStart, bodyEnd, generator_.Position(), caught});
        CompileCatches(statement, caught, afterCatches, continues);
    }
    uint32_t catchesEnd = generator_.Position();
    generator_.Bind(afterCatches);
    if (!statement.hasElse) {
        CloseScope(Flow::CONTINUES);
        return continues ? Flow::CONTINUES : Flow::ENDS;
    }

    surroundings_.pop_back();
    generator_.SetPlace(statement.endSpan);
    generator_.Jump(Opcode::CALL_FINALLY, back, finally);
    generator_.Jump(Opcode::JUMP, 0, end);
    code_.handlers.push_back({bodyStart, catchesEnd, generator_.Position(), exception});
    generator_.Jump(Opcode::CALL_FINALLY, back, finally);
    generator_.Emit(Opcode::RAISE_AGAIN, exception);
    generator_.Bind(finally);
    surroundings_.push_back({.kind = Surrounding::FINALLY_BODY});
    if (CompileBlock(statement.elseBody) == Flow::ENDS) continues = false;
    surroundings_.pop_back();
    generator_.Emit(Opcode::END_FINALLY, back);
    generator_.EndLifetime(resultLifetime);
    generator_.Bind(end);
    CloseScope(Flow::CONTINUES);
    return continues ? Flow::CONTINUES : Flow::ENDS;
}

} // namespace host::language
