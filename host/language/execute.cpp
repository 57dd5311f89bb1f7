// The opcode loop.
#include "host/language/attachments.h"
#include "host/language/display.h"
#include "host/language/entries.h"
#include "host/language/execute_macros.h"
#include "host/language/folding.h"
#include "host/language/machine.h"
#include "host/language/operations.h"
#include "host/language/sorting.h"
#include "host/language/wide_arithmetic.h"
#include "host/runtime/array.h"
#include "host/runtime/encoding.h"
#include "host/runtime/property.h"
#include "host/runtime/value.h"
#include "host/runtime/variant.h"

#include <cmath>
#include <new>

namespace host::language {

namespace {

// Arguments of a call that does not take place.
void ReleaseArguments(const Code& code, const Slot* window) {
    for (size_t i = 0; i < code.parameters.size(); ++i) ReleaseSlot(window[i], code.parameters[i]);
}

} // namespace

// What throws has saved where it is: without a try block around them the instructions can keep that in a register.
bool Machine::ExecuteFrom(size_t entry) {
    static const void* const LABELS[] = {
#define X(name, operands) &&name, // NOLINT(bugprone-macro-parentheses): a label
        KOVA_INSTRUCTIONS(X)
#undef X
    };
    const Tables& tables = environment_.tables;
    Slot* const globals = environment_.globals;
    const Instruction* pc = frames_.back().pc;
    Slot* base = frames_.back().base;
    const Code* callee = nullptr; // of a call that is being made

    DISPATCH();

    QUICK(LOAD_INTEGER, A.integer = pc->i);
    QUICK(LOAD_DOUBLE, A.number = tables.doubles[static_cast<size_t>(pc->i)]);
    QUICK(LOAD_WIDE, A.wide = tables.wides[static_cast<size_t>(pc->i)]);
    QUICK(LOAD_STRING, A.string = tables.strings[static_cast<size_t>(pc->i)]; LockString(A.string));
    QUICK(BORROW_STRING, A.string = tables.strings[static_cast<size_t>(pc->i)]);
    QUICK(LOAD_NIL, A = Slot{.number = 0});
    QUICK(MOVE, CopySlot(A, B));
    QUICK(COPY_STRING, A.string = B.string; LockString(A.string));
    QUICK(COPY_OBJECT, A.object = B.object; LockObject(A.object));
SET_STRING : {
    LockString(B.string);
    UnlockString(std::exchange(A.string, B.string));
    NEXT();
}
SET_OBJECT : {
    SAVE();
    LockObject(B.object);
    UnlockObject(std::exchange(A.object, B.object));
    NEXT();
}
    QUICK(TAKE_STRING, UnlockString(std::exchange(A.string, B.string)));
    SIMPLE(TAKE_OBJECT, UnlockObject(std::exchange(A.object, B.object)));
    QUICK(RELEASE_STRING, UnlockString(A.string));
    SIMPLE(RELEASE_OBJECT, UnlockObject(A.object));

    QUICK(LOAD_GLOBAL, CopySlot(A, globals[pc->i]));
    QUICK(LOAD_GLOBAL_STRING, A.string = globals[pc->i].string; LockString(A.string));
    QUICK(LOAD_GLOBAL_OBJECT, A.object = globals[pc->i].object; LockObject(A.object));
    QUICK(STORE_GLOBAL, CopySlot(globals[pc->i], A));
    QUICK(TAKE_GLOBAL_STRING, UnlockString(std::exchange(globals[pc->i].string, A.string)));
    SIMPLE(TAKE_GLOBAL_OBJECT, UnlockObject(std::exchange(globals[pc->i].object, A.object)));

    QUICK(ADDRESS_LOCAL, A.pointer = &B);
    QUICK(ADDRESS_GLOBAL, A.pointer = &globals[pc->i]);
ADDRESS_FIELD:
    SAVE();
    NEED_OBJECT(B.object, "the object is Nil");
    A.pointer = &DataAt<std::byte>(B.object, pc->c);
    NEXT();
    QUICK(LOAD_REFERENCE_WORD, A.integer = *static_cast<int32_t*>(B.pointer));
    QUICK(LOAD_REFERENCE_WIDE, A.wide = *static_cast<int64_t*>(B.pointer));
    QUICK(LOAD_REFERENCE_STRING, A.string = *static_cast<String**>(B.pointer); LockString(A.string));
    QUICK(LOAD_REFERENCE_OBJECT, A.object = *static_cast<Object**>(B.pointer); LockObject(A.object));
    QUICK(STORE_REFERENCE_WORD, *static_cast<int32_t*>(A.pointer) = B.integer);
    QUICK(STORE_REFERENCE_WIDE, *static_cast<int64_t*>(A.pointer) = B.wide);
    QUICK(TAKE_REFERENCE_STRING, UnlockString(std::exchange(*static_cast<String**>(A.pointer), B.string)));
    SIMPLE(TAKE_REFERENCE_OBJECT, UnlockObject(std::exchange(*static_cast<Object**>(A.pointer), B.object)));

    QUICK(LOAD_FIELD_WORD, NEED_OBJECT(B.object, "the object is Nil"); A.integer = DataAt<int32_t>(B.object, pc->c));
    QUICK(LOAD_FIELD_WIDE, NEED_OBJECT(B.object, "the object is Nil"); A.wide = DataAt<int64_t>(B.object, pc->c));
LOAD_FIELD_STRING:
    NEED_OBJECT(B.object, "the object is Nil");
    A.string = DataAt<String*>(B.object, pc->c);
    LockString(A.string);
    NEXT();
LOAD_FIELD_OBJECT:
    NEED_OBJECT(B.object, "the object is Nil");
    A.object = DataAt<Object*>(B.object, pc->c);
    LockObject(A.object);
    NEXT();
STORE_FIELD_WORD:
    NEED_OBJECT(A.object, "the object is Nil");
    DataAt<int32_t>(A.object, pc->c) = B.integer;
    NEXT();
STORE_FIELD_WIDE:
    NEED_OBJECT(A.object, "the object is Nil");
    DataAt<int64_t>(A.object, pc->c) = B.wide;
    NEXT();
TAKE_FIELD_STRING:
    NEED_OBJECT(A.object, "the object is Nil");
    UnlockString(std::exchange(DataAt<String*>(A.object, pc->c), B.string));
    NEXT();
TAKE_FIELD_OBJECT:
    NEED_OBJECT(A.object, "the object is Nil");
    SAVE();
    UnlockObject(std::exchange(DataAt<Object*>(A.object, pc->c), B.object));
    NEXT();

    SIMPLE(NEW_ARRAY, A.array = NewArray(tables.arrayClasses[pc->c]); FAIL_UNLESS(A.array != nullptr));
    QUICK(LOAD_ELEMENT_WORD, NEED_ELEMENT(B.array, C.integer); A.integer = B.array->Integers()[C.integer]);
    QUICK(LOAD_ELEMENT_WIDE, NEED_ELEMENT(B.array, C.integer); A.wide = B.array->Wides()[C.integer]);
    QUICK(BORROW_ELEMENT, NEED_ELEMENT(B.array, C.integer); A.string = B.array->Strings()[C.integer]);
LOAD_ELEMENT_STRING:
    NEED_ELEMENT(B.array, C.integer);
    A.string = B.array->Strings()[C.integer];
    LockString(A.string);
    NEXT();
LOAD_ELEMENT_OBJECT:
    NEED_ELEMENT(B.array, C.integer);
    A.object = B.array->Objects()[C.integer];
    LockObject(A.object);
    NEXT();
    QUICK(STORE_ELEMENT_WORD, NEED_ELEMENT(A.array, B.integer); A.array->Integers()[B.integer] = C.integer);
    QUICK(STORE_ELEMENT_WIDE, NEED_ELEMENT(A.array, B.integer); A.array->Wides()[B.integer] = C.wide);
TAKE_ELEMENT_STRING:
    NEED_ELEMENT(A.array, B.integer);
    UnlockString(std::exchange(A.array->Strings()[B.integer], C.string));
    NEXT();
TAKE_ELEMENT_OBJECT:
    NEED_ELEMENT(A.array, B.integer);
    SAVE();
    UnlockObject(std::exchange(A.array->Objects()[B.integer], C.object));
    NEXT();
ARRAY_APPEND:
    SAVE();
    NEED_OBJECT(A.array, "the array is Nil");
    FAIL_UNLESS(ArrayAppend(A.array, B));
    NEXT();
ARRAY_INSERT:
    SAVE();
    NEED_OBJECT(A.array, "the array is Nil");
    if (B.integer < 0 || B.integer > A.array->count) [[unlikely]] {
        RaiseOutOfBounds(B.integer, A.array);
        goto failed;
    }
    FAIL_UNLESS(ArrayInsert(A.array, B.integer, C));
    NEXT();
ARRAY_REMOVE : {
    NEED_ELEMENT(A.array, B.integer);
    SAVE();
    Slot removed = ArrayTake(A.array, B.integer);
    if (A.array->element == Kind::STRING)
        UnlockString(removed.string);
    else if (A.array->element == Kind::OBJECT || A.array->element == Kind::VARIANT)
        UnlockObject(removed.object);
    NEXT();
}
ARRAY_RESIZE:
    NEED_OBJECT(A.array, "the array is Nil");
    SAVE();
    FAIL_UNLESS(ResizeToBound(*A.array, B.integer));
    NEXT();
    QUICK(ARRAY_BOUND, A.integer = UpperBound(B.array));
ARRAY_POP : {
    SAVE();
    NEED_OBJECT(B.array, "the array is Nil");
    int32_t last = UpperBound(B.array);
    NEED_ELEMENT(B.array, last);
    A = ArrayTake(B.array, last);
    NEXT();
}
    SIMPLE(ARRAY_SORT, NEED_OBJECT(A.array, "the array is Nil"); SortArray(*A.array));
ARRAY_SORT_BY:
    NEED_OBJECT(A.array, "the array is Nil");
    NEED_OBJECT(B.object, "the delegate is Nil");
    SAVE();
    if (!SortArrayBy(*A.array, *AsDelegate(B.object), CallAttached) || isStopped_) goto failed;
    NEXT();
    SIMPLE(ARRAY_INDEX, NEED_OBJECT(B.array, "the array is Nil"); A.integer = FindInArray(*B.array, C));

    QUICK(ADD_INTEGER, A.integer = WrappingAdd(B.integer, C.integer));
    QUICK(ADD_CONSTANT, A.integer = WrappingAdd(B.integer, SMALL(c)));
    QUICK(MULTIPLY_CONSTANT, A.integer = WrappingMultiply(B.integer, SMALL(c)));
    QUICK(DIVIDE_CONSTANT, A.integer = B.integer / SMALL(c));
    QUICK(MODULO_CONSTANT, A.integer = B.integer % SMALL(c));
    QUICK(SUBTRACT_INTEGER, A.integer = WrappingSubtract(B.integer, C.integer));
    QUICK(MULTIPLY_INTEGER, A.integer = WrappingMultiply(B.integer, C.integer));
    QUICK(DIVIDE_INTEGER, NEED_DIVISOR(C.integer); A.integer = WrappingDivide(B.integer, C.integer));
    QUICK(MODULO_INTEGER, NEED_DIVISOR(C.integer); A.integer = WrappingModulo(B.integer, C.integer));
    QUICK(NEGATE_INTEGER, A.integer = WrappingSubtract(0, B.integer));
    QUICK(AND_INTEGER, A.integer = B.integer & C.integer);
    QUICK(OR_INTEGER, A.integer = B.integer | C.integer);
    QUICK(XOR_INTEGER, A.integer = B.integer ^ C.integer);
    QUICK(NOT_INTEGER, A.integer = ~B.integer);
    QUICK(NOT_BOOLEAN, A.integer = B.integer == 0);
    QUICK(ADD_DOUBLE, A.number = B.number + C.number);
    QUICK(SUBTRACT_DOUBLE, A.number = B.number - C.number);
    QUICK(MULTIPLY_DOUBLE, A.number = B.number * C.number);
    QUICK(DIVIDE_DOUBLE, NEED_DIVISOR(C.number); A.number = B.number / C.number);
    QUICK(MODULO_DOUBLE, NEED_DIVISOR(C.number); A.number = std::fmod(B.number, C.number));
    QUICK(POWER_DOUBLE, A.number = std::pow(B.number, C.number));
    QUICK(NEGATE_DOUBLE, A.number = -B.number);
    QUICK(ADD_WIDE, FIT(AddWide(B.wide, C.wide, A.wide)));
    QUICK(SUBTRACT_WIDE, FIT(SubtractWide(B.wide, C.wide, A.wide)));
    QUICK(NEGATE_WIDE, FIT(SubtractWide(0, B.wide, A.wide)));
    QUICK(MODULO_WIDE, NEED_DIVISOR(C.wide); A.wide = ModuloWide(B.wide, C.wide));
    QUICK(MULTIPLY_INT64, FIT(MultiplyInt64(B.wide, C.wide, A.wide)));
    QUICK(DIVIDE_INT64, NEED_DIVISOR(C.wide); FIT(DivideInt64(B.wide, C.wide, A.wide)));
    QUICK(AND_INT64, A.wide = B.wide & C.wide);
    QUICK(OR_INT64, A.wide = B.wide | C.wide);
    QUICK(XOR_INT64, A.wide = B.wide ^ C.wide);
    QUICK(NOT_INT64, A.wide = ~B.wide);
    QUICK(MULTIPLY_CURRENCY, FIT(MultiplyCurrency(B.wide, C.wide, A.wide)));
    QUICK(DIVIDE_CURRENCY, NEED_DIVISOR(C.wide); FIT(DivideCurrency(B.wide, C.wide, A.wide)));
ADD_STRING : {
    SAVE();
    String* joined = AddStrings(B.string, C.string);
    FAIL_UNLESS(joined != nullptr || !IsExceptionPending());
    A.string = joined;
    NEXT();
}
    SIMPLE(APPEND_STRING, A.string = AppendString(A.string, B.string); FAIL_UNLESS(!IsExceptionPending()));
APPEND_GLOBAL:
    SAVE();
    globals[pc->i].string = AppendString(globals[pc->i].string, A.string);
    FAIL_UNLESS(!IsExceptionPending());
    NEXT();
APPEND_FIELD : {
    SAVE();
    auto& field = DataAt<String*>(A.object, pc->c);
    field = AppendString(field, B.string);
    FAIL_UNLESS(!IsExceptionPending());
    NEXT();
}

    QUICK(EQUAL_INTEGER, A.integer = B.integer == C.integer);
    QUICK(UNEQUAL_INTEGER, A.integer = B.integer != C.integer);
    QUICK(LESS_INTEGER, A.integer = B.integer < C.integer);
    QUICK(LESS_EQUAL_INTEGER, A.integer = B.integer <= C.integer);
    QUICK(EQUAL_DOUBLE, A.integer = B.number == C.number);
    QUICK(UNEQUAL_DOUBLE, A.integer = B.number != C.number);
    QUICK(LESS_DOUBLE, A.integer = B.number < C.number);
    QUICK(LESS_EQUAL_DOUBLE, A.integer = B.number <= C.number);
    QUICK(EQUAL_WIDE, A.integer = B.wide == C.wide);
    QUICK(UNEQUAL_WIDE, A.integer = B.wide != C.wide);
    QUICK(LESS_WIDE, A.integer = B.wide < C.wide);
    QUICK(LESS_EQUAL_WIDE, A.integer = B.wide <= C.wide);
    SIMPLE(EQUAL_STRING, A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) == 0));
    SIMPLE(UNEQUAL_STRING, A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) != 0));
    SIMPLE(LESS_STRING, A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) < 0));
    SIMPLE(LESS_EQUAL_STRING, A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) <= 0));
    QUICK(EQUAL_BOOLEAN, A.integer = static_cast<int32_t>((B.integer != 0) == (C.integer != 0)));
    QUICK(UNEQUAL_BOOLEAN, A.integer = static_cast<int32_t>((B.integer != 0) != (C.integer != 0)));
    QUICK(EQUAL_OBJECT, A.integer = B.object == C.object);
    QUICK(UNEQUAL_OBJECT, A.integer = B.object != C.object);

