// Errors and warnings with their places.
#pragma once

#include "host/syntax/source.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace host {

enum class Severity { ERROR, WARNING };

// One finding about a program, complete in itself: it can be shown after the sources are gone.
struct Diagnostic {
    Severity severity = Severity::ERROR;
    std::string file;
    uint32_t line = 1;   // from 1
    uint32_t column = 1; // from 1, in characters
    uint32_t length = 1; // of the marked text, in characters, at least 1
    std::string message;
    std::string sourceLine;
};

// "file:line:column: error: message", the source line and a caret under the marked text, each ended by a line feed.
// `color` adds terminal colours.
std::string FormatDiagnostic(const Diagnostic& diagnostic, bool color = false);

// A line of a source and a mark under `length` characters from `column` on, each ended by a line feed. Of a very long
// line what is around the mark is shown.
std::string MarkedLine(std::string_view line, uint32_t column, uint32_t length, bool color);

using SourceFiles = std::vector<std::shared_ptr<const SourceFile>>;

// Collects what is found about the files of a program, by place. What comes after very many findings is left out.
class DiagnosticList {
public:
    explicit DiagnosticList(const SourceFiles& files) : files_(files) {}

    void Error(const Span& span, std::string message) { Add(Severity::ERROR, span, std::move(message)); }
    void Warning(const Span& span, std::string message) { Add(Severity::WARNING, span, std::move(message)); }
    uint32_t LineOf(const Span& span) const { return files_[span.file]->Locate(span.offset).line; }
    bool HasErrors() const { return errorCount_ > 0; }
    size_t ErrorCount() const { return errorCount_; }
    // Everything found so far in the order of files and places; a place is reported once with the same message.
    std::vector<Diagnostic> Sorted() const;
    // Byte offset and message of the error found first; only valid when HasErrors().
    uint32_t FirstErrorOffset() const;
    const std::string& FirstErrorMessage() const;

private:
    struct Entry {
        Severity severity;
        Span span;
        std::string message;
    };

    void Add(Severity severity, const Span& span, std::string message);
    const Entry& FirstError() const;

    static constexpr size_t MAX_ENTRIES = 500;

    const SourceFiles& files_;
    std::vector<Entry> entries_;
    size_t errorCount_ = 0;
};

} // namespace host
