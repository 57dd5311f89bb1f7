// Operations of the machine that are too long for its loop. Those that can fail raise an exception and answer false.
#pragma once

#include "host/language/code.h"
#include "host/runtime/array.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"

#include <string>
#include <string_view>

namespace host::language {

enum class VariantOperation : uint8_t {
    ADD,
    SUBTRACT,
    MULTIPLY,
    DIVIDE,
    INTEGER_DIVIDE,
    MODULO,
    POWER,
    EQUAL,
    LESS,
    LESS_EQUAL,
};

// Arithmetic gives a new Variant in result.object, comparisons an Integer 0 or 1.
bool OperateVariants(VariantOperation operation, Object* left, Object* right, Slot& result);

// The value of a Variant as another type. Integer and Double convert to each other when nothing is lost.
bool UnboxTo(Kind kind, Object* variant, Slot& result);

bool DivideIntegers(int32_t left, int32_t right, int32_t& result);
bool ModuloIntegers(int32_t left, int32_t right, int32_t& result);
bool DivideDoubles(double left, double right, double& result);
bool ModuloDoubles(double left, double right, double& result);

// The number without its fraction; false when no Integer is as large.
bool CutToInteger(double number, int32_t& result);

// Gives the array this last index; below 0 it becomes empty.
bool ResizeToBound(Array& array, int32_t bound);
int32_t FindInArray(const Array& array, Slot value);
// "index 3 of an array of 2"
void RaiseOutOfBounds(int32_t index, const Array* array);
void RaiseNilObject(std::string_view what);

// A value as an error report shows it: "abc", 5, XmlElement; long texts are cut.
std::string Abridged(Kind kind, Slot value);

// What Print shows.
std::string TextOfVariant(Object* variant);

// Gives back what a variable or argument of this storage holds.
void ReleaseSlot(Slot slot, Storage storage);

// What a native function returned although it raised an exception.
void ReleaseResult(Kind kind, Slot value);
void RaiseMismatch(const Object* object, const std::string& wanted);

} // namespace host::language
