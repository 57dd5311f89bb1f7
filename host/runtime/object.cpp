// The life of objects: construction, finalizers, destruction.
#include "host/runtime/object.h"

#include "host/runtime/class.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/small_blocks.h"
#include "host/runtime/variant.h"

#include <cstring>
#include <new>
#include <vector>

namespace host {

namespace {

constexpr uint32_t DYING = 1U << 31;     // destructors run
constexpr uint32_t DEAD = 1U << 30;      // only the memory is left
constexpr uint32_t FINALIZED = 1U << 29; // finalizers have run

// While an object dies its count stands here, so that references taken and dropped by its destructors never reach zero.
constexpr uint32_t DYING_COUNT = 1U << 27;

// A chain of objects that hold each other is destroyed by recursion down to this depth; the rest waits in a list.
constexpr int MAX_DEPTH = 64;

int destroyDepth = 0;

std::vector<Object*>* waitingObjects = nullptr; // made when it is needed first

// false without memory.
bool LetWait(Object* object) {
    try {
        if (waitingObjects == nullptr) waitingObjects = new std::vector<Object*>;
        waitingObjects->push_back(object);
        return true;
    } catch (const std::bad_alloc&) {
        return false;
    }
}

using NativeHook = void (*)(Object*);

void CallNativeHook(void* hook, Object* object) {
    if (hook == nullptr) return;
    const size_t mark = ConversionPoolMark();
    reinterpret_cast<NativeHook>(hook)(object);
    ReleaseConversionPool(mark);
}

void FreeMemory(Object* object) {
    --object->cls->liveCount;
    SmallBlocks::Free(object, static_cast<size_t>(object->cls->objectSize));
}

uint32_t CountOf(const Object* object) { return object->references & Object::COUNT_MASK; }

void SetState(Object* object, uint32_t state, uint32_t count) {
    object->references = (object->references & FINALIZED) | state | count;
}

// Whether the object lives on because a finalizer kept a reference.
bool FinalizeAndCheckSaved(Object* object) {
    SuspendedException suspended; // the program's destructor must not meet an exception of before
    object->references |= FINALIZED;
    for (Class* level = object->cls; level != nullptr; level = level->super) {
        if (level->finalizer != nullptr) level->finalizer(object, level);
    }
    uint32_t count = CountOf(object);
    if (count <= DYING_COUNT) return false;
    SetState(object, 0, count - DYING_COUNT);
    return true;
}

void Destroy(Object* object) {
    Class* cls = object->cls;
    SetState(object, DYING, DYING_COUNT);
    if (cls->hasFinalizer && !(object->references & FINALIZED) && FinalizeAndCheckSaved(object)) return;
    for (Class* level = cls; level != nullptr; level = level->super) {
        try {
            if (level->destructor != nullptr) level->destructor(object, level);
            CallNativeHook(level->nativeDestructor, object);
        } catch (const std::bad_alloc&) {
            RaiseOutOfMemory();
        }
    }
    if (uint32_t count = CountOf(object); count > DYING_COUNT) {
        SetState(object, DEAD, count - DYING_COUNT);
    } else {
        FreeMemory(object);
    }
}

} // namespace

Object* NewObject(Class* cls) {
    auto size = static_cast<size_t>(cls->objectSize);
    auto* object = static_cast<Object*>(SmallBlocks::Allocate(size));
    if (object == nullptr) {
        RaiseOutOfMemory();
        return nullptr;
    }
    std::memset(object, 0, size);
    object->cls = cls;
    object->references = 1;
    ++cls->liveCount;
    for (Class* level : cls->ancestors) {
        CallNativeHook(level->nativeConstructor, object);
        if (level->constructor != nullptr) level->constructor(object, level);
    }
    return object;
}

Object* NewObject(std::string_view className) {
    Class* cls = FindClass(className);
    return cls != nullptr ? NewObject(cls) : nullptr;
}

void ReleaseObject(Object* object) {
    if (const Kind kind = object->cls->boxKind; kind != Kind::NOTHING && kind != Kind::ARRAY) {
        FreeBox(object);
        return;
    }
    if (object->references & DEAD) {
        FreeMemory(object);
        return;
    }
    if (destroyDepth >= MAX_DEPTH && LetWait(object)) return;
    ++destroyDepth;
    Destroy(object);
    --destroyDepth;
    // The list is drained from the outermost level, where there is the most room.
    while (destroyDepth == 0 && waitingObjects != nullptr && !waitingObjects->empty()) {
        Object* next = waitingObjects->back();
        waitingObjects->pop_back();
        ++destroyDepth;
        Destroy(next);
        --destroyDepth;
    }
}

} // namespace host
