// Delegates: objects that call a function, or a method of an object that they hold.
#pragma once

#include "host/language/code.h"
#include "host/runtime/object.h"

#include <string>

namespace host::language {

struct Delegate : Object {
    Object* target;   // owned; nil for a function
    const Code* code; // takes the target first
};

// A class of delegates that programs do not find by name in the runtime.
Class* DelegateClass(std::string name);

// Calls what a delegate stands for; the first argument is left to it.
using DelegateCall = void (*)(Delegate& delegate, const Slot* arguments, Slot* result);

inline Delegate* AsDelegate(Object* object) { return static_cast<Delegate*>(object); }
// Makes a new delegate call the code on the target.
void Bind(Object* delegate, Object* target, const Code* code);

} // namespace host::language
