#include "host/language/generator.h"

#include <algorithm>

namespace host::language {

using ast::Operation;

namespace {

// The variants of an instruction by what it moves.
struct Variants {
    Opcode word;
    Opcode number;
    Opcode string;
    Opcode object;

    Opcode For(const ValueType& type) const {
        switch (StorageOf(type)) {
        case Storage::STRING: return string;
        case Storage::OBJECT: return object;
        case Storage::PLAIN: break;
        }
        return type.Is(TypeKind::DOUBLE) ? number : word;
    }
};

constexpr Variants COPY{Opcode::MOVE, Opcode::MOVE, Opcode::COPY_STRING, Opcode::COPY_OBJECT};
constexpr Variants SET{Opcode::MOVE, Opcode::MOVE, Opcode::SET_STRING, Opcode::SET_OBJECT};
constexpr Variants TAKE{Opcode::MOVE, Opcode::MOVE, Opcode::TAKE_STRING, Opcode::TAKE_OBJECT};
constexpr Variants LOAD_GLOBAL{Opcode::LOAD_GLOBAL, Opcode::LOAD_GLOBAL, Opcode::LOAD_GLOBAL_STRING,
                               Opcode::LOAD_GLOBAL_OBJECT};
constexpr Variants STORE_GLOBAL{Opcode::STORE_GLOBAL, Opcode::STORE_GLOBAL, Opcode::TAKE_GLOBAL_STRING,
                                Opcode::TAKE_GLOBAL_OBJECT};
constexpr Variants LOAD_REFERENCE{Opcode::LOAD_REFERENCE_WORD, Opcode::LOAD_REFERENCE_DOUBLE,
                                  Opcode::LOAD_REFERENCE_STRING, Opcode::LOAD_REFERENCE_OBJECT};
constexpr Variants STORE_REFERENCE{Opcode::STORE_REFERENCE_WORD, Opcode::STORE_REFERENCE_DOUBLE,
                                   Opcode::TAKE_REFERENCE_STRING, Opcode::TAKE_REFERENCE_OBJECT};
constexpr Variants LOAD_FIELD{Opcode::LOAD_FIELD_WORD, Opcode::LOAD_FIELD_DOUBLE, Opcode::LOAD_FIELD_STRING,
                              Opcode::LOAD_FIELD_OBJECT};
constexpr Variants STORE_FIELD{Opcode::STORE_FIELD_WORD, Opcode::STORE_FIELD_DOUBLE, Opcode::TAKE_FIELD_STRING,
                               Opcode::TAKE_FIELD_OBJECT};
constexpr Variants LOAD_ELEMENT{Opcode::LOAD_ELEMENT_WORD, Opcode::LOAD_ELEMENT_DOUBLE, Opcode::LOAD_ELEMENT_STRING,
                                Opcode::LOAD_ELEMENT_OBJECT};
constexpr Variants STORE_ELEMENT{Opcode::STORE_ELEMENT_WORD, Opcode::STORE_ELEMENT_DOUBLE, Opcode::TAKE_ELEMENT_STRING,
                                 Opcode::TAKE_ELEMENT_OBJECT};

// The comparison that holds exactly when the other does not; for Integers only.
Operation Negated(Operation operation) {
    switch (operation) {
    case Operation::EQUAL: return Operation::NOT_EQUAL;
    case Operation::NOT_EQUAL: return Operation::EQUAL;
    case Operation::LESS: return Operation::GREATER_EQUAL;
    case Operation::LESS_EQUAL: return Operation::GREATER;
    case Operation::GREATER: return Operation::LESS_EQUAL;
    default: return Operation::LESS;
    }
}

bool IsComparison(Operation operation) {
    return operation >= Operation::EQUAL && operation <= Operation::GREATER_EQUAL;
}

// Comparisons as equal, unequal, less and less-or-equal; the others exchange their sides.
struct Comparison {
    int index;
    bool isExchanged;
};

Comparison ComparisonOf(Operation operation) {
    switch (operation) {
    case Operation::EQUAL: return {0, false};
    case Operation::NOT_EQUAL: return {1, false};
    case Operation::LESS: return {2, false};
    case Operation::LESS_EQUAL: return {3, false};
    case Operation::GREATER: return {2, true};
    default: return {3, true};
    }
}

bool IsIntegerComparison(const Node& node) {
    return node.kind == NodeKind::BINARY && IsComparison(node.operation) && node.left->type.Is(TypeKind::INTEGER);
}

bool IsSmallConstant(const Node& node) {
    if (!node.IsConstant() || !node.type.Is(TypeKind::INTEGER)) return false;
    int32_t value = std::get<int32_t>(node.constant);
    return value >= INT16_MIN && value <= INT16_MAX;
}

} // namespace

// Instructions

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

// Values

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
    const auto* string = std::get_if<std::string>(&node.constant);
    if (node.IsConstant() && string != nullptr && !string->empty()) {
        EmitLong(Opcode::BORROW_STRING, reg, static_cast<int32_t>(environment_.StringIndex(*string)));
        return {reg, -1};
    }
    return Produce(node, reg);
}

