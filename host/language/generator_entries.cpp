// The part of the generator that reads and writes entries of dictionaries.
#include "host/framework/dictionary.h"
#include "host/language/entries.h"
#include "host/language/generator.h"

namespace host::language {

namespace {

EntryAccess AccessOf(const Node& node) {
    bool isMethod = node.kind == NodeKind::CALL && node.left != nullptr && node.function->native != nullptr;
    return isMethod ? EntryAccessOf(node.function->native->function) : EntryAccess::NONE;
}

// What stands in a Variant, where it is known.
const Node& Content(const Node& node) {
    bool isBoxed = node.kind == NodeKind::CONVERT && node.conversion == Conversion::BOX;
    return isBoxed ? *node.left : node;
}

size_t KindNumber(const ValueType& type) { return static_cast<size_t>(KindOf(type.kind)); }

// Whether both answer the same when one is computed right after the other.
bool IsSame(const Node& a, const Node& b) {
    if (a.kind != b.kind || a.type != b.type) return false;
    switch (a.kind) {
    case NodeKind::SELF: return true;
    case NodeKind::CONSTANT: return a.constant == b.constant;
    case NodeKind::REGISTER: return a.reg == b.reg;
    case NodeKind::VARIABLE: return a.variable == b.variable;
    case NodeKind::FIELD: return a.property == b.property && a.property->getter == nullptr && IsSame(*a.left, *b.left);
    case NodeKind::ELEMENT: return IsSame(*a.left, *b.left) && IsSame(*a.right, *b.right);
    case NodeKind::CONVERT: return a.conversion == b.conversion && IsSame(*a.left, *b.left);
    default: return false;
    }
}

// A number that can be had earlier than it is wanted: nothing fails, nothing changes.
bool IsSteadyNumber(const Node& node) {
    bool isSteady =
        node.IsConstant() || node.kind == NodeKind::REGISTER || node.kind == NodeKind::VARIABLE
        || (node.kind == NodeKind::FIELD && node.property->getter == nullptr && node.left->kind == NodeKind::SELF);
    return isSteady && (node.type.Is(TypeKind::INTEGER) || node.type.Is(TypeKind::DOUBLE));
}

// d.Value(k) = d.Value(k) + n, or d.Lookup(k, m) + n
bool IsEntrySum(const Node& store) {
    const Node& sum = *store.arguments[1];
    if (sum.kind != NodeKind::BINARY || sum.operation != ast::Operation::ADD) return false;
    const Node& read = *sum.left;
    const EntryAccess access = AccessOf(read);
    bool reads = access == EntryAccess::VALUE || access == EntryAccess::LOOKUP;
    return reads && IsSame(*store.left, *read.left) && IsSame(*store.arguments[0], *read.arguments[0])
           && IsSteadyNumber(Content(*sum.right))
           && (access == EntryAccess::VALUE || IsSteadyNumber(Content(*read.arguments[1])));
}

} // namespace

// Computes a node once, for both that are the same.
Value Generator::GenerateOnce(NodePtr& node, NodePtr& same) {
    uint16_t reg = 0;
    if (InPlace(*node, reg)) return {reg, -1};
    Value value = Borrow(*node, true);
    same = RegisterNode(value.reg, node->type, same->span);
    node = RegisterNode(value.reg, node->type, node->span);
    return value;
}

// One access to the entry instead of two. What it does not do, because there is no such key or value, is done by the
// code for the two, behind it.
bool Generator::AddToEntry(const Node& node) {
    if (!IsEntrySum(node)) return false;
    NodePtr store = CopyNode(node);
    Node& sum = *store->arguments[1];
    Node& read = *sum.left;
    auto content = [](NodePtr& boxed) -> NodePtr& { return &Content(*boxed) == boxed.get() ? boxed : boxed->left; };
    NodePtr& keyNode = content(store->arguments[0]);
    NodePtr& addedNode = content(sum.right);
    NodePtr* otherwiseNode = read.arguments.size() == 2 ? &content(read.arguments[1]) : nullptr;

    Value dictionary = GenerateOnce(store->left, read.left);
    Value key = GenerateOnce(keyNode, content(read.arguments[0]));
    Value added = GenerateOnce(addedNode, addedNode);
    bool makesEntry = otherwiseNode != nullptr && (*otherwiseNode)->type.Is(TypeKind::INTEGER)
                      && addedNode->type.Is(TypeKind::INTEGER);
    uint16_t otherwise = makesEntry ? GenerateOnce(*otherwiseNode, *otherwiseNode).reg : NO_REGISTER;
    Label end;
    Emit(Opcode::ADD_TO_ENTRY, dictionary.reg, key.reg, added.reg);
    Emit(Opcode::OPERANDS, KindNumber(keyNode->type), KindNumber(addedNode->type), otherwise);
    Jump(Opcode::JUMP, 0, end);
    StoreEntry(*store);
    Bind(end);
    Release(key, keyNode->type);
    Release(dictionary, store->left->type);
    return true;
}

bool Generator::IsEntryAccess(const Node& node) { return AccessOf(node) != EntryAccess::NONE; }

void Generator::StoreEntry(const Node& node) {
    SetCallPlace(node);
    const uint32_t place = offset_;
    const Node& keyNode = Content(*node.arguments[0]);
    const Node& valueNode = Content(*node.arguments[1]);
    Value dictionary = Generate(*node.left);
    Value key = Borrow(keyNode, IsAtHand(valueNode));
    Value value = Generate(valueNode);
    offset_ = place;
    Emit(Opcode::SET_ENTRY, dictionary.reg, key.reg, value.reg);
    Emit(Opcode::OPERANDS, KindNumber(keyNode.type), KindNumber(valueNode.type));
    Release(value, valueNode.type);
    Release(key, keyNode.type);
    Release(dictionary, node.left->type);
}

// A call of a method that reads or writes an entry; its result is of `type`, Variant or another that a Variant is asked
// for.
Value Generator::ProduceEntry(const Node& node, const ValueType& type, uint16_t reg) {
    const EntryAccess access = AccessOf(node);
    if (access == EntryAccess::VALUE && node.arguments.size() == 2) {
        if (!AddToEntry(node)) StoreEntry(node);
        return {reg, -1};
    }
    SetCallPlace(node);
    const uint32_t place = offset_;
    const Node* otherwise = access == EntryAccess::LOOKUP ? node.arguments[1].get() : nullptr;
    const Node& keyNode = Content(*node.arguments[0]);
    Value dictionary = Generate(*node.left);
    Value key = Borrow(keyNode, otherwise == nullptr || IsAtHand(*otherwise));
    Value other = otherwise != nullptr ? Generate(*otherwise) : Value();
    offset_ = place;
    const Opcode opcode = access == EntryAccess::VALUE    ? Opcode::GET_ENTRY
                          : access == EntryAccess::LOOKUP ? Opcode::LOOKUP_ENTRY
                                                          : Opcode::HAS_ENTRY;
    Emit(opcode, reg, dictionary.reg, key.reg);
    Emit(Opcode::OPERANDS, KindNumber(keyNode.type), KindNumber(type), other.reg);
    Value result = Owned(reg, type);
    if (otherwise != nullptr) Release(other, otherwise->type);
    Release(key, keyNode.type);
    Release(dictionary, node.left->type);
    return result;
}

} // namespace host::language
