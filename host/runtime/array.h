// Host arrays: one-dimensional, reference-counted (an array is an object), elements of one type, indexed from 0.
#pragma once

#include "host/runtime/call.h"
#include "host/runtime/object.h"
#include "host/runtime/signature.h"

#include <cstdint>

namespace host {

// Elements lie one after the other, of 8 bytes if they are wide, else of a word. Strings, objects and variants are
// owned. There may be room at both ends, so that elements come and go there in constant time.
struct Array : Object {
    Kind element;
    int32_t count;
    int32_t front;    // elements that there is room for before the first
    int32_t capacity; // and in all
    void* data;       // the first element

    int32_t* Integers() { return static_cast<int32_t*>(data); } // Integer and Boolean
    int64_t* Wides() { return static_cast<int64_t*>(data); }    // Int64 and Currency
    double* Numbers() { return static_cast<double*>(data); }
    String** Strings() { return static_cast<String**>(data); }
    Object** Objects() { return static_cast<Object**>(data); } // Object and Variant
};

// The internal class of arrays of this element type.
Class* ArrayClass(const Type& elementType);

// A new array of `count` zero elements, with one reference. nil without memory.
Array* NewArray(Class* arrayClass, int32_t count = 0);
Array* NewArray(const Type& elementType, int32_t count = 0);

// nullptr unless the object is an array.
Array* AsArray(Object* object);

inline int32_t UpperBound(const Array* array) { return array != nullptr ? array->count - 1 : -1; }

// The element, borrowed / with the reference of `value` taken over. The index must be within bounds.
Slot ArrayGet(const Array* array, int32_t index);
void ArraySet(Array* array, int32_t index, Slot value);

// false without memory. Elements cut off are released; new ones are zero.
bool ArrayResize(Array* array, int32_t count);
// Inserts at 0 … count, taking over the reference of `value`.
bool ArrayInsert(Array* array, int32_t index, Slot value);
// At the end.
inline bool ArrayAppend(Array* array, const Slot& value) {
    if (array->count >= array->capacity - array->front) return ArrayInsert(array, array->count, value);
    const int32_t index = array->count++;
    if (IsWide(array->element))
        array->Wides()[index] = value.wide;
    else
        array->Integers()[index] = value.integer;
    return true;
}
// Removes an element; its reference passes to the caller.
Slot ArrayTake(Array* array, int32_t index);

} // namespace host
