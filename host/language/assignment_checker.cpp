// Checks what is assigned to.
#include "host/language/expression_checker.h"

#include <algorithm>

namespace host::language {

using ast::Expression;
using ast::ExpressionKind;

NodePtr ExpressionChecker::CheckVariable(const std::string& name, const Span& span) {
    VariableSymbol* variable = FindLocal(name);
    if (variable == nullptr && Here() != nullptr) variable = environment_.FindShared(Here(), name);
    if (variable == nullptr && context_.module != nullptr) {
        auto found = context_.module->variables.find(FoldName(name));
        if (found != context_.module->variables.end()) variable = found->second.get();
    }
    if (variable == nullptr) variable = environment_.FindVariable(name);
    return variable == nullptr ? nullptr : UseVariable(variable, span);
}

NodePtr ExpressionChecker::CheckPlace(const Expression& target) {
    NodePtr place;
    switch (target.kind) {
    case ExpressionKind::INVALID: return InvalidNode(target.span);
    case ExpressionKind::NAME: place = NamePlace(target); break;
    case ExpressionKind::MEMBER: place = MemberPlace(target); break;
    case ExpressionKind::CALL: place = ElementPlace(target); break;
    default: Error(target.span, "this cannot be assigned to"); return InvalidNode(target.span);
    }
    return place == nullptr ? CallPlace(target) : std::move(place);
}

NodePtr ExpressionChecker::NamePlace(const Expression& target) {
    bool isOwnProperty = FindLocal(target.name) == nullptr && context_.cls != nullptr
                         && environment_.FindProperty(context_.cls, target.name) != nullptr;
    NodePtr place = isOwnProperty ? nullptr : CheckVariable(target.name, target.span);
    return place == nullptr ? ResolveValue(target.name, target.span) : std::move(place);
}

NodePtr ExpressionChecker::MemberPlace(const Expression& target) {
    if (ModuleSymbol* module = QualifyingModule(*target.left)) {
        bool isFunction = module->functions.contains(FoldName(target.name));
        return isFunction ? nullptr : CheckModuleMember(*module, target, nullptr, Use::TARGET);
    }
    if (ClassSymbol* cls = QualifyingClass(*target.left)) {
        PropertySymbol* shared = environment_.FindSharedProperty(cls, target.name);
        return shared != nullptr ? SharedValue(*shared, target, Use::TARGET) : Check(target);
    }
    if (target.left->kind == ExpressionKind::SUPER) return Check(target);
    NodePtr object = Check(*target.left);
    if (object->IsInvalid()) return object;
    if (!object->type.Is(TypeKind::OBJECT)) return Check(target);
    if (PropertySymbol* property = environment_.FindProperty(object->type.cls, target.name)) {
        return PropertyNode(std::move(object), property, target.span);
    }
    return environment_.FindMethods(object->type.cls, target.name).empty() ? Check(target) : nullptr;
}

// An element of an array, unless the call is that of a method with a setter.
NodePtr ExpressionChecker::ElementPlace(const Expression& target) {
    const Expression& callee = *target.left;
    if (callee.kind == ExpressionKind::NAME) {
        return ResolveValue(callee.name, callee.span) == nullptr ? nullptr : Check(target);
    }
    if (callee.kind != ExpressionKind::MEMBER) return Check(target);
    if (ModuleSymbol* module = QualifyingModule(*callee.left)) {
        return module->functions.contains(FoldName(callee.name)) ? nullptr : Check(target);
    }
    if (QualifyingClass(*callee.left) != nullptr) return Check(target);
    NodePtr object = Check(*callee.left);
    if (object->IsInvalid()) return object;
    bool isElement = object->type.Is(TypeKind::OBJECT)
                     && environment_.FindProperty(object->type.cls, callee.name) != nullptr
                     && environment_.FindMethods(object->type.cls, callee.name).empty();
    return isElement ? Check(target) : nullptr;
}

NodePtr ExpressionChecker::CallPlace(const Expression& target) {
    bool hasArguments = target.kind == ExpressionKind::CALL;
    const Expression& callee = hasArguments ? *target.left : target;
    auto arguments = hasArguments ? CheckArguments(target) : std::vector<NodePtr>();
    std::vector<FunctionSymbol*> functions;
    NodePtr object;
    if (callee.kind == ExpressionKind::NAME) {
        bool onSelf = false;
        functions = ResolveFunctions(callee.name, onSelf);
        if (functions.empty()) {
            return UnknownName(callee, hasArguments ? "" : " (\"Dim " + callee.name + " As …\" declares a variable)");
        }
        if (onSelf) object = SelfNode(callee.span);
    } else if (ModuleSymbol* module = QualifyingModule(*callee.left)) {
        for (const auto& function : module->functions[FoldName(callee.name)]) functions.push_back(function.get());
    } else {
        object = Check(*callee.left);
        if (object->IsInvalid()) return object;
        if (object->type.Is(TypeKind::OBJECT)) functions = environment_.FindMethods(object->type.cls, callee.name);
        if (functions.empty() && object->type.Is(TypeKind::OBJECT)) return UnknownMember(object->type, callee);
    }
    bool isAssignable = std::any_of(functions.begin(), functions.end(),
                                    [](const FunctionSymbol* function) { return function->IsAssignable(); });
    if (!isAssignable) {
        const bool isResult = !functions.empty() && functions[0] == context_.function && functions[0]->HasResult();
        Error(functions.empty() ? target.span : callee.nameSpan,
              functions.empty()
                  ? "this cannot be assigned to"
                  : "\"" + functions[0]->name + "\" cannot be assigned to" + (isResult ? " (use Return)" : ""));
        return InvalidNode(target.span);
    }
    return Call(std::move(object), functions, std::move(arguments), target.span, callee.nameSpan, Use::TARGET);
}

NodePtr ExpressionChecker::CheckCompound(const ast::Statement& statement, const Node& place, NodePtr value) {
    if (place.IsInvalid() || value->IsInvalid()) return InvalidNode(statement.span);
    if (place.property != nullptr && !place.property->isReadable) {
        Error(statement.target->span, "\"" + place.property->name + "\" can only be set");
        return InvalidNode(statement.span);
    }
    return Binary(*statement.operation, CopyNode(place), std::move(value), statement.operationSpan);
}

bool ExpressionChecker::CheckStore(const Expression& target, Node& place, NodePtr& value) {
    if (place.IsInvalid() || value->IsInvalid()) return false;
    if (place.kind == NodeKind::CALL && place.function->IsAssignable()) {
        place.arguments.push_back(Convert(std::move(value), place.function->result));
        place.type = NO_TYPE;
        return !place.arguments.back()->IsInvalid();
    }
    if (place.kind == NodeKind::CONSTANT) {
        Error(target.span, "a constant cannot be assigned to");
        return false;
    }
    bool isPlace = place.kind == NodeKind::VARIABLE || place.kind == NodeKind::FIELD || place.kind == NodeKind::PROPERTY
                   || place.kind == NodeKind::ELEMENT;
    if (!isPlace) {
        Error(target.span, "this cannot be assigned to");
        return false;
    }
    if (place.property != nullptr && !place.property->isWritable) {
        Error(target.kind == ExpressionKind::MEMBER ? target.nameSpan : target.span,
              "\"" + place.property->name + "\" can only be read");
        return false;
    }
    value = Convert(std::move(value), place.type);
    if (value->IsInvalid()) return false;
    if (place.property != nullptr && place.property->setter != nullptr) {
        place.kind = NodeKind::CALL;
        place.function = place.property->setter;
        place.type = NO_TYPE;
        place.arguments.push_back(std::move(value));
    }
    return true;
}

} // namespace host::language
