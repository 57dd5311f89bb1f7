// Parsing documents and stylesheets, with the message of a failure.
#include "sablotron/transform/message.h"
#include "sablotron/transform/stylesheet.h"
#include "sablotron/tree/guarded.h"
#include "sablotron/tree/parse.h"

#include <cstring>

namespace sablot {

namespace {

// Sets `document` in any case: empty after a failure, whose message goes to the situation's processor.
int Parse(SablotSituation situation, const SablotSource& source, SDOM_Document& document) {
    ParseFailure failure;
    TreePointer tree = ParseTree(source, failure);
    const bool failed = !tree;
    document = NewDocument(situation, failed ? NewTree() : std::move(tree), Document::Origin::PARSED)->Handle();
    if (!failed) return 0;
    SendMessage(situation->processor,
                {.code = CODE_NOT_WELL_FORMED, .uri = "arg:/_parsed_", .line = failure.line, .text = failure.text});
    return CODE_NOT_WELL_FORMED;
}

SablotSource SourceOfBuffer(const char* buffer) { return SourceOf(buffer != nullptr ? buffer : ""); }

} // namespace

} // namespace sablot

using namespace sablot;

int SablotParseSource(SablotSituation situation, const SablotSource* source, SDOM_Document* document) {
    *document = nullptr;
    if ((situation == nullptr) || (source == nullptr)) return CODE_OTHER;
    return Guarded([&] { return Parse(situation, *source, *document); });
}

int SablotParseStylesheetSource(SablotSituation situation, const SablotSource* source, SDOM_Document* document) {
    const int code = SablotParseSource(situation, source, document);
    if (code != 0) return code;
    return Guarded([&] { return CompileDocument(*FindDocument(*document)); });
}

int SablotParseBuffer(SablotSituation situation, const char* buffer, SDOM_Document* document) {
    const SablotSource source = SourceOfBuffer(buffer);
    return SablotParseSource(situation, &source, document);
}

int SablotParseStylesheetBuffer(SablotSituation situation, const char* buffer, SDOM_Document* document) {
    const SablotSource source = SourceOfBuffer(buffer);
    return SablotParseStylesheetSource(situation, &source, document);
}
