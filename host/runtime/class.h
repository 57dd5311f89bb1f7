// Classes, modules and their members: built from definition records, or defined at run time for the classes of a
// program. Names are case-insensitive. Everything here stays for the life of the process unless removed with
// RemoveClass.
#pragma once

#include "host/runtime/call.h"
#include "host/runtime/object.h"
#include "host/runtime/records.h"
#include "host/runtime/signature.h"

#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace host {

enum class Access : uint8_t { NONE, DIRECT, FUNCTION };

struct Property {
    Class* owner; // nullptr for a property of a module (its functions get nil as the object)
    std::string name;
    Type type;
    Access read = Access::NONE;
    Access write = Access::NONE;
    void* getter = nullptr; // result(object, param)
    void* setter = nullptr; // void(object, param, value)
    int32_t param = 0;
    int32_t offset = 0; // direct access: of the field, counted from the object's address
    const CallShape* getterShape = nullptr;
    const CallShape* setterShape = nullptr;
};

struct Method {
    Class* owner; // nullptr for a global or module function
    Signature signature;
    void* function = nullptr; // native code; for a method of a program made when first asked for, see NativeFunction
    void* setter = nullptr;   // of a method that can be assigned to
    const CallShape* shape = nullptr;
    const CallShape* setterShape = nullptr;
    // A method of a program class: what the language keeps for it, and how native code gets at it.
    void* programMethod = nullptr;
    ClosureCallback callback = nullptr;
    std::unique_ptr<Closure> closure;

    bool IsConstructor() const;
    void* NativeFunction();
};

struct Event {
    Class* owner;
    Signature signature;
    uint32_t slot; // index into Class::handlers of the owner and its subclasses
    const CallShape* shape;
};

struct Constant {
    std::string name;
    ConstantValue value;
};

// What a class does for an event: native code, or nothing. Inherited entries are copied into the subclass.
struct EventHandler {
    const Event* event;
    void* function; // result(object, declared arguments…), or nullptr
};

using ClassHook = void (*)(Object* object, Class* cls);

struct Class {
    // Tells a class reference from a class name: no name begins with this byte.
    static constexpr uint32_t MARK = 0x4B4B4B01;

    const uint32_t mark = MARK;
    std::string name;
    Class* super = nullptr;
    int32_t dataSize = 0;              // of this class alone
    int32_t dataOffset = 0;            // of this class's data, counted from the object's address
    int32_t objectSize = 0;            // of the whole object
    uint32_t depth = 0;                // number of superclasses
    uint32_t flags = 0;                // as in the record
    void* nativeConstructor = nullptr; // void(object)
    void* nativeDestructor = nullptr;
    ClassHook constructor = nullptr; // of a program class; called with this class
    ClassHook finalizer = nullptr;
    ClassHook destructor = nullptr;
    bool hasFinalizer = false;    // this class or a superclass
    bool isInternal = false;      // boxes and arrays: not found by name
    void* program = nullptr;      // what the language keeps for the class
    Kind boxKind = Kind::NOTHING; // internal: kind of the boxed value, or Kind::ARRAY
    Type elementType;             // of an internal array class

    // Own members in the order of definition. The elements do not move.
    std::vector<std::unique_ptr<Property>> properties;
    std::vector<std::unique_ptr<Method>> methods;
    std::vector<std::unique_ptr<Event>> events;
    std::vector<Constant> constants;
    std::vector<EventHandler> handlers; // by Event::slot, inherited events first
    std::vector<Class*> ancestors;      // ancestors[i] has depth i; the last is this class

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

// A group of constants, functions and properties without object. The module without name holds the global functions.
struct Module {
    std::string name;
    std::vector<Constant> constants;
    std::vector<std::unique_ptr<Method>> functions;
    std::vector<std::unique_ptr<Property>> properties;

    const Constant* FindConstant(std::string_view memberName) const;
    Property* FindProperty(std::string_view memberName) const;
    std::vector<Method*> FindFunctions(std::string_view memberName) const;
};

// A function without object: "LenB( s as string ) as integer".
struct GlobalFunction {
    const char* declaration;
    void* function; // result(declared arguments…)
};

// Registers the class that a record describes: checks everything first, then writes dataOffset, the class reference
// (name) and the events' hostSlots into the record. Throws DefinitionError and leaves the record as it was.
Class* RegisterClass(ClassDefinition& record);
Module* RegisterModule(const ModuleDefinition& record);

// Adds global functions, or functions of a module (made if there is none of that name). Throws DefinitionError.
Module* RegisterFunctions(std::span<const GlobalFunction> functions, std::string_view moduleName = {});
// Adds properties to a module; direct access is not possible.
Module* RegisterModuleProperties(std::span<const PropertyDefinition> properties, std::string_view moduleName);
Module* RegisterModuleConstants(std::span<const ConstantDefinition> constants, std::string_view moduleName);

// The description of a class at run time.
struct ClassDescription {
    struct Field {
        std::string name;
        Type type;
        int32_t offset; // within this class's data; aligned to 4, a Double to 8
    };
    struct ProgramMethod {
        Signature signature;
        void* programMethod;      // kept for the language, and the context of the callback
        ClosureCallback callback; // serves native callers; arguments begin with the object
    };

    std::string name;
    Class* super = nullptr;
    int32_t dataSize = 0;
    ClassHook constructor = nullptr; // the object's data of this class is zero; superclasses are done
    ClassHook finalizer = nullptr;   // the program's Destructor; may save the object
    ClassHook destructor = nullptr;  // releases what the fields hold
    void* program = nullptr;
    std::vector<Field> fields; // reached as properties, by native code too
    std::vector<ProgramMethod> methods;
    std::vector<Constant> constants;
};

// Throws DefinitionError.
Class* DefineClass(const ClassDescription& description);
Method* AddMethod(Class* cls, const ClassDescription::ProgramMethod& method);

// Attaches a handler for an event of the class or of a superclass; it replaces an inherited one and is inherited by
// subclasses that have none of their own. `arguments` of the callback begin with the object.
void SetEventHandler(Class* cls, const Event* event, ClosureCallback callback, void* context);
// The same with native code of the event's shape; nullptr removes the handler.
void SetEventHandler(Class* cls, const Event* event, void* function);

// Removes a class that has no subclass and no live object; false if it has.
bool RemoveClass(Class* cls);

Class* FindClass(std::string_view name);
Module* FindModule(std::string_view name); // "" for the global functions
// Global function of exactly this signature; nullptr if none.
Method* FindGlobalFunction(const Signature& signature);
std::vector<Class*> AllClasses(); // in order of registration, without internal ones
std::vector<Module*> AllModules();

// An internal class (a box or an array type) that programs cannot name.
Class* DefineInternalClass(std::string name, int32_t dataSize, ClassHook destructor);
std::vector<Class*> InternalClasses();

// The handler of the object's class for an event; nullptr without one or while an exception is pending.
inline void* EventHandlerOf(const Object* object, const Event* event) {
    const Class* cls = object->cls;
    if (event->slot >= cls->handlers.size()) return nullptr;
    const EventHandler& handler = cls->handlers[event->slot];
    return handler.event == event ? handler.function : nullptr;
}

} // namespace host
