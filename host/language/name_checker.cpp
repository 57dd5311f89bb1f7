// Finds what names stand for.
#include "host/language/expression_checker.h"
#include "host/language/hints.h"

namespace host::language {

using ast::Expression;

void ExpressionChecker::NoteType(const std::string& name, const Span& span) {
    if (!environment_.editor.notesUses) return;
    if (const ClassSymbol* cls = environment_.FindClass(name)) {
        if (cls->definition != nullptr) environment_.NoteUse(span, name, cls->definition->span);
    } else if (const ModuleSymbol* module = environment_.FindModule(name)) {
        environment_.NoteUse(span, name, module->span);
    }
}

ValueType ExpressionChecker::ResolveType(const TypeName& type) {
    NoteType(type.name, type.span);
    ValueType resolved = environment_.TypeNamed(type.name, type.isArray);
    if (resolved.Is(TypeKind::INVALID)) {
        std::vector<std::string> names = environment_.ClassNames();
        for (std::string& basic : BuiltInTypeNames()) names.push_back(std::move(basic));
        const std::string hint = TypeHint(type.name);
        Error(type.span,
              "there is no type \"" + type.name + "\"" + (hint.empty() ? Suggestion(type.name, names) : hint));
    }
    return resolved;
}

ValueType ExpressionChecker::ResolveType(const ast::Variable& variable) {
    bool isNew = variable.value != nullptr && variable.value->nameSpan.offset == variable.type.span.offset;
    return isNew ? environment_.TypeNamed(variable.type.name, variable.type.isArray) : ResolveType(variable.type);
}

void FunctionContext::AddLocal(VariableSymbol& variable) {
    scopes.back().push_back(&variable);
    locals[FoldName(variable.name)].push_back(&variable);
}

void FunctionContext::CloseScope() {
    for (const VariableSymbol* variable : scopes.back()) locals[FoldName(variable->name)].pop_back();
    scopes.pop_back();
    constantScopes.pop_back();
}

VariableSymbol* ExpressionChecker::FindLocal(std::string_view name) {
    if (context_.locals.empty()) return nullptr;
    auto found = context_.locals.find(FoldName(name));
    return found != context_.locals.end() && !found->second.empty() ? found->second.back() : nullptr;
}

bool ExpressionChecker::IsBeforeDeclaration(const VariableSymbol& variable) const {
    return context_.isTopLevel && !variable.isDeclared;
}

NodePtr ExpressionChecker::UseVariable(VariableSymbol* variable, const Span& span) {
    if (IsBeforeDeclaration(*variable)) {
        const std::string_view written = environment_.files[span.file]->Text(span);
        bool isSpelled = written.ends_with(variable->name);
        Error(span, "\"" + variable->name + "\" is used before its declaration"
                        + (isSpelled ? "" : " (names are the same in upper and lower case)"));
        return InvalidNode(span);
    }
    if (!CheckAccess(variable->name, variable->visibility, nullptr, variable->module, span)) return InvalidNode(span);
    // Statements keep their variables in registers unless a function uses them too.
    if (variable->isTopLevel && !context_.isTopLevel && !variable->isGlobal) {
        variable->isGlobal = true;
        variable->slot = environment_.NewGlobal(StorageOf(variable->type));
    }
    variable->isUsed = true;
    environment_.NoteUse(span, variable->name, variable->span);
    return VariableNode(*variable, span);
}

NodePtr ExpressionChecker::PropertyNode(NodePtr object, PropertySymbol* property, const Span& span) {
    if (!CheckAccess(property->name, property->visibility, property->owner, property->module, span))
        return InvalidNode(span);
    auto node = MakeNode(property->isField ? NodeKind::FIELD : NodeKind::PROPERTY, property->type, span);
    node->property = property;
    node->left = std::move(object);
    if (property->definition != nullptr) environment_.NoteUse(span, property->name, property->definition->span);
    if (property->type.Is(TypeKind::INVALID) && property->native != nullptr) {
        Error(span, "the type \"" + property->native->type.Text() + "\" of \"" + property->name + "\" is unknown");
    }
    return node;
}

NodePtr ExpressionChecker::SymbolValue(ConstantSymbol& constant, const Span& span) {
    if (!CheckAccess(constant.name, constant.visibility, constant.owner, constant.module, span))
        return InvalidNode(span);
    environment_.NoteUse(span, constant.name, constant.span);
    if (constant.expression != nullptr && !Evaluate(constant)) return InvalidNode(span);
    return constant.type.Is(TypeKind::INVALID) ? InvalidNode(span) : ConstantNode(constant.value, span);
}

bool ExpressionChecker::Evaluate(ConstantSymbol& constant) {
    if (constant.expression == nullptr) return !constant.type.Is(TypeKind::INVALID);
    if (constant.isBeingEvaluated) {
        Error(constant.span, "the constant \"" + constant.name + "\" depends on itself");
        return false;
    }
    constant.isBeingEvaluated = true;
    NodePtr node;
    if (constant.owner != nullptr || constant.module != nullptr) {
        FunctionContext context;
        context.cls = constant.owner;
        context.module = constant.module;
        node = ExpressionChecker(environment_, diagnostics_, context).Check(*constant.expression);
    } else {
        node = Check(*constant.expression);
    }
    constant.isBeingEvaluated = false;
    constant.expression = nullptr;
    constant.type = INVALID_TYPE;
    if (node->IsInvalid()) return false;
    if (!node->IsConstant() || node->type.Is(TypeKind::NIL)) {
        Error(node->span, "the value of a constant must be constant");
        return false;
    }
    constant.type = node->type;
    constant.value = node->constant;
    return true;
}

NodePtr ExpressionChecker::ResolveValue(std::string_view name, const Span& span) {
    if (VariableSymbol* variable = FindLocal(name)) return UseVariable(variable, span);
    for (auto scope = context_.constantScopes.rbegin(); scope != context_.constantScopes.rend(); ++scope) {
        for (ConstantSymbol* constant : *scope) {
            if (SameName(constant->name, name)) return SymbolValue(*constant, span);
        }
    }
    if (context_.cls != nullptr) {
        if (PropertySymbol* property = environment_.FindProperty(context_.cls, name)) {
            return PropertyNode(SelfNode(span), property, span);
        }
    }
    if (ClassSymbol* here = Here()) {
        if (ConstantSymbol* constant = environment_.FindConstant(here, name)) return SymbolValue(*constant, span);
        if (VariableSymbol* shared = environment_.FindShared(here, name)) return UseVariable(shared, span);
        if (PropertySymbol* shared = environment_.FindSharedProperty(here, name))
            return PropertyNode(nullptr, shared, span);
    }
    std::string key = FoldName(name);
    if (context_.module != nullptr) {
        auto variable = context_.module->variables.find(key);
        if (variable != context_.module->variables.end()) return UseVariable(variable->second.get(), span);
        auto constant = context_.module->constants.find(key);
        if (constant != context_.module->constants.end()) return SymbolValue(*constant->second, span);
        auto property = context_.module->properties.find(key);
        if (property != context_.module->properties.end()) return PropertyNode(nullptr, property->second.get(), span);
    }
    // Members come before what is known everywhere.
    bool isMethod =
        context_.cls != nullptr && !IsReserved(name) && !environment_.FindMethods(context_.cls, name).empty();
    bool isShared = Here() != nullptr && !environment_.FindSharedFunctions(Here(), name).empty();
    if (isMethod || isShared || (context_.module != nullptr && context_.module->functions.contains(key)))
        return nullptr;
    VariableSymbol* variable = environment_.FindVariable(name);
    // A name may be that of a class or function until a variable of that name is declared.
    bool isOther = variable != nullptr && IsBeforeDeclaration(*variable)
                   && (environment_.FindClass(name) != nullptr || environment_.FindModule(name) != nullptr
                       || !environment_.FindFunctions(name).empty());
    if (variable != nullptr && !isOther) return UseVariable(variable, span);
    if (ConstantSymbol* constant = environment_.FindConstant(name)) return SymbolValue(*constant, span);
    return nullptr;
}

std::vector<FunctionSymbol*> ExpressionChecker::ResolveFunctions(std::string_view name, bool& onSelf) {
    onSelf = false;
    // A constructor may call another of its class.
    bool inConstructor = context_.function != nullptr && SameName(context_.function->name, "Constructor");
    bool isCallable = !IsReserved(name) || (inConstructor && SameName(name, "Constructor"));
    if (context_.cls != nullptr && isCallable) {
        auto methods = IsReserved(name) ? environment_.FindConstructors(context_.cls)
                                        : environment_.FindMethods(context_.cls, name);
        if (!methods.empty()) {
            onSelf = true;
            return methods;
        }
    }
    if (ClassSymbol* here = Here()) {
        auto shared = environment_.FindSharedFunctions(here, name);
        if (!shared.empty()) return shared;
    } else if (context_.module != nullptr) {
        auto found = context_.module->functions.find(FoldName(name));
        if (found != context_.module->functions.end()) {
            std::vector<FunctionSymbol*> functions;
            for (const auto& function : found->second) functions.push_back(function.get());
            return functions;
        }
    }
    return environment_.FindFunctions(name);
}

NodePtr ExpressionChecker::UnknownName(const Expression& expression, const std::string& hint) {
    const std::string& name = expression.name;
    const Span& span = expression.nameSpan;
    bool needsObject =
        context_.cls == nullptr && Here() != nullptr
        && (environment_.FindProperty(Here(), name) != nullptr || !environment_.FindMethods(Here(), name).empty());
    if (needsObject) {
        Error(span, "\"" + name + "\" needs an object of class " + Here()->name);
    } else if (environment_.FindClass(name) != nullptr) {
        Error(span, "\"" + name + "\" is a class (use \"New " + name + "\" to make an object)");
    } else if (environment_.FindModule(name) != nullptr) {
        Error(span, "\"" + name + "\" is a module");
    } else if (const std::string known = NameHint(name); !known.empty()) {
        Error(span, "unknown name \"" + name + "\"" + known);
    } else {
        std::vector<std::string> names = environment_.GlobalNames();
        for (const auto& scope : context_.scopes) {
            for (const VariableSymbol* variable : scope) names.push_back(variable->name);
        }
        if (context_.cls != nullptr) {
            for (std::string& member : environment_.MemberNames(context_.cls)) names.push_back(std::move(member));
        }
        if (context_.module != nullptr) {
            for (std::string& member : environment_.MemberNames(*context_.module)) names.push_back(std::move(member));
        }
        for (std::string& cls : environment_.ClassNames()) names.push_back(std::move(cls));
        std::string suggestion = Suggestion(name, names);
        Error(span, "unknown name \"" + name + "\"" + (suggestion.empty() ? hint : suggestion));
    }
    return InvalidNode(expression.span);
}

NodePtr ExpressionChecker::CheckName(const Expression& expression, Use use) {
    if (NodePtr value = ResolveValue(expression.name, expression.span)) {
        bool isWriteOnly = value->property != nullptr && !value->property->isReadable;
        if (!isWriteOnly) return value;
        Error(expression.span, "\"" + expression.name + "\" can only be set");
        return InvalidNode(expression.span);
    }
    bool onSelf = false;
    auto functions = ResolveFunctions(expression.name, onSelf);
    if (functions.empty()) return UnknownName(expression);
    return Call(onSelf ? SelfNode(expression.span) : nullptr, functions, {}, expression.span, expression.nameSpan, use);
}

bool ExpressionChecker::IsInstanceName(const Expression& expression) {
    std::string_view name = expression.name;
    if (FindLocal(name) != nullptr) return true;
    const VariableSymbol* variable = environment_.FindVariable(name);
    if (variable != nullptr && !IsBeforeDeclaration(*variable)) return true;
    if (context_.cls != nullptr && environment_.FindProperty(context_.cls, name) != nullptr) return true;
    if (Here() != nullptr && environment_.FindShared(Here(), name) != nullptr) return true;
    if (Here() != nullptr && environment_.FindSharedProperty(Here(), name) != nullptr) return true;
    const ModuleSymbol* module = context_.module;
    const std::string key = FoldName(name);
    return module != nullptr && (module->variables.contains(key) || module->properties.contains(key));
}

} // namespace host::language
