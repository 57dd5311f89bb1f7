// libxml2's errors as the diagnostics that all commands show.
#include "host/cli/libxml2/errors.h"

#include <algorithm>
#include <cctype>

namespace host::xml {

namespace {

// What follows the first hundreds are echoes.
constexpr size_t MAX_FOUND = 500;

void Ignore(void*, const char*, ...) {}

// Some texts begin with the name of the function in which they stand, "xmlParseSomething: ".
void RemoveFunctionName(std::string& message) {
    size_t colon = message.find(": ");
    bool isNamed = message.starts_with("xml") && std::isupper(static_cast<unsigned char>(message[3])) != 0;
    if (isNamed && colon < message.find(' ')) message.erase(0, colon + 2);
}

} // namespace

ErrorCollector::ErrorCollector(const Input& input) : input_(input) {
    xmlSetStructuredErrorFunc(this, Collect);
    xmlSetGenericErrorFunc(nullptr, Ignore);
}

ErrorCollector::~ErrorCollector() {
    xmlSetStructuredErrorFunc(nullptr, nullptr);
    xmlSetGenericErrorFunc(nullptr, nullptr);
    xmlResetLastError();
}

void ErrorCollector::Collect(void* collector, xmlErrorPtr error) {
    auto& self = *static_cast<ErrorCollector*>(collector);
    // What is said of markup as a whole, or of the parser, after what was wrong in it.
    const bool isEcho = error->code == XML_ERR_NOT_WELL_BALANCED || error->code == XML_ERR_INTERNAL_ERROR;
    if (isEcho && !self.found.empty()) return;
    // What breaks another rule than those of well-formed documents: a prefix without namespace, an ID given twice.
    bool isMinor = error->domain == XML_FROM_NAMESPACE || (error->domain == XML_FROM_VALID && !self.validates);
    bool isWarning = error->level == XML_ERR_WARNING || isMinor;
    std::string message = error->message != nullptr ? error->message : "unknown error";
    RemoveFunctionName(message);
    self.Add(isWarning ? Severity::WARNING : Severity::ERROR, error->line, error->int2, std::move(message));
    bool isElsewhere = error->file != nullptr && self.input_.name != error->file && !self.found.empty();
    if (!isElsewhere) return;
    self.found.back().file = error->file;
    self.found.back().sourceLine.clear();
}

void ErrorCollector::Add(Severity severity, int line, int column, std::string message) {
    if (found.size() >= MAX_FOUND) return;
    while (message.ends_with('\n')) message.pop_back();
    std::replace(message.begin(), message.end(), '\n', ' ');
    Diagnostic diagnostic;
    diagnostic.severity = severity;
    diagnostic.file = input_.name;
    diagnostic.line = static_cast<uint32_t>(std::max(line, 1));
    diagnostic.message = std::move(message);
    diagnostic.sourceLine = LineOf(input_.text, diagnostic.line);
    diagnostic.column = column > 0 ? static_cast<uint32_t>(column) : FirstColumn(diagnostic.sourceLine);
    found.push_back(std::move(diagnostic));
}

} // namespace host::xml
