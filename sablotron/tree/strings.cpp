// The two ways in which strings that are handed out are allocated and released.
#include "sablotron/tree/strings.h"

#include "sablotron/sablot.h"

#include <cstdlib>
#include <cstring>
#include <new>

namespace sablot {

namespace {

char* Copy(void* memory, std::string_view text) {
    auto* copy = static_cast<char*>(memory);
    if (copy == nullptr) return nullptr;
    if (!text.empty()) std::memcpy(copy, text.data(), text.size());
    copy[text.size()] = '\0';
    return copy;
}

} // namespace

char* NewDeletableString(std::string_view text) { return Copy(::operator new(text.size() + 1), text); }

char* NewFreeableString(std::string_view text) { return Copy(std::malloc(text.size() + 1), text); }

} // namespace sablot

void SablotFree(char* text) { std::free(text); }
