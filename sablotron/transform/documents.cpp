// Making, parsing and destroying documents.
#include "sablotron/transform/message.h"
#include "sablotron/tree/document.h"
#include "sablotron/tree/parse.h"

#include <new>

namespace sablot {

namespace {

constexpr int NOT_WELL_FORMED = 2;
constexpr int OTHER_FAILURE = 1;

Document* MakeDocument(SablotSituation situation, TreePointer tree, Document::Origin origin) {
    if (!tree) throw std::bad_alloc();
    auto* document = new Document(situation, tree.get(), origin);
    static_cast<void>(tree.release());
    return document;
}

} // namespace

int ParseDocument(SablotSituation situation, const char* buffer, Document*& document) {
    ParseFailure failure;
    TreePointer tree = ParseTree(buffer != nullptr ? buffer : "", failure);
    bool failed = !tree;
    document = MakeDocument(situation, failed ? NewTree() : std::move(tree), Document::Origin::PARSED);
    if (!failed) return 0;
    Message message;
    message.code = NOT_WELL_FORMED;
    message.uri = "arg:/_parsed_";
    message.line = failure.line;
    message.text = failure.text;
    SendMessage(situation->processor, message);
    return NOT_WELL_FORMED;
}

} // namespace sablot

extern "C" {

int SablotCreateDocument(SablotSituation situation, SDOM_Document* document) {
    *document = nullptr;
    if (situation == nullptr) return sablot::OTHER_FAILURE;
    try {
        *document = sablot::MakeDocument(situation, sablot::NewTree(), sablot::Document::Origin::CREATED)->Handle();
        return 0;
    } catch (const std::bad_alloc&) {
        return sablot::OTHER_FAILURE;
    }
}

int SablotParseBuffer(SablotSituation situation, const char* buffer, SDOM_Document* document) {
    *document = nullptr;
    if (situation == nullptr) return sablot::OTHER_FAILURE;
    try {
        sablot::Document* parsed = nullptr;
        int code = sablot::ParseDocument(situation, buffer, parsed);
        *document = parsed->Handle();
        return code;
    } catch (const std::bad_alloc&) {
        return sablot::OTHER_FAILURE;
    }
}

int SablotDestroyDocument(SablotSituation, SDOM_Document document) {
    if (sablot::Document* found = sablot::FindDocument(document)) sablot::DestroyDocument(found);
    return 0;
}

} // extern "C"
