// The pending exception.
#include "host/runtime/exception.h"

#include "host/runtime/class.h"
#include "host/runtime/property.h"
#include "host/runtime/string.h"

#include <cstdio>
#include <cstdlib>
#include <new>
#include <utility>

namespace host {

Object* detail::pendingException = nullptr;

namespace {

// Given up when memory runs out, so that the exception can be made, and raised when even that is not enough.
constexpr size_t RESERVE_SIZE = 64 << 10;
void* reserve = std::malloc(RESERVE_SIZE);
Object* spareException = nullptr;

constexpr const char* OUT_OF_MEMORY = "OutOfMemoryException";

bool isFailing = false;

[[noreturn]] void Die(const char* message) {
    std::fprintf(stderr, "kova: %s\n", message);
    std::_Exit(EXIT_FAILURE);
}

} // namespace

void Raise(Object* exception) {
    if (exception == nullptr) {
        if (!IsExceptionPending()) RaiseNew("NilObjectException", 0, {});
    } else if (IsExceptionPending()) {
        UnlockObject(exception);
    } else {
        detail::pendingException = exception;
    }
}

void RaiseNew(std::string_view className, int32_t number, std::string_view message) {
    Class* cls = FindClass(className);
    if (cls == nullptr) cls = FindClass("RuntimeException");
    if (cls == nullptr) Die("an exception is raised, and there is no RuntimeException");
    ObjectRef exception = ObjectRef::Adopt(NewObject(cls));
    if (!exception) return; // without memory for it, OutOfMemoryException is pending instead
    SetIntegerProperty(exception.Get(), "ErrorNumber", number);
    if (!message.empty()) SetStringProperty(exception.Get(), "Message", StringRef(message).Get());
    Raise(exception.Detach());
}

void RaiseOutOfMemory() {
    static bool isRaising = false;
    if (!std::exchange(isRaising, true)) {
        std::free(std::exchange(reserve, nullptr));
        try {
            RaiseNew(OUT_OF_MEMORY, 0, "The host has run out of memory.");
        } catch (const std::bad_alloc&) { // not even for that: see below
        }
        reserve = std::malloc(RESERVE_SIZE);
        isRaising = false;
    }
    if (IsExceptionPending()) return;
    if (spareException == nullptr) Die("out of memory");
    LockObject(spareException);
    Raise(spareException);
}

void PrepareOutOfMemory() {
    RaiseNew(OUT_OF_MEMORY, 0, "The host has run out of memory.");
    spareException = TakePendingException().Detach();
}

void RaiseCaught() noexcept {
    try {
        try {
            throw;
        } catch (const std::bad_alloc&) {
            RaiseOutOfMemory();
        } catch (const std::exception& error) {
            RaiseNew("RuntimeException", 0, error.what());
        }
    } catch (const std::bad_alloc&) {
        RaiseOutOfMemory();
    }
}

bool IsProgramFailing() { return isFailing; }

FailingProgram::FailingProgram(bool isFailingNow) : before_(std::exchange(isFailing, isFailing || isFailingNow)) {}

FailingProgram::~FailingProgram() { isFailing = before_; }

ObjectRef TakePendingException() { return ObjectRef::Adopt(std::exchange(detail::pendingException, nullptr)); }

SuspendedException::~SuspendedException() {
    if (!saved_) return;
    ObjectRef later = TakePendingException();
    Raise(saved_.Detach());
}

} // namespace host
