// The pending exception: raised by native code or the host, taken by the program when the native call has returned.
#pragma once

#include "host/runtime/object.h"

#include <cstdint>
#include <string_view>

namespace host {

namespace detail {
extern Object* pendingException;
}

inline bool IsExceptionPending() { return detail::pendingException != nullptr; }

// Takes over the caller's reference. The first exception raised stays pending; later ones are released. Raising nil
// raises NilObjectException.
void Raise(Object* exception);

// Makes an exception of that class (RuntimeException if there is none of that name), sets ErrorNumber and, unless it is
// empty, Message (UTF-8), and raises it.
void RaiseNew(std::string_view className, int32_t number, std::string_view message);

// Raises OutOfMemoryException. When there is no memory even for that, it is the one that was made beforehand, once the
// class is registered.
void RaiseOutOfMemory();
void PrepareOutOfMemory();
// In a handler of C++: raises in the program what was thrown.
void RaiseCaught() noexcept;

// Whether objects are released because the program fails: by an exception on its way, or as it is stopped. What they
// have not finished is not to be kept then.
bool IsProgramFailing();
class FailingProgram {
public:
    explicit FailingProgram(bool isFailingNow);
    ~FailingProgram();
    FailingProgram(const FailingProgram&) = delete;
    FailingProgram& operator=(const FailingProgram&) = delete;

private:
    bool before_;
};

// The pending exception, which is no longer pending; nil when there is none.
ObjectRef TakePendingException();

// Sets the pending exception aside for a while; at the end it is pending again, and one raised meanwhile is released.
class SuspendedException {
public:
    SuspendedException() : saved_(TakePendingException()) {}
    ~SuspendedException();
    SuspendedException(const SuspendedException&) = delete;
    SuspendedException& operator=(const SuspendedException&) = delete;

private:
    ObjectRef saved_;
};

} // namespace host
