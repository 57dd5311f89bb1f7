// Modules and their members by name.
#include "host/runtime/module.h"

#include "host/runtime/registry.h"
#include "host/syntax/names.h"

namespace host {

const Constant* Module::FindConstant(std::string_view memberName) const {
    for (const Constant& constant : constants) {
        if (SameName(constant.name, memberName)) return &constant;
    }
    return nullptr;
}

Property* Module::FindProperty(std::string_view memberName) const {
    for (const auto& property : properties) {
        if (SameName(property->name, memberName)) return property.get();
    }
    return nullptr;
}

std::vector<Method*> Module::FindFunctions(std::string_view memberName) const {
    std::vector<Method*> found;
    for (const auto& function : functions) {
        if (SameName(function->signature.name, memberName)) found.push_back(function.get());
    }
    return found;
}

Module* FindModule(std::string_view name) {
    for (const auto& module : Registry::Get().modules) {
        if (SameName(module->name, name)) return module.get();
    }
    return nullptr;
}

std::vector<Module*> AllModules() {
    std::vector<Module*> all;
    for (const auto& module : Registry::Get().modules) all.push_back(module.get());
    return all;
}

Method* FindGlobalFunction(const Signature& signature) {
    Module* globals = FindModule("");
    if (globals == nullptr) return nullptr;
    for (Method* function : globals->FindFunctions(signature.name)) {
        if (function->signature.Matches(signature)) return function;
    }
    return nullptr;
}

} // namespace host
