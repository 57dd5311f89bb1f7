// The opcode loop.
#include "host/language/attachments.h"
#include "host/language/display.h"
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
    const Code* callee = nullptr; // of a call that is being made

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
// An instruction that does one thing and goes on.
#define SIMPLE(name, ...)                                                                                              \
    name:                                                                                                              \
    __VA_ARGS__;                                                                                                       \
    NEXT()
#define FAIL_UNLESS(condition)                                                                                         \
    do {                                                                                                               \
        if (!(condition)) [[unlikely]]                                                                                 \
            goto failed;                                                                                               \
    } while (false)
#define FIT(condition)                                                                                                 \
    do {                                                                                                               \
        if (!(condition)) [[unlikely]]                                                                                 \
            goto overflow;                                                                                             \
    } while (false)
#define NEED_DIVISOR(divisor)                                                                                          \
    do {                                                                                                               \
        if ((divisor) == 0) [[unlikely]]                                                                               \
            goto divisionByZero;                                                                                       \
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

    for (;;) {
        try {
            DISPATCH();

            SIMPLE(LOAD_INTEGER, A.integer = pc->i);
            SIMPLE(LOAD_DOUBLE, A.number = tables.doubles[static_cast<size_t>(pc->i)]);
            SIMPLE(LOAD_WIDE, A.wide = tables.wides[static_cast<size_t>(pc->i)]);
            SIMPLE(LOAD_STRING, A.string = tables.strings[static_cast<size_t>(pc->i)]; LockString(A.string));
            SIMPLE(BORROW_STRING, A.string = tables.strings[static_cast<size_t>(pc->i)]);
            SIMPLE(LOAD_NIL, A = Slot{.number = 0});
            SIMPLE(MOVE, A = B);
            SIMPLE(COPY_STRING, A.string = B.string; LockString(A.string));
            SIMPLE(COPY_OBJECT, A.object = B.object; LockObject(A.object));
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
            SIMPLE(TAKE_STRING, UnlockString(std::exchange(A.string, B.string)));
            SIMPLE(TAKE_OBJECT, SAVE(); UnlockObject(std::exchange(A.object, B.object)));
            SIMPLE(RELEASE_STRING, UnlockString(A.string));
            SIMPLE(RELEASE_OBJECT, SAVE(); UnlockObject(A.object));

            SIMPLE(LOAD_GLOBAL, A = globals[pc->i]);
            SIMPLE(LOAD_GLOBAL_STRING, A.string = globals[pc->i].string; LockString(A.string));
            SIMPLE(LOAD_GLOBAL_OBJECT, A.object = globals[pc->i].object; LockObject(A.object));
            SIMPLE(STORE_GLOBAL, globals[pc->i] = A);
            SIMPLE(TAKE_GLOBAL_STRING, UnlockString(std::exchange(globals[pc->i].string, A.string)));
            SIMPLE(TAKE_GLOBAL_OBJECT, SAVE(); UnlockObject(std::exchange(globals[pc->i].object, A.object)));

            SIMPLE(ADDRESS_LOCAL, A.pointer = &B);
            SIMPLE(ADDRESS_GLOBAL, A.pointer = &globals[pc->i]);
        ADDRESS_FIELD:
            SAVE();
            NEED_OBJECT(B.object, "the object is Nil");
            A.pointer = &DataAt<std::byte>(B.object, pc->c);
            NEXT();
            SIMPLE(LOAD_REFERENCE_WORD, A.integer = *static_cast<int32_t*>(B.pointer));
            SIMPLE(LOAD_REFERENCE_WIDE, A.wide = *static_cast<int64_t*>(B.pointer));
            SIMPLE(LOAD_REFERENCE_STRING, A.string = *static_cast<String**>(B.pointer); LockString(A.string));
            SIMPLE(LOAD_REFERENCE_OBJECT, A.object = *static_cast<Object**>(B.pointer); LockObject(A.object));
            SIMPLE(STORE_REFERENCE_WORD, *static_cast<int32_t*>(A.pointer) = B.integer);
            SIMPLE(STORE_REFERENCE_WIDE, *static_cast<int64_t*>(A.pointer) = B.wide);
            SIMPLE(TAKE_REFERENCE_STRING, UnlockString(std::exchange(*static_cast<String**>(A.pointer), B.string)));
            SIMPLE(TAKE_REFERENCE_OBJECT, SAVE();
                   UnlockObject(std::exchange(*static_cast<Object**>(A.pointer), B.object)));

            SIMPLE(LOAD_FIELD_WORD, NEED_OBJECT(B.object, "the object is Nil");
                   A.integer = DataAt<int32_t>(B.object, pc->c));
            SIMPLE(LOAD_FIELD_WIDE, NEED_OBJECT(B.object, "the object is Nil");
                   A.wide = DataAt<int64_t>(B.object, pc->c));
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
            SIMPLE(LOAD_ELEMENT_WORD, NEED_ELEMENT(B.array, C.integer); A.integer = B.array->Integers()[C.integer]);
            SIMPLE(LOAD_ELEMENT_WIDE, NEED_ELEMENT(B.array, C.integer); A.wide = B.array->Wides()[C.integer]);
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
            SIMPLE(STORE_ELEMENT_WORD, NEED_ELEMENT(A.array, B.integer); A.array->Integers()[B.integer] = C.integer);
            SIMPLE(STORE_ELEMENT_WIDE, NEED_ELEMENT(A.array, B.integer); A.array->Wides()[B.integer] = C.wide);
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
            SIMPLE(ARRAY_BOUND, A.integer = UpperBound(B.array));
        ARRAY_POP : {
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

            SIMPLE(ADD_INTEGER, A.integer = WrappingAdd(B.integer, C.integer));
            SIMPLE(ADD_CONSTANT, A.integer = WrappingAdd(B.integer, static_cast<int16_t>(pc->c)));
            SIMPLE(SUBTRACT_INTEGER, A.integer = WrappingSubtract(B.integer, C.integer));
            SIMPLE(MULTIPLY_INTEGER, A.integer = WrappingMultiply(B.integer, C.integer));
            SIMPLE(DIVIDE_INTEGER, NEED_DIVISOR(C.integer); A.integer = WrappingDivide(B.integer, C.integer));
            SIMPLE(MODULO_INTEGER, NEED_DIVISOR(C.integer); A.integer = WrappingModulo(B.integer, C.integer));
            SIMPLE(NEGATE_INTEGER, A.integer = WrappingSubtract(0, B.integer));
            SIMPLE(AND_INTEGER, A.integer = B.integer & C.integer);
            SIMPLE(OR_INTEGER, A.integer = B.integer | C.integer);
            SIMPLE(XOR_INTEGER, A.integer = B.integer ^ C.integer);
            SIMPLE(NOT_INTEGER, A.integer = ~B.integer);
            SIMPLE(NOT_BOOLEAN, A.integer = B.integer == 0);
            SIMPLE(ADD_DOUBLE, A.number = B.number + C.number);
            SIMPLE(SUBTRACT_DOUBLE, A.number = B.number - C.number);
            SIMPLE(MULTIPLY_DOUBLE, A.number = B.number * C.number);
            SIMPLE(DIVIDE_DOUBLE, NEED_DIVISOR(C.number); A.number = B.number / C.number);
            SIMPLE(MODULO_DOUBLE, NEED_DIVISOR(C.number); A.number = std::fmod(B.number, C.number));
            SIMPLE(POWER_DOUBLE, A.number = std::pow(B.number, C.number));
            SIMPLE(NEGATE_DOUBLE, A.number = -B.number);
            SIMPLE(ADD_WIDE, FIT(AddWide(B.wide, C.wide, A.wide)));
            SIMPLE(SUBTRACT_WIDE, FIT(SubtractWide(B.wide, C.wide, A.wide)));
            SIMPLE(NEGATE_WIDE, FIT(SubtractWide(0, B.wide, A.wide)));
            SIMPLE(MODULO_WIDE, NEED_DIVISOR(C.wide); A.wide = ModuloWide(B.wide, C.wide));
            SIMPLE(MULTIPLY_INT64, FIT(MultiplyInt64(B.wide, C.wide, A.wide)));
            SIMPLE(DIVIDE_INT64, NEED_DIVISOR(C.wide); FIT(DivideInt64(B.wide, C.wide, A.wide)));
            SIMPLE(AND_INT64, A.wide = B.wide & C.wide);
            SIMPLE(OR_INT64, A.wide = B.wide | C.wide);
            SIMPLE(XOR_INT64, A.wide = B.wide ^ C.wide);
            SIMPLE(NOT_INT64, A.wide = ~B.wide);
            SIMPLE(MULTIPLY_CURRENCY, FIT(MultiplyCurrency(B.wide, C.wide, A.wide)));
            SIMPLE(DIVIDE_CURRENCY, NEED_DIVISOR(C.wide); FIT(DivideCurrency(B.wide, C.wide, A.wide)));
        ADD_STRING : {
            String* joined = AddStrings(B.string, C.string);
            FAIL_UNLESS(joined != nullptr || !IsExceptionPending());
            A.string = joined;
            NEXT();
        }
            SIMPLE(APPEND_STRING, A.string = AppendString(A.string, B.string); FAIL_UNLESS(!IsExceptionPending()));
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

            SIMPLE(EQUAL_INTEGER, A.integer = B.integer == C.integer);
            SIMPLE(UNEQUAL_INTEGER, A.integer = B.integer != C.integer);
            SIMPLE(LESS_INTEGER, A.integer = B.integer < C.integer);
            SIMPLE(LESS_EQUAL_INTEGER, A.integer = B.integer <= C.integer);
            SIMPLE(EQUAL_DOUBLE, A.integer = B.number == C.number);
            SIMPLE(UNEQUAL_DOUBLE, A.integer = B.number != C.number);
            SIMPLE(LESS_DOUBLE, A.integer = B.number < C.number);
            SIMPLE(LESS_EQUAL_DOUBLE, A.integer = B.number <= C.number);
            SIMPLE(EQUAL_WIDE, A.integer = B.wide == C.wide);
            SIMPLE(UNEQUAL_WIDE, A.integer = B.wide != C.wide);
            SIMPLE(LESS_WIDE, A.integer = B.wide < C.wide);
            SIMPLE(LESS_EQUAL_WIDE, A.integer = B.wide <= C.wide);
            SIMPLE(EQUAL_STRING, A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) == 0));
            SIMPLE(UNEQUAL_STRING, A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) != 0));
            SIMPLE(LESS_STRING, A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) < 0));
            SIMPLE(LESS_EQUAL_STRING, A.integer = static_cast<int32_t>(CompareStrings(B.string, C.string) <= 0));
            SIMPLE(EQUAL_BOOLEAN, A.integer = static_cast<int32_t>((B.integer != 0) == (C.integer != 0)));
            SIMPLE(UNEQUAL_BOOLEAN, A.integer = static_cast<int32_t>((B.integer != 0) != (C.integer != 0)));
            SIMPLE(EQUAL_OBJECT, A.integer = B.object == C.object);
            SIMPLE(UNEQUAL_OBJECT, A.integer = B.object != C.object);

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

            SIMPLE(INTEGER_TO_DOUBLE, A.number = B.integer);
            SIMPLE(DOUBLE_TO_INTEGER, FAIL_UNLESS(CutToInteger(B.number, A.integer)));
            SIMPLE(INTEGER_TO_WIDE, A.wide = B.integer);
            SIMPLE(CONVERT_NUMBER, FAIL_UNLESS(ConvertOrRaise(pc->c, B, A)));
        BOX : {
            Object* box = Box(static_cast<Kind>(pc->c), B);
            FAIL_UNLESS(box != nullptr);
            A.object = box;
            NEXT();
        }
            SIMPLE(UNBOX, FAIL_UNLESS(UnboxTo(static_cast<Kind>(pc->c), B.object, A)));
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
            SIMPLE(CHECK_NIL, NEED_OBJECT(A.object, "the object is Nil"));
            SIMPLE(IS_A, A.integer = B.object != nullptr && B.object->cls->IsA(tables.classes[pc->c]));

            SIMPLE(JUMP, pc += pc->i);
            SIMPLE(JUMP_BACK, POLL(); pc += pc->i);
            SIMPLE(JUMP_IF, if (A.integer != 0) pc += pc->i);
            SIMPLE(JUMP_UNLESS, if (A.integer == 0) pc += pc->i);
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
        FOR_TEST_WIDE:
            SKIP_IF(C.wide >= 0 ? A.wide <= B.wide : A.wide >= B.wide);
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
        FOR_NEXT_WIDE : {
            bool goesOn = AddWide(A.wide, C.wide, A.wide) && (C.wide >= 0 ? A.wide <= B.wide : A.wide >= B.wide);
            if (!goesOn) ++pc;
            NEXT();
        }

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
            A = value;
            NEXT();
        }
            SIMPLE(BIND_FUNCTION, AsDelegate(A.object)->code = tables.codes[static_cast<size_t>(pc->i)].get());
        BIND_METHOD:
            NEED_OBJECT(B.object, "the object is Nil");
            Bind(A.object, B.object, tables.codes[pc->c].get());
            NEXT();
        BIND_VIRTUAL:
            NEED_OBJECT(B.object, "the object is Nil");
            Bind(A.object, B.object, static_cast<const ClassCode*>(B.object->cls->program)->virtualMethods[pc->c]);
            NEXT();
        ADD_HANDLER:
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
            A = value;
            NEXT();
        }
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
            A = value;
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
            SIMPLE(END_FINALLY, pc = frames_.back().code->instructions.data() + A.integer);
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
            RaiseNew("OverflowException", 0, "the result is too large");
            goto failed;
        divisionByZero:
            RaiseDivisionByZero();
        failed:
            SAVE();
        unwind:
            if (!Unwind(entry)) return false;
            pc = frames_.back().pc;
            base = frames_.back().base;
            DISPATCH();
        } catch (const std::bad_alloc&) {
            SAVE();
        }
        RaiseOutOfMemory();
        if (!Unwind(entry)) return false;
        pc = frames_.back().pc;
        base = frames_.back().base;
    }

#undef A
#undef B
#undef C
#undef DISPATCH
#undef NEXT
#undef SIMPLE
#undef FAIL_UNLESS
#undef FIT
#undef NEED_DIVISOR
#undef NEED_OBJECT
#undef NEED_ELEMENT
#undef SAVE
#undef POLL
#undef SKIP_IF
}

} // namespace host::language
