// Classes: those of definition records (registration.h) and those of programs (class_program.h). Names are
// case-insensitive. Everything here stays for the life of the process unless removed with RemoveClass.
#pragma once

#include "host/runtime/member.h"
#include "host/runtime/object.h"
#include "host/runtime/signature.h"

#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace host {

// What the language keeps for a class; its own type derives from this one.
struct ProgramClass {};

using ClassHook = void (*)(Object* object, Class* cls);

struct Class {
    // Tells a class reference from a class name: no name begins with these bytes.
    static constexpr uint32_t MARK = 0x4B4B4B01;

    const uint32_t mark = MARK;
    std::string name;
    Class* super = nullptr;
    int32_t dataSize = 0;              // of this class alone
    int32_t dataOffset = 0;            // of this class's data, counted from the object's address
    int32_t objectSize = 0;            // of the whole object
    uint32_t depth = 0;                // number of superclasses
    void* nativeConstructor = nullptr; // void(object)
    void* nativeDestructor = nullptr;
    ClassHook constructor = nullptr; // of a program class; called with this class
    ClassHook finalizer = nullptr;
    ClassHook destructor = nullptr;
    bool hasFinalizer = false;       // this class or a superclass
    bool isInternal = false;         // boxes and arrays: not found by name
    ProgramClass* program = nullptr; // what the language keeps for the class
    Kind boxKind = Kind::NOTHING;    // internal: kind of the boxed value, or Kind::ARRAY
    Type elementType;                // of an internal array class

    // Own members in the order of definition. The elements do not move.
    std::vector<std::unique_ptr<Property>> properties;
    std::vector<std::unique_ptr<Method>> methods;
    std::vector<std::unique_ptr<Event>> events;
    std::vector<Constant> constants;
    std::vector<EventHandler> handlers; // by Event::slot, inherited events first
    std::vector<Class*> ancestors;      // ancestors[i] has depth i; the last is this class
    std::vector<Class*> subclasses;     // direct ones, internal ones too

    uint32_t liveCount = 0; // objects alive whose class is exactly this

    bool IsA(const Class* other) const { return other->depth <= depth && ancestors[other->depth] == other; }

    // Members by name, of this class or the nearest superclass that has one; nullptr if none.
    Property* FindProperty(std::string_view memberName) const;
    Event* FindEvent(std::string_view memberName) const;
    const Constant* FindConstant(std::string_view memberName) const;
    // All overloads, this class's first; an inherited one hidden by the same parameters and result is left out.
    // Constructors are those of the nearest class that has any.
    std::vector<Method*> FindMethods(std::string_view memberName) const;
    // The method with exactly this signature (see Signature::Matches), nearest class first; nullptr if none.
    Method* FindMethod(const Signature& signature) const;

    // Look-up tables by folded name of own members.
    std::unordered_map<std::string, Property*> propertiesByName;
    std::unordered_map<std::string, std::vector<Method*>> methodsByName;
    std::unordered_map<std::string, Event*> eventsByName;
    std::vector<std::unique_ptr<Closure>> handlerClosures;
};

// Whether this is a class reference rather than a NUL-terminated class name, which may be shorter than the mark; not
// nullptr.
inline bool IsClassReference(const void* reference) {
    const auto* bytes = static_cast<const unsigned char*>(reference);
    return bytes[0] == (Class::MARK & 0xFF) && bytes[1] == (Class::MARK >> 8 & 0xFF)
           && bytes[2] == (Class::MARK >> 16 & 0xFF) && bytes[3] == Class::MARK >> 24;
}

Class* FindClass(std::string_view name);
std::vector<Class*> AllClasses(); // in order of registration, without internal ones

// Removes a class that has no subclass and no live object; false if it has.
bool RemoveClass(Class* cls);

// The handler of the object's class for an event; nullptr without one.
inline void* EventHandlerOf(const Object* object, const Event* event) {
    const Class* cls = object->cls;
    if (event->slot >= cls->handlers.size()) return nullptr;
    const EventHandler& handler = cls->handlers[event->slot];
    return handler.event == event ? handler.function : nullptr;
}

} // namespace host