VARIANT_ADD:
VARIANT_SUBTRACT:
VARIANT_MULTIPLY:
VARIANT_DIVIDE:
VARIANT_INTEGER_DIVIDE:
VARIANT_MODULO:
VARIANT_POWER:
VARIANT_EQUAL:
VARIANT_LESS:
VARIANT_LESS_EQUAL : {
    SAVE();
    auto operation =
        static_cast<VariantOperation>(static_cast<int>(pc->opcode) - static_cast<int>(Opcode::VARIANT_ADD));
    Slot value{};
    FAIL_UNLESS(OperateVariants(operation, B.object, C.object, value));
    CopySlot(A, value);
    NEXT();
}

    SIMPLE(VARIANT_ADD_INTEGER, FAIL_UNLESS(AddInteger(B.object, C.integer, A)));

    QUICK(INTEGER_TO_DOUBLE, A.number = B.integer);
    SIMPLE(DOUBLE_TO_INTEGER, FAIL_UNLESS(CutToInteger(B.number, A.integer)));
    QUICK(INTEGER_TO_WIDE, A.wide = B.integer);
    SIMPLE(CONVERT_NUMBER, FAIL_UNLESS(ConvertOrRaise(pc->c, B, A)));
BOX : {
    SAVE();
    Object* box = Box(static_cast<Kind>(pc->c), B);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
    SIMPLE(UNBOX, FAIL_UNLESS(UnboxTo(static_cast<Kind>(pc->c), B.object, A)));
CHECK_CLASS : {
    SAVE();
    const Class* wanted = tables.classes[static_cast<size_t>(pc->i)];
    if (A.object != nullptr && !A.object->cls->IsA(wanted)) [[unlikely]] {
        RaiseMismatch(A.object, wanted->name);
        goto failed;
    }
    NEXT();
}
CHECK_ARRAY : {
    SAVE();
    const Class* wanted = tables.arrayClasses[pc->c];
    if (A.object != nullptr && A.object->cls != wanted) [[unlikely]] {
        RaiseMismatch(A.object, wanted->name);
        goto failed;
    }
    NEXT();
}
    QUICK(CHECK_NIL, NEED_OBJECT(A.object, "the object is Nil"));
    QUICK(IS_A, A.integer = B.object != nullptr && B.object->cls->IsA(tables.classes[pc->c]));

    QUICK(JUMP, pc += pc->i);
    QUICK(JUMP_BACK, POLL(); pc += pc->i);
    QUICK(JUMP_IF, if (A.integer != 0) pc += pc->i);
    QUICK(JUMP_UNLESS, if (A.integer == 0) pc += pc->i);
TEST_EQUAL:
    SKIP_IF(A.integer == B.integer);
TEST_UNEQUAL:
    SKIP_IF(A.integer != B.integer);
TEST_LESS:
    SKIP_IF(A.integer < B.integer);
TEST_LESS_EQUAL:
    SKIP_IF(A.integer <= B.integer);
TEST_EQUAL_CONSTANT:
    SKIP_IF(A.integer == SMALL(b));
TEST_UNEQUAL_CONSTANT:
    SKIP_IF(A.integer != SMALL(b));
TEST_LESS_CONSTANT:
    SKIP_IF(A.integer < SMALL(b));
TEST_GREATER_CONSTANT:
    SKIP_IF(A.integer > SMALL(b));
FOR_TEST_INTEGER:
    SKIP_IF(C.integer >= 0 ? A.integer <= B.integer : A.integer >= B.integer);
FOR_TEST_DOUBLE:
    SKIP_IF(C.number >= 0 ? A.number <= B.number : A.number >= B.number);
FOR_TEST_WIDE:
    SKIP_IF(C.wide >= 0 ? A.wide <= B.wide : A.wide >= B.wide);
FOR_NEXT_INTEGER : {
    int64_t following = int64_t{A.integer} + C.integer;
    const bool isWithin = C.integer >= 0 ? following <= B.integer : following >= B.integer;
    A.integer = WrappingAdd(A.integer, C.integer);
    LOOP_IF(isWithin);
}
FOR_NEXT_ONE : {
    const bool isWithin = A.integer < B.integer;
    A.integer = WrappingAdd(A.integer, 1);
    LOOP_IF(isWithin);
}
FOR_NEXT_DOUBLE:
    A.number += C.number;
    LOOP_IF(C.number >= 0 ? A.number <= B.number : A.number >= B.number);
FOR_NEXT_WIDE:
    LOOP_IF(AddWide(A.wide, C.wide, A.wide) && (C.wide >= 0 ? A.wide <= B.wide : A.wide >= B.wide));

CALL:
    SAVE();
    callee = tables.codes[static_cast<size_t>(pc->i)].get();
    goto enter;
CALL_VIRTUAL : {
    SAVE();
    const Object* object = A.object;
    if (object == nullptr) [[unlikely]] {
        ReleaseArguments(*tables.codes[pc->c], &A);
        RaiseNilObject("the object is Nil");
        goto failed;
    }
    callee = static_cast<const ClassCode*>(object->cls->program)->virtualMethods[pc->b];
    goto enter;
}
CALL_DELEGATE : {
    SAVE();
    const Delegate* delegate = AsDelegate(A.object);
    if (delegate == nullptr) [[unlikely]] {
        ReleaseArguments(*tables.codes[pc->c], &A);
        RaiseNilObject("the delegate is Nil");
        goto failed;
    }
    callee = delegate->code;
    LockObject(delegate->target);
    UnlockObject(std::exchange(A.object, delegate->target));
}
enter : {
    Slot* window = &A;
    if (!Push(*callee, window)) [[unlikely]] {
        ReleaseArguments(*callee, window);
        goto failed;
    }
    base = window;
    pc = callee->instructions.data();
    POLL();
    DISPATCH();
}
RAISE_EVENT : {
    const Event& event = *tables.events[pc->c];
    SAVE();
    Slot value{};
    if (void* handler = EventHandlerOf(B.object, &event)) CallNative(event.shape, handler, &B, &value);
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        ReleaseResult(event.shape->result, value);
        goto failed;
    }
    CopySlot(A, value);
    NEXT();
}
    SIMPLE(BIND_FUNCTION, AsDelegate(A.object)->code = tables.codes[static_cast<size_t>(pc->i)].get());
