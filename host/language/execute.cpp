#include "host/language/folding.h"
#include "host/language/machine.h"
#include "host/language/operations.h"
#include "host/runtime/array.h"
#include "host/runtime/encoding.h"
#include "host/runtime/property.h"
#include "host/runtime/value.h"
#include "host/runtime/variant.h"

#include <cmath>

namespace host::language {

namespace {

// Arguments of a call that does not take place.
void ReleaseArguments(const Code& code, const Slot* window) {
    for (size_t i = 0; i < code.parameters.size(); ++i) ReleaseSlot(window[i], code.parameters[i]);
}

// What a native function returned although it raised an exception.
void ReleaseResult(Kind kind, Slot value) {
    if (kind == Kind::STRING) UnlockString(value.string);
    if (kind == Kind::OBJECT || kind == Kind::VARIANT || kind == Kind::ARRAY) UnlockObject(value.object);
}

void RaiseMismatch(const Object* object, const std::string& wanted) {
    RaiseNew("TypeMismatchException", 0, "a " + object->cls->name + " is not a " + wanted);
}

} // namespace

bool Machine::Execute() {
    static const void* const LABELS[] = {
#define X(name, operands) &&name, // NOLINT(bugprone-macro-parentheses): a label
        KOVA_INSTRUCTIONS(X)
#undef X
    };
    const size_t entry = frames_.size();
    const Tables& tables = environment_.tables;
    Slot* const globals = environment_.globals;
    const Instruction* pc = frames_.back().pc;
    Slot* base = frames_.back().base;

// The operands of the present instruction, and the way to the next one.
#define A (base[pc->a])
#define B (base[pc->b])
#define C (base[pc->c])
#define DISPATCH() goto*(LABELS[static_cast<size_t>(pc->opcode)]) // NOLINT(bugprone-macro-parentheses)
#define NEXT()                                                                                                         \
    do {                                                                                                               \
        ++pc;                                                                                                          \
        DISPATCH();                                                                                                    \
    } while (false)
#define FAIL_UNLESS(condition)                                                                                         \
    do {                                                                                                               \
        if (!(condition)) [[unlikely]]                                                                                 \
            goto failed;                                                                                               \
    } while (false)
#define NEED_OBJECT(object, what)                                                                                      \
    do {                                                                                                               \
        if ((object) == nullptr) [[unlikely]] {                                                                        \
            RaiseNilObject(what);                                                                                      \
            goto failed;                                                                                               \
        }                                                                                                              \
    } while (false)
#define NEED_ELEMENT(array, index)                                                                                     \
    do {                                                                                                               \
        NEED_OBJECT(array, "the array is Nil");                                                                        \
        if (static_cast<uint32_t>(index) >= static_cast<uint32_t>((array)->count)) [[unlikely]] {                      \
            RaiseOutOfBounds(index, array);                                                                            \
            goto failed;                                                                                               \
        }                                                                                                              \
    } while (false)
// Instructions that can come back to the machine: its frame must tell where it is.
#define SAVE() (frames_.back().pc = pc)
#define POLL()                                                                                                         \
    do {                                                                                                               \
        if (attention.load(std::memory_order_relaxed) != 0) [[unlikely]] {                                             \
            SAVE();                                                                                                    \
            if (!Poll()) goto failed;                                                                                  \
        }                                                                                                              \
    } while (false)

    DISPATCH();

LOAD_INTEGER:
    A.integer = pc->i;
    NEXT();
LOAD_DOUBLE:
    A.number = tables.doubles[static_cast<size_t>(pc->i)];
    NEXT();
LOAD_STRING:
    A.string = tables.strings[static_cast<size_t>(pc->i)];
    LockString(A.string);
    NEXT();
BORROW_STRING:
    A.string = tables.strings[static_cast<size_t>(pc->i)];
    NEXT();
LOAD_NIL:
    A = Slot{.number = 0};
    NEXT();
MOVE:
    A = B;
    NEXT();
COPY_STRING:
    A.string = B.string;
    LockString(A.string);
    NEXT();
COPY_OBJECT:
    A.object = B.object;
    LockObject(A.object);
    NEXT();
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
TAKE_STRING:
    UnlockString(std::exchange(A.string, B.string));
    NEXT();
TAKE_OBJECT:
    SAVE();
    UnlockObject(std::exchange(A.object, B.object));
    NEXT();
RELEASE_STRING:
    UnlockString(A.string);
    NEXT();
RELEASE_OBJECT:
    SAVE();
    UnlockObject(A.object);
    NEXT();

LOAD_GLOBAL:
    A = globals[pc->i];
    NEXT();
LOAD_GLOBAL_STRING:
    A.string = globals[pc->i].string;
    LockString(A.string);
    NEXT();
LOAD_GLOBAL_OBJECT:
    A.object = globals[pc->i].object;
    LockObject(A.object);
    NEXT();
STORE_GLOBAL:
    globals[pc->i] = A;
    NEXT();
TAKE_GLOBAL_STRING:
    UnlockString(std::exchange(globals[pc->i].string, A.string));
    NEXT();
TAKE_GLOBAL_OBJECT:
    SAVE();
    UnlockObject(std::exchange(globals[pc->i].object, A.object));
    NEXT();

ADDRESS_LOCAL:
    A.pointer = &B;
    NEXT();
ADDRESS_GLOBAL:
    A.pointer = &globals[pc->i];
    NEXT();
ADDRESS_FIELD:
    SAVE();
    NEED_OBJECT(B.object, "the object is Nil");
    A.pointer = &DataAt<std::byte>(B.object, pc->c);
    NEXT();
LOAD_REFERENCE_WORD:
    A.integer = *static_cast<int32_t*>(B.pointer);
    NEXT();
LOAD_REFERENCE_DOUBLE:
    A.number = *static_cast<double*>(B.pointer);
    NEXT();
LOAD_REFERENCE_STRING:
    A.string = *static_cast<String**>(B.pointer);
    LockString(A.string);
    NEXT();
LOAD_REFERENCE_OBJECT:
    A.object = *static_cast<Object**>(B.pointer);
    LockObject(A.object);
    NEXT();
STORE_REFERENCE_WORD:
    *static_cast<int32_t*>(A.pointer) = B.integer;
    NEXT();
STORE_REFERENCE_DOUBLE:
    *static_cast<double*>(A.pointer) = B.number;
    NEXT();
TAKE_REFERENCE_STRING:
    UnlockString(std::exchange(*static_cast<String**>(A.pointer), B.string));
    NEXT();
TAKE_REFERENCE_OBJECT:
    SAVE();
    UnlockObject(std::exchange(*static_cast<Object**>(A.pointer), B.object));
    NEXT();

LOAD_FIELD_WORD:
    NEED_OBJECT(B.object, "the object is Nil");
    A.integer = DataAt<int32_t>(B.object, pc->c);
    NEXT();
LOAD_FIELD_DOUBLE:
    NEED_OBJECT(B.object, "the object is Nil");
    A.number = DataAt<double>(B.object, pc->c);
    NEXT();
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
STORE_FIELD_DOUBLE:
    NEED_OBJECT(A.object, "the object is Nil");
    DataAt<double>(A.object, pc->c) = B.number;
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

NEW_ARRAY:
    A.array = NewArray(tables.arrayClasses[pc->c]);
    FAIL_UNLESS(A.array != nullptr);
    NEXT();
LOAD_ELEMENT_WORD:
    NEED_ELEMENT(B.array, C.integer);
    A.integer = B.array->Integers()[C.integer];
    NEXT();
LOAD_ELEMENT_DOUBLE:
    NEED_ELEMENT(B.array, C.integer);
    A.number = B.array->Numbers()[C.integer];
    NEXT();
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
STORE_ELEMENT_WORD:
    NEED_ELEMENT(A.array, B.integer);
    A.array->Integers()[B.integer] = C.integer;
    NEXT();
STORE_ELEMENT_DOUBLE:
    NEED_ELEMENT(A.array, B.integer);
    A.array->Numbers()[B.integer] = C.number;
    NEXT();
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
    NEED_OBJECT(A.array, "the array is Nil");
    FAIL_UNLESS(ArrayInsert(A.array, A.array->count, B));
    NEXT();
ARRAY_INSERT:
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
ARRAY_BOUND:
    A.integer = UpperBound(B.array);
    NEXT();
ARRAY_POP : {
    NEED_OBJECT(B.array, "the array is Nil");
    int32_t last = UpperBound(B.array);
    NEED_ELEMENT(B.array, last);
    A = ArrayTake(B.array, last);
    NEXT();
}
ARRAY_SORT:
    NEED_OBJECT(A.array, "the array is Nil");
    SortArray(*A.array);
    NEXT();
ARRAY_INDEX:
    NEED_OBJECT(B.array, "the array is Nil");
    A.integer = FindInArray(*B.array, C);
    NEXT();

ADD_INTEGER:
    A.integer = WrappingAdd(B.integer, C.integer);
    NEXT();
ADD_CONSTANT:
    A.integer = WrappingAdd(B.integer, static_cast<int16_t>(pc->c));
    NEXT();
SUBTRACT_INTEGER:
    A.integer = WrappingSubtract(B.integer, C.integer);
    NEXT();
MULTIPLY_INTEGER:
    A.integer = WrappingMultiply(B.integer, C.integer);
    NEXT();
DIVIDE_INTEGER:
    FAIL_UNLESS(DivideIntegers(B.integer, C.integer, A.integer));
    NEXT();
MODULO_INTEGER:
    FAIL_UNLESS(ModuloIntegers(B.integer, C.integer, A.integer));
    NEXT();
NEGATE_INTEGER:
    A.integer = WrappingSubtract(0, B.integer);
    NEXT();
AND_INTEGER:
    A.integer = B.integer & C.integer;
    NEXT();
OR_INTEGER:
    A.integer = B.integer | C.integer;
    NEXT();
XOR_INTEGER:
    A.integer = B.integer ^ C.integer;
    NEXT();
NOT_INTEGER:
    A.integer = ~B.integer;
    NEXT();
NOT_BOOLEAN:
    A.integer = B.integer == 0;
    NEXT();
ADD_DOUBLE:
    A.number = B.number + C.number;
    NEXT();
SUBTRACT_DOUBLE:
    A.number = B.number - C.number;
    NEXT();
MULTIPLY_DOUBLE:
    A.number = B.number * C.number;
    NEXT();
DIVIDE_DOUBLE:
    FAIL_UNLESS(DivideDoubles(B.number, C.number, A.number));
    NEXT();
MODULO_DOUBLE:
    FAIL_UNLESS(ModuloDoubles(B.number, C.number, A.number));
    NEXT();
POWER_DOUBLE:
    A.number = std::pow(B.number, C.number);
    NEXT();
NEGATE_DOUBLE:
    A.number = -B.number;
    NEXT();
ADD_STRING : {
    String* joined = AddStrings(B.string, C.string);
    FAIL_UNLESS(joined != nullptr || !IsExceptionPending());
    A.string = joined;
    NEXT();
}
APPEND_STRING:
    A.string = AppendString(A.string, B.string);
    FAIL_UNLESS(!IsExceptionPending());
    NEXT();
APPEND_GLOBAL:
    globals[pc->i].string = AppendString(globals[pc->i].string, A.string);
    FAIL_UNLESS(!IsExceptionPending());
    NEXT();
APPEND_FIELD : {
    auto& field = DataAt<String*>(A.object, pc->c);
    field = AppendString(field, B.string);
    FAIL_UNLESS(!IsExceptionPending());
    NEXT();
}

EQUAL_INTEGER:
    A.integer = B.integer == C.integer;
    NEXT();
UNEQUAL_INTEGER:
    A.integer = B.integer != C.integer;
    NEXT();
LESS_INTEGER:
    A.integer = B.integer < C.integer;
    NEXT();
LESS_EQUAL_INTEGER:
    A.integer = B.integer <= C.integer;
    NEXT();
EQUAL_DOUBLE:
    A.integer = B.number == C.number;
    NEXT();
UNEQUAL_DOUBLE:
    A.integer = B.number != C.number;
    NEXT();
LESS_DOUBLE:
    A.integer = B.number < C.number;
    NEXT();
LESS_EQUAL_DOUBLE:
    A.integer = B.number <= C.number;
    NEXT();
EQUAL_STRING:
    A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) == 0);
    NEXT();
