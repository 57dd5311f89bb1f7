// The process-wide list of classes and modules, for the files that build them.
#pragma once

#include "host/runtime/class.h"
#include "host/runtime/module.h"

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace host {

struct Registry {
    std::vector<std::unique_ptr<Class>> classes; // in order of registration, internal ones too
    std::unordered_map<std::string, Class*> classesByName;
    std::vector<std::unique_ptr<Module>> modules;

    static Registry& Get();
};

// Throws DefinitionError unless a class of that name can be added.
void CheckClassName(std::string_view name);
bool IsName(std::string_view text);

// Places the class below its superclass: offsets, ancestors, inherited handlers.
void LayOut(Class& cls, Class* super, int32_t dataSize);

// Each adds an own member; throws DefinitionError when it is a duplicate.
Property* AddProperty(Class& cls, std::unique_ptr<Property> property);
Method* AddMethod(Class& cls, std::unique_ptr<Method> method);
Event* AddEvent(Class& cls, Signature signature);

Class* Publish(std::unique_ptr<Class> cls);

// Bytes of a value of this kind in a field.
constexpr int32_t FieldSize(Kind kind) { return IsWide(kind) ? 8 : 4; }

// Runs `action`, and adds the name of what is being defined to the error it throws.
template <typename Action>
auto Naming(std::string_view what, Action action) {
    try {
        return action();
    } catch (const DefinitionError& error) {
        throw DefinitionError(std::string(what) + ": " + error.what());
    }
}

} // namespace host
