// The part of the program compiler that defines a program's classes in the runtime.
#include "host/language/machine.h"
#include "host/language/program_compiler.h"
#include "host/runtime/class_program.h"
#include "host/runtime/string.h"

namespace host::language {

namespace {

Signature RuntimeSignature(const FunctionSymbol& function) {
    Signature signature;
    signature.name = function.name;
    signature.result = RuntimeType(function.result);
    for (const ParameterSymbol& parameter : function.parameters) {
        signature.parameters.push_back(
            {parameter.name, RuntimeType(parameter.type), parameter.isByRef, parameter.defaultValue});
    }
    return signature;
}

// Releases what the fields of a program's class hold.
void ReleaseFields(Object* object, Class* cls) {
    for (const ClassCode::OwnedField& field : static_cast<const ClassCode*>(cls->program)->ownedFields) {
        if (field.storage == Storage::STRING)
            UnlockString(std::exchange(DataAt<String*>(object, field.offset), nullptr));
        else
            UnlockObject(std::exchange(DataAt<Object*>(object, field.offset), nullptr));
    }
}

} // namespace

void ProgramCompiler::DefineClass(ClassSymbol& cls) {
    ClassDescription description;
    description.name = cls.name;
    description.super = cls.super != nullptr ? cls.super->native : nullptr;
    int32_t size = 0;
    for (const PropertySymbol* field : cls.fields) {
        int32_t width = field->type.IsWide() ? 8 : 4;
        size = (size + width - 1) / width * width;
        description.fields.push_back({field->name, RuntimeType(field->type), size});
        size += width;
    }
    description.dataSize = size;
    description.destructor = ReleaseFields;
    if (cls.destructor != nullptr) description.finalizer = Machine::RunDestructor;
    auto code = std::make_unique<ClassCode>();
    description.program = code.get();
    for (const auto& [key, overloads] : cls.methods) {
        if (key == "constructor" || key == "destructor") continue;
        for (const auto& method : overloads) {
            if (method->visibility != ast::Visibility::PUBLIC) continue;
            description.methods.push_back(
                {RuntimeSignature(*method), environment_.tables.codes[method->index].get(), Machine::CallBack});
        }
    }
    for (const auto& [key, constant] : cls.constants)
        description.constants.push_back({constant->name, constant->value});
    std::vector<EventSymbol*> events;
    for (const auto& [key, event] : cls.events) {
        events.push_back(event.get());
        description.events.push_back(RuntimeSignature(event->signature));
    }
    cls.native = host::DefineClass(description);
    for (EventSymbol* event : events) event->native = cls.native->FindEvent(event->name);
    environment_.classOrder.push_back(&cls);
    for (PropertySymbol* field : cls.fields) {
        field->offset = static_cast<uint32_t>(cls.native->FindProperty(field->name)->offset);
        Storage storage = StorageOf(field->type);
        if (storage != Storage::PLAIN) code->ownedFields.push_back({static_cast<int32_t>(field->offset), storage});
    }
    environment_.classCodes.push_back(std::move(code));
}

void ProgramCompiler::DefineClasses() {
    for (ClassSymbol* cls : classes_) {
        try {
            DefineClass(*cls);
        } catch (const DefinitionError& error) {
            diagnostics_.Error(cls->definition->span, error.what());
            return;
        }
    }
}

void ProgramCompiler::CompleteClasses() {
    for (ClassSymbol* cls : classes_) {
        auto* code = static_cast<ClassCode*>(cls->native->program);
        for (const FunctionSymbol* method : cls->virtualMethods) {
            code->virtualMethods.push_back(environment_.tables.codes[method->index].get());
        }
        if (cls->destructor != nullptr) {
            code->destructor = environment_.tables.codes[cls->destructor->index].get();
        }
        for (size_t i = 0; i < cls->handlers.size(); ++i) {
            SetEventHandler(cls->native, cls->handledEvents[i]->native, Machine::CallBack,
                            environment_.tables.codes[cls->handlers[i]->index].get());
        }
    }
}

} // namespace host::language
