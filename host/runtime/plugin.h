// Loading of plug-in bundles.
#pragma once

#include <filesystem>
#include <string>
#include <vector>

namespace host {

struct Class;
struct Module;

struct Plugin {
    std::filesystem::path path;
    int32_t version; // as it announced
    std::vector<Class*> classes;
    std::vector<Module*> modules;
};

// Loads the bundle and lets it register its classes. Throws std::runtime_error naming the file: it cannot be opened, it
// is no bundle, it is loaded already, it speaks another interface version, or some of its records are wrong (each is
// named; classes without fault stay registered). A bundle stays loaded until the process ends.
const Plugin& LoadPlugin(const std::filesystem::path& path);

} // namespace host
