// Typed calls between the host and native code, both ways, by libffi (cdecl).
#pragma once

#include "host/runtime/encoding.h"
#include "host/runtime/signature.h"

#include <ffi.h>

#include <cstdint>
#include <memory>
#include <vector>

namespace host {

struct Array;
struct Object;
struct String;

// One value on its way in or out of a call; which member holds it follows from its Kind.
union Slot {
    int32_t integer; // Integer and Boolean
    double number;
    int64_t wide; // Int64 and Currency, and a copy of any other
    String* string;
    Object* object; // Object and Variant
    Array* array;
    void* pointer; // ByRef: the variable
    uint32_t words[2];
};
static_assert(sizeof(Slot) == 8);

// Word by word: most values were written as one word just before, and a processor waits when such a one is read as a
// part of 64 bits.
inline void CopySlot(Slot& to, const Slot& from) {
    to.words[0] = from.words[0];
    to.words[1] = from.words[1];
}

// What a call passes and returns, derived from a signature; made once for each shape and shared.
struct CallShape {
    std::vector<uint8_t> isWide; // per argument: a value that takes two words
    Kind result;
    std::vector<ffi_type*> types;
    ffi_cif cif;
    int32_t (*wordCall)(void* function, const Slot* arguments) = nullptr; // a direct call, where libffi is not needed
};

// The object (if any) counts as the first argument.
const CallShape* ShapeOf(const Signature& signature, bool withObject);
// As ShapeOf, with the new value as a last argument and no result: the setter of a method that can be assigned to.
const CallShape* SetterShapeOf(const Signature& signature, bool withObject);
const CallShape* ShapeOf(const std::vector<Kind>& arguments, Kind result);

// For CallNative: calls that pass more than words, or many.
void CallThroughFfi(const CallShape& shape, void* function, const Slot* arguments, Slot* result);

// Calls a native function. `arguments` holds one slot for each argument, the object first. Arguments are borrowed by
// the callee; a string or object result carries one reference for the caller. The unused part of the result is
// unspecified. Strings lent by the conversion pool during the call are released. An exception raised meanwhile is
// pending afterwards.
inline void CallNative(const CallShape* shape, void* function, const Slot* arguments, Slot* result) {
    const size_t mark = ConversionPoolMark();
    if (shape->wordCall != nullptr) {
        int32_t word = shape->wordCall(function, arguments);
        if (result != nullptr) result->integer = word;
    } else {
        CallThroughFfi(*shape, function, arguments, result);
    }
    ReleaseConversionPool(mark);
}

// Called for a call of a closure's function: arguments are borrowed from the native caller, the result (if the shape
// has one) passes with a reference. Must not throw. `result` starts as 0.
using ClosureCallback = void (*)(void* context, const Slot* arguments, Slot* result);

// A native function that calls back. The function is valid while the closure lives. An exception that was pending when
// the function is called is set aside during the callback, so that the program does not meet it there.
class Closure {
public:
    Closure(const CallShape* shape, ClosureCallback callback, void* context);
    ~Closure();
    Closure(const Closure&) = delete;
    Closure& operator=(const Closure&) = delete;

    void* Function() const { return function_; }

private:
    void CallWithWide(const ffi_raw* words, Slot& value) const;
    void CallBack(const Slot* arguments, Slot& value) const;
    static void Enter(ffi_cif* cif, void* result, ffi_raw* words, void* self) noexcept;

    const CallShape* shape_;
    ClosureCallback callback_;
    void* context_;
    ffi_raw_closure* memory_ = nullptr;
    void* function_ = nullptr;
};

} // namespace host