BIND_METHOD:
    SAVE();
    NEED_OBJECT(B.object, "the object is Nil");
    Bind(A.object, B.object, tables.codes[pc->c].get());
    NEXT();
BIND_VIRTUAL:
    SAVE();
    NEED_OBJECT(B.object, "the object is Nil");
    Bind(A.object, B.object, static_cast<const ClassCode*>(B.object->cls->program)->virtualMethods[pc->c]);
    NEXT();
ADD_HANDLER:
    SAVE();
    NEED_OBJECT(A.object, "the object is Nil");
    NEED_OBJECT(B.object, "the delegate is Nil");
    AttachHandler(A.object, tables.events[pc->c], B.object, CallAttached);
    NEXT();
REMOVE_HANDLER:
    NEED_OBJECT(A.object, "the object is Nil");
    NEED_OBJECT(B.object, "the delegate is Nil");
    SAVE();
    DetachHandler(A.object, tables.events[pc->c], B.object);
    NEXT();
CALL_NATIVE : {
    const NativeCall& call = tables.natives[pc->c];
    SAVE();
    if (call.hasObject) NEED_OBJECT(B.object, "the object is Nil");
    Slot value{};
    CallNative(call.shape, call.function, &B, &value);
    if (attention != 0) [[unlikely]]
        NoteTicks();
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        if (call.result != Kind::NOTHING) ReleaseResult(call.result, value);
        goto failed;
    }
    CopySlot(A, value);
    NEXT();
}
    ENTRY(GET_ENTRY, GetEntry);
    ENTRY(LOOKUP_ENTRY, LookupEntry);
    ENTRY(HAS_ENTRY, HasEntry);
    ENTRY(SET_ENTRY, StoreEntry);
    SIMPLE(ADD_TO_ENTRY, pc += AddToEntry(pc, base) ? 1 : 2);
    QUICK(OPERANDS, ); // never reached: what stands before skips it
