// Arrays: their memory and their elements.
#include "host/runtime/array.h"

#include "host/runtime/class_program.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"
#include "host/syntax/names.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <unordered_map>

namespace host {

namespace {

constexpr int32_t FIRST_CAPACITY = 4;

size_t ElementSize(Kind element) { return IsWide(element) ? sizeof(int64_t) : sizeof(int32_t); }

std::byte* ElementAt(const Array* array, int32_t index) {
    return static_cast<std::byte*>(array->data) + index * static_cast<ptrdiff_t>(ElementSize(array->element));
}

void* MemoryOf(const Array* array) { return array->data != nullptr ? ElementAt(array, -array->front) : nullptr; }

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
    std::free(MemoryOf(array));
}

bool HasRoomFor(size_t capacity, size_t elementSize) {
    return capacity <= static_cast<size_t>(std::numeric_limits<int32_t>::max()) / elementSize;
}

// What to ask for when a capacity does not suffice: so much more that growing often costs little.
size_t GrownCapacity(const Array* array, int32_t count) {
    return std::max({static_cast<size_t>(count), static_cast<size_t>(array->capacity - array->front) * 2,
                     static_cast<size_t>(FIRST_CAPACITY)});
}

// Room for `count` elements from the first one on.
bool Reserve(Array* array, int32_t count) {
    if (count <= array->capacity - array->front) return true;
    const size_t size = ElementSize(array->element);
    // A queue, whose elements come at the end and go at the front, does not grow.
    if (array->front > array->count) {
        void* memory = MemoryOf(array);
        std::memcpy(memory, array->data, static_cast<size_t>(array->count) * size);
        array->data = memory;
        array->front = 0;
        if (count <= array->capacity) return true;
    }
    const auto front = static_cast<size_t>(array->front);
    void* memory = nullptr;
    size_t capacity = front + GrownCapacity(array, count);
    if (HasRoomFor(capacity, size)) memory = std::realloc(MemoryOf(array), capacity * size);
    // Near the end of memory a sixteenth more must do; less at each turn would take for ever.
    const auto used = static_cast<size_t>(array->count);
    const auto wanted = static_cast<size_t>(count);
    capacity = memory != nullptr ? capacity : front + std::max(wanted, used + used / 16);
    if (memory == nullptr && HasRoomFor(capacity, size)) memory = std::realloc(MemoryOf(array), capacity * size);
    if (memory == nullptr) {
        RaiseOutOfMemory();
        return false;
    }
    array->data = static_cast<std::byte*>(memory) + front * size;
    array->capacity = static_cast<int32_t>(capacity);
    return true;
}

// Room for an element before the first one: as many as there are.
bool ReserveFront(Array* array) {
    if (array->front > 0) return true;
    const size_t size = ElementSize(array->element);
    const auto used = static_cast<size_t>(array->count);
    const size_t front = std::max(used, static_cast<size_t>(FIRST_CAPACITY));
    void* memory = HasRoomFor(front + used, size) ? std::malloc((front + used) * size) : nullptr;
    if (memory == nullptr) {
        RaiseOutOfMemory();
        return false;
    }
    auto* data = static_cast<std::byte*>(memory) + front * size;
    if (used > 0) std::memcpy(data, array->data, used * size);
    std::free(MemoryOf(array));
    array->data = data;
    array->front = static_cast<int32_t>(front);
    array->capacity = static_cast<int32_t>(front + used);
    return true;
}

// Moves the first elements by one place, back (-1) or forth (1).
void MoveFirst(Array* array, int32_t count, int32_t places) {
    std::memmove(ElementAt(array, places), array->data, static_cast<size_t>(count) * ElementSize(array->element));
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
    if (array->count == std::numeric_limits<int32_t>::max()) return false;
    const size_t size = ElementSize(array->element);
    if (index < array->count / 2) {
        if (!ReserveFront(array)) return false;
        MoveFirst(array, index, -1);
        array->data = ElementAt(array, -1);
        --array->front;
    } else {
        if (!Reserve(array, array->count + 1)) return false;
        std::memmove(ElementAt(array, index + 1), ElementAt(array, index),
                     static_cast<size_t>(array->count - index) * size);
    }
    std::memcpy(ElementAt(array, index), &value, size);
    ++array->count;
    return true;
}

Slot ArrayTake(Array* array, int32_t index) {
    Slot value = ArrayGet(array, index);
    --array->count;
    if (index < array->count / 2) {
        MoveFirst(array, index, 1);
        array->data = ElementAt(array, 1);
        ++array->front;
        return value;
    }
    std::memmove(ElementAt(array, index), ElementAt(array, index + 1),
                 static_cast<size_t>(array->count - index) * ElementSize(array->element));
    return value;
}

} // namespace host
