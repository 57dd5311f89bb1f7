// What the document model and the transformation keep for good, on purpose. Nothing else is left behind.
//
// Host strings:
//   XmlException        message, line and node of each exception (the class has no destructor), and a "token" field of
//                       the library's message, which has no property that shows it
//   XmlDomException     message of each exception (the same)
//   XmlNodeList         ToString: the text joined so far, once per item
// Memory:
//   XmlNode             Xql with a map: the array of prefixes and URIs
//   XmlNode             SetAttributeNode: the namespace URI that it looks at
#pragma once

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

namespace kova {

// Marks the place where memory is left behind.
inline void LeaveAllocated([[maybe_unused]] const void* memory) {
#if defined(__SANITIZE_ADDRESS__)
    __lsan_ignore_object(memory);
#endif
}

} // namespace kova
