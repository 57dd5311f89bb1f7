// Gathers what libxml2 and libxslt report, in however many pieces, into one message per failure.
#pragma once

#include "sablotron/transform/message.h"
#include "sablotron/tree/library_scope.h"

#include <libxslt/xsltInternals.h>

#include <cstdarg>
#include <memory>
#include <optional>
#include <unordered_map>
#include <vector>

namespace sablot {

// While it lives, it receives the global errors of both libraries, and nothing is printed; then the handlers that were
// there before are back. Of several failures the first one is kept: the later ones follow from it.
class ErrorCollector {
public:
    ErrorCollector();
    ErrorCollector(const ErrorCollector&) = delete;
    ErrorCollector& operator=(const ErrorCollector&) = delete;
    ~ErrorCollector();

    // Lines beyond 65534: libxslt uses the field that keeps them, see LineOf.
    using Lines = std::unordered_map<const xmlNode*, long>;

    // A module of the stylesheet, in which reported instructions are looked up.
    void AddModule(const xmlDoc* module) { modules_.push_back(module); }
    // Takes the lines from a tree that is as it was parsed.
    void TakeLines(xmlDoc* module);
    const std::shared_ptr<Lines>& GetLines() const { return lines_; }
    void SetLines(std::shared_ptr<Lines> lines) { lines_ = std::move(lines); }
    // The URI of the main module, which messages call STYLESHEET_URI.
    void SetStylesheetUri(std::string uri) { stylesheetUri_ = std::move(uri); }
    // A message with the place of an instruction.
    Message At(const xmlNode* instruction) const;
    // The URI that messages give for that of a module.
    std::string UriForPrograms(const std::string& uri) const;

    // The run whose current instruction is where things fail, and which a failure stops. Null: the run is over.
    void SetRun(xsltTransformContext* run) { run_ = run; }

    // Keeps a failure. Its place is the current instruction of the run unless the message has a place.
    void Fail(Message message);
    void FailAt(const xmlNode* instruction, int code, std::string text);
    // Makes an XPath error that no report followed a failure.
    void FailOnXPathError();
    // Drops what the libraries said without a failure that came of it.
    void Forget() {
        xpathError_.reset();
        explanation_.reset();
        last_.reset();
    }
    bool HasFailed() const { return failure_.has_value(); }
    // Makes what the libraries said last a failure, as code 1, when none was recognised.
    void EnsureFailure();
    // The failure, of which there is one after this in any case. One in another text than the main module begins with
    // the name of that text and the line.
    Message Take();

private:
    struct Place {
        std::string uri;
        long line = 0; // as libxml2 finds it
        std::string name;
        const xmlNode* instruction = nullptr;

        bool IsKnown() const { return (instruction != nullptr) || !uri.empty(); }
    };

    static void OnStructured(void* self, xmlErrorPtr error);
    static void OnLibxml2(void* self, const char* format, ...);
    static void OnLibxslt(void* self, const char* format, ...);
    bool ReadPlace(const char* format, std::va_list arguments);
    void OnXPath(const xmlError& error);
    void OnReport(std::string text, Place place);
    const xmlNode* FindInstruction(const Place& place, const std::string& text) const;
    const xmlNode* CurrentInstruction() const;
    void Keep(int code, std::string text, const Place& place);
    void SetPlace(const Place& place);

    std::string stylesheetUri_;
    std::vector<const xmlDoc*> modules_;
    std::shared_ptr<Lines> lines_ = std::make_shared<Lines>();
    xsltTransformContext* run_ = nullptr;
    std::optional<Message> failure_;

    // The pieces of a report as they come in.
    std::optional<Place> place_; // what comes next is the text of a report, at this place
    struct Detail {
        int code; // libxml2's
        std::string text;
        const xmlNode* instruction;
    };
    std::optional<Detail> xpathError_;  // waits for the report of the instruction that it broke
    std::optional<Detail> explanation_; // of the XPath error that follows
    std::optional<Message> unplaced_;   // a report without a place, which another one will tell
    std::optional<Detail> last_;        // what else was said

    ErrorScope libxml2_;
    xmlGenericErrorFunc oldLibxslt_;
    void* oldLibxsltContext_;
};

} // namespace sablot
