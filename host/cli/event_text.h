// Events as lines of text: the name, then each argument as name=value.
#pragma once

#include "host/runtime/object.h"

#include <string>
#include <string_view>

namespace host {

// In double quotes, on one line.
void AppendQuoted(std::string& out, std::string_view text);

// An XmlAttributeList: {x="1" y="2"}.
void AppendAttributes(std::string& out, const ObjectRef& list);

} // namespace host
