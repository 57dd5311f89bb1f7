// Arrays: their memory and their elements.
#include "host/runtime/array.h"

#include "host/runtime/class_program.h"
#include "host/runtime/exception.h"
#include "host/syntax/names.h"
#include "host/runtime/string.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace host {

namespace {

constexpr int32_t FIRST_CAPACITY = 4;

size_t ElementSize(Kind element) { return element == Kind::DOUBLE ? sizeof(double) : sizeof(int32_t); }

std::byte* ElementAt(const Array* array, int32_t index) {
    return static_cast<std::byte*>(array->data) + static_cast<size_t>(index) * ElementSize(array->element);
}

// Index and reference of an owned element are given up.
void ReleaseElements(Array* array, int32_t first, int32_t end) {
    for (int32_t i = first; i < end; ++i) {
        if (array->element == Kind::STRING) {
            UnlockString(std::exchange(array->Strings()[i], nullptr));
        } else if (array->element == Kind::OBJECT || array->element == Kind::VARIANT) {
            UnlockObject(std::exchange(array->Objects()[i], nullptr));
        }
    }
}

void FreeArray(Object* object, Class*) {
    auto* array = static_cast<Array*>(object);
    // Whatever a released element does with the array, it sees it shrink.
    while (array->count > 0) {
        int32_t last = --array->count;
        ReleaseElements(array, last, last + 1);
    }
    std::free(array->data);
}

bool Reserve(Array* array, int32_t count) {
    if (count <= array->capacity) return true;
    const size_t size = ElementSize(array->element);
    int32_t grown = array->capacity > std::numeric_limits<int32_t>::max() / 2 ? count : array->capacity * 2;
    int32_t capacity = std::max({count, grown, FIRST_CAPACITY});
    void* data = static_cast<size_t>(capacity) <= std::numeric_limits<int32_t>::max() / size
                     ? std::realloc(array->data, static_cast<size_t>(capacity) * size)
                     : nullptr;
    if (data == nullptr) {
        RaiseOutOfMemory();
        return false;
    }
    array->data = data;
    array->capacity = capacity;
    return true;
}

} // namespace

Class* ArrayClass(const Type& elementType) {
    static auto& classes = *new std::unordered_map<std::string, Class*>;
    Class*& cls = classes[FoldName(elementType.Text())];
    if (cls == nullptr) {
        cls = DefineInternalClass(elementType.Text() + "()", static_cast<int32_t>(sizeof(Array) - sizeof(Object)),
                                  FreeArray);
        cls->boxKind = Kind::ARRAY;
        cls->elementType = elementType;
    }
    return cls;
}

Array* NewArray(Class* arrayClass, int32_t count) {
    auto* array = static_cast<Array*>(NewObject(arrayClass));
    if (array == nullptr) return nullptr;
    array->element = arrayClass->elementType.kind;
    if (count > 0 && !ArrayResize(array, count)) {
        UnlockObject(array);
        return nullptr;
    }
    return array;
}

Array* NewArray(const Type& elementType, int32_t count) { return NewArray(ArrayClass(elementType), count); }

Array* AsArray(Object* object) {
    return (object != nullptr) && object->cls->boxKind == Kind::ARRAY ? static_cast<Array*>(object) : nullptr;
}

Slot ArrayGet(const Array* array, int32_t index) {
    Slot value{};
    std::memcpy(&value, ElementAt(array, index), ElementSize(array->element));
    return value;
}

void ArraySet(Array* array, int32_t index, Slot value) {
    Slot replaced = ArrayGet(array, index);
    std::memcpy(ElementAt(array, index), &value, ElementSize(array->element));
    if (array->element == Kind::STRING) UnlockString(replaced.string);
    if (array->element == Kind::OBJECT || array->element == Kind::VARIANT) UnlockObject(replaced.object);
}

bool ArrayResize(Array* array, int32_t count) {
    count = std::max(count, 0);
    if (!Reserve(array, count)) return false;
    while (array->count > count) {
        int32_t last = --array->count;
        ReleaseElements(array, last, last + 1);
    }
    if (array->count < count) {
        std::memset(ElementAt(array, array->count), 0,
                    static_cast<size_t>(count - array->count) * ElementSize(array->element));
        array->count = count;
    }
    return true;
}

bool ArrayInsert(Array* array, int32_t index, Slot value) {
    if (array->count == std::numeric_limits<int32_t>::max() || !Reserve(array, array->count + 1)) return false;
    const size_t size = ElementSize(array->element);
    std::memmove(ElementAt(array, index + 1), ElementAt(array, index),
                 static_cast<size_t>(array->count - index) * size);
    std::memcpy(ElementAt(array, index), &value, size);
    ++array->count;
    return true;
}

Slot ArrayTake(Array* array, int32_t index) {
    Slot value = ArrayGet(array, index);
    --array->count;
    std::memmove(ElementAt(array, index), ElementAt(array, index + 1),
                 static_cast<size_t>(array->count - index) * ElementSize(array->element));
    return value;
}

} // namespace host
