// The part of the generator that makes calls, objects and arrays.
#include "host/language/generator.h"

namespace host::language {

// The registers from here on are free for the arguments of a call.
uint16_t Generator::Window(uint16_t reg) {
    bool isFree = reg >= variableTop_ && reg + 1 == next_;
    return isFree ? reg : next_;
}

// The objects whose fields are passed ByRef live until the call is over, in registers below its window.
std::vector<std::pair<Value, ValueType>> Generator::HoldFieldOwners(const FunctionSymbol& function,
                                                                    const std::vector<NodePtr>& arguments) {
    std::vector<std::pair<Value, ValueType>> owners;
    for (size_t i = 0; i < function.parameters.size(); ++i) {
        const Node& argument = *arguments[i];
        bool isField = function.parameters[i].isByRef && argument.kind == NodeKind::FIELD;
        if (isField) owners.emplace_back(GenerateInto(*argument.left, NewRegister()), argument.left->type);
    }
    return owners;
}

void Generator::ByRefArgument(const Node& node, uint16_t reg, uint16_t owner) {
    if (node.kind == NodeKind::FIELD) {
        Emit(Opcode::ADDRESS_FIELD, reg, owner, node.property->offset);
        return;
    }
    const VariableSymbol& variable = *node.variable;
    if (variable.isGlobal)
        EmitLong(Opcode::ADDRESS_GLOBAL, reg, static_cast<int32_t>(variable.slot));
    else
        Emit(variable.isByRef ? Opcode::MOVE : Opcode::ADDRESS_LOCAL, reg, variable.slot);
}

uint16_t Generator::CallProgram(const FunctionSymbol& function, const Node* object, uint16_t objectRegister,
                                const std::vector<NodePtr>& arguments, uint16_t result, Dispatch dispatch) {
    const uint32_t place = offset_;
    bool hasObject = function.owner != nullptr;
    size_t count = arguments.size() + (hasObject ? 1 : 0);
    auto owners = HoldFieldOwners(function, arguments);
    uint16_t window = Window(result);
    next_ = window;
    for (size_t i = 0; i < count; ++i) NewRegister();

    std::vector<Value> passed;
    size_t owner = 0;
    uint16_t reg = window;
    if (hasObject) {
        Value value;
        if (object != nullptr) {
            value = GenerateInto(*object, reg);
        } else {
            Emit(Opcode::COPY_OBJECT, reg, objectRegister);
            value = Owned(reg, NIL_TYPE);
        }
        passed.push_back(value);
        bool needsCheck = object != nullptr && object->kind != NodeKind::SELF && dispatch == Dispatch::DIRECT;
        if (needsCheck) Emit(Opcode::CHECK_NIL, reg);
        reg++;
    }
    for (size_t i = 0; i < arguments.size(); i++, ++reg) {
        if (!function.parameters[i].isByRef) {
            passed.push_back(GenerateInto(*arguments[i], reg));
        } else {
            bool isField = arguments[i]->kind == NodeKind::FIELD;
            ByRefArgument(*arguments[i], reg, isField ? owners[owner++].first.reg : uint16_t{0});
        }
    }
    for (const Value& value : passed) EndLifetime(value.lifetime);
    offset_ = place;
    if (dispatch == Dispatch::VIRTUAL)
        Emit(Opcode::CALL_VIRTUAL, window, static_cast<uint16_t>(function.virtualSlot), function.index);
    else if (dispatch == Dispatch::DELEGATE)
        Emit(Opcode::CALL_DELEGATE, window, 0, function.index);
    else
        EmitLong(Opcode::CALL, window, static_cast<int32_t>(function.index));
    if (owners.empty()) return window;
    Value returned = Owned(window, function.result);
    for (auto& [value, type] : owners) Release(value, type);
    // The caller opens a lifetime of its own for the result.
    EndLifetime(returned.lifetime);
    return window;
}

void Generator::CallNative(const FunctionSymbol& function, const Node* object, uint16_t objectRegister,
                           const std::vector<NodePtr>& arguments, uint16_t result, const EventSymbol* event) {
    const uint32_t place = offset_;
    bool hasObject = function.owner != nullptr;
    bool isSetter = arguments.size() > function.parameters.size();
    size_t count = arguments.size() + (hasObject ? 1 : 0);
    auto owned = HoldFieldOwners(function, arguments);
    size_t owner = 0;
    // The result does not fall on an argument that is still to be released.
    uint16_t window = next_;
    for (size_t i = 0; i < count; ++i) NewRegister();

    uint16_t reg = window;
    if (hasObject) {
        if (object != nullptr)
            owned.emplace_back(Argument(*object, reg), object->type);
        else
            Emit(Opcode::MOVE, reg, objectRegister);
        reg++;
    }
    for (size_t i = 0; i < arguments.size(); i++, ++reg) {
        bool isByRef = i < function.parameters.size() && function.parameters[i].isByRef;
        if (!isByRef) {
            owned.emplace_back(Argument(*arguments[i], reg), arguments[i]->type);
        } else {
            bool isField = arguments[i]->kind == NodeKind::FIELD;
            ByRefArgument(*arguments[i], reg, isField ? owned[owner++].first.reg : uint16_t{0});
        }
    }
    offset_ = place;
    if (event != nullptr)
        Emit(Opcode::RAISE_EVENT, result, window, environment_.EventIndex(event->native));
    else
        Emit(Opcode::CALL_NATIVE, result, window, environment_.NativeIndex(*function.native, isSetter, hasObject));
    bool hasResult = function.HasResult() && !isSetter;
    Value returned = hasResult ? Owned(result, function.result) : Value();
    for (auto& [value, type] : owned) Release(value, type);
    if (hasResult) EndLifetime(returned.lifetime);
}

// A method's call is placed at its name, behind the object and the dot.
void Generator::SetCallPlace(const Node& node) {
    bool isMethod = node.kind == NodeKind::CALL && node.left != nullptr && node.left->kind != NodeKind::SELF;
    SetPlace(node.span);
    if (isMethod) offset_ = node.left->span.offset + node.left->span.length + 1;
}

Value Generator::ProduceCall(const Node& node, uint16_t reg) {
    if (IsEntryAccess(node)) return ProduceEntry(node, node.type, reg);
    const FunctionSymbol& function = *node.function;
    SetCallPlace(node);
    bool hasResult = !node.type.Is(TypeKind::NOTHING);
    if (function.native != nullptr || node.event != nullptr) {
        CallNative(function, node.left.get(), 0, node.arguments, hasResult ? reg : NewRegister(), node.event);
    } else {
        bool isVirtual = function.virtualSlot >= 0 && !node.isSuper;
        Dispatch dispatch = node.kind == NodeKind::DELEGATE_CALL ? Dispatch::DELEGATE
                            : isVirtual                          ? Dispatch::VIRTUAL
                                                                 : Dispatch::DIRECT;
        uint16_t window = CallProgram(function, node.left.get(), 0, node.arguments, reg, dispatch);
        if (hasResult && window != reg) Emit(Opcode::MOVE, reg, window);
    }
    return hasResult ? Owned(reg, node.type) : Value{reg, -1};
}

Value Generator::ProduceNew(const Node& node, uint16_t reg) {
    SetPlace(node.span);
    EmitLong(Opcode::NEW_OBJECT, reg, static_cast<int32_t>(environment_.ClassIndex(node.cls)));
    Value object = Owned(reg, node.type);

    const ClassSymbol* initialized = node.cls;
    while (initialized != nullptr && initialized->initializer == nullptr) initialized = initialized->super;
    uint16_t top = next_;
    if (initialized != nullptr)
        CallProgram(*initialized->initializer, nullptr, reg, {}, NewRegister(), Dispatch::DIRECT);
    next_ = top;
    if (node.function != nullptr && node.function->native != nullptr) {
        CallNative(*node.function, nullptr, reg, node.arguments, NewRegister());
    } else if (node.function != nullptr) {
        CallProgram(*node.function, nullptr, reg, node.arguments, NewRegister(), Dispatch::DIRECT);
    }
    return object;
}

Value Generator::ProduceDelegate(const Node& node, uint16_t reg) {
    SetPlace(node.span);
    FunctionSymbol& function = *node.function;
    EmitLong(Opcode::NEW_OBJECT, reg, static_cast<int32_t>(environment_.ClassIndex(node.cls)));
    Value delegate = Owned(reg, node.type);
    if (node.left == nullptr) {
        EmitLong(Opcode::BIND_FUNCTION, reg, static_cast<int32_t>(environment_.PlainEntry(function)));
        return delegate;
    }
    Value object = Generate(*node.left);
    if (function.virtualSlot >= 0)
        Emit(Opcode::BIND_VIRTUAL, reg, object.reg, static_cast<size_t>(function.virtualSlot));
    else
        Emit(Opcode::BIND_METHOD, reg, object.reg, function.index);
    Release(object, node.left->type);
    return delegate;
}

void Generator::AttachHandler(const Node& node) {
    Value object = Generate(*node.left);
    Value delegate = Generate(*node.right);
    SetPlace(node.span);
    Emit(node.isRemoval ? Opcode::REMOVE_HANDLER : Opcode::ADD_HANDLER, object.reg, delegate.reg,
         environment_.EventIndex(node.event->native));
    Release(delegate, node.right->type);
    Release(object, node.left->type);
}

Value Generator::ProduceArray(const Node& node, uint16_t reg) {
    Emit(Opcode::NEW_ARRAY, reg, 0, environment_.ArrayClassIndex(node.type.Element()));
    Value array = Owned(reg, node.type);
    for (const NodePtr& element : node.arguments) {
        uint16_t top = next_;
        Value value = GenerateInto(*element, NewRegister());
        Emit(Opcode::ARRAY_APPEND, reg, value.reg);
        EndLifetime(value.lifetime);
        next_ = top;
    }
    return array;
}

Value Generator::ProduceArrayCall(const Node& node, uint16_t reg) {
    Value array = Generate(*node.left);
    std::vector<Value> arguments;
    for (const NodePtr& argument : node.arguments) {
        bool isStored = node.arrayOperation == ArrayOperation::APPEND
                        || (node.arrayOperation == ArrayOperation::INSERT && arguments.size() == 1);
        arguments.push_back(isStored ? GenerateInto(*argument, NewRegister()) : Generate(*argument));
    }
    SetPlace(node.span);
    Value result{reg, -1};
    switch (node.arrayOperation) {
    case ArrayOperation::APPEND: Emit(Opcode::ARRAY_APPEND, array.reg, arguments[0].reg); break;
    case ArrayOperation::INSERT: Emit(Opcode::ARRAY_INSERT, array.reg, arguments[0].reg, arguments[1].reg); break;
    case ArrayOperation::REMOVE: Emit(Opcode::ARRAY_REMOVE, array.reg, arguments[0].reg); break;
    case ArrayOperation::UBOUND: Emit(Opcode::ARRAY_BOUND, reg, array.reg); break;
    case ArrayOperation::SORT:
        if (arguments.empty())
            Emit(Opcode::ARRAY_SORT, array.reg);
        else
            Emit(Opcode::ARRAY_SORT_BY, array.reg, arguments[0].reg);
        break;
    case ArrayOperation::INDEX_OF: Emit(Opcode::ARRAY_INDEX, reg, array.reg, arguments[0].reg); break;
    case ArrayOperation::POP:
        Emit(Opcode::ARRAY_POP, reg, array.reg);
        result = Owned(reg, node.type);
        break;
    }
    bool isStored = node.arrayOperation == ArrayOperation::APPEND || node.arrayOperation == ArrayOperation::INSERT;
    // What is stored belongs to the array; it is the register's until the instruction has succeeded.
    if (isStored)
        EndLifetime(arguments.back().lifetime);
    else if (!arguments.empty())
        Release(arguments.back(), node.arguments.back()->type);
    Release(array, node.left->type);
    return result;
}

} // namespace host::language
