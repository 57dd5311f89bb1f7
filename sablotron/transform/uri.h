// URIs of texts: what relative references are resolved against, what a URI names, how messages call it.
#pragma once

#include <libxml/tree.h>

#include <string>
#include <string_view>

namespace sablot {

// How messages call the stylesheet, and document() may.
constexpr const char* STYLESHEET_URI = "arg:/style";

// The base of a text that comes from nowhere: the argument of that name. Relative references lead to arguments,
// absolute paths to files.
std::string ArgumentBase(std::string_view name);

// The base URI for a text that comes from a file, given as absolute path or as URI.
std::string BaseUri(std::string_view file);

// The base URI of an argument: that of its tree when it has one, else its ArgumentBase. `uri` is "arg:/name".
std::string UriOf(const xmlDoc& tree, std::string_view uri);

// The argument that a URI names: "arg:/name", or a relative reference resolved against an ArgumentBase. Empty for any
// other URI.
std::string_view ArgumentName(std::string_view uri);

// The local path that an absolute local file: URI (RFC 8089) or an absolute path names, resolved against any base;
// empty for anything else.
std::string LocalPath(std::string_view uri);

// The URI as the program knows it: a path, or the reference as it was written.
std::string DisplayName(std::string_view uri);

} // namespace sablot
