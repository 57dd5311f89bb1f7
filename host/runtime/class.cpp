// Classes: layout, members and the list of all.
#include "host/runtime/class.h"

#include "host/runtime/registry.h"
#include "host/syntax/names.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace host {

namespace {

constexpr int32_t DATA_ALIGNMENT = 8;

// More is taken for a damaged record.
constexpr int32_t MAX_OBJECT_SIZE = 16 << 20;

constexpr std::string_view CONSTRUCTOR = "constructor";

template <typename Map>
typename Map::mapped_type Lookup(const Map& map, const std::string& key) {
    auto found = map.find(key);
    return found == map.end() ? typename Map::mapped_type{} : found->second;
}

} // namespace

bool IsName(std::string_view text) {
    auto isWordByte = [](char c) { return (std::isalnum(static_cast<unsigned char>(c)) != 0) || c == '_'; };
    return !text.empty() && (std::isdigit(static_cast<unsigned char>(text[0])) == 0)
           && std::all_of(text.begin(), text.end(), isWordByte);
}

void CheckClassName(std::string_view name) {
    if (!IsName(name)) throw DefinitionError("\"" + std::string(name) + "\" is no name of a class");
    if (TypeNamed(name).kind != Kind::OBJECT) throw DefinitionError("the name is that of a built-in type");
    if (FindClass(name) != nullptr) throw DefinitionError("a class of this name exists already");
    if (FindModule(name) != nullptr) throw DefinitionError("a module of this name exists already");
}

void LayOut(Class& cls, Class* super, int32_t dataSize) {
    if (dataSize < 0) throw DefinitionError("the data size is " + std::to_string(dataSize));
    int32_t begin = super != nullptr ? super->objectSize : static_cast<int32_t>(sizeof(Object));
    begin = (begin + DATA_ALIGNMENT - 1) / DATA_ALIGNMENT * DATA_ALIGNMENT;
    if (dataSize > MAX_OBJECT_SIZE - begin) {
        throw DefinitionError("the data size of " + std::to_string(dataSize) + " bytes makes its objects too large");
    }
    cls.super = super;
    cls.dataSize = dataSize;
    cls.dataOffset = begin;
    cls.objectSize = begin + dataSize;
    if (super != nullptr) {
        cls.depth = super->depth + 1;
        cls.hasFinalizer = super->hasFinalizer;
        cls.ancestors = super->ancestors;
        cls.handlers = super->handlers;
    }
    cls.ancestors.push_back(&cls);
}

Property* AddProperty(Class& cls, std::unique_ptr<Property> property) {
    if (!cls.propertiesByName.try_emplace(FoldName(property->name), property.get()).second) {
        throw DefinitionError("the class has a property of this name already");
    }
    return cls.properties.emplace_back(std::move(property)).get();
}

Method* AddMethod(Class& cls, std::unique_ptr<Method> method) {
    std::vector<Method*>& overloads = cls.methodsByName[FoldName(method->signature.name)];
    for (const Method* other : overloads) {
        if (other->signature.Matches(method->signature)) {
            throw DefinitionError("the class has a method of this name, parameters and result already");
        }
    }
    overloads.push_back(method.get());
    return cls.methods.emplace_back(std::move(method)).get();
}

Event* AddEvent(Class& cls, Signature signature) {
    auto event = std::make_unique<Event>();
    event->owner = &cls;
    event->slot = static_cast<uint32_t>(cls.handlers.size());
    event->shape = ShapeOf(signature, true);
    event->signature = std::move(signature);
    if (!cls.eventsByName.try_emplace(FoldName(event->signature.name), event.get()).second) {
        throw DefinitionError("the class has an event of this name already");
    }
    cls.handlers.push_back({event.get(), nullptr});
    return cls.events.emplace_back(std::move(event)).get();
}

Property* Class::FindProperty(std::string_view memberName) const {
    std::string key = FoldName(memberName);
    for (const Class* cls = this; cls != nullptr; cls = cls->super) {
        if (Property* property = Lookup(cls->propertiesByName, key)) return property;
    }
    return nullptr;
}

Event* Class::FindEvent(std::string_view memberName) const {
    std::string key = FoldName(memberName);
    for (const Class* cls = this; cls != nullptr; cls = cls->super) {
        if (Event* event = Lookup(cls->eventsByName, key)) return event;
    }
    return nullptr;
}

const Constant* Class::FindConstant(std::string_view memberName) const {
    for (const Class* cls = this; cls != nullptr; cls = cls->super) {
        for (const Constant& constant : cls->constants) {
            if (SameName(constant.name, memberName)) return &constant;
        }
    }
    return nullptr;
}

std::vector<Method*> Class::FindMethods(std::string_view memberName) const {
    std::string key = FoldName(memberName);
    std::vector<Method*> found;
    for (const Class* cls = this; cls != nullptr; cls = cls->super) {
        for (Method* method : Lookup(cls->methodsByName, key)) {
            bool isHidden = std::any_of(found.begin(), found.end(), [&](const Method* nearer) {
                return nearer->owner != cls && nearer->signature.Matches(method->signature);
            });
            if (!isHidden) found.push_back(method);
        }
        if (key == CONSTRUCTOR && !found.empty()) break;
    }
    return found;
}

Method* Class::FindMethod(const Signature& signature) const {
    for (Method* method : FindMethods(signature.name)) {
        if (method->signature.Matches(signature)) return method;
    }
    return nullptr;
}

bool Method::IsConstructor() const { return (owner != nullptr) && SameName(signature.name, CONSTRUCTOR); }

void* Method::NativeFunction() {
    if ((function == nullptr) && (callback != nullptr)) {
        closure = std::make_unique<Closure>(shape, callback, context);
        function = closure->Function();
    }
    return function;
}

Registry& Registry::Get() {
    static Registry& registry = *new Registry; // outlives every static object
    return registry;
}

Class* Publish(std::unique_ptr<Class> cls) {
    Registry& registry = Registry::Get();
    if (!cls->isInternal) registry.classesByName.emplace(FoldName(cls->name), cls.get());
    if (cls->super != nullptr) cls->super->subclasses.push_back(cls.get());
    return registry.classes.emplace_back(std::move(cls)).get();
}

Class* FindClass(std::string_view name) { return Lookup(Registry::Get().classesByName, FoldName(name)); }

std::vector<Class*> AllClasses() {
    std::vector<Class*> all;
    for (const auto& cls : Registry::Get().classes) {
        if (!cls->isInternal) all.push_back(cls.get());
    }
    return all;
}

bool RemoveClass(Class* cls) {
    auto& classes = Registry::Get().classes;
    if (cls->liveCount > 0 || !cls->subclasses.empty()) return false;
    if (!cls->isInternal) Registry::Get().classesByName.erase(FoldName(cls->name));
    // What came last goes first, as a rule.
    if (cls->super != nullptr) {
        auto& siblings = cls->super->subclasses;
        siblings.erase(std::next(std::find(siblings.rbegin(), siblings.rend(), cls)).base());
    }
    auto found =
        std::find_if(classes.rbegin(), classes.rend(), [cls](const auto& other) { return other.get() == cls; });
    classes.erase(std::next(found).base());
    return true;
}

} // namespace host
