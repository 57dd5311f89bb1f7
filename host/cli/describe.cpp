// `kova describe`: the classes, modules and functions that programs find, from the records of their registration, with
// what the class reference says about them.
#include "host/cli/reference.h"
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

// A member as it is listed. Its text stands under `signature`.
struct Item {
    std::string name;
    std::string signature;
    std::string note;
};

struct Group {
    std::string title;
    std::vector<Item> items;
};

// What a class or module shows, with the pages that describe it: its own first, then those of its superclasses.
struct Description {
    std::string kind;
    std::vector<std::string> pages;
    std::vector<Group> groups;

    std::string_view TextOf(const Item& item) const {
        for (const std::string& page : pages) {
            if (std::string_view text = reference::MemberText(page, item.signature); !text.empty()) return text;
        }
        return {};
    }

    // The text that stands after an item: overloads that share one are followed by it once.
    std::string_view TextAfter(const Group& group, size_t index) const {
        const std::string_view text = TextOf(group.items[index]);
        const bool isShared = index + 1 < group.items.size() && TextOf(group.items[index + 1]).data() == text.data();
        return isShared ? std::string_view() : text;
    }
};

Item ItemOf(const Property& property) {
    const char* note = property.write == Access::NONE  ? " (read-only)"
                       : property.read == Access::NONE ? " (write-only)"
                                                       : "";
    return {property.name, property.name + " As " + property.type.Text(), note};
}

Item ItemOf(const Method& method) {
    return {method.signature.name, method.signature.Text(), method.setter != nullptr ? " (can be assigned to)" : ""};
}

Item ItemOf(const Event& event) { return {event.signature.name, event.signature.Text(), ""}; }

Item ItemOf(const Constant& constant) {
    return {constant.name, constant.name + " = " + FormatConstant(constant.value), ""};
}

template <typename Members>
Group GroupOf(const char* title, const Members& members) {
    Group group{title, {}};
    for (const auto& member : members) {
        if constexpr (requires { *member; })
            group.items.push_back(ItemOf(*member));
        else
            group.items.push_back(ItemOf(member));
    }
    return group;
}

Description DescriptionOf(const Class& cls) {
    std::vector<const Method*> constructors;
    std::vector<const Method*> methods;
    for (const auto& method : cls.methods) (method->IsConstructor() ? constructors : methods).push_back(method.get());
    Description description{"Class", {}, {}};
    for (const Class* page = &cls; page != nullptr; page = page->super) description.pages.push_back(page->name);
    description.groups = {GroupOf("Constructors", constructors), GroupOf("Properties", cls.properties),
                          GroupOf("Methods", methods), GroupOf("Events", cls.events),
                          GroupOf("Constants", cls.constants)};
    return description;
}

Description DescriptionOf(const Module& module) {
    const bool isGlobal = module.name.empty();
    return {"Module",
            {isGlobal ? std::string(reference::FUNCTIONS_PAGE) : module.name},
            {GroupOf("Properties", module.properties), GroupOf("Functions", module.functions),
             GroupOf("Constants", module.constants)}};
}

// A page of the library that programs import: the command does not compile it to describe it.
Description LibraryDescription(std::string_view page) {
    Description description{"Library", {std::string(page)}, {}};
    for (const reference::Heading& heading : reference::Headings(page)) {
        if (heading.isSection) {
            description.groups.push_back({std::string(heading.text), {}});
            continue;
        }
        const std::string signature(heading.text);
        description.groups.back().items.push_back({signature.substr(0, signature.find('(')), signature, ""});
    }
    return description;
}

// The pages of the library: what is not registered.
std::vector<std::string> LibraryPages() {
    std::vector<std::string> names;
    for (const std::string_view page : reference::Pages())
        if (page != reference::FUNCTIONS_PAGE && FindClass(page) == nullptr && FindModule(page) == nullptr)
            names.emplace_back(page);
    return names;
}

void PrintText(std::string_view text, size_t indent) { std::fputs(reference::Filled(text, indent).c_str(), stdout); }

// Each member with the first sentence about it.
void PrintGroup(const Description& description, const Group& group) {
    if (group.items.empty()) return;
    std::printf("\n%s\n", Heading(group.title).c_str());
    for (size_t i = 0; i < group.items.size(); ++i) {
        const Item& item = group.items[i];
        std::printf("  %s%s\n", item.signature.c_str(), item.note.c_str());
        PrintText(reference::FirstSentence(description.TextAfter(group, i)), 6);
    }
}

