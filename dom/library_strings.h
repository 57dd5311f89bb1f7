// Owners of the strings that the library hands out. Each kind is released in its own way.
#pragma once

#include "sablotron/sablot.h"

#include <cstdlib>
#include <new>

namespace kova {

struct ReleaseByDelete {
    void operator()(char* text) const { ::operator delete(text); }
};

struct ReleaseBySablotFree {
    void operator()(char* text) const { SablotFree(text); }
};

struct ReleaseByFree {
    void operator()(char* text) const { std::free(text); }
};

template <typename Release>
class LibraryString {
public:
    LibraryString() = default;
    explicit LibraryString(char* text) : text_(text) {}
    LibraryString(const LibraryString&) = delete;
    LibraryString& operator=(const LibraryString&) = delete;
    ~LibraryString() {
        if (text_ != nullptr) Release()(text_);
    }

    char** Out() { return &text_; }
    const char* Text() const { return text_; }

private:
    char* text_ = nullptr;
};

using GetterString = LibraryString<ReleaseByDelete>;         // of the SDOM_get… functions and exception messages
using SerialisedString = LibraryString<ReleaseBySablotFree>; // of SDOM_nodeToString and SDOM_docToString
using ResultString = LibraryString<ReleaseByFree>;           // of SablotGetResultArg

} // namespace kova
