// Checks what statements need beyond the expressions written in them.
#include "host/language/expression_checker.h"

#include <algorithm>

namespace host::language {

NodePtr ExpressionChecker::InheritedConstructor(const FunctionSymbol& constructor) {
    auto inherited = environment_.FindConstructors(constructor.owner->super);
    if (inherited.empty()) return nullptr;
    auto found = std::find_if(inherited.begin(), inherited.end(),
                              [](const FunctionSymbol* candidate) { return candidate->RequiredArguments() == 0; });
    const Span& span = constructor.definition->span;
    if (found == inherited.end()) {
        Error(constructor.definition->declaration.span,
              "this constructor must call \"Super.Constructor\": " + constructor.owner->super->name
                  + " cannot be made without arguments");
        return InvalidNode(span);
    }
    if (!CheckAccess(**found, constructor.definition->declaration.span)) return InvalidNode(span);
    auto call = MakeNode(NodeKind::CALL, NO_TYPE, span);
    call->function = *found;
    call->isSuper = true;
    call->left = SelfNode(span);
    for (const ParameterSymbol& parameter : call->function->parameters) {
        call->arguments.push_back(Convert(ConstantNode(*parameter.defaultValue, span), parameter.type));
    }
    return call;
}

NodePtr ExpressionChecker::InheritedInitializer(const ClassSymbol& cls) {
    const ClassSymbol* inherited = cls.super;
    while (inherited != nullptr && inherited->initializer == nullptr) inherited = inherited->super;
    if (inherited == nullptr) return nullptr;
    auto call = MakeNode(NodeKind::CALL, NO_TYPE, cls.definition->span);
    call->function = inherited->initializer.get();
    call->left = SelfNode(call->span);
    return call;
}

ExpressionChecker::Items ExpressionChecker::CheckItems(const Node& list, uint16_t listRegister, uint16_t index) {
    const ValueType type = list.type;
    const Span& span = list.span;
    Items items;
    if (type.Is(TypeKind::ARRAY)) {
        items.item = MakeNode(NodeKind::ELEMENT, type.Element(), span);
        items.item->left = RegisterNode(listRegister, type, span);
        items.item->right = RegisterNode(index, INTEGER_TYPE, span);
        return items;
    }
    if (list.IsInvalid()) return items;
    if (type.Is(TypeKind::OBJECT)) {
        items.count = CallMember(RegisterNode(listRegister, type, span), "Count", {}, span);
        if (items.count == nullptr)
            items.count = CallMember(RegisterNode(listRegister, type, span), "Length", {}, span);
        std::vector<NodePtr> arguments;
        arguments.push_back(RegisterNode(index, INTEGER_TYPE, span));
        items.item = CallMember(RegisterNode(listRegister, type, span), "Item", std::move(arguments), span);
    }
    bool isList = items.item != nullptr && items.count != nullptr && items.count->type.Is(TypeKind::INTEGER);
    if (isList) return items;
    Error(span, "For Each needs an array, or an object with Count and Item, not " + type.Text());
    return {};
}

bool ExpressionChecker::IsException(const ValueType& type) {
    ClassSymbol* base = environment_.FindClass("RuntimeException");
    return type.Is(TypeKind::OBJECT) && base != nullptr && type.cls->IsA(base);
}

ValueType ExpressionChecker::CaughtType(const ast::Branch& branch) {
    TypeName name = branch.type;
    if (name.name.empty()) name = {.name = "RuntimeException", .span = branch.span};
    ValueType type = ResolveType(name);
    if (!IsException(type) && !type.Is(TypeKind::INVALID)) {
        Error(name.span, "only a RuntimeException can be caught, not " + type.Text());
    }
    return type;
}

} // namespace host::language
