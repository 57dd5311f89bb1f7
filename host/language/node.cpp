// Makes the nodes of checked expressions.
#include "host/language/node.h"

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

} // namespace host::language
