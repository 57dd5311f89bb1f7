// Registration of classes and modules from definition records, and of the framework's functions.
#pragma once

#include "host/runtime/records.h"

#include <span>
#include <string_view>

namespace host {

struct Class;
struct Module;

// Registers the class that a record describes: checks everything first, then writes dataOffset, the class reference
// (name) and the events' hostSlots into the record. Throws DefinitionError and leaves the record as it was.
Class* RegisterClass(ClassDefinition& record);
Module* RegisterModule(const ModuleDefinition& record);

// A function without object: "LenB( s as string ) as integer".
struct GlobalFunction {
    const char* declaration;
    void* function; // result(declared arguments…)
};

// Adds global functions, or functions of a module (made if there is none of that name). Throws DefinitionError.
Module* RegisterFunctions(std::span<const GlobalFunction> functions, std::string_view moduleName = {});
// Adds properties to a module; direct access is not possible.
Module* RegisterModuleProperties(std::span<const PropertyDefinition> properties, std::string_view moduleName);

} // namespace host
