// Arithmetic of Int64 and Currency. false when the result does not fit; nothing is changed then.
#pragma once

#include <cstdint>

namespace host::language {

inline bool AddWide(int64_t left, int64_t right, int64_t& result) {
    int64_t sum = 0;
    if (__builtin_add_overflow(left, right, &sum)) return false;
    result = sum;
    return true;
}

inline bool SubtractWide(int64_t left, int64_t right, int64_t& result) {
    int64_t difference = 0;
    if (__builtin_sub_overflow(left, right, &difference)) return false;
    result = difference;
    return true;
}

inline bool MultiplyInt64(int64_t left, int64_t right, int64_t& result) {
    int64_t product = 0;
    if (__builtin_mul_overflow(left, right, &product)) return false;
    result = product;
    return true;
}

// The divisors must not be 0. Amounts are rounded, halves away from zero.
bool DivideInt64(int64_t left, int64_t right, int64_t& result);
int64_t ModuloWide(int64_t left, int64_t right);
bool MultiplyCurrency(int64_t left, int64_t right, int64_t& result);
bool DivideCurrency(int64_t left, int64_t right, int64_t& result);

} // namespace host::language
