// Work with objects by names: create, call, get and set, handle events. For tests and tools; the language resolves
// names when it compiles. An exception that native code raises is thrown as ProgramException. Faults of the caller (no
// such class or member, wrong arguments) throw DefinitionError.
#pragma once

#include "host/runtime/class.h"
#include "host/runtime/exception.h"
#include "host/runtime/value.h"

#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <stdexcept>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct ProgramException : std::runtime_error {
    explicit ProgramException(ObjectRef raised); // what(): "XmlException 4: message"

    ObjectRef exception;
    std::string className;
    int32_t number; // ErrorNumber
    std::string message;
};

// Throws ProgramException if an exception is pending.
void ThrowPending();

using Arguments = std::span<const Value>;

// Members are given by name ("Parse": the one overload that the arguments fit) or by declaration ("Parse(s as
// String)").
Value Call(const ObjectRef& object, std::string_view member, std::initializer_list<Value> arguments = {});
Value Call(const ObjectRef& object, std::string_view member, Arguments arguments);
Value CallGlobal(std::string_view function, std::initializer_list<Value> arguments = {});
// Assignment to a method: object.member(arguments) = value.
void Assign(const ObjectRef& object, std::string_view member, std::initializer_list<Value> arguments, Value value);

// A new object; with a declaration or arguments its Constructor method is called.
ObjectRef Create(Class* cls);
ObjectRef Create(std::string_view className);
ObjectRef Create(std::string_view className, std::initializer_list<Value> arguments,
                 std::string_view constructor = "Constructor");

Value GetProperty(const ObjectRef& object, std::string_view name);
void SetProperty(const ObjectRef& object, std::string_view name, Value value);

// A class with event handlers, removed again when the object of this type goes (all its objects must be gone by then).
// A handler receives the object and the declared arguments; what it throws as ProgramException is raised in the
// program.
class HandlerClass {
public:
    using Handler = std::function<Value(const ObjectRef& self, Arguments arguments)>;

    explicit HandlerClass(std::string_view superName, std::string_view name = {});
    ~HandlerClass();
    HandlerClass(const HandlerClass&) = delete;
    HandlerClass& operator=(const HandlerClass&) = delete;

    HandlerClass& On(std::string_view event, Handler handler);
    Class* Get() const { return cls_; }
    ObjectRef Create(std::initializer_list<Value> arguments = {}, std::string_view constructor = {}) const;

private:
    struct Binding {
        const Event* event;
        Handler handler;
    };
    static void Enter(void* context, const Slot* arguments, Slot* result);

    Class* cls_;
    std::vector<std::unique_ptr<Binding>> bindings_;
};

} // namespace host