void PrintDescription(const Description& description, const Class* super, const std::vector<const Class*>& subclasses) {
    const std::string& page = description.pages.front();
    std::printf("%s\n", Heading(description.kind + " " + page).c_str());
    if (super != nullptr) std::printf("  Inherits %s\n", super->name.c_str());
    if (const std::string_view text = reference::Introduction(page); !text.empty()) {
        std::putchar('\n');
        PrintText(text, 0);
    }
    for (const Group& group : description.groups) PrintGroup(description, group);
    if (const std::string_view text = reference::Section(page, "What surprises"); !text.empty()) {
        std::printf("\n%s\n", Heading("What surprises").c_str());
        PrintText(text, 2);
    }
    if (subclasses.empty()) return;
    std::printf("\n%s\n", Heading("Subclasses").c_str());
    for (const Class* subclass : subclasses) std::printf("  %s\n", subclass->name.c_str());
}

// The members of a name with their whole text; false when there are none.
bool PrintMembers(const Description& description, std::string_view name) {
    bool isFound = false;
    for (const Group& group : description.groups) {
        for (size_t i = 0; i < group.items.size(); ++i) {
            const Item& item = group.items[i];
            if (!SameName(item.name, name)) continue;
            std::printf("%s%s\n", Heading(item.signature).c_str(), item.note.c_str());
            PrintText(description.TextAfter(group, i), 2);
            isFound = true;
        }
    }
    return isFound;
}

// A class without super and members serves the plug-in alone: programs can do nothing with it.
bool IsForPrograms(const Class& cls) {
    return cls.super != nullptr || !cls.properties.empty() || !cls.methods.empty() || !cls.events.empty()
           || !cls.constants.empty();
}

void PrintNames(const char* title, const std::vector<std::string>& names) {
    std::printf("%s\n", Heading(title).c_str());
    for (const std::string& name : names)
        std::printf("  %-26s%s\n", name.c_str(), reference::FirstSentence(reference::Introduction(name)).c_str());
    std::putchar('\n');
}

void PrintCatalogue() {
    std::vector<std::string> classes;
    for (const Class* cls : AllClasses())
        if (IsForPrograms(*cls)) classes.push_back(cls->name);
    std::vector<std::string> modules;
    for (const Module* module : AllModules())
        if (!module->name.empty()) modules.push_back(module->name);
    PrintNames("Classes", classes);
    PrintNames("Modules", modules);
    PrintNames("Library", LibraryPages());
    const Module* globals = FindModule("");
    std::printf("%s\n", Heading("Functions").c_str());
    if (globals == nullptr) return;
    for (const auto& function : globals->functions) std::printf("  %s\n", function->signature.Text().c_str());
}

bool PrintLibraryPage(std::string_view name) {
    for (const std::string& page : LibraryPages()) {
        if (!SameName(page, name)) continue;
        PrintDescription(LibraryDescription(page), nullptr, {});
        return true;
    }
    return false;
}

// "Class.Member", "Module.Member" or a function.
bool PrintMember(std::string_view name) {
    const size_t dot = name.find('.');
    const std::string owner(dot == std::string_view::npos ? "" : name.substr(0, dot));
    const std::string_view member = name.substr(dot == std::string_view::npos ? 0 : dot + 1);
    bool isFound = false;
    for (const Module* module : AllModules())
        if (SameName(module->name, owner)) isFound = PrintMembers(DescriptionOf(*module), member);
    if (isFound) return true;
    for (const std::string& page : LibraryPages())
        if (owner.empty() || SameName(page, owner)) isFound |= PrintMembers(LibraryDescription(page), member);
    if (isFound) return true;
    for (const Class* cls = FindClass(owner); cls != nullptr; cls = cls->super)
        if (PrintMembers(DescriptionOf(*cls), member)) return true;
    return false;
}

int ReportUnknown(const std::string& name) {
    std::vector<std::string> names;
    for (const Class* cls : AllClasses()) {
        names.push_back(cls->name);
        if (!SameName(cls->name, name.substr(0, name.find('.')))) continue;
        for (const Group& group : DescriptionOf(*cls).groups)
            for (const Item& item : group.items) names.push_back(cls->name + "." + item.name);
    }
    for (const std::string& page : LibraryPages()) names.push_back(page);
    for (const Module* module : AllModules()) names.push_back(module->name);
    if (const Module* globals = FindModule(""))
        for (const auto& function : globals->functions) names.push_back(function->signature.name);
    std::fprintf(stderr, "kova: there is no class, module, function or member \"%s\"%s\n", name.c_str(),
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
        std::vector<const Class*> subclasses;
        for (const Class* other : AllClasses())
            if (other->super == cls) subclasses.push_back(other);
        PrintDescription(DescriptionOf(*cls), cls->super, subclasses);
    } else if (const Module* module = FindModule(SameName(name, reference::FUNCTIONS_PAGE) ? "" : name)) {
        PrintDescription(DescriptionOf(*module), nullptr, {});
    } else if (!PrintLibraryPage(name) && !PrintMember(name)) {
        return ReportUnknown(name);
    }
    return EXIT_OK;
}

} // namespace host
