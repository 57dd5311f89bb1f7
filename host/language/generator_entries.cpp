// The part of the generator that reads and writes entries of dictionaries.
#include "host/framework/dictionary.h"
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

} // namespace

bool Generator::IsEntryAccess(const Node& node) { return AccessOf(node) != EntryAccess::NONE; }

// A call of a method that reads or writes an entry; its result is of `type`, Variant or another that a Variant is asked
// for.
Value Generator::ProduceEntry(const Node& node, const ValueType& type, uint16_t reg) {
    const EntryAccess access = AccessOf(node);
    const bool isStored = access == EntryAccess::VALUE && node.arguments.size() == 2;
    SetCallPlace(node);
    const uint32_t place = offset_;
    const Node& keyNode = Content(*node.arguments[0]);
    Value dictionary = Generate(*node.left);
    const Node* otherNode = nullptr;
    if (isStored) otherNode = &Content(*node.arguments[1]);
    if (access == EntryAccess::LOOKUP) otherNode = node.arguments[1].get();
    Value key = Borrow(keyNode, otherNode == nullptr || IsAtHand(*otherNode));
    Value other = otherNode != nullptr ? Generate(*otherNode) : Value();
    offset_ = place;
    Value result{reg, -1};
    if (isStored) {
        Emit(Opcode::SET_ENTRY, dictionary.reg, key.reg, other.reg);
        Emit(Opcode::OPERANDS, KindNumber(keyNode.type), KindNumber(otherNode->type));
    } else {
        const Opcode opcode = access == EntryAccess::VALUE    ? Opcode::GET_ENTRY
                              : access == EntryAccess::LOOKUP ? Opcode::LOOKUP_ENTRY
                                                              : Opcode::HAS_ENTRY;
        Emit(opcode, reg, dictionary.reg, key.reg);
        Emit(Opcode::OPERANDS, KindNumber(keyNode.type), KindNumber(type), other.reg);
        result = Owned(reg, type);
    }
    if (otherNode != nullptr) Release(other, otherNode->type);
    Release(key, keyNode.type);
    Release(dictionary, node.left->type);
    return result;
}

} // namespace host::language
