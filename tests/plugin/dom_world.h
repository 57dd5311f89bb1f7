// What the tests of the document model share: the reference host with the bundle loaded, and documents to work on.
#pragma once

#include "host/framework/framework.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/leaks.h"
#include "host/runtime/plugin.h"

#include <gtest/gtest.h>

#include <string>
#include <utility>

namespace domtest {

using host::ObjectRef;
using host::Value;

// The classes of the document model and of the transformation, as the bundle registers them.
inline constexpr const char* CLASSES[] = {"XmlXsltHandler",
                                          "XmlException",
                                          "XmlDomException",
                                          "XmlNamespaces",
                                          "Xml",
                                          "XmlNodeList",
                                          "XmlNode",
                                          "XmlElement",
                                          "XmlAttribute",
                                          "XmlTextNode",
                                          "XmlCDATASection",
                                          "XmlComment",
                                          "XmlProcessingInstruction",
                                          "XmlDocument",
                                          "XmlStyleSheet"};

inline void LoadHost() {
    static const bool loaded = [] {
        host::RegisterFramework();
        host::LoadPlugin(KOVA_PLUGIN);
        return true;
    }();
    (void)loaded;
}

inline ObjectRef MakeDocument(std::string_view text) {
    return host::Create("XmlDocument", {text}, "Constructor(xmlDoc as String)");
}

inline std::string TextOf(const ObjectRef& object, std::string_view property) {
    return host::GetProperty(object, property).Text();
}

inline ObjectRef NodeOf(const ObjectRef& object, std::string_view property) {
    return host::GetProperty(object, property).GetObject();
}

// Runs `action`, which must raise; answers "XmlDomException 8".
template <typename Action>
std::string Raised(Action action) {
    try {
        action();
    } catch (const host::ProgramException& e) {
        return e.className + " " + std::to_string(e.number);
    }
    return "nothing";
}

} // namespace domtest
