// Members of classes and modules, as a plug-in's records or a program declare them.
#pragma once

#include "host/runtime/call.h"
#include "host/runtime/signature.h"

#include <cstdint>
#include <memory>
#include <string>

namespace host {

struct Class;

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
    // A method of a program class: how native code gets at it.
    ClosureCallback callback = nullptr;
    void* context = nullptr; // of the callback
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

} // namespace host
