// Makes the nodes of checked expressions.
#include "host/language/node.h"

#include <algorithm>

namespace host::language {

NodePtr MakeNode(NodeKind kind, const ValueType& type, const Span& span) {
    auto node = std::make_unique<Node>();
    node->kind = kind;
    node->type = type;
    node->span = span;
    return node;
}

NodePtr InvalidNode(const Span& span) { return MakeNode(NodeKind::INVALID, INVALID_TYPE, span); }

NodePtr ConstantNode(ConstantValue value, const Span& span) {
    auto node = MakeNode(NodeKind::CONSTANT, TypeOf(value), span);
    node->constant = std::move(value);
    return node;
}

NodePtr RegisterNode(uint16_t reg, const ValueType& type, const Span& span) {
    auto node = MakeNode(NodeKind::REGISTER, type, span);
    node->reg = reg;
    return node;
}

NodePtr VariableNode(VariableSymbol& variable, const Span& span) {
    auto node = MakeNode(NodeKind::VARIABLE, variable.type, span);
    node->variable = &variable;
    return node;
}

NodePtr CopyNode(const Node& node) {
    auto copy = MakeNode(node.kind, node.type, node.span);
    copy->conversion = node.conversion;
    copy->arrayOperation = node.arrayOperation;
    copy->operation = node.operation;
    copy->isSuper = node.isSuper;
    copy->isRemoval = node.isRemoval;
    copy->reg = node.reg;
    copy->constant = node.constant;
    copy->variable = node.variable;
    copy->property = node.property;
    copy->function = node.function;
    copy->event = node.event;
    copy->cls = node.cls;
    copy->overloads = node.overloads;
    if (node.left != nullptr) copy->left = CopyNode(*node.left);
    if (node.right != nullptr) copy->right = CopyNode(*node.right);
    for (const NodePtr& argument : node.arguments) copy->arguments.push_back(CopyNode(*argument));
    return copy;
}

bool CallsCode(const Node& node) {
    switch (node.kind) {
    case NodeKind::CALL:
    case NodeKind::DELEGATE_CALL:
    case NodeKind::RAISE_EVENT:
    case NodeKind::NEW:
    case NodeKind::PROPERTY: return true;
    default: break;
    }
    if (node.left != nullptr && CallsCode(*node.left)) return true;
    if (node.right != nullptr && CallsCode(*node.right)) return true;
    return std::any_of(node.arguments.begin(), node.arguments.end(),
                       [](const NodePtr& argument) { return CallsCode(*argument); });
}

} // namespace host::language
