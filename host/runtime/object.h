// Host objects: a header, then the instance data of each class of the chain, base first (see Class::dataOffset).
#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>
#include <utility>

namespace host {

struct Class;

// The low bits count references. When the count falls to zero the object is destroyed, once: finalizers (the program's
// own destructors) run derived class first, then destructors derived class first. An object that a finalizer saved
// lives on and is not finalized again. References taken while destructors run keep only the memory.
struct Object {
    Class* cls;
    uint32_t references;

    static constexpr uint32_t COUNT_MASK = (1U << 29) - 1;
};

// A new object with one reference: zeroed data, constructors run base class first. nil (and OutOfMemoryException
// raised) without memory.
Object* NewObject(Class* cls);

// By class name; nil when there is no such class.
Object* NewObject(std::string_view className);

void ReleaseObject(Object* object); // only for UnlockObject

inline void LockObject(Object* object) {
    if (object != nullptr) ++object->references;
}

inline void UnlockObject(Object* object) {
    if ((object != nullptr) && (--object->references & Object::COUNT_MASK) == 0) ReleaseObject(object);
}

// The data at `offset` bytes from the object's address.
template <typename T>
T& DataAt(Object* object, int32_t offset) {
    return *reinterpret_cast<T*>(reinterpret_cast<std::byte*>(object) + offset);
}

// Owns one reference.
class ObjectRef {
public:
    ObjectRef() = default;
    ObjectRef(const ObjectRef& other) : object_(other.object_) { LockObject(object_); }
    ObjectRef(ObjectRef&& other) noexcept : object_(std::exchange(other.object_, nullptr)) {}
    ObjectRef& operator=(ObjectRef other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~ObjectRef() { UnlockObject(object_); }

    static ObjectRef Adopt(Object* object) { return ObjectRef(object); } // takes over a reference
    static ObjectRef Share(Object* object) {                             // adds one
        LockObject(object);
        return ObjectRef(object);
    }

    Object* Get() const { return object_; }
    Object* Detach() { return std::exchange(object_, nullptr); } // the reference passes to the caller
    explicit operator bool() const { return object_ != nullptr; }

private:
    explicit ObjectRef(Object* object) : object_(object) {}

    Object* object_ = nullptr;
};

} // namespace host
