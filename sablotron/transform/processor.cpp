// The calls on processors that need no transformation.
#include "sablotron/transform/processor.h"

#include "sablotron/transform/uri.h"
#include "sablotron/tree/document.h"
#include "sablotron/tree/guarded.h"
#include "sablotron/tree/strings.h"

namespace sablot {

ProcessorUse::~ProcessorUse() {
    if (--processor_->users == 0 && processor_->destroyed) delete processor_;
}

} // namespace sablot

using namespace sablot;

const Argument* SablotProcessorRecord::FindArgument(std::string_view name) const {
    const auto found = arguments.find(name);
    return found == arguments.end() || !found->second.IsLive() ? nullptr : &found->second;
}

int SablotCreateProcessorForSituation(SablotSituation situation, SablotHandle* processor) {
    if (processor == nullptr) return CODE_OTHER;
    *processor = nullptr;
    if (situation == nullptr) return CODE_OTHER;
    return Guarded([&] {
        *processor = new SablotProcessorRecord;
        (*processor)->situation = situation;
        situation->processor = *processor;
        return 0;
    });
}

int SablotDestroyProcessor(SablotHandle processor) {
    if (processor == nullptr) return 0;
    if ((processor->situation != nullptr) && processor->situation->processor == processor)
        processor->situation->processor = nullptr;
    processor->messageHandler = nullptr;
    processor->outputHandler = nullptr;
    if (processor->users == 0)
        delete processor;
    else
        processor->destroyed = true;
    return 0;
}

int SablotSetEncoding(SablotHandle processor, const char* encoding) {
    if (processor == nullptr) return CODE_OTHER;
    return Guarded([&] {
        processor->encoding = encoding != nullptr ? encoding : "";
        return 0;
    });
}

int SablotAddArgBuffer(SablotSituation, SablotHandle processor, const char* name, const char* text) {
    if ((processor == nullptr) || (name == nullptr)) return CODE_OTHER;
    return Guarded([&] {
        processor->arguments[name] = {text != nullptr ? text : "", false, nullptr};
        return 0;
    });
}

int SablotAddArgTree(SablotSituation, SablotHandle processor, const char* name, SDOM_Document document) {
    Document* tree = FindDocument(document);
    if ((processor == nullptr) || (name == nullptr) || (tree == nullptr)) return CODE_OTHER;
    return Guarded([&] {
        processor->arguments[name] = {{}, true, tree->Anchor()};
        return 0;
    });
}

int SablotGetResultArg(SablotHandle processor, const char* uri, char** text) {
    if (text == nullptr) return CODE_OTHER;
    *text = nullptr;
    if ((processor == nullptr) || (uri == nullptr)) return CODE_OTHER;
    const auto found = processor->results.find(ArgumentName(uri));
    if (found != processor->results.end()) *text = NewFreeableString(found->second);
    return 0;
}

int SablotRegHandler(SablotHandle processor, int type, void* handler, void* userData) {
    if (processor == nullptr) return CODE_OTHER;
    if (type == SABLOT_HANDLER_MESSAGE) {
        processor->messageHandler = static_cast<const SablotMessageHandler*>(handler);
        processor->messageData = userData;
    } else if (type == SABLOT_HANDLER_OUTPUT) {
        processor->outputHandler = static_cast<const SablotOutputHandler*>(handler);
        processor->outputData = userData;
    } else {
        return CODE_OTHER;
    }
    return 0;
}

int SablotUnregHandler(SablotHandle processor, int type, void*, void*) {
    return SablotRegHandler(processor, type, nullptr, nullptr);
}
