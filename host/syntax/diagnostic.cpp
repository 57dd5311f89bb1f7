// Errors and warnings as text.
#include "host/syntax/diagnostic.h"

#include <algorithm>
#include <tuple>

namespace host {

namespace {

size_t CountCharacters(std::string_view text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

} // namespace

std::string FormatDiagnostic(const Diagnostic& diagnostic, bool color) {
    bool isError = diagnostic.severity == Severity::ERROR;
    std::string text = color ? "\x1b[1m" : "";
    text += diagnostic.file + ":" + std::to_string(diagnostic.line) + ":" + std::to_string(diagnostic.column) + ": ";
    if (color) text += isError ? "\x1b[31m" : "\x1b[35m";
    text += isError ? "error: " : "warning: ";
    if (color) text += "\x1b[0;1m";
    text += diagnostic.message;
    if (color) text += "\x1b[0m";
    text += '\n';
    text += diagnostic.sourceLine + '\n';

    // Tabs are kept before the caret so that it stands under its text whatever their width.
    uint32_t column = 1;
    for (char byte : diagnostic.sourceLine) {
        if ((static_cast<unsigned char>(byte) & 0xC0) == 0x80) continue;
        if (column++ == diagnostic.column) break;
        text += byte == '\t' ? '\t' : ' ';
    }
    if (diagnostic.column > column) text.append(diagnostic.column - column, ' ');
    if (color) text += "\x1b[32m";
    text += '^';
    if (diagnostic.length > 1) text.append(diagnostic.length - 1, '~');
    if (color) text += "\x1b[0m";
    text += '\n';
    return text;
}

void DiagnosticList::Add(Severity severity, const Span& span, std::string message) {
    for (const Entry& entry : entries_) {
        if (entry.span.file == span.file && entry.span.offset == span.offset && entry.message == message) return;
    }
    errorCount_ += static_cast<unsigned int>(severity == Severity::ERROR);
    if (entries_.size() >= MAX_ENTRIES && (severity == Severity::WARNING || errorCount_ > 1)) return;
    entries_.push_back({severity, span, std::move(message)});
}

const DiagnosticList::Entry& DiagnosticList::FirstError() const {
    return *std::find_if(entries_.begin(), entries_.end(),
                         [](const Entry& entry) { return entry.severity == Severity::ERROR; });
}

uint32_t DiagnosticList::FirstErrorOffset() const { return FirstError().span.offset; }

const std::string& DiagnosticList::FirstErrorMessage() const { return FirstError().message; }

std::vector<Diagnostic> DiagnosticList::Sorted() const {
    std::vector<const Entry*> order;
    order.reserve(entries_.size());
    for (const Entry& entry : entries_) order.push_back(&entry);
    std::stable_sort(order.begin(), order.end(), [](const Entry* left, const Entry* right) {
        return std::tie(left->span.file, left->span.offset) < std::tie(right->span.file, right->span.offset);
    });

    std::vector<Diagnostic> result;
    result.reserve(order.size());
    for (const Entry* entry : order) {
        const SourceFile& file = *files_[entry->span.file];
        LineColumn place = file.Locate(entry->span.offset);
        std::string_view line = file.Line(place.line);
        // A text that runs over the end of the line is marked up to there.
        size_t available = CountCharacters(line) + 1 - std::min<size_t>(place.column - 1, CountCharacters(line));
        size_t length = std::clamp<size_t>(CountCharacters(file.Text(entry->span)), 1, std::max<size_t>(available, 1));
        result.push_back({entry->severity, file.Name(), place.line, place.column, static_cast<uint32_t>(length),
                          entry->message, std::string(line)});
    }
    return result;
}

} // namespace host
