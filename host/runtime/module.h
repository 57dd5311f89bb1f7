// Modules: the groups of constants, functions and properties that records and the framework register.
#pragma once

#include "host/runtime/member.h"
#include "host/runtime/signature.h"

#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace host {

// A group of constants, functions and properties without object. The module without name holds the global functions.
struct Module {
    std::string name;
    std::vector<Constant> constants;
    std::vector<std::unique_ptr<Method>> functions;
    std::vector<std::unique_ptr<Property>> properties;

    const Constant* FindConstant(std::string_view memberName) const;
    Property* FindProperty(std::string_view memberName) const;
    std::vector<Method*> FindFunctions(std::string_view memberName) const;
};

Module* FindModule(std::string_view name); // "" for the global functions
std::vector<Module*> AllModules();
// Global function of exactly this signature; nullptr if none.
Method* FindGlobalFunction(const Signature& signature);

} // namespace host
