// The part of the expression checker that resolves what is assigned to.
#include "host/language/expression_checker.h"

#include <algorithm>

namespace host::language {

using ast::Expression;
using ast::ExpressionKind;

NodePtr ExpressionChecker::CheckVariable(const std::string& name, const Span& span) {
    VariableSymbol* variable = FindLocal(name);
    if (variable == nullptr && context_.module != nullptr) {
        auto found = context_.module->variables.find(LowerCase(name));
        if (found != context_.module->variables.end()) variable = found->second.get();
    }
    if (variable == nullptr) variable = environment_.FindVariable(name);
    if (variable == nullptr) return nullptr;
    return VariableNode(variable, span);
}

NodePtr ExpressionChecker::AssignToCall(const Expression& target, const Expression& value) {
    bool hasArguments = target.kind == ExpressionKind::CALL;
    const Expression& callee = hasArguments ? *target.left : target;
    auto arguments = hasArguments ? CheckArguments(target) : std::vector<NodePtr>();
    std::vector<FunctionSymbol*> functions;
    NodePtr object;
    if (callee.kind == ExpressionKind::NAME) {
        bool onSelf = false;
        functions = ResolveFunctions(callee.name, onSelf);
        if (onSelf) object = SelfNode(callee.span);
    } else if (callee.kind == ExpressionKind::MEMBER) {
        if (ModuleSymbol* module = QualifyingModule(*callee.left)) {
            auto found = module->functions.find(LowerCase(callee.name));
            if (found != module->functions.end()) {
                for (const auto& function : found->second) functions.push_back(function.get());
            }
        } else {
            object = Check(*callee.left);
            if (object->IsInvalid()) return Invalid(target.span);
            if (object->type.Is(TypeKind::OBJECT)) functions = environment_.FindMethods(object->type.cls, callee.name);
        }
    }
    NodePtr assigned = Check(value);
    if (assigned->IsInvalid()) return Invalid(target.span);
    if (functions.empty()) {
        if (callee.kind == ExpressionKind::NAME) return UnknownName(callee);
        if (object != nullptr && object->type.Is(TypeKind::OBJECT)) return UnknownMember(object->type, callee);
        Error(target.span, "this cannot be assigned to");
        return Invalid(target.span);
    }
    bool isAssignable = std::any_of(functions.begin(), functions.end(),
                                    [](const FunctionSymbol* function) { return function->IsAssignable(); });
    if (!isAssignable) {
        Error(callee.nameSpan, "\"" + functions[0]->name + "\" cannot be assigned to");
        return Invalid(target.span);
    }
    return Call(std::move(object), functions, std::move(arguments), Join(target.span, value.span), callee.nameSpan,
                Use::STATEMENT, std::move(assigned));
}

NodePtr ExpressionChecker::CheckTarget(const Expression& target, const Expression& value, NodePtr& converted) {
    NodePtr place;
    if (target.kind == ExpressionKind::INVALID) {
        Check(value);
        return Invalid(target.span);
    }
    if (target.kind == ExpressionKind::NAME) {
        bool isOwnProperty = FindLocal(target.name) == nullptr && context_.cls != nullptr
                             && environment_.FindProperty(context_.cls, target.name) != nullptr;
        if (!isOwnProperty) place = CheckVariable(target.name, target.span);
        if (place == nullptr) place = ResolveValue(target.name, target.span);
    } else if (target.kind == ExpressionKind::MEMBER) {
        if (ModuleSymbol* module = QualifyingModule(*target.left)) {
            std::string key = LowerCase(target.name);
            if (!module->functions.contains(key)) {
                place = CheckModuleMember(*module, target, nullptr, Use::VALUE);
            }
        } else if (QualifyingClass(*target.left) != nullptr) {
            place = Check(target);
        } else if (target.left->kind != ExpressionKind::SUPER) {
            NodePtr object = Check(*target.left);
            if (object->IsInvalid()) {
                Check(value);
                return Invalid(target.span);
            }
            PropertySymbol* property =
                object->type.Is(TypeKind::OBJECT) ? environment_.FindProperty(object->type.cls, target.name) : nullptr;
            if (property != nullptr) {
                place = PropertyNode(std::move(object), property, target.span);
            } else if (!object->type.Is(TypeKind::OBJECT)
                       || environment_.FindMethods(object->type.cls, target.name).empty()) {
                Check(value);
                return Check(target)->IsInvalid()
                           ? Invalid(target.span)
                           : (Error(target.span, "this cannot be assigned to"), Invalid(target.span));
            }
        }
    } else if (target.kind == ExpressionKind::CALL) {
        // An element of an array, unless the call is that of a method with a setter.
        const Expression& callee = *target.left;
        bool isElement = callee.kind != ExpressionKind::NAME && callee.kind != ExpressionKind::MEMBER;
        if (callee.kind == ExpressionKind::NAME) {
            NodePtr array = ResolveValue(callee.name, callee.span);
            isElement = array != nullptr;
        } else if (callee.kind == ExpressionKind::MEMBER && QualifyingModule(*callee.left) == nullptr) {
            size_t errors = diagnostics_.ErrorCount();
            NodePtr object = Check(*callee.left);
            if (diagnostics_.ErrorCount() > errors || object->IsInvalid()) {
                Check(value);
                return Invalid(target.span);
            }
            isElement = object->type.Is(TypeKind::OBJECT)
                        && environment_.FindProperty(object->type.cls, callee.name) != nullptr
                        && environment_.FindMethods(object->type.cls, callee.name).empty();
        } else if (callee.kind == ExpressionKind::MEMBER) {
            isElement = !QualifyingModule(*callee.left)->functions.contains(LowerCase(callee.name));
        }
        if (isElement) place = Check(target);
    } else {
        Check(value);
        Error(target.span, "this cannot be assigned to");
        return Invalid(target.span);
    }
    if (place == nullptr) return AssignToCall(target, value);

    converted = Check(value);
    if (place->IsInvalid() || converted->IsInvalid()) return Invalid(target.span);
    if (place->kind == NodeKind::CONSTANT) {
        Error(target.span, "a constant cannot be assigned to");
        return Invalid(target.span);
    }
    bool isPlace = place->kind == NodeKind::VARIABLE || place->kind == NodeKind::FIELD
                   || place->kind == NodeKind::PROPERTY || place->kind == NodeKind::ELEMENT;
    if (!isPlace) {
        Error(target.span, "this cannot be assigned to");
        return Invalid(target.span);
    }
    if (place->property != nullptr && !place->property->isWritable) {
        Error(target.kind == ExpressionKind::MEMBER ? target.nameSpan : target.span,
              "\"" + place->property->name + "\" can only be read");
        return Invalid(target.span);
    }
    converted = Convert(std::move(converted), place->type);
    return converted->IsInvalid() ? Invalid(target.span) : std::move(place);
}

} // namespace host::language
