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

bool AddInteger(Object* left, int32_t right, Slot& result);

// The value of a Variant as another type. Numbers convert to each other when nothing is lost.
bool ConvertTo(Kind kind, Kind actual, const Slot& value, Slot& result);
bool UnboxTo(Kind kind, Object* variant, Slot& result);

// A number as one of another kind; `kinds` is the ConversionOf the two.
bool ConvertOrRaise(uint16_t kinds, Slot value, Slot& result);
constexpr uint16_t ConversionOf(Kind from, Kind to) {
    return static_cast<uint16_t>((static_cast<uint16_t>(from) << 8) | static_cast<uint16_t>(to));
}

// The number without its fraction; false when no Integer is as large.
bool CutToInteger(double number, int32_t& result);

// Gives the array this last index; below 0 it becomes empty.
bool ResizeToBound(Array& array, int32_t bound);
int32_t FindInArray(const Array& array, Slot value);
// "index 3 of an array of 2"
void RaiseOutOfBounds(int32_t index, const Array* array);
void RaiseNilObject(std::string_view what);
void RaiseDivisionByZero();

// A value as an error report shows it: "abc", 5, XmlElement; long texts are cut.
std::string Abridged(Kind kind, Slot value);

// What Print shows.
std::string TextOf(Kind kind, Slot value);

// Gives back what a variable or argument of this storage holds.
void ReleaseSlot(Slot slot, Storage storage);

// What a native function returned although it raised an exception.
void ReleaseResult(Kind kind, Slot value);
void RaiseMismatch(const Object* object, const std::string& wanted);

} // namespace host::language
