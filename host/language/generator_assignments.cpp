// The part of the generator that stores values.
#include "host/language/generator.h"

#include <algorithm>

namespace host::language {

using ast::Operation;

namespace {

constexpr Variants SET{Opcode::MOVE, Opcode::MOVE, Opcode::SET_STRING, Opcode::SET_OBJECT};
constexpr Variants TAKE{Opcode::MOVE, Opcode::MOVE, Opcode::TAKE_STRING, Opcode::TAKE_OBJECT};
constexpr Variants STORE_GLOBAL{Opcode::STORE_GLOBAL, Opcode::STORE_GLOBAL, Opcode::TAKE_GLOBAL_STRING,
                                Opcode::TAKE_GLOBAL_OBJECT};
constexpr Variants STORE_REFERENCE{Opcode::STORE_REFERENCE_WORD, Opcode::STORE_REFERENCE_WIDE,
                                   Opcode::TAKE_REFERENCE_STRING, Opcode::TAKE_REFERENCE_OBJECT};
constexpr Variants STORE_FIELD{Opcode::STORE_FIELD_WORD, Opcode::STORE_FIELD_WIDE, Opcode::TAKE_FIELD_STRING,
                               Opcode::TAKE_FIELD_OBJECT};
constexpr Variants STORE_ELEMENT{Opcode::STORE_ELEMENT_WORD, Opcode::STORE_ELEMENT_WIDE, Opcode::TAKE_ELEMENT_STRING,
                                 Opcode::TAKE_ELEMENT_OBJECT};

} // namespace

bool Generator::AppendInPlace(const Node& place, const Node& value) {
    if (!place.type.Is(TypeKind::STRING)) return false;
    // s = s + a + b: the sum's first part is the place itself.
    std::vector<const Node*> parts;
    const Node* first = &value;
    while (first->kind == NodeKind::BINARY && first->operation == Operation::ADD) {
        parts.push_back(first->right.get());
        first = first->left.get();
    }
    if (parts.empty() || first->kind != place.kind) return false;
    bool isVariable = place.kind == NodeKind::VARIABLE && first->variable == place.variable && !place.variable->isByRef;
    bool isOwnField = place.kind == NodeKind::FIELD && first->property == place.property
                      && place.left->kind == NodeKind::SELF && first->left->kind == NodeKind::SELF;
    if (!isVariable && !isOwnField) return false;

    // All parts are computed before the place changes: one of them may read it.
    std::reverse(parts.begin(), parts.end());
    Value added;
    if (parts.size() == 1) {
        added = Generate(*parts[0]);
    } else {
        added = GenerateInto(*parts[0], NewRegister());
        for (size_t i = 1; i < parts.size(); ++i) {
            uint16_t top = next_;
            Value part = Generate(*parts[i]);
            Emit(Opcode::APPEND_STRING, added.reg, part.reg);
            Release(part, place.type);
            next_ = top;
        }
    }
    SetPlace(value.span);
    if (isOwnField) {
        Emit(Opcode::APPEND_FIELD, 0, added.reg, place.property->offset);
    } else if (place.variable->isGlobal) {
        EmitLong(Opcode::APPEND_GLOBAL, added.reg, static_cast<int32_t>(place.variable->slot));
    } else {
        Emit(Opcode::APPEND_STRING, place.variable->slot, added.reg);
    }
    Release(added, place.type);
    return true;
}

void Generator::Assign(const Node& place, const Node& value) {
    uint16_t top = next_;
    SetPlace(place.span);
    if (!AppendInPlace(place, value)) {
        switch (place.kind) {
        case NodeKind::VARIABLE: AssignVariable(place, value); break;
        case NodeKind::PROPERTY: AssignProperty(place, value); break;
        default: AssignMember(place, value); break;
        }
    }
    next_ = top;
}

void Generator::AssignVariable(const Node& place, const Node& value) {
    const VariableSymbol& variable = *place.variable;
    bool isPlain = StorageOf(place.type) == Storage::PLAIN;
    bool isLocal = !variable.isGlobal && !variable.isByRef;
    uint16_t source = 0;
    if (isLocal && isPlain) {
        GenerateInto(value, static_cast<uint16_t>(variable.slot));
        return;
    }
    if (isLocal && InPlace(value, source)) {
        Emit(SET.For(place.type), variable.slot, source);
        return;
    }
    Value owned = isPlain ? Generate(value) : GenerateInto(value, NewRegister());
    EndLifetime(owned.lifetime);
    if (variable.isGlobal) {
        EmitLong(STORE_GLOBAL.For(place.type), owned.reg, static_cast<int32_t>(variable.slot));
    } else {
        Emit((variable.isByRef ? STORE_REFERENCE : TAKE).For(place.type), variable.slot, owned.reg);
    }
}

void Generator::AssignProperty(const Node& place, const Node& value) {
    Value object = Holder(place);
    Value borrowed = Generate(value);
    SetPlace(place.span);
    Emit(Opcode::SET_PROPERTY, object.reg, borrowed.reg, environment_.PropertyIndex(place.property->native));
    Release(borrowed, value.type);
    if (place.left != nullptr) Release(object, place.left->type);
}

// A field or an element.
void Generator::AssignMember(const Node& place, const Node& value) {
    bool isField = place.kind == NodeKind::FIELD;
    Value holder = Generate(*place.left);
    Value index = isField ? Value() : Generate(*place.right);
    bool isPlain = StorageOf(place.type) == Storage::PLAIN;
    Value owned = isPlain ? Generate(value) : GenerateInto(value, NewRegister());
    SetPlace(place.span);
    // A store that fails (no object, no such element) leaves the value with its register.
    if (isField)
        Emit(STORE_FIELD.For(place.type), holder.reg, owned.reg, place.property->offset);
    else
        Emit(STORE_ELEMENT.For(place.type), holder.reg, index.reg, owned.reg);
    EndLifetime(owned.lifetime);
    Release(holder, place.left->type);
}

} // namespace host::language
