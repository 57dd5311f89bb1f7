// Makes instructions of checked expressions.
//
// Registers are used like a stack: variables below, values on the way above. A Value that owns a reference is marked by
// a lifetime that is open until the reference is released or taken over.
#pragma once

#include "host/language/environment.h"
#include "host/language/node.h"

namespace host::language {

// A place in the code that jumps refer to, before or after it is known.
struct Label {
    int32_t target = -1;
    std::vector<uint32_t> uses;
};

// A value in a register; `lifetime` is the open lifetime when the register owns it, else -1.
struct Value {
    uint16_t reg = 0;
    int32_t lifetime = -1;
};

// The variants of an instruction by what it moves.
struct Variants {
    Opcode word;
    Opcode wide;
    Opcode string;
    Opcode object;

    Opcode For(const ValueType& type) const;
};

// Of a number.
Opcode NegationOf(const ValueType& type);

class Generator {
public:
    Generator(Environment& environment, Code& code) : environment_(environment), code_(code) {}

    // The value in any register: a variable's own, or a new one.
    Value Generate(const Node& node);
    // The value for the next instruction, which no code of the program comes before; `isNext` tells that none does.
    Value Borrow(const Node& node, bool isNext);
    // The value in this register, which holds nothing before and owns it afterwards.
    Value GenerateInto(const Node& node, uint16_t reg);
    // The effects without the value.
    void GenerateEffect(const Node& node);
    // Jumps when the condition is `when`.
    void Branch(const Node& condition, Label& label, bool when);
    void Assign(const Node& place, const Node& value);

    void Emit(Opcode opcode, size_t a = 0, size_t b = 0, size_t c = 0);
    void EmitLong(Opcode opcode, size_t a, int32_t value);
    void Jump(Opcode opcode, size_t a, Label& label);
    void Bind(Label& label);
    uint32_t Position() const { return static_cast<uint32_t>(code_.instructions.size()); }
    // The source of the instructions that follow.
    void SetPlace(const Span& span) { offset_ = span.offset; }

    uint16_t NewRegister();
    uint16_t Top() const { return next_; }
    // Gives up the registers from `top` on.
    void SetTop(uint16_t top) { next_ = top; }
    // Registers below are variables: nothing else is put there.
    void SetVariableTop() { variableTop_ = next_; }

    int32_t BeginLifetime(uint16_t reg, const ValueType& type);
    void EndLifetime(int32_t lifetime);
    void Release(const Value& value, const ValueType& type);
    // Releases on a way out of the block while the value lives on in the code that follows.
    void ReleaseEarly(uint16_t reg, const ValueType& type);

    // Completes the code; false when it has grown beyond what instructions can express.
    bool Finish();

private:
    // How the code of a call is found: by the function, by the object's class, or by the delegate.
    enum class Dispatch : uint8_t { DIRECT, VIRTUAL, DELEGATE };

    Value Produce(const Node& node, uint16_t reg);
    Value Argument(const Node& node, uint16_t reg);
    Value Owned(uint16_t reg, const ValueType& type) { return {reg, BeginLifetime(reg, type)}; }
    // The register in which a value lies already, without code; false when it must be computed.
    bool InPlace(const Node& node, uint16_t& reg) const;
    // Whether it takes no code of the program to have the value.
    bool IsAtHand(const Node& node) const;
    Value ProduceConstant(const Node& node, uint16_t reg);
    Value ProduceVariable(const Node& node, uint16_t reg);
    Value ProduceField(const Node& node, uint16_t reg);
    Value ProduceElement(const Node& node, uint16_t reg);
    Value ProduceCall(const Node& node, uint16_t reg);
    void SetCallPlace(const Node& node);
    static bool IsEntryAccess(const Node& node);
    Value ProduceEntry(const Node& node, const ValueType& type, uint16_t reg);
    void StoreEntry(const Node& node);
    bool AddToEntry(const Node& node);
    Value GenerateOnce(NodePtr& node, NodePtr& same);
    Value ProduceDelegate(const Node& node, uint16_t reg);
    void AttachHandler(const Node& node);
    Value ProduceNew(const Node& node, uint16_t reg);
    Value ProduceArray(const Node& node, uint16_t reg);
    Value ProduceArrayCall(const Node& node, uint16_t reg);
    Value ProduceConditional(const Node& node, uint16_t reg);
    Value ProduceConversion(const Node& node, uint16_t reg);
    Value ConvertNumber(const Node& node, uint16_t reg);
    Value ProduceBinary(const Node& node, uint16_t reg);
    Value ProduceConcatenation(const Node& node, uint16_t reg);
    // The object is a node or, if that is null, in a register. Answers the register in which the result lies.
    uint16_t CallProgram(const FunctionSymbol& function, const Node* object, uint16_t objectRegister,
                         const std::vector<NodePtr>& arguments, uint16_t result, Dispatch dispatch);
    // A function of a class or of the framework, or the handler of an event.
    void CallNative(const FunctionSymbol& function, const Node* object, uint16_t objectRegister,
                    const std::vector<NodePtr>& arguments, uint16_t result, const EventSymbol* event = nullptr);
    std::vector<std::pair<Value, ValueType>> HoldFieldOwners(const FunctionSymbol& function,
                                                             const std::vector<NodePtr>& arguments);
    void ByRefArgument(const Node& node, uint16_t reg, uint16_t owner);
    uint16_t Window(uint16_t reg);
    void EmitUnary(Opcode opcode, const Node& operand, uint16_t reg);
    Value Holder(const Node& node);
    bool OperateWithConstant(const Node& node, uint16_t reg);
    bool BranchOnConstant(const Node& condition, ast::Operation operation, Label& label);
    void BranchOnComparison(const Node& condition, Label& label, bool when);
    bool AppendInPlace(const Node& place, const Node& value);
    void AssignVariable(const Node& place, const Node& value);
    void AssignProperty(const Node& place, const Node& value);
    void AssignMember(const Node& place, const Node& value);
    void Place(size_t index, size_t target);

    Environment& environment_;
    Code& code_;
    uint32_t offset_ = 0;
    uint16_t next_ = 0;
    uint16_t variableTop_ = 0;
    bool isTooLarge_ = false;
};

} // namespace host::language
