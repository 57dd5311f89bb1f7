// Numbers of all kinds: which one two of them have in common, their order, conversion and text.
#pragma once

#include "host/runtime/call.h"
#include "host/runtime/signature.h"

#include <compare>
#include <cstdint>
#include <string>

namespace host {

// What arithmetic on the two is done in; Kind::NOTHING for a Double and a Currency.
Kind CommonNumber(Kind left, Kind right);

// Exactly, whatever the two are; a Currency and a Double as Doubles.
std::partial_ordering CompareNumbers(Kind leftKind, Slot left, Kind rightKind, Slot right);

// Cuts off fractions of what becomes an Integer or Int64, rounds what becomes a Currency. false when the number does
// not fit, or when the Double nearest to an Int64 is another number.
bool ConvertNumber(Kind from, Slot value, Kind to, Slot& result);

// As Print shows it.
std::string NumberText(Kind kind, Slot value);

} // namespace host
