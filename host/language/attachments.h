// Handlers that a program attaches to single objects.
//
// Whoever calls an event looks once into the slots of the object's class. An object with attached handlers therefore
// belongs to a class that stands in for its own and has a dispatcher in each slot that one of its objects needs.
#pragma once

#include "host/language/delegate.h"
#include "host/runtime/class.h"

namespace host::language {

// Attaches a handler: it is called after that of the object's class and those attached before.
void AttachHandler(Object* object, const Event* event, Object* delegate, DelegateCall call);
// Detaches the one attached last that calls the same; nothing happens when there is none.
void DetachHandler(Object* object, const Event* event, const Object* delegate);

// Removes the classes that stand in for others and have no objects any more.
void RemoveStandIns();

} // namespace host::language