GET_PROPERTY : {
    const Property& property = *tables.properties[pc->c];
    SAVE();
    if (property.owner != nullptr) NEED_OBJECT(B.object, "the object is Nil");
    Slot value = ReadProperty(B.object, property);
    if (attention != 0) [[unlikely]]
        NoteTicks();
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        ReleaseResult(property.type.kind, value);
        goto failed;
    }
    CopySlot(A, value);
    NEXT();
}
SET_PROPERTY : {
    const Property& property = *tables.properties[pc->c];
    SAVE();
    if (property.owner != nullptr) NEED_OBJECT(A.object, "the object is Nil");
    WriteProperty(A.object, property, B);
    if (attention != 0) [[unlikely]]
        NoteTicks();
    FAIL_UNLESS(!IsExceptionPending() && !isStopped_);
    NEXT();
}
NEW_OBJECT : {
    SAVE();
    Object* object = NewObject(tables.classes[static_cast<size_t>(pc->i)]);
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        UnlockObject(object);
        goto failed;
    }
    A.object = object;
    NEXT();
}
RETURN_VALUE:
    CopySlot(*base, A);
RETURN:
    frames_.pop_back();
    if (frames_.size() < entry) return true;
    pc = frames_.back().pc;
    base = frames_.back().base;
    NEXT();

CALL_FINALLY:
    A.integer = static_cast<int32_t>(pc - frames_.back().code->instructions.data());
    pc += pc->i;
    NEXT();
    QUICK(END_FINALLY, pc = frames_.back().code->instructions.data() + A.integer);
RAISE:
    SAVE();
    Raise(A.object);
    goto unwind;
RAISE_AGAIN:
    SAVE();
    Raise(std::exchange(A.object, nullptr));
    goto unwind;

    SIMPLE(PRINT_VALUE, PrintText(TextOf(static_cast<Kind>(pc->b), A) + "\n"));
    SIMPLE(PRINT_STRING, PrintString(A.string));
    SIMPLE(SHOW, PrintText(DisplayText(A.object) + "\n"));
    SIMPLE(PRINT_LINE, PrintText("\n"));

overflow:
    SAVE();
    RaiseNew("OverflowException", 0, "the result is too large");
    goto failed;
divisionByZero:
    SAVE();
    RaiseDivisionByZero();
failed:
    SAVE();
unwind:
    if (!Unwind(entry)) return false;
    pc = frames_.back().pc;
    base = frames_.back().base;
    DISPATCH();
}

} // namespace host::language
