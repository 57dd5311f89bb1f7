// The part of the statement compiler that frames functions: parameters, initial values, ends.
#include "host/language/statement_compiler.h"

#include <algorithm>

namespace host::language {

namespace {

bool CallsSuperConstructor(const ast::Expression* expression) {
    if (expression == nullptr) return false;
    bool isCall = expression->kind == ast::ExpressionKind::MEMBER
                  && expression->left->kind == ast::ExpressionKind::SUPER && SameName(expression->name, "Constructor");
    if (isCall) return true;
    return expression->kind == ast::ExpressionKind::CALL && CallsSuperConstructor(expression->left.get());
}

bool CallsSuperConstructor(const ast::Block& block) {
    return std::any_of(block.begin(), block.end(), [](const auto& statement) {
        bool inBranch = std::any_of(statement->branches.begin(), statement->branches.end(),
                                    [](const ast::Branch& branch) { return CallsSuperConstructor(branch.body); });
        return inBranch || CallsSuperConstructor(statement->value.get()) || CallsSuperConstructor(statement->body)
               || CallsSuperConstructor(statement->elseBody);
    });
}

} // namespace

void StatementCompiler::BeginFunction(const FunctionSymbol& function, uint32_t file) {
    code_.name = function.QualifiedName();
    code_.file = file;
    DescribeParameters(function, code_);
    result_ = function.result;
    if (function.owner != nullptr) {
        ValueType type{TypeKind::OBJECT, TypeKind::INVALID, function.owner};
        Hold(generator_.NewRegister(), type);
    }
    for (const ParameterSymbol& parameter : function.parameters) {
        if (checker_.FindLocal(parameter.name) != nullptr) {
            diagnostics_.Error(parameter.span, "\"" + parameter.name + "\" is declared already");
        }
        VariableSymbol* variable = Declare(parameter.name, parameter.span, parameter.type);
        variable->isParameter = true;
        variable->isByRef = parameter.isByRef;
        variable->slot = generator_.NewRegister();
        if (!parameter.isByRef) Hold(static_cast<uint16_t>(variable->slot), parameter.type);
    }
    generator_.SetVariableTop();
}

void StatementCompiler::CompileFunction(FunctionSymbol& function) {
    const ast::Function& definition = *function.definition;
    OpenScope();
    BeginFunction(function, function.file);
    generator_.SetPlace(definition.span);
    if (SameName(function.name, "Constructor") && function.owner != nullptr) CallInheritedConstructor(function);
    Flow flow = CompileStatements(definition.body);
    if (flow == Flow::CONTINUES && function.HasResult()) {
        diagnostics_.Warning(definition.endSpan, "\"" + function.name + "\" may end without a result");
    }
    if (flow == Flow::CONTINUES && Generating()) {
        generator_.SetPlace(definition.endSpan);
        Leave(0);
        if (function.HasResult()) {
            uint16_t reg = generator_.NewRegister();
            generator_.Emit(Opcode::LOAD_NIL, reg);
            generator_.Emit(Opcode::RETURN_VALUE, reg);
        } else {
            generator_.Emit(Opcode::RETURN);
        }
    }
    CloseScope(Flow::ENDS);
    Finish(definition.span);
}

void StatementCompiler::CallInheritedConstructor(const FunctionSymbol& function) {
    if (function.owner->super == nullptr || CallsSuperConstructor(function.definition->body)) return;
    NodePtr call = checker_.InheritedConstructor(function);
    if (call != nullptr && Generating()) generator_.GenerateEffect(*call);
}

void StatementCompiler::CompileProgram(const ast::Unit& unit) {
    code_.file = unit.file;
    context_.isTopLevel = true;
    OpenScope();
    Flow flow = CompileStatements(unit.statements);
    if (!options_.keepsVariables) {
        for (const auto& [key, variable] : environment_.variables) {
            // Those of an imported file are there for others too.
            if (variable->span.file == unit.file && !variable->isGlobal) WarnUnused(*variable);
        }
    }
    if (flow == Flow::CONTINUES && Generating()) {
        Leave(0);
        generator_.Emit(Opcode::RETURN);
    }
    CloseScope(Flow::ENDS);
    Finish({unit.file, 0, 1});
}

void StatementCompiler::CompileInitializer(ClassSymbol& cls) {
    OpenScope();
    BeginFunction(*cls.initializer, cls.file);
    code_.name = cls.name;
    if (NodePtr inherited = checker_.InheritedInitializer(cls); inherited != nullptr && Generating()) {
        generator_.GenerateEffect(*inherited);
    }
    for (PropertySymbol* field : cls.fields) {
        const Span& span = field->definition->span;
        CompileInitialValue(*field->definition, *checker_.PropertyNode(checker_.SelfNode(span), field, span));
    }
    if (Generating()) {
        Leave(0);
        generator_.Emit(Opcode::RETURN);
    }
    CloseScope(Flow::ENDS);
    Finish(cls.definition->span);
}

void StatementCompiler::CompileModuleVariables(ModuleSymbol& module) {
    code_.name = module.name;
    code_.file = module.file;
    OpenScope();
    for (const ast::Variable* definition : module.initialValues) {
        VariableSymbol& variable = *module.variables.at(FoldName(definition->name));
        CompileInitialValue(*definition, *VariableNode(variable, definition->span));
    }
    if (Generating()) {
        Leave(0);
        generator_.Emit(Opcode::RETURN);
    }
    CloseScope(Flow::ENDS);
    Finish(module.span);
}

// Stores the initial value of a place that is zero so far.
void StatementCompiler::CompileInitialValue(const ast::Variable& definition, const Node& place) {
    if (place.type.Is(TypeKind::INVALID)) return;
    NodePtr bound = definition.bound ? checker_.CheckAs(*definition.bound, INTEGER_TYPE) : nullptr;
    NodePtr value = definition.value ? checker_.CheckAs(*definition.value, place.type) : nullptr;
    if (!Generating()) return;
    uint16_t top = generator_.Top();
    generator_.SetPlace(definition.span);
    if (value != nullptr) {
        generator_.Assign(place, *value);
    } else if (place.type.Is(TypeKind::ARRAY)) {
        // The array is made in a register of its own first.
        OpenScope();
        uint16_t reg = generator_.NewRegister();
        ProduceDefault(reg, place.type, bound.get());
        Hold(reg, place.type);
        generator_.Assign(place, *RegisterNode(reg, place.type, definition.span));
        CloseScope(Flow::CONTINUES);
    }
    generator_.SetTop(top);
}

// A variable that keeps its value from one call to the next; it gets its initial value when it is first passed.
void StatementCompiler::CompileStatic(const ast::Variable& definition) {
    if (context_.isTopLevel || checker_.FindLocal(definition.name) != nullptr) {
        diagnostics_.Error(definition.span, context_.isTopLevel ? "outside of functions variables stay anyway (use Dim)"
                                                                : "\"" + definition.name + "\" is declared already");
        return;
    }
    const ValueType type = checker_.ResolveType(definition);
    auto global = [&](VariableSymbol& variable, const ValueType& valueType) -> VariableSymbol& {
        variable.isGlobal = true;
        variable.type = valueType;
        variable.slot = environment_.NewGlobal(StorageOf(valueType));
        return variable;
    };
    VariableSymbol passed;
    auto isPassed = VariableNode(global(passed, BOOLEAN_TYPE), definition.span);
    VariableSymbol variable;
    NodePtr place = VariableNode(global(variable, type), definition.span);
    Label end;
    if (Generating()) generator_.Branch(*isPassed, end, true);
    CompileInitialValue(definition, *place);
    if (Generating()) {
        generator_.Assign(*isPassed, *ConstantNode(true, definition.span));
        generator_.Bind(end);
    }
    VariableSymbol& declared = *Declare(definition.name, definition.span, type);
    declared.isGlobal = true;
    declared.slot = variable.slot;
}

void StatementCompiler::Finish(const Span& end) {
    if (!generator_.Finish()) diagnostics_.Error(end, "this is too large: divide it into smaller functions");
}

} // namespace host::language
