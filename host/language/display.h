// Values as people see them: in a session, and beside an exception.
#pragma once

#include "host/runtime/object.h"

#include <string>

namespace host::language {

// The values of the properties that the object's class has beyond those of the class `end`: "Line 3, Node "a"".
std::string DetailsOf(Object* object, const Class* end);

// A value as a session shows it: arrays by their elements, what has a text by that text (nodes as markup), other
// objects by their class and properties. Long ones are cut.
std::string DisplayText(Object* value);

} // namespace host::language
