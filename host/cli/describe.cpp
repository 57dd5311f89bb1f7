// `kova describe`: the classes, modules and functions that programs find, from the records of their registration.
#include "host/cli/session.h"
#include "host/cli/terminal.h"
#include "host/language/suggestion.h"
#include "host/runtime/class.h"
#include "host/runtime/module.h"
#include "host/syntax/names.h"

#include <cstdio>
#include <string>
#include <vector>

namespace host {

namespace {

// A text in the weight of a heading, on a terminal.
std::string Heading(const std::string& text) { return UsesColor(stdout) ? "\033[1m" + text + "\033[0m" : text; }

void PrintSection(const char* title, const std::vector<std::string>& lines) {
    if (lines.empty()) return;
    std::printf("\n%s\n", Heading(title).c_str());
    for (const std::string& line : lines) std::printf("  %s\n", line.c_str());
}

std::string Describe(const Property& property) {
    std::string text = property.name + " As " + property.type.Text();
    if (property.write == Access::NONE) text += "  (read-only)";
    if (property.read == Access::NONE) text += "  (write-only)";
    return text;
}

std::string Describe(const Method& method) {
    return method.signature.Text() + (method.setter != nullptr ? "  (can be assigned to)" : "");
}

std::vector<std::string> Describe(const std::vector<Constant>& constants) {
    std::vector<std::string> lines;
    lines.reserve(constants.size());
    for (const Constant& constant : constants) lines.push_back(constant.name + " = " + FormatConstant(constant.value));
    return lines;
}

template <typename Members>
std::vector<std::string> Describe(const Members& members) {
    std::vector<std::string> lines;
    lines.reserve(members.size());
    for (const auto& member : members) lines.push_back(Describe(*member));
    return lines;
}

void PrintClass(const Class& cls) {
    std::printf("%s\n", Heading("Class " + cls.name).c_str());
    if (cls.super != nullptr) std::printf("  Inherits %s\n", cls.super->name.c_str());
    std::vector<std::string> constructors;
    std::vector<std::string> methods;
    for (const auto& method : cls.methods)
        (method->IsConstructor() ? constructors : methods).push_back(Describe(*method));
    std::vector<std::string> events;
    for (const auto& event : cls.events) events.push_back(event->signature.Text());
    PrintSection("Constructors", constructors);
    PrintSection("Properties", Describe(cls.properties));
    PrintSection("Methods", methods);
    PrintSection("Events", events);
    PrintSection("Constants", Describe(cls.constants));
    std::vector<std::string> subclasses;
    for (const Class* other : AllClasses())
        if (other->super == &cls) subclasses.push_back(other->name);
    PrintSection("Subclasses", subclasses);
}

void PrintModule(const Module& module) {
    std::printf("%s\n", Heading("Module " + module.name).c_str());
    PrintSection("Properties", Describe(module.properties));
    PrintSection("Functions", Describe(module.functions));
    PrintSection("Constants", Describe(module.constants));
}

// A class without super and members serves the plug-in alone: programs can do nothing with it.
bool IsForPrograms(const Class& cls) {
    return cls.super != nullptr || !cls.properties.empty() || !cls.methods.empty() || !cls.events.empty()
           || !cls.constants.empty();
}

void PrintCatalogue() {
    std::vector<std::string> classes;
    for (const Class* cls : AllClasses())
        if (IsForPrograms(*cls))
            classes.push_back(cls->name + (cls->super != nullptr ? "  (" + cls->super->name + ")" : ""));
    std::vector<std::string> modules;
    for (const Module* module : AllModules())
        if (!module->name.empty()) modules.push_back(module->name);
    std::printf("%s\n", Heading("Classes").c_str());
    for (const std::string& line : classes) std::printf("  %s\n", line.c_str());
    PrintSection("Modules", modules);
    if (const Module* globals = FindModule("")) PrintSection("Functions", Describe(globals->functions));
}

int ReportUnknown(const std::string& name) {
    std::vector<std::string> names;
    for (const Class* cls : AllClasses()) names.push_back(cls->name);
    for (const Module* module : AllModules()) names.push_back(module->name);
    if (const Module* globals = FindModule(""))
        for (const auto& function : globals->functions) names.push_back(function->signature.name);
    std::fprintf(stderr, "kova: there is no class, module or function \"%s\"%s\n", name.c_str(),
                 language::Suggestion(name, names).c_str());
    return EXIT_FAILED;
}

} // namespace

int Describe(const HostOptions& host, const std::string& name) {
    StartHost(host);
    return DescribeName(name);
}

int DescribeName(const std::string& name) {
    if (name.empty()) {
        PrintCatalogue();
    } else if (const Class* cls = FindClass(name)) {
        PrintClass(*cls);
    } else if (const Module* module = FindModule(name)) {
        PrintModule(*module);
    } else {
        const Module* globals = FindModule("");
        std::vector<Method*> functions = globals != nullptr ? globals->FindFunctions(name) : std::vector<Method*>();
        if (functions.empty()) return ReportUnknown(name);
        for (const Method* function : functions) std::printf("%s\n", Describe(*function).c_str());
    }
    return EXIT_OK;
}

} // namespace host
