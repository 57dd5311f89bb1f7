// Host objects: instance data, references, methods found by declaration.
#pragma once

#include "glue/services.h"

#include <utility>

namespace kova {

// The instance data that the class of `record` keeps in `object`; neither is checked. Objects of XmlNode's subclasses
// carry only XmlNode's data and are reached through its record.
template <typename Data>
Data* InstanceData(KOVAObject object, const ClassDefinition& record) {
    return reinterpret_cast<Data*>(reinterpret_cast<uintptr_t>(object) + record.dataOffset);
}

// Adds a reference, as an object that was received or is kept needs before it is stored or returned; nil in a host that
// cannot add one, so that nobody drops a reference that was never there.
inline KOVAObject LockedObject(KOVAObject object) {
    KOVALockObject(object);
    return KOVALockObject.IsResolved() ? object : nullptr;
}

// One reference to an object, dropped at the end of the scope.
class OwnedObject {
public:
    OwnedObject() = default;
    explicit OwnedObject(KOVAObject object) : object_(object) {}
    // Adds a reference.
    static OwnedObject Share(KOVAObject object) { return OwnedObject(LockedObject(object)); }
    OwnedObject(OwnedObject&& other) noexcept : object_(other.Release()) {}
    OwnedObject& operator=(OwnedObject&& other) noexcept {
        std::swap(object_, other.object_);
        return *this;
    }
    ~OwnedObject() {
        if (object_ != nullptr) KOVAUnlockObject(object_);
    }

    KOVAObject Get() const { return object_; }
    // Passes the reference on.
    [[nodiscard]] KOVAObject Release() { return std::exchange(object_, nullptr); }

private:
    KOVAObject object_ = nullptr;
};

// Calls a method of a host object by its declaration; Result() if the object has no such method.
template <typename Result, typename... Args>
Result CallMethod(KOVAObject object, const char* declaration, Args... args) {
    using Function = Result (*)(KOVAObject, Args...);
    auto function = reinterpret_cast<Function>(KOVALoadObjectMethod(object, declaration));
    return function != nullptr ? function(object, args...) : Result();
}

} // namespace kova