UNEQUAL_STRING:
    A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) != 0);
    NEXT();
LESS_STRING:
    A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) < 0);
    NEXT();
LESS_EQUAL_STRING:
    A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) <= 0);
    NEXT();
EQUAL_BOOLEAN:
    A.integer = static_cast<int32_t>((B.integer != 0) == (C.integer != 0));
    NEXT();
UNEQUAL_BOOLEAN:
    A.integer = static_cast<int32_t>((B.integer != 0) != (C.integer != 0));
    NEXT();
EQUAL_OBJECT:
    A.integer = B.object == C.object;
    NEXT();
UNEQUAL_OBJECT:
    A.integer = B.object != C.object;
    NEXT();

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
    auto operation =
        static_cast<VariantOperation>(static_cast<int>(pc->opcode) - static_cast<int>(Opcode::VARIANT_ADD));
    Slot value{};
    FAIL_UNLESS(OperateVariants(operation, B.object, C.object, value));
    A = value;
    NEXT();
}

INTEGER_TO_DOUBLE:
    A.number = B.integer;
    NEXT();
DOUBLE_TO_INTEGER:
    A.integer = ToInteger(B.number);
    NEXT();
BOX_INTEGER : {
    Object* box = BoxInteger(B.integer);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
BOX_BOOLEAN : {
    Object* box = BoxBoolean(B.integer);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
BOX_DOUBLE : {
    Object* box = BoxDouble(B.number);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
BOX_STRING : {
    Object* box = BoxString(B.string);
    FAIL_UNLESS(box != nullptr);
    A.object = box;
    NEXT();
}
UNBOX_INTEGER:
    FAIL_UNLESS(UnboxTo(Kind::INTEGER, B.object, A));
    NEXT();
UNBOX_BOOLEAN:
    FAIL_UNLESS(UnboxTo(Kind::BOOLEAN, B.object, A));
    NEXT();
UNBOX_DOUBLE:
    FAIL_UNLESS(UnboxTo(Kind::DOUBLE, B.object, A));
    NEXT();
UNBOX_STRING:
    FAIL_UNLESS(UnboxTo(Kind::STRING, B.object, A));
    NEXT();
CHECK_CLASS : {
    const Class* wanted = tables.classes[static_cast<size_t>(pc->i)];
    if (A.object != nullptr && !A.object->cls->IsA(wanted)) [[unlikely]] {
        RaiseMismatch(A.object, wanted->name);
        goto failed;
    }
    NEXT();
}
CHECK_ARRAY : {
    const Class* wanted = tables.arrayClasses[pc->c];
    if (A.object != nullptr && A.object->cls != wanted) [[unlikely]] {
        RaiseMismatch(A.object, wanted->name);
        goto failed;
    }
    NEXT();
}
CHECK_NIL:
    NEED_OBJECT(A.object, "the object is Nil");
    NEXT();
IS_A:
    A.integer = B.object != nullptr && B.object->cls->IsA(tables.classes[pc->c]);
    NEXT();

JUMP:
    pc += pc->i;
    NEXT();
JUMP_BACK:
    POLL();
    pc += pc->i;
    NEXT();
JUMP_IF:
    if (A.integer != 0) pc += pc->i;
    NEXT();
JUMP_UNLESS:
    if (A.integer == 0) pc += pc->i;
    NEXT();
// A test that holds skips the jump behind it, one that fails takes it.
#define SKIP_IF(condition)                                                                                             \
    do {                                                                                                               \
        bool holds = (condition);                                                                                      \
        ++pc;                                                                                                          \
        if (!holds) pc += pc->i;                                                                                       \
        NEXT();                                                                                                        \
    } while (false)
TEST_EQUAL:
    SKIP_IF(A.integer == B.integer);
TEST_UNEQUAL:
    SKIP_IF(A.integer != B.integer);
TEST_LESS:
    SKIP_IF(A.integer < B.integer);
TEST_LESS_EQUAL:
    SKIP_IF(A.integer <= B.integer);
FOR_TEST_INTEGER:
    SKIP_IF(C.integer >= 0 ? A.integer <= B.integer : A.integer >= B.integer);
FOR_TEST_DOUBLE:
    SKIP_IF(C.number >= 0 ? A.number <= B.number : A.number >= B.number);
// The jump behind leads to the next turn; it is skipped when the limit is passed.
FOR_NEXT_INTEGER : {
    int64_t following = int64_t{A.integer} + C.integer;
    bool goesOn = C.integer >= 0 ? following <= B.integer : following >= B.integer;
    A.integer = WrappingAdd(A.integer, C.integer);
    if (!goesOn) ++pc;
    NEXT();
}
FOR_NEXT_DOUBLE : {
    A.number += C.number;
    bool goesOn = C.number >= 0 ? A.number <= B.number : A.number >= B.number;
    if (!goesOn) ++pc;
    NEXT();
}

CALL : {
    const Code* code = tables.codes[static_cast<size_t>(pc->i)].get();
    Slot* window = &A;
    SAVE();
    if (!Push(*code, window)) [[unlikely]] {
        ReleaseArguments(*code, window);
        goto failed;
    }
    base = window;
    pc = code->instructions.data();
    POLL();
    DISPATCH();
}
CALL_VIRTUAL : {
    Slot* window = &A;
    SAVE();
    Object* object = window->object;
    const Code* code;
    if (object == nullptr) [[unlikely]] {
        code = tables.codes[pc->c].get();
        ReleaseArguments(*code, window);
        RaiseNilObject("the object is Nil");
        goto failed;
    }
    code = static_cast<const ClassCode*>(object->cls->program)->virtualMethods[pc->b];
    if (!Push(*code, window)) [[unlikely]] {
        ReleaseArguments(*code, window);
        goto failed;
    }
    base = window;
    pc = code->instructions.data();
    POLL();
    DISPATCH();
}
CALL_NATIVE : {
    const NativeCall& call = tables.natives[pc->c];
    SAVE();
    if (call.hasObject) NEED_OBJECT(B.object, "the object is Nil");
    Slot value{};
    CallNative(call.shape, call.function, &B, &value);
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        if (call.result != Kind::NOTHING) ReleaseResult(call.result, value);
        goto failed;
    }
    A = value;
    NEXT();
}
GET_PROPERTY : {
    const Property& property = *tables.properties[pc->c];
    SAVE();
    if (property.owner != nullptr) NEED_OBJECT(B.object, "the object is Nil");
    Slot value = ReadProperty(B.object, property);
    if (IsExceptionPending() || isStopped_) [[unlikely]] {
        ReleaseResult(property.type.kind, value);
        goto failed;
    }
    A = value;
    NEXT();
}
SET_PROPERTY : {
    const Property& property = *tables.properties[pc->c];
    SAVE();
    if (property.owner != nullptr) NEED_OBJECT(A.object, "the object is Nil");
    WriteProperty(A.object, property, B);
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
    *base = A;
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
END_FINALLY:
    pc = frames_.back().code->instructions.data() + A.integer;
    NEXT();
RAISE:
    SAVE();
    Raise(A.object);
    goto unwind;
RAISE_AGAIN:
    SAVE();
    Raise(std::exchange(A.object, nullptr));
    goto unwind;

PRINT_INTEGER:
    PrintText(std::to_string(A.integer) + "\n");
    NEXT();
PRINT_BOOLEAN:
    PrintText(A.integer != 0 ? "True\n" : "False\n");
    NEXT();
PRINT_DOUBLE:
    PrintText(TextOf(A.number) + "\n");
    NEXT();
PRINT_STRING:
    PrintString(A.string);
    NEXT();
PRINT_VARIANT:
    PrintText(TextOfVariant(A.object) + "\n");
    NEXT();
PRINT_LINE:
    PrintText("\n");
    NEXT();

failed:
    SAVE();
unwind:
    if (!Unwind(entry)) return false;
    pc = frames_.back().pc;
    base = frames_.back().base;
    DISPATCH();

#undef A
#undef B
#undef C
#undef DISPATCH
#undef NEXT
#undef FAIL_UNLESS
#undef NEED_OBJECT
#undef NEED_ELEMENT
#undef SAVE
#undef POLL
#undef SKIP_IF
}

} // namespace host::language
