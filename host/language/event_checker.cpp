// Checks events that are raised, inherited and attached, and delegates.
#include "host/language/expression_checker.h"
#include "host/language/hints.h"

#include <algorithm>

namespace host::language {

using ast::Expression;
using ast::ExpressionKind;

NodePtr ExpressionChecker::CheckRaise(const Expression& expression, Use use) {
    auto arguments = CheckArguments(expression);
    EventSymbol* event = context_.cls != nullptr ? environment_.FindEvent(context_.cls, expression.name) : nullptr;
    if (event == nullptr) {
        Error(expression.nameSpan, context_.cls == nullptr
                                       ? "events are raised by the methods of their class"
                                       : context_.cls->name + " has no event \"" + expression.name + "\""
                                             + Suggestion(expression.name, environment_.EventNames(context_.cls)));
        return InvalidNode(expression.span);
    }
    if (!event->signature.owner->IsProgram()) {
        Error(expression.nameSpan, "the event \"" + event->name + "\" is raised by " + event->signature.owner->name);
        return InvalidNode(expression.span);
    }
    NodePtr node = Call(SelfNode(expression.span), {&event->signature}, std::move(arguments), expression.span,
                        expression.nameSpan, use);
    if (node->kind == NodeKind::INVALID) return node;
    node->kind = NodeKind::RAISE_EVENT;
    node->event = event;
    return node;
}

NodePtr ExpressionChecker::CheckInheritedHandler(EventSymbol& event, std::vector<NodePtr> arguments,
                                                 const Expression& member, const Span& span, Use use) {
    for (const ClassSymbol* level = context_.cls->super; level != nullptr; level = level->super) {
        auto found = std::find(level->handledEvents.begin(), level->handledEvents.end(), &event);
        if (found == level->handledEvents.end()) continue;
        FunctionSymbol* handler = level->handlers[static_cast<size_t>(found - level->handledEvents.begin())].get();
        NodePtr node = Call(SelfNode(span), {handler}, std::move(arguments), span, member.nameSpan, use);
        node->isSuper = true;
        return node;
    }
    // No superclass handles the event: then nothing happens, and its result is what it is without a handler.
    NodePtr node = Call(SelfNode(span), {&event.signature}, std::move(arguments), span, member.nameSpan, use);
    if (node->kind == NodeKind::INVALID) return node;
    return MakeNode(NodeKind::CONSTANT, event.signature.result, span);
}

NodePtr ExpressionChecker::CheckAddress(const Expression& expression) {
    const Expression& name = *expression.left;
    auto node = MakeNode(NodeKind::ADDRESS_OF, {TypeKind::ADDRESS}, expression.span);
    if (name.kind == ExpressionKind::NAME) {
        bool onSelf = false;
        node->overloads = ResolveFunctions(name.name, onSelf);
        if (onSelf) node->left = SelfNode(name.span);
        if (node->overloads.empty()) return UnknownName(name);
    } else if (name.kind == ExpressionKind::MEMBER && QualifyingModule(*name.left) != nullptr) {
        ModuleSymbol* module = QualifyingModule(*name.left);
        auto found = module->functions.find(FoldName(name.name));
        if (found == module->functions.end()) return CheckModuleMember(*module, name, nullptr, Use::VALUE);
        for (const auto& function : found->second) node->overloads.push_back(function.get());
    } else if (ClassSymbol* cls = name.kind == ExpressionKind::MEMBER ? QualifyingClass(*name.left) : nullptr) {
        node->overloads = environment_.FindSharedFunctions(cls, name.name);
    } else if (name.kind == ExpressionKind::MEMBER && name.left->kind != ExpressionKind::SUPER) {
        node->left = Check(*name.left);
        if (node->left->IsInvalid()) return InvalidNode(expression.span);
        bool isObject = node->left->type.Is(TypeKind::OBJECT);
        if (isObject) node->overloads = environment_.FindMethods(node->left->type.cls, name.name);
        if (isObject && node->overloads.empty()) return UnknownMember(node->left->type, name);
    }
    if (!node->overloads.empty()) return node;
    if (name.kind != ExpressionKind::INVALID) Error(name.span, "\"AddressOf\" needs the name of a function or method");
    return InvalidNode(expression.span);
}

NodePtr ExpressionChecker::BindAddress(NodePtr address, const ValueType& type) {
    bool isDelegate = type.Is(TypeKind::OBJECT) && type.cls->delegate != nullptr;
    if (!isDelegate || address->kind != NodeKind::ADDRESS_OF) {
        Error(address->span, "the address of a function fits only where a delegate is wanted, not " + type.Text());
        return InvalidNode(address->span);
    }
    const FunctionSymbol& wanted = *type.cls->delegate;
    auto found =
        std::find_if(address->overloads.begin(), address->overloads.end(), [&](const FunctionSymbol* function) {
            return SameParameters(*function, wanted) && function->result == wanted.result
                   && function->native == nullptr;
        });
    if (found == address->overloads.end()) {
        const FunctionSymbol& first = *address->overloads[0];
        Error(address->span, first.native != nullptr
                                 ? "\"" + first.name + "\" has no address: only functions and methods of the program do"
                                 : first.Text() + " does not fit " + wanted.Text());
        return InvalidNode(address->span);
    }
    if (!CheckAccess(**found, address->span)) return InvalidNode(address->span);
    address->kind = NodeKind::DELEGATE;
    address->type = type;
    address->cls = type.cls;
    address->function = *found;
    return address;
}

NodePtr ExpressionChecker::CallDelegate(NodePtr delegate, const Expression& call, Use use) {
    FunctionSymbol* signature = delegate->type.cls->delegate.get();
    const Span nameSpan = delegate->span;
    NodePtr node = Call(std::move(delegate), {signature}, CheckArguments(call), call.span, nameSpan, use);
    if (node->kind != NodeKind::INVALID) node->kind = NodeKind::DELEGATE_CALL;
    return node;
}

NodePtr ExpressionChecker::CheckHandler(const ast::Statement& statement) {
    const Expression& target = *statement.target;
    NodePtr value = Check(*statement.value);
    if (target.kind != ExpressionKind::MEMBER) {
        if (target.kind != ExpressionKind::INVALID) Error(target.span, "expected an event, as in \"object.Event\"");
        return InvalidNode(target.span);
    }
    NodePtr object = Check(*target.left);
    if (object->IsInvalid() || value->IsInvalid()) return InvalidNode(target.span);
    EventSymbol* event =
        object->type.Is(TypeKind::OBJECT) ? environment_.FindEvent(object->type.cls, target.name) : nullptr;
    if (event == nullptr) {
        std::vector<std::string> names;
        if (object->type.Is(TypeKind::OBJECT)) names = environment_.EventNames(object->type.cls);
        Error(target.nameSpan,
              object->type.Text() + " has no event \"" + target.name + "\"" + Suggestion(target.name, names));
        return InvalidNode(target.span);
    }
    // A delegate of any type will do that takes what the event passes.
    const ValueType& type = value->type;
    bool fits = type.Is(TypeKind::OBJECT) && type.cls->delegate != nullptr
                && SameParameters(*type.cls->delegate, event->signature)
                && type.cls->delegate->result == event->signature.result;
    if (!fits)
        value = Convert(std::move(value), {TypeKind::OBJECT, TypeKind::INVALID, environment_.DelegateFor(*event)});
    if (value->IsInvalid()) return value;
    auto node = MakeNode(NodeKind::HANDLER, NO_TYPE, statement.span);
    node->event = event;
    node->isRemoval = statement.isRemoval;
    node->left = std::move(object);
    node->right = std::move(value);
    return node;
}

} // namespace host::language
