// Bases of texts without a file, and local paths.
#include "sablotron/transform/uri.h"

#include "sablotron/tree/tree.h"

#include <libxml/uri.h>

namespace sablot {
namespace {

constexpr std::string_view ARGUMENT = "arg:/";
// An authority and directories that no program writes tell a relative reference, "../" included, from an absolute path.
constexpr std::string_view NOWHERE = "arg://nowhere";
constexpr std::string_view NO_DIRECTORY = "/-";
constexpr int NO_DIRECTORIES = 16;

std::string Unescaped(std::string_view text) {
    char* unescaped = xmlURIUnescapeString(std::string(text).c_str(), 0, nullptr);
    std::string result = unescaped != nullptr ? unescaped : "";
    xmlFree(unescaped);
    return result;
}

// A reference that was resolved against an ArgumentBase.
struct Reference {
    int directories = 0;   // of the base that are left
    std::string_view rest; // after them, with the slash

    explicit Reference(std::string_view uri) : rest(uri.substr(NOWHERE.size())) {
        for (; rest.starts_with(NO_DIRECTORY) && rest.substr(NO_DIRECTORY.size()).starts_with('/'); ++directories)
            rest.remove_prefix(NO_DIRECTORY.size());
    }
};

bool IsOfNowhere(std::string_view uri) { return uri.starts_with(NOWHERE); }

} // namespace

std::string ArgumentBase(std::string_view name) {
    std::string base(NOWHERE);
    for (int i = 0; i < NO_DIRECTORIES; ++i) base += NO_DIRECTORY;
    return base.append("/").append(name);
}

std::string BaseUri(std::string_view file) {
    if (!file.starts_with('/')) return std::string(file);
    xmlChar* escaped = xmlURIEscapeStr(Chars(std::string(file).c_str()), Chars("/"));
    std::string uri = "file://" + std::string(View(escaped));
    xmlFree(escaped);
    return uri;
}

std::string UriOf(const xmlDoc& tree, std::string_view uri) {
    return tree.URL != nullptr ? BaseUri(Chars(tree.URL)) : ArgumentBase(ArgumentName(uri));
}

std::string_view ArgumentName(std::string_view uri) {
    if (IsOfNowhere(uri)) {
        const Reference reference(uri);
        return reference.directories == NO_DIRECTORIES ? reference.rest.substr(1) : std::string_view();
    }
    return uri.starts_with(ARGUMENT) && !uri.starts_with("arg://") ? uri.substr(ARGUMENT.size()) : std::string_view();
}

std::string LocalPath(std::string_view uri) {
    if (IsOfNowhere(uri)) {
        const Reference reference(uri);
        if (reference.directories > 0) return {};
        uri = reference.rest;
    } else if (uri.starts_with("file:")) {
        uri.remove_prefix(5);
        if (uri.starts_with("//localhost/"))
            uri.remove_prefix(11);
        else if (uri.starts_with("///"))
            uri.remove_prefix(2);
    }
    return uri.starts_with('/') && !uri.starts_with("//") ? Unescaped(uri) : "";
}

std::string DisplayName(std::string_view uri) {
    if (std::string path = LocalPath(uri); !path.empty()) return path;
    if (!IsOfNowhere(uri)) return std::string(uri);
    const Reference reference(uri);
    std::string name;
    for (int i = reference.directories; i < NO_DIRECTORIES; ++i) name += "../";
    return name.append(reference.rest.substr(1));
}

} // namespace sablot