Value Generator::Argument(const Node& node, uint16_t reg) {
    uint16_t place = 0;
    const auto* string = std::get_if<std::string>(&node.constant);
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
    case NodeKind::CALL: value = ProduceCall(node, reg); break;
    case NodeKind::ARRAY_CALL: value = ProduceArrayCall(node, reg); break;
    case NodeKind::ARRAY: value = ProduceArray(node, reg); break;
    case NodeKind::NEW: value = ProduceNew(node, reg); break;
    case NodeKind::CONVERT: value = ProduceConversion(node, reg); break;
    case NodeKind::BINARY: value = ProduceBinary(node, reg); break;
    case NodeKind::NEGATE:
        EmitUnary(node.type.Is(TypeKind::DOUBLE) ? Opcode::NEGATE_DOUBLE : Opcode::NEGATE_INTEGER, *node.left, reg);
        break;
    case NodeKind::NOT:
        EmitUnary(node.type.Is(TypeKind::BOOLEAN) ? Opcode::NOT_BOOLEAN : Opcode::NOT_INTEGER, *node.left, reg);
        break;
    case NodeKind::IS_A: {
        Value object = Generate(*node.left);
        Emit(Opcode::IS_A, reg, object.reg, environment_.ClassIndex(node.cls));
        Release(object, node.left->type);
        break;
    }
    case NodeKind::AND:
    case NodeKind::OR: {
        Label isFalse;
        Label end;
        JumpUnless(node, isFalse);
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

void Generator::EmitUnary(Opcode opcode, const Node& operand, uint16_t reg) {
    Value value = Generate(operand);
    Emit(opcode, reg, value.reg);
    Release(value, operand.type);
}

Value Generator::ProduceConstant(const Node& node, uint16_t reg) {
    if (const auto* string = std::get_if<std::string>(&node.constant); string != nullptr && !string->empty()) {
        EmitLong(Opcode::LOAD_STRING, reg, static_cast<int32_t>(environment_.StringIndex(*string)));
        return Owned(reg, node.type);
    }
    if (const auto* number = std::get_if<double>(&node.constant)) {
        EmitLong(Opcode::LOAD_DOUBLE, reg, static_cast<int32_t>(environment_.DoubleIndex(*number)));
    } else if (const auto* integer = std::get_if<int32_t>(&node.constant)) {
        EmitLong(Opcode::LOAD_INTEGER, reg, *integer);
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

Value Generator::ProduceField(const Node& node, uint16_t reg) {
    Value object;
    if (node.left != nullptr) {
        object = Generate(*node.left);
    } else {
        object.reg = NewRegister();
        Emit(Opcode::LOAD_NIL, object.reg);
    }
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

Value Generator::ProduceConversion(const Node& node, uint16_t reg) {
    const ValueType& from = node.left->type;
    switch (node.conversion) {
    case Conversion::NONE: return GenerateInto(*node.left, reg);
    case Conversion::INTEGER_TO_DOUBLE: EmitUnary(Opcode::INTEGER_TO_DOUBLE, *node.left, reg); return {reg, -1};
    case Conversion::DOUBLE_TO_INTEGER: EmitUnary(Opcode::DOUBLE_TO_INTEGER, *node.left, reg); return {reg, -1};
    case Conversion::CHECK_CLASS: break;
    case Conversion::BOX: {
        Opcode opcode = from.Is(TypeKind::INTEGER)   ? Opcode::BOX_INTEGER
                        : from.Is(TypeKind::BOOLEAN) ? Opcode::BOX_BOOLEAN
                        : from.Is(TypeKind::DOUBLE)  ? Opcode::BOX_DOUBLE
                                                     : Opcode::BOX_STRING;
        Value value = Generate(*node.left);
        Emit(opcode, reg, value.reg);
        Value boxed = Owned(reg, node.type);
        Release(value, from);
        return boxed;
    }
    case Conversion::UNBOX: {
        if (node.type.IsReference()) break;
        Opcode opcode = node.type.Is(TypeKind::INTEGER)   ? Opcode::UNBOX_INTEGER
                        : node.type.Is(TypeKind::BOOLEAN) ? Opcode::UNBOX_BOOLEAN
                        : node.type.Is(TypeKind::DOUBLE)  ? Opcode::UNBOX_DOUBLE
                                                          : Opcode::UNBOX_STRING;
        Value variant = Generate(*node.left);
        SetPlace(node.span);
        Emit(opcode, reg, variant.reg);
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

// Operators

Value Generator::ProduceConcatenation(const Node& node, uint16_t reg) {
    uint16_t place = 0;
    bool isSimple = InPlace(*node.left, place) || node.left->IsConstant();
    if (isSimple) {
        Value left = Generate(*node.left);
        Value right = Generate(*node.right);
        SetPlace(node.span);
        Emit(Opcode::ADD_STRING, reg, left.reg, right.reg);
        Value value = Owned(reg, node.type);
        Release(right, node.type);
        return value;
    }
    // What was just made is held by nobody else and grows in place.
    Value value = GenerateInto(*node.left, reg);
    Value right = Generate(*node.right);
    SetPlace(node.span);
    Emit(Opcode::APPEND_STRING, reg, right.reg);
    Release(right, node.type);
    return value;
}

Value Generator::ProduceBinary(const Node& node, uint16_t reg) {
    struct Row {
        Operation operation;
        Opcode integer;
        Opcode number;
        Opcode variant;
    };
    static constexpr Row ROWS[] = {
        {Operation::ADD, Opcode::ADD_INTEGER, Opcode::ADD_DOUBLE, Opcode::VARIANT_ADD},
        {Operation::SUBTRACT, Opcode::SUBTRACT_INTEGER, Opcode::SUBTRACT_DOUBLE, Opcode::VARIANT_SUBTRACT},
        {Operation::MULTIPLY, Opcode::MULTIPLY_INTEGER, Opcode::MULTIPLY_DOUBLE, Opcode::VARIANT_MULTIPLY},
        {Operation::DIVIDE, Opcode::RETURN, Opcode::DIVIDE_DOUBLE, Opcode::VARIANT_DIVIDE},
        {Operation::INTEGER_DIVIDE, Opcode::DIVIDE_INTEGER, Opcode::RETURN, Opcode::VARIANT_INTEGER_DIVIDE},
        {Operation::MODULO, Opcode::MODULO_INTEGER, Opcode::MODULO_DOUBLE, Opcode::VARIANT_MODULO},
        {Operation::POWER, Opcode::RETURN, Opcode::POWER_DOUBLE, Opcode::VARIANT_POWER},
        {Operation::AND, Opcode::AND_INTEGER, Opcode::RETURN, Opcode::RETURN},
        {Operation::OR, Opcode::OR_INTEGER, Opcode::RETURN, Opcode::RETURN},
        {Operation::XOR, Opcode::XOR_INTEGER, Opcode::RETURN, Opcode::RETURN},
    };
    // equal, unequal, less, less or equal
    static constexpr Opcode INTEGERS[] = {Opcode::EQUAL_INTEGER, Opcode::UNEQUAL_INTEGER, Opcode::LESS_INTEGER,
                                          Opcode::LESS_EQUAL_INTEGER};
    static constexpr Opcode DOUBLES[] = {Opcode::EQUAL_DOUBLE, Opcode::UNEQUAL_DOUBLE, Opcode::LESS_DOUBLE,
                                         Opcode::LESS_EQUAL_DOUBLE};
    static constexpr Opcode STRINGS[] = {Opcode::EQUAL_STRING, Opcode::UNEQUAL_STRING, Opcode::LESS_STRING,
                                         Opcode::LESS_EQUAL_STRING};
    static constexpr Opcode BOOLEANS[] = {Opcode::EQUAL_BOOLEAN, Opcode::UNEQUAL_BOOLEAN};
    static constexpr Opcode OBJECTS[] = {Opcode::EQUAL_OBJECT, Opcode::UNEQUAL_OBJECT};
    static constexpr Opcode VARIANTS[] = {Opcode::VARIANT_EQUAL, Opcode::VARIANT_EQUAL, Opcode::VARIANT_LESS,
                                          Opcode::VARIANT_LESS_EQUAL};

    const ValueType& type = node.left->type;
    bool isNilTest = node.left->type.Is(TypeKind::NIL) || node.right->type.Is(TypeKind::NIL);
    if (type.Is(TypeKind::STRING) && node.operation == Operation::ADD) return ProduceConcatenation(node, reg);

    bool isIntegerSum =
        type.Is(TypeKind::INTEGER) && (node.operation == Operation::ADD || node.operation == Operation::SUBTRACT);
    if (isIntegerSum && IsSmallConstant(*node.right)) {
        int32_t constant = std::get<int32_t>(node.right->constant);
        if (node.operation == Operation::SUBTRACT) constant = -constant;
        if (constant <= INT16_MAX) {
            Value left = Generate(*node.left);
            Emit(Opcode::ADD_CONSTANT, reg, left.reg, static_cast<uint16_t>(constant));
            return {reg, -1};
        }
    }

    Value left = Generate(*node.left);
    Value right = Generate(*node.right);
    SetPlace(node.span);
    Value value{reg, -1};
    if (IsComparison(node.operation)) {
        Comparison comparison = ComparisonOf(node.operation);
        bool isIdentity = type.IsReference() && (!type.Is(TypeKind::VARIANT) || isNilTest);
        const Opcode* opcodes = isIdentity                   ? OBJECTS
                                : type.Is(TypeKind::VARIANT) ? VARIANTS
                                : type.Is(TypeKind::STRING)  ? STRINGS
                                : type.Is(TypeKind::DOUBLE)  ? DOUBLES
                                : type.Is(TypeKind::BOOLEAN) ? BOOLEANS
                                                             : INTEGERS;
        Opcode opcode = opcodes[comparison.index];
        if (comparison.isExchanged)
            Emit(opcode, reg, right.reg, left.reg);
        else
            Emit(opcode, reg, left.reg, right.reg);
        bool isNegated = opcodes == VARIANTS && node.operation == Operation::NOT_EQUAL;
        if (isNegated) Emit(Opcode::NOT_BOOLEAN, reg, reg);
    } else {
        const Row& row = *std::find_if(std::begin(ROWS), std::end(ROWS),
                                       [&node](const Row& candidate) { return candidate.operation == node.operation; });
        Opcode opcode = type.Is(TypeKind::INTEGER)   ? row.integer
                        : type.Is(TypeKind::VARIANT) ? row.variant
                                                     : row.number;
        Emit(opcode, reg, left.reg, right.reg);
        value = Owned(reg, node.type);
    }
    Release(right, node.right->type);
    Release(left, node.left->type);
    return value;
}

void Generator::JumpUnless(const Node& condition, Label& label) {
    uint16_t top = next_;
    if (condition.IsConstant()) {
        if (!std::get<bool>(condition.constant)) Jump(Opcode::JUMP, 0, label);
    } else if (condition.kind == NodeKind::NOT) {
        JumpIf(*condition.left, label);
    } else if (condition.kind == NodeKind::AND) {
        JumpUnless(*condition.left, label);
        JumpUnless(*condition.right, label);
    } else if (condition.kind == NodeKind::OR) {
        Label isTrue;
        JumpIf(*condition.left, isTrue);
        JumpUnless(*condition.right, label);
        Bind(isTrue);
    } else if (IsIntegerComparison(condition)) {
        static constexpr Opcode TESTS[] = {Opcode::TEST_EQUAL, Opcode::TEST_UNEQUAL, Opcode::TEST_LESS,
                                           Opcode::TEST_LESS_EQUAL};
        Value left = Generate(*condition.left);
        Value right = Generate(*condition.right);
        Comparison comparison = ComparisonOf(condition.operation);
        Opcode test = TESTS[comparison.index];
        if (comparison.isExchanged)
            Emit(test, right.reg, left.reg);
        else
            Emit(test, left.reg, right.reg);
        Jump(Opcode::JUMP, 0, label);
    } else {
        Value value = Generate(condition);
        Jump(Opcode::JUMP_UNLESS, value.reg, label);
    }
    next_ = top;
}

void Generator::JumpIf(const Node& condition, Label& label) {
    uint16_t top = next_;
    if (condition.IsConstant()) {
        if (std::get<bool>(condition.constant)) Jump(Opcode::JUMP, 0, label);
    } else if (condition.kind == NodeKind::NOT) {
        JumpUnless(*condition.left, label);
    } else if (condition.kind == NodeKind::OR) {
        JumpIf(*condition.left, label);
        JumpIf(*condition.right, label);
    } else if (condition.kind == NodeKind::AND) {
        Label isFalse;
        JumpUnless(*condition.left, isFalse);
        JumpIf(*condition.right, label);
        Bind(isFalse);
    } else if (IsIntegerComparison(condition)) {
        static constexpr Opcode TESTS[] = {Opcode::TEST_EQUAL, Opcode::TEST_UNEQUAL, Opcode::TEST_LESS,
                                           Opcode::TEST_LESS_EQUAL};
        Value left = Generate(*condition.left);
        Value right = Generate(*condition.right);
        Comparison comparison = ComparisonOf(Negated(condition.operation));
        Opcode test = TESTS[comparison.index];
        if (comparison.isExchanged)
            Emit(test, right.reg, left.reg);
        else
            Emit(test, left.reg, right.reg);
        Jump(Opcode::JUMP, 0, label);
    } else {
        Value value = Generate(condition);
        Jump(Opcode::JUMP_IF, value.reg, label);
    }
    next_ = top;
}

// Assignments

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
    if (AppendInPlace(place, value)) {
        next_ = top;
        return;
    }
    bool isPlain = StorageOf(place.type) == Storage::PLAIN;
    uint16_t source = 0;
    if (place.kind == NodeKind::VARIABLE) {
        const VariableSymbol& variable = *place.variable;
        bool isLocal = !variable.isGlobal && !variable.isByRef;
        if (isLocal && isPlain) {
            GenerateInto(value, static_cast<uint16_t>(variable.slot));
        } else if (isLocal && InPlace(value, source)) {
            Emit(SET.For(place.type), variable.slot, source);
        } else {
            Value owned = isPlain ? Generate(value) : GenerateInto(value, NewRegister());
            EndLifetime(owned.lifetime);
            if (variable.isGlobal) {
                EmitLong(STORE_GLOBAL.For(place.type), owned.reg, static_cast<int32_t>(variable.slot));
            } else if (variable.isByRef) {
                Emit(STORE_REFERENCE.For(place.type), variable.slot, owned.reg);
            } else {
                Emit(TAKE.For(place.type), variable.slot, owned.reg);
            }
        }
    } else if (place.kind == NodeKind::PROPERTY) {
        Value object;
        if (place.left != nullptr) {
            object = Generate(*place.left);
        } else {
            object.reg = NewRegister();
            Emit(Opcode::LOAD_NIL, object.reg);
        }
        Value borrowed = Generate(value);
        SetPlace(place.span);
        Emit(Opcode::SET_PROPERTY, object.reg, borrowed.reg, environment_.PropertyIndex(place.property->native));
        Release(borrowed, value.type);
        if (place.left != nullptr) Release(object, place.left->type);
    } else {
        bool isField = place.kind == NodeKind::FIELD;
        Value holder = Generate(*place.left);
        Value index = isField ? Value() : Generate(*place.right);
        Value owned = isPlain ? Generate(value) : GenerateInto(value, NewRegister());
        SetPlace(place.span);
        // A store that fails (no object, no such element) leaves the value with its register.
        if (isField)
            Emit(STORE_FIELD.For(place.type), holder.reg, owned.reg, place.property->offset);
        else
            Emit(STORE_ELEMENT.For(place.type), holder.reg, index.reg, owned.reg);
        if (owned.lifetime >= 0) code_.lifetimes[static_cast<size_t>(owned.lifetime)].end = Position();
        Release(holder, place.left->type);
    }
    next_ = top;
}

} // namespace host::language
