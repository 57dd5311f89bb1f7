// The plug-in for the targets that need it, and texts in other encodings.
#pragma once

#include "tests/fuzz/input.h"
#include "tests/plugin/plugin_host.h"

// Runs what may raise in the program; false if it did.
template <typename Action>
bool Completes(Action action) {
    try {
        action();
        return true;
    } catch (const host::ProgramException&) {
        return false;
    }
}

enum class Form : unsigned { AS_IT_IS, UTF16_LITTLE, UTF16_BIG, UTF16_WITH_MARK };

// The bytes of the text, each widened to a unit of UTF-16.
inline std::string InForm(const std::string& text, Form form) {
    if (form == Form::AS_IT_IS) return text;
    std::string wide = form == Form::UTF16_WITH_MARK ? "\xFF\xFE" : "";
    for (const char byte : text)
        for (const char unit : {form == Form::UTF16_BIG ? '\0' : byte, form == Form::UTF16_BIG ? byte : '\0'})
            wide += unit;
    return wide;
}
