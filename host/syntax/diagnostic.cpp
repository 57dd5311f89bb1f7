// Errors and warnings as text.
#include "host/syntax/diagnostic.h"

#include <unicode/uchar.h>
#include <unicode/unistr.h>

#include <algorithm>
#include <tuple>

namespace host {

namespace {

size_t CountCharacters(std::string_view text) {
    return static_cast<size_t>(std::count_if(
        text.begin(), text.end(), [](char byte) { return (static_cast<unsigned char>(byte) & 0xC0) != 0x80; }));
}

// More of a name in a message is not shown.
constexpr size_t MAX_NAME = 100;

// The message with its longest words cut. A quotation mark at the end of one stays.
std::string WithShortNames(const std::string& message) {
    std::string shortened;
    for (size_t start = 0; start < message.size();) {
        size_t end = std::min(message.find(' ', start), message.size());
        size_t cut = std::min(end, start + MAX_NAME);
        while (cut < end && (static_cast<unsigned char>(message[cut]) & 0xC0) == 0x80) --cut;
        shortened.append(message, start, cut - start);
        if (cut < end) shortened += message[end - 1] == '"' ? "…\"" : "…";
        start = message.find_first_not_of(' ', end);
        start = std::min(start, message.size());
        shortened.append(message, end, start - end);
    }
    return shortened;
}

// How many cells of a terminal a character takes: two of most East Asian ones, none of an accent of its own.
size_t CellsOf(std::string_view character) {
    if (character.size() == 1) return 1;
    const icu::StringPiece utf8(character.data(), static_cast<int32_t>(character.size()));
    const UChar32 code = icu::UnicodeString::fromUTF8(utf8).char32At(0);
    const int8_t type = u_charType(code);
    if (type == U_NON_SPACING_MARK || type == U_ENCLOSING_MARK || type == U_FORMAT_CHAR) return 0;
    const int32_t width = u_getIntPropertyValue(code, UCHAR_EAST_ASIAN_WIDTH);
    return width == U_EA_WIDE || width == U_EA_FULLWIDTH ? 2 : 1;
}

// A character of a source; what a terminal would obey is a picture of it.
void AppendVisible(std::string& shown, std::string_view character) {
    const auto byte = static_cast<unsigned char>(character[0]);
    if (character.size() == 1 && byte != '\t' && (byte < ' ' || byte == 0x7F))
        shown.append("\u2400", 2) += static_cast<char>(byte == 0x7F ? 0xA1 : 0x80 + byte);
    else if (character.size() == 2 && byte == 0xC2 && static_cast<unsigned char>(character[1]) < 0xA0)
        shown += "\uFFFD";
    else
        shown += character;
}

// More of a line is not shown.
constexpr size_t MAX_SHOWN = 160;
// What is shown of a longer line before the marked text.
constexpr size_t SHOWN_BEFORE = 60;

} // namespace

std::string MarkedLine(std::string_view line, uint32_t column, uint32_t length, bool color) {
    std::vector<std::string_view> characters;
    for (size_t start = 0; start < line.size();) {
        size_t end = start + 1;
        while (end < line.size() && (static_cast<unsigned char>(line[end]) & 0xC0) == 0x80) ++end;
        characters.push_back(line.substr(start, end - start));
        start = end;
    }
    size_t first = 0;
    size_t last = characters.size();
    if (characters.size() > MAX_SHOWN) {
        first = column > SHOWN_BEFORE ? column - SHOWN_BEFORE : 0;
        last = std::min(characters.size(), first + MAX_SHOWN);
    }
    std::string shown = first > 0 ? "…" : "";
    std::string blanks = first > 0 ? " " : "";
    size_t marked = 0; // cells
    for (size_t i = first; i < last; ++i) {
        AppendVisible(shown, characters[i]);
        const size_t cells = CellsOf(characters[i]);
        // Tabs are kept before the caret so that it stands under its text whatever their width.
        if (i + 1 < column)
            blanks.append(characters[i] == "\t" ? 1 : cells, characters[i] == "\t" ? '\t' : ' ');
        else if (i + 1 < column + length)
            marked += cells;
    }
    if (last < characters.size()) shown += "…";
    if (column > last + 1) blanks.append(column - last - 1, ' ');
    std::string mark = "^" + std::string(std::clamp<size_t>(marked, 1, MAX_SHOWN) - 1, '~');
    return shown + "\n" + blanks + (color ? "\x1b[32m" + mark + "\x1b[0m" : mark) + "\n";
}

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
    text += MarkedLine(diagnostic.sourceLine, diagnostic.column, diagnostic.length, color);
    return text;
}

void DiagnosticList::Add(Severity severity, const Span& span, std::string message) {
    if (message.size() > MAX_NAME) message = WithShortNames(message);
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
