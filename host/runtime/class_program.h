// Classes defined at run time: those of programs, and internal ones.
#pragma once

#include "host/runtime/class.h"

#include <cstdint>
#include <string>
#include <vector>

namespace host {

// The description of a class at run time.
struct ClassDescription {
    struct Field {
        std::string name;
        Type type;
        int32_t offset; // within this class's data; aligned to 4, a Double to 8
    };
    struct ProgramMethod {
        Signature signature;
        void* context;            // of the callback
        ClosureCallback callback; // serves native callers; arguments begin with the object
    };

    std::string name;
    Class* super = nullptr;
    int32_t dataSize = 0;
    ClassHook constructor = nullptr; // the object's data of this class is zero; superclasses are done
    ClassHook finalizer = nullptr;   // the program's Destructor; may save the object
    ClassHook destructor = nullptr;  // releases what the fields hold
    ProgramClass* program = nullptr;
    std::vector<Field> fields; // reached as properties, by native code too
    std::vector<ProgramMethod> methods;
    std::vector<Constant> constants;
    std::vector<Signature> events; // that the class declares
};

// Throws DefinitionError.
Class* DefineClass(const ClassDescription& description);
Method* AddMethod(Class* cls, const ClassDescription::ProgramMethod& method);

// Attaches a handler for an event of the class or of a superclass; it replaces an inherited one and is inherited by
// subclasses that have none of their own. `arguments` of the callback begin with the object.
void SetEventHandler(Class* cls, const Event* event, ClosureCallback callback, void* context);
// The same with native code of the event's shape; nullptr removes the handler.
void SetEventHandler(Class* cls, const Event* event, void* function);

// An internal class (a box or an array type) that programs cannot name.
Class* DefineInternalClass(std::string name, int32_t dataSize, ClassHook destructor);

// A class that stands in for another one: like it in everything, but with handlers and a destructor of its own, for
// single objects.
Class* DefineStandIn(Class* original, ClassHook destructor);
// Makes an object of the original class one of the class that stands in for it.
void MoveToStandIn(Object* object, Class* standIn);

} // namespace host
