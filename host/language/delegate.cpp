// The class of delegates.
#include "host/language/delegate.h"

#include "host/runtime/class_program.h"

namespace host::language {

namespace {

void ReleaseTarget(Object* object, Class*) { UnlockObject(AsDelegate(object)->target); }

} // namespace

Class* DelegateClass(std::string name) {
    return DefineInternalClass(std::move(name), static_cast<int32_t>(sizeof(Delegate) - sizeof(Object)), ReleaseTarget);
}

void Bind(Object* delegate, Object* target, const Code* code) {
    LockObject(target);
    AsDelegate(delegate)->target = target;
    AsDelegate(delegate)->code = code;
}

} // namespace host::language
