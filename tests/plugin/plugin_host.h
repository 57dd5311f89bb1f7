// The reference host with the plug-in in the test's process, and documents to work on.
#pragma once

#include "host/runtime/dynamic.h"
#include "host/runtime/leaks.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

// Once in a process. Two executables define it: one loads the bundle, one has the plug-in's own code in it.
void StartHost();

inline host::ObjectRef MakeDocument(std::string_view text) {
    return host::Create("XmlDocument", {text}, "Constructor(xmlDoc as String)");
}

inline std::string TextOf(const host::ObjectRef& object, std::string_view property) {
    return host::GetProperty(object, property).Text();
}

inline host::ObjectRef NodeOf(const host::ObjectRef& object, std::string_view property) {
    return host::GetProperty(object, property).GetObject();
}

// Runs `action`, which is to raise; answers "XmlDomException 8".
template <typename Action>
std::string Raised(Action action) {
    try {
        action();
    } catch (const host::ProgramException& e) {
        return e.className + " " + std::to_string(e.number);
    }
    return "nothing";
}
