// The processor: handlers, named arguments, output encoding and results.
#pragma once

#include "sablotron/sablot.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace sablot {

class Document;
class Stylesheet;

// What a name is bound to: a text, or a tree that stays the caller's.
struct Argument {
    std::string text;
    bool isTree = false;
    // The tree; it holds null once the document is gone.
    std::shared_ptr<Document*> document;

    // A text, or a tree that is still there.
    bool IsLive() const { return !isTree || (*document != nullptr); }
};

// Stylesheets given as text, compiled, the latest used first.
struct CompiledText {
    std::string text;
    std::shared_ptr<Stylesheet> stylesheet;
};

} // namespace sablot

struct SablotProcessorRecord {
    SablotSituation situation = nullptr;
    const SablotMessageHandler* messageHandler = nullptr;
    void* messageData = nullptr;
    const SablotOutputHandler* outputHandler = nullptr;
    void* outputData = nullptr;
    std::string encoding; // empty: what xsl:output says
    std::map<std::string, sablot::Argument, std::less<>> arguments;
    std::map<std::string, std::string, std::less<>> results;
    std::vector<sablot::CompiledText> compiledTexts;
    size_t maxMemory = size_t{1} << 30;         // that a run allocates: what a 32-bit process can hold
    unsigned long maxInstructions = 30'000'000; // of one run over little: some seconds
    int users = 0;                              // calls at work that the caller's handlers may be running in
    bool destroyed = false;                     // while there are users

    // The argument of that name; null when there is none or its document is gone.
    const sablot::Argument* FindArgument(std::string_view name) const;
};

namespace sablot {

// Keeps a processor while handlers of the caller run: destroyed in one of them, it goes when the last user has gone.
class ProcessorUse {
public:
    explicit ProcessorUse(SablotHandle processor) : processor_(processor) { ++processor_->users; }
    ProcessorUse(const ProcessorUse&) = delete;
    ProcessorUse& operator=(const ProcessorUse&) = delete;
    ~ProcessorUse();

private:
    SablotHandle processor_;
};

} // namespace sablot
