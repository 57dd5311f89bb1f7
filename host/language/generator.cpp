// Instructions, registers, and the values of all kinds of nodes but operators and calls.
#include "host/language/generator.h"

#include "host/language/operations.h"

#include <algorithm>

namespace host::language {

namespace {

constexpr Variants COPY{Opcode::MOVE, Opcode::MOVE, Opcode::COPY_STRING, Opcode::COPY_OBJECT};
constexpr Variants LOAD_GLOBAL{Opcode::LOAD_GLOBAL, Opcode::LOAD_GLOBAL, Opcode::LOAD_GLOBAL_STRING,
                               Opcode::LOAD_GLOBAL_OBJECT};
constexpr Variants LOAD_REFERENCE{Opcode::LOAD_REFERENCE_WORD, Opcode::LOAD_REFERENCE_WIDE,
                                  Opcode::LOAD_REFERENCE_STRING, Opcode::LOAD_REFERENCE_OBJECT};
constexpr Variants LOAD_FIELD{Opcode::LOAD_FIELD_WORD, Opcode::LOAD_FIELD_WIDE, Opcode::LOAD_FIELD_STRING,
                              Opcode::LOAD_FIELD_OBJECT};
constexpr Variants LOAD_ELEMENT{Opcode::LOAD_ELEMENT_WORD, Opcode::LOAD_ELEMENT_WIDE, Opcode::LOAD_ELEMENT_STRING,
                                Opcode::LOAD_ELEMENT_OBJECT};

} // namespace

Opcode NegationOf(const ValueType& type) {
    if (type.Is(TypeKind::INTEGER)) return Opcode::NEGATE_INTEGER;
    return type.Is(TypeKind::DOUBLE) ? Opcode::NEGATE_DOUBLE : Opcode::NEGATE_WIDE;
}

Opcode Variants::For(const ValueType& type) const {
    switch (StorageOf(type)) {
    case Storage::STRING: return string;
    case Storage::OBJECT: return object;
    case Storage::PLAIN: break;
    }
    return type.IsWide() ? wide : word;
}

void Generator::Emit(Opcode opcode, size_t a, size_t b, size_t c) {
    if (a > UINT16_MAX || b > UINT16_MAX || c > UINT16_MAX) isTooLarge_ = true;
    Instruction instruction;
    instruction.opcode = opcode;
    instruction.a = static_cast<uint16_t>(a);
    instruction.b = static_cast<uint16_t>(b);
    instruction.c = static_cast<uint16_t>(c);
    code_.instructions.push_back(instruction);
    code_.offsets.push_back(offset_);
}

void Generator::EmitLong(Opcode opcode, size_t a, int32_t value) {
    Emit(opcode, a);
    code_.instructions.back().i = value;
}

void Generator::Place(size_t index, size_t target) {
    code_.instructions[index].i = static_cast<int32_t>(target) - static_cast<int32_t>(index) - 1;
}

void Generator::Jump(Opcode opcode, size_t a, Label& label) {
    uint32_t index = Position();
    EmitLong(opcode, a, 0);
    if (label.target >= 0)
        Place(index, static_cast<size_t>(label.target));
    else
        label.uses.push_back(index);
}

void Generator::Bind(Label& label) {
    label.target = static_cast<int32_t>(Position());
    for (uint32_t use : label.uses) Place(use, Position());
    label.uses.clear();
}

uint16_t Generator::NewRegister() {
    // Some room is left for the windows of calls.
    if (next_ >= UINT16_MAX - 1) {
        isTooLarge_ = true;
        next_ = 0;
    }
    uint16_t reg = next_++;
    code_.frameSize = std::max(code_.frameSize, next_);
    return reg;
}

int32_t Generator::BeginLifetime(uint16_t reg, const ValueType& type) {
    Storage storage = StorageOf(type);
    if (storage == Storage::PLAIN) return -1;
    code_.lifetimes.push_back({Position(), UINT32_MAX, reg, storage});
    return static_cast<int32_t>(code_.lifetimes.size() - 1);
}

void Generator::EndLifetime(int32_t lifetime) {
    if (lifetime >= 0) code_.lifetimes[static_cast<size_t>(lifetime)].end = Position();
}

void Generator::Release(const Value& value, const ValueType& type) {
    if (value.lifetime < 0) return;
    EndLifetime(value.lifetime);
    ReleaseEarly(value.reg, type);
}

void Generator::ReleaseEarly(uint16_t reg, const ValueType& type) {
    Storage storage = StorageOf(type);
    if (storage == Storage::STRING) Emit(Opcode::RELEASE_STRING, reg);
    if (storage == Storage::OBJECT) Emit(Opcode::RELEASE_OBJECT, reg);
}

bool Generator::Finish() {
    std::erase_if(code_.lifetimes, [this](Lifetime& lifetime) {
        lifetime.end = std::min(lifetime.end, Position());
        return lifetime.start >= lifetime.end;
    });
    return !isTooLarge_;
}

bool Generator::InPlace(const Node& node, uint16_t& reg) const {
    const Node* value = &node;
    while (value->kind == NodeKind::CONVERT && value->conversion == Conversion::NONE) value = value->left.get();
    if (value->kind == NodeKind::REGISTER) {
        reg = value->reg;
    } else if (value->kind == NodeKind::SELF) {
        reg = 0;
    } else if (value->kind == NodeKind::VARIABLE && !value->variable->isGlobal && !value->variable->isByRef) {
        reg = static_cast<uint16_t>(value->variable->slot);
    } else {
        return false;
    }
    return true;
}

Value Generator::Generate(const Node& node) {
    uint16_t reg = 0;
    if (InPlace(node, reg)) return {reg, -1};
    reg = NewRegister();
    const auto* string = std::get_if<ConstantText>(&node.constant);
    if (node.IsConstant() && string != nullptr && !string->empty()) {
        EmitLong(Opcode::BORROW_STRING, reg, static_cast<int32_t>(environment_.StringIndex(*string)));
        return {reg, -1};
    }
    return Produce(node, reg);
}

bool Generator::IsAtHand(const Node& node) const {
    uint16_t place = 0;
    return node.IsConstant() || InPlace(node, place);
}

Value Generator::Borrow(const Node& node, bool isNext) {
    bool isElement = node.kind == NodeKind::ELEMENT && node.type.Is(TypeKind::STRING) && IsAtHand(*node.left);
    if (!isElement || !isNext) return Generate(node);
    uint16_t reg = NewRegister();
    Value array = Generate(*node.left);
    Value index = Generate(*node.right);
    SetPlace(node.span);
    Emit(Opcode::BORROW_ELEMENT, reg, array.reg, index.reg);
    return {reg, -1};
}

Value Generator::Argument(const Node& node, uint16_t reg) {
    uint16_t place = 0;
    const auto* string = std::get_if<ConstantText>(&node.constant);
    if (InPlace(node, place)) {
        Emit(Opcode::MOVE, reg, place);
        return {reg, -1};
    }
    if (node.IsConstant() && string != nullptr && !string->empty()) {
        EmitLong(Opcode::BORROW_STRING, reg, static_cast<int32_t>(environment_.StringIndex(*string)));
        return {reg, -1};
    }
    return Produce(node, reg);
}

Value Generator::GenerateInto(const Node& node, uint16_t reg) {
    uint16_t place = 0;
    if (!InPlace(node, place)) return Produce(node, reg);
    Emit(COPY.For(node.type), reg, place);
    return Owned(reg, node.type);
}

void Generator::GenerateEffect(const Node& node) {
    uint16_t top = next_;
    if (node.kind == NodeKind::CONSTANT) return;
    Value value = Generate(node);
    Release(value, node.type);
    next_ = top;
}

Value Generator::Produce(const Node& node, uint16_t reg) {
    uint16_t top = next_;
    Value value{reg, -1};
    switch (node.kind) {
    case NodeKind::INVALID: break;
    case NodeKind::REGISTER:
    case NodeKind::SELF: value = GenerateInto(node, reg); break;
    case NodeKind::CONSTANT: value = ProduceConstant(node, reg); break;
    case NodeKind::VARIABLE: value = ProduceVariable(node, reg); break;
    case NodeKind::FIELD:
    case NodeKind::PROPERTY: value = ProduceField(node, reg); break;
    case NodeKind::ELEMENT: value = ProduceElement(node, reg); break;
    case NodeKind::CALL:
    case NodeKind::DELEGATE_CALL:
    case NodeKind::RAISE_EVENT: value = ProduceCall(node, reg); break;
    case NodeKind::DELEGATE: value = ProduceDelegate(node, reg); break;
    case NodeKind::HANDLER: AttachHandler(node); break;
    case NodeKind::ADDRESS_OF: break;
    case NodeKind::ARRAY_CALL: value = ProduceArrayCall(node, reg); break;
    case NodeKind::ARRAY: value = ProduceArray(node, reg); break;
    case NodeKind::NEW: value = ProduceNew(node, reg); break;
    case NodeKind::CONVERT: value = ProduceConversion(node, reg); break;
    case NodeKind::BINARY: value = ProduceBinary(node, reg); break;
    case NodeKind::NEGATE:
        SetPlace(node.span);
        EmitUnary(NegationOf(node.type), *node.left, reg);
        break;
    case NodeKind::NOT:
        EmitUnary(node.type.Is(TypeKind::BOOLEAN)   ? Opcode::NOT_BOOLEAN
                  : node.type.Is(TypeKind::INTEGER) ? Opcode::NOT_INTEGER
                                                    : Opcode::NOT_INT64,
                  *node.left, reg);
        break;
    case NodeKind::IS_A: {
        Value object = Generate(*node.left);
        Emit(Opcode::IS_A, reg, object.reg, environment_.ClassIndex(node.cls));
        Release(object, node.left->type);
        break;
    }
    case NodeKind::CONDITIONAL: value = ProduceConditional(node, reg); break;
    case NodeKind::AND:
    case NodeKind::OR: {
        Label isFalse;
        Label end;
        Branch(node, isFalse, false);
        EmitLong(Opcode::LOAD_INTEGER, reg, 1);
        Jump(Opcode::JUMP, 0, end);
        Bind(isFalse);
        EmitLong(Opcode::LOAD_INTEGER, reg, 0);
        Bind(end);
        break;
    }
    }
    next_ = top;
    return value;
}

Value Generator::ProduceConditional(const Node& node, uint16_t reg) {
    Label otherwise;
    Label end;
    Branch(*node.left, otherwise, false);
    EndLifetime(GenerateInto(*node.arguments[0], reg).lifetime);
    Jump(Opcode::JUMP, 0, end);
    Bind(otherwise);
    EndLifetime(GenerateInto(*node.arguments[1], reg).lifetime);
    Bind(end);
    return Owned(reg, node.type);
}

void Generator::EmitUnary(Opcode opcode, const Node& operand, uint16_t reg) {
    Value value = Generate(operand);
    Emit(opcode, reg, value.reg);
    Release(value, operand.type);
}

Value Generator::ProduceConstant(const Node& node, uint16_t reg) {
    if (const auto* string = std::get_if<ConstantText>(&node.constant); string != nullptr && !string->empty()) {
        EmitLong(Opcode::LOAD_STRING, reg, static_cast<int32_t>(environment_.StringIndex(*string)));
        return Owned(reg, node.type);
    }
    if (const auto* number = std::get_if<double>(&node.constant)) {
        EmitLong(Opcode::LOAD_DOUBLE, reg, static_cast<int32_t>(environment_.DoubleIndex(*number)));
    } else if (const auto* integer = std::get_if<int32_t>(&node.constant)) {
        EmitLong(Opcode::LOAD_INTEGER, reg, *integer);
    } else if (const auto* wide = std::get_if<int64_t>(&node.constant)) {
        EmitLong(Opcode::LOAD_WIDE, reg, static_cast<int32_t>(environment_.WideIndex(*wide)));
    } else if (const auto* amount = std::get_if<Currency>(&node.constant)) {
        EmitLong(Opcode::LOAD_WIDE, reg, static_cast<int32_t>(environment_.WideIndex(amount->units)));
    } else if (const auto* boolean = std::get_if<bool>(&node.constant)) {
        EmitLong(Opcode::LOAD_INTEGER, reg, *boolean ? 1 : 0);
    } else {
        Emit(Opcode::LOAD_NIL, reg);
        // A variable that starts as Nil owns what it gets later.
        return Owned(reg, node.type);
    }
    return {reg, -1};
}

Value Generator::ProduceVariable(const Node& node, uint16_t reg) {
    const VariableSymbol& variable = *node.variable;
    if (variable.isGlobal) {
        EmitLong(LOAD_GLOBAL.For(node.type), reg, static_cast<int32_t>(variable.slot));
    } else {
        Emit((variable.isByRef ? LOAD_REFERENCE : COPY).For(node.type), reg, variable.slot);
    }
    return Owned(reg, node.type);
}

// The object of a property; Nil for a module's.
Value Generator::Holder(const Node& node) {
    if (node.left != nullptr) return Generate(*node.left);
    Value nothing{NewRegister(), -1};
    Emit(Opcode::LOAD_NIL, nothing.reg);
    return nothing;
}

Value Generator::ProduceField(const Node& node, uint16_t reg) {
    if (node.property->getter != nullptr) {
        SetPlace(node.span);
        uint16_t window = CallProgram(*node.property->getter, node.left.get(), 0, {}, reg, Dispatch::DIRECT);
        if (window != reg) Emit(Opcode::MOVE, reg, window);
        return Owned(reg, node.type);
    }
    Value object = Holder(node);
    SetPlace(node.span);
    if (node.kind == NodeKind::FIELD) {
        Emit(LOAD_FIELD.For(node.type), reg, object.reg, node.property->offset);
    } else {
        Emit(Opcode::GET_PROPERTY, reg, object.reg, environment_.PropertyIndex(node.property->native));
    }
    Value value = Owned(reg, node.type);
    if (node.left != nullptr) Release(object, node.left->type);
    return value;
}

Value Generator::ProduceElement(const Node& node, uint16_t reg) {
    Value array = Generate(*node.left);
    Value index = Generate(*node.right);
    SetPlace(node.span);
    Emit(LOAD_ELEMENT.For(node.type), reg, array.reg, index.reg);
    Value value = Owned(reg, node.type);
    Release(array, node.left->type);
    return value;
}

Value Generator::ConvertNumber(const Node& node, uint16_t reg) {
    const Kind from = KindOf(node.left->type.kind);
    const Kind to = KindOf(node.type.kind);
    Value value = Generate(*node.left);
    SetPlace(node.span);
    if (from == Kind::INTEGER && to == Kind::DOUBLE)
        Emit(Opcode::INTEGER_TO_DOUBLE, reg, value.reg);
    else if (from == Kind::INTEGER && to == Kind::INT64)
        Emit(Opcode::INTEGER_TO_WIDE, reg, value.reg);
    else if (from == Kind::DOUBLE && to == Kind::INTEGER)
        Emit(Opcode::DOUBLE_TO_INTEGER, reg, value.reg);
    else
        Emit(Opcode::CONVERT_NUMBER, reg, value.reg, ConversionOf(from, to));
    return {reg, -1};
}

Value Generator::ProduceConversion(const Node& node, uint16_t reg) {
    const ValueType& from = node.left->type;
    switch (node.conversion) {
    case Conversion::NONE: return GenerateInto(*node.left, reg);
    case Conversion::NUMBER: return ConvertNumber(node, reg);
    case Conversion::CHECK_CLASS: break;
    case Conversion::BOX: {
        Value value = Generate(*node.left);
        Emit(Opcode::BOX, reg, value.reg, static_cast<size_t>(KindOf(from.kind)));
        Value boxed = Owned(reg, node.type);
        Release(value, from);
        return boxed;
    }
    case Conversion::UNBOX: {
        if (node.type.IsReference()) break;
        if (IsEntryAccess(*node.left)) return ProduceEntry(*node.left, node.type, reg);
        Value variant = Generate(*node.left);
        SetPlace(node.span);
        Emit(Opcode::UNBOX, reg, variant.reg, static_cast<size_t>(KindOf(node.type.kind)));
        Value value = Owned(reg, node.type);
        Release(variant, from);
        return value;
    }
    }
    Value value = GenerateInto(*node.left, reg);
    SetPlace(node.span);
    if (node.type.Is(TypeKind::ARRAY)) {
        Emit(Opcode::CHECK_ARRAY, reg, 0, environment_.ArrayClassIndex(node.type.Element()));
    } else {
        EmitLong(Opcode::CHECK_CLASS, reg, static_cast<int32_t>(environment_.ClassIndex(node.type.cls)));
    }
    return value;
}

} // namespace host::language
