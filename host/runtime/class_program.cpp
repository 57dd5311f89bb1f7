// Classes defined at run time: those of programs, and internal ones.
#include "host/runtime/class_program.h"

#include "host/runtime/registry.h"

namespace host {

namespace {

std::unique_ptr<Property> FieldProperty(Class& cls, const ClassDescription::Field& field) {
    if (!IsName(field.name)) throw DefinitionError("the property has no valid name");
    int32_t size = FieldSize(field.type.kind);
    if (field.offset < 0 || field.offset > cls.dataSize - size || field.offset % size != 0) {
        throw DefinitionError("its field at offset " + std::to_string(field.offset) + " is misplaced");
    }
    auto property = std::make_unique<Property>();
    property->owner = &cls;
    property->name = field.name;
    property->type = field.type;
    property->read = Access::DIRECT;
    property->write = Access::DIRECT;
    property->param = field.offset;
    property->offset = cls.dataOffset + field.offset;
    return property;
}

// A subclass with a handler of its own keeps it, and so do those below.
void InheritHandler(Class& cls, uint32_t slot, const void* replaced, void* function) {
    void*& entry = cls.handlers[slot].function;
    if (entry != replaced) return;
    entry = function;
    for (Class* subclass : cls.subclasses) InheritHandler(*subclass, slot, replaced, function);
}

void ReplaceHandler(Class* cls, const Event* event, void* function) {
    if (!cls->IsA(event->owner)) {
        throw DefinitionError("class " + cls->name + " has no event " + event->signature.name + " of "
                              + event->owner->name);
    }
    InheritHandler(*cls, event->slot, cls->handlers[event->slot].function, function);
}

} // namespace

Class* DefineClass(const ClassDescription& description) {
    return Naming("class " + description.name, [&] {
        CheckClassName(description.name);
        auto cls = std::make_unique<Class>();
        cls->name = description.name;
        LayOut(*cls, description.super, description.dataSize);
        cls->constructor = description.constructor;
        cls->finalizer = description.finalizer;
        cls->destructor = description.destructor;
        cls->hasFinalizer = cls->hasFinalizer || (description.finalizer != nullptr);
        cls->program = description.program;
        cls->constants = description.constants;
        for (const ClassDescription::Field& field : description.fields) {
            Naming("property " + field.name, [&] { AddProperty(*cls, FieldProperty(*cls, field)); });
        }
        for (const ClassDescription::ProgramMethod& method : description.methods) AddMethod(cls.get(), method);
        for (const Signature& event : description.events) AddEvent(*cls, event);
        return Publish(std::move(cls));
    });
}

Method* AddMethod(Class* cls, const ClassDescription::ProgramMethod& method) {
    return Naming("method " + method.signature.Text(), [&] {
        auto added = std::make_unique<Method>();
        added->owner = cls;
        added->signature = method.signature;
        added->shape = ShapeOf(method.signature, true);
        added->context = method.context;
        added->callback = method.callback;
        return AddMethod(*cls, std::move(added));
    });
}

void SetEventHandler(Class* cls, const Event* event, void* function) { ReplaceHandler(cls, event, function); }

void SetEventHandler(Class* cls, const Event* event, ClosureCallback callback, void* context) {
    // Kept before it can be called: there may be no memory to keep it.
    cls->handlerClosures.push_back(std::make_unique<Closure>(event->shape, callback, context));
    ReplaceHandler(cls, event, cls->handlerClosures.back()->Function());
}

Class* DefineInternalClass(std::string name, int32_t dataSize, ClassHook destructor) {
    auto cls = std::make_unique<Class>();
    cls->name = std::move(name);
    cls->isInternal = true;
    LayOut(*cls, nullptr, dataSize);
    cls->destructor = destructor;
    return Publish(std::move(cls));
}

Class* DefineStandIn(Class* original, ClassHook destructor) {
    auto cls = std::make_unique<Class>();
    cls->name = original->name;
    cls->isInternal = true;
    LayOut(*cls, original, 0);
    cls->objectSize = original->objectSize;
    cls->program = original->program;
    cls->destructor = destructor;
    return Publish(std::move(cls));
}

void MoveToStandIn(Object* object, Class* standIn) {
    --object->cls->liveCount;
    object->cls = standIn;
    ++standIn->liveCount;
}

} // namespace host
