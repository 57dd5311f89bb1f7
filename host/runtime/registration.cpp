// Registration from definition records: everything is checked before anything is changed.
#include "host/runtime/registration.h"

#include "host/runtime/class.h"
#include "host/runtime/module.h"
#include "host/runtime/registry.h"
#include "host/syntax/declaration_parser.h"
#include "host/syntax/names.h"

#include <span>

namespace host {

namespace {

constexpr int32_t MAX_MEMBERS = 100000;

// The table of a record; its count must fit.
template <typename Record>
std::span<Record> Table(Record* records, int32_t count, const char* what) {
    if (count < 0 || count > MAX_MEMBERS) {
        throw DefinitionError("the record counts " + std::to_string(count) + " " + what);
    }
    if (count > 0 && !records) {
        throw DefinitionError("the record counts " + std::to_string(count) + " " + what + " but has no table of them");
    }
    return {records, static_cast<size_t>(count)};
}

Access AccessBy(const void* function) {
    if (function == nullptr) return Access::NONE;
    return reinterpret_cast<uintptr_t>(function) == DIRECT_ACCESS ? Access::DIRECT : Access::FUNCTION;
}

Signature DeclaredSignature(const char* declaration) {
    if (declaration == nullptr) throw DefinitionError("the declaration is missing");
    return ParseSignature(declaration);
}

// `owner` is nullptr for a module.
std::unique_ptr<Property> MakeProperty(Class* owner, const PropertyDefinition& record) {
    if ((record.name == nullptr) || !IsName(record.name)) throw DefinitionError("the property has no valid name");
    if (record.type == nullptr) throw DefinitionError("the property has no type");
    auto property = std::make_unique<Property>();
    property->owner = owner;
    property->name = record.name;
    std::string_view typeName = record.type;
    bool isArray = typeName.ends_with("()");
    if (isArray) typeName.remove_suffix(2);
    if (!IsName(typeName)) throw DefinitionError("\"" + std::string(record.type) + "\" is no type");
    property->type = TypeNamed(typeName, isArray);
    property->read = AccessBy(record.getter);
    property->write = AccessBy(record.setter);
    property->getter = property->read == Access::FUNCTION ? record.getter : nullptr;
    property->setter = property->write == Access::FUNCTION ? record.setter : nullptr;
    property->param = record.param;
    property->getterShape = ShapeOf({Kind::OBJECT, Kind::INTEGER}, property->type.kind);
    property->setterShape = ShapeOf({Kind::OBJECT, Kind::INTEGER, property->type.kind}, Kind::NOTHING);
    if (property->read == Access::NONE && property->write == Access::NONE) {
        throw DefinitionError("the property can be neither read nor written");
    }
    if (property->read == Access::DIRECT || property->write == Access::DIRECT) {
        if (owner == nullptr) throw DefinitionError("a module has no data for direct access");
        int32_t size = FieldSize(property->type.kind);
        if (record.param < 0 || record.param > owner->dataSize - size || record.param % 4 != 0) {
            throw DefinitionError("its field at offset " + std::to_string(record.param) + " is not within the "
                                  + std::to_string(owner->dataSize) + " bytes of instance data");
        }
        property->offset = owner->dataOffset + record.param;
    }
    return property;
}

std::unique_ptr<Method> MakeMethod(Class* owner, const char* declaration, void* function, void* setter) {
    auto method = std::make_unique<Method>();
    method->owner = owner;
    method->signature = DeclaredSignature(declaration);
    if (function == nullptr) throw DefinitionError("the method has no function");
    method->function = function;
    method->setter = setter;
    method->shape = ShapeOf(method->signature, owner != nullptr);
    if (setter != nullptr) {
        if (method->signature.result.kind == Kind::NOTHING) {
            throw DefinitionError("a method without result cannot be assigned to");
        }
        method->setterShape = SetterShapeOf(method->signature, owner != nullptr);
    }
    return method;
}

std::string Quoted(const char* text) { return text != nullptr ? "\"" + std::string(text) + "\"" : "without name"; }

void AddConstant(std::vector<Constant>& constants, const ConstantDefinition& record) {
    if (record.declaration == nullptr) throw DefinitionError("the declaration is missing");
    DeclarationError error;
    std::optional<ConstantDeclaration> parsed = ParseConstantDeclaration(record.declaration, &error);
    if (!parsed) throw DefinitionError("column " + std::to_string(error.offset + 1) + ": " + error.message);
    for (const Constant& other : constants) {
        if (SameName(other.name, parsed->name)) throw DefinitionError("there is a constant of this name already");
    }
    constants.push_back({parsed->name, parsed->value});
}

void BuildMembers(Class& cls, const ClassDefinition& record) {
    for (const PropertyDefinition& property : Table(record.properties, record.propertyCount, "properties")) {
        Naming("property " + Quoted(property.name), [&] { AddProperty(cls, MakeProperty(&cls, property)); });
    }
    for (const MethodDefinition& method : Table(record.methods, record.methodCount, "methods")) {
        Naming("method " + Quoted(method.declaration),
               [&] { AddMethod(cls, MakeMethod(&cls, method.declaration, method.function, method.setter)); });
    }
    for (const EventDefinition& event : Table(record.events, record.eventCount, "events")) {
        Naming("event " + Quoted(event.declaration), [&] { AddEvent(cls, DeclaredSignature(event.declaration)); });
    }
    for (const ConstantDefinition& constant : Table(record.constants, record.constantCount, "constants")) {
        Naming("constant " + Quoted(constant.declaration), [&] { AddConstant(cls.constants, constant); });
    }
}

Module* FindOrMakeModule(std::string_view name) {
    if (Module* module = FindModule(name)) return module;
    auto module = std::make_unique<Module>();
    module->name = name;
    return Registry::Get().modules.emplace_back(std::move(module)).get();
}

void CheckVersion(int32_t version) {
    if (version != RECORD_VERSION) {
        throw DefinitionError("the record is of version " + std::to_string(version) + ", this host reads version "
                              + std::to_string(RECORD_VERSION));
    }
}

} // namespace

Class* RegisterClass(ClassDefinition& record) {
    const auto* name = static_cast<const char*>(record.name);
    if (name == nullptr) throw DefinitionError("class without name");
    for (const auto& cls : Registry::Get().classes)
        if (cls.get() == record.name)
            throw DefinitionError("class " + cls->name + ": its record is registered already");
    return Naming("class " + std::string(name), [&] {
        CheckVersion(record.version);
        CheckClassName(name);
        Class* super = nullptr;
        if (record.superclass != nullptr) {
            super = FindClass(record.superclass);
            if (super == nullptr) {
                throw DefinitionError("its superclass " + std::string(record.superclass) + " is not registered");
            }
        }
        auto cls = std::make_unique<Class>();
        cls->name = name;
        LayOut(*cls, super, record.dataSize);
        cls->nativeConstructor = record.constructor;
        cls->nativeDestructor = record.destructor;
        BuildMembers(*cls, record);

        for (size_t i = 0; i < cls->events.size(); ++i) record.events[i].hostSlot = cls->events[i].get();
        record.dataOffset = cls->dataOffset;
        record.name = cls.get();
        return Publish(std::move(cls));
    });
}

Module* RegisterModule(const ModuleDefinition& record) {
    if (record.name == nullptr) throw DefinitionError("module without name");
    return Naming("module " + std::string(record.name), [&] {
        CheckVersion(record.version);
        if (!IsName(record.name)) throw DefinitionError("this is no name of a module");
        if (FindModule(record.name) != nullptr) throw DefinitionError("a module of this name exists already");
        if (FindClass(record.name) != nullptr) throw DefinitionError("a class of this name exists already");
        auto module = std::make_unique<Module>();
        module->name = record.name;
        for (const ConstantDefinition& constant : Table(record.constants, record.constantCount, "constants")) {
            Naming("constant " + Quoted(constant.declaration), [&] { AddConstant(module->constants, constant); });
        }
        return Registry::Get().modules.emplace_back(std::move(module)).get();
    });
}

Module* RegisterFunctions(std::span<const GlobalFunction> functions, std::string_view moduleName) {
    Module* module = FindOrMakeModule(moduleName);
    for (const GlobalFunction& function : functions) {
        Naming("function " + Quoted(function.declaration), [&] {
            auto method = MakeMethod(nullptr, function.declaration, function.function, nullptr);
            for (const Method* other : module->FindFunctions(method->signature.name)) {
                if (other->signature.Matches(method->signature)) throw DefinitionError("it exists already");
            }
            module->functions.push_back(std::move(method));
        });
    }
    return module;
}

Module* RegisterModuleProperties(std::span<const PropertyDefinition> properties, std::string_view moduleName) {
    Module* module = FindOrMakeModule(moduleName);
    for (const PropertyDefinition& property : properties) {
        Naming("property " + Quoted(property.name) + " of module " + module->name, [&] {
            if ((property.name != nullptr) && (module->FindProperty(property.name) != nullptr))
                throw DefinitionError("it exists already");
            module->properties.push_back(MakeProperty(nullptr, property));
        });
    }
    return module;
}

} // namespace host
