// Reading the reports of libxml2 and libxslt, which come in pieces and mostly without a code.
#include "sablotron/transform/error_collector.h"

#include "sablotron/transform/expression_wrapping.h"
#include "sablotron/transform/modules.h"
#include "sablotron/transform/uri.h"
#include "sablotron/transform/user_text.h"

#include <libxml/xpath.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <span>
#include <string_view>
#include <utility>

namespace sablot {
namespace {

// What libxslt writes before the text of a report: the kind of report, then where it belongs.
struct PlaceFormat {
    std::string_view format;
    bool hasUri, hasLine, hasName;
};
constexpr PlaceFormat PLACE_FORMATS[] = {
    {"%s: file %s line %d element %s\n", true, true, true},
    {"%s: file %s element %s\n", true, false, true},
    {"%s: file %s line %d\n", true, true, false},
    {"%s: file %s\n", true, false, false},
    {"%s: element %s\n", false, false, true},
    {"%s\n", false, false, false},
};

// What the text of a report says about its code. Without an entry it is 1.
struct TextCode {
    std::string_view part;
    int code;
};
constexpr TextCode TEXT_CODES[] = {
    {"was not compiled", CODE_UNKNOWN_INSTRUCTION},
    {"failed to compile", CODE_XPATH_SYNTAX},
    {"Failed to compile", CODE_XPATH_SYNTAX},
    {"pattern compilation failed", CODE_XPATH_SYNTAX},
    {"has not been declared", CODE_UNDECLARED_VARIABLE},
    {"The called template", CODE_UNKNOWN_TEMPLATE},
};

// Reports about a stylesheet that do not keep it from being compiled.
constexpr std::string_view WARNINGS[] = {
    "unknown xsl:",
    "xsl:version: only 1.1 features are supported",
    "xsl:version is missing",
    "Namespaces prefix ",
    "xsl:extension-element-prefix: undefined namespace",
    "xsl:exclude-result-prefixes: undefined namespace",
    "no support for data-type",
    "not implemented",
    "xsl:with-param: The content should be empty",
    "xsl:param: The content should be empty",
    "invalid value for",
    "disable-output-escaping allows only",
};

// An extension function failed.
constexpr int STACK_ERROR = static_cast<int>(XML_XPATH_EXPRESSION_OK) + static_cast<int>(XPATH_STACK_ERROR);

// What these are about has been said before.
constexpr std::string_view CONSEQUENCES[] = {"XPath evaluation returned no result.", "ret == NULL",
                                             "Failed to evaluate the"};

// Reports that come without a place.
constexpr std::string_view UNPLACED[] = {"was not compiled", "ret == NULL"};

// Reports of a run after which libxslt goes on as XSLT 1.0 says or Instructions see to that.
constexpr std::string_view RECOVERED[] = {"not allowed in comment"};

bool IsOneOf(const std::string& text, std::span<const std::string_view> parts) {
    return std::any_of(parts.begin(), parts.end(),
                       [&text](std::string_view part) { return text.find(part) != std::string::npos; });
}

// What an XPath error is when an instruction runs. Without an entry it is 1.
struct XPathCode {
    int libxml2;
    int code;
};
constexpr XPathCode RUN_CODES[] = {
    {XML_XPATH_UNDEF_VARIABLE_ERROR, CODE_UNDECLARED_VARIABLE},
    {XML_XPATH_UNKNOWN_FUNC_ERROR, CODE_UNKNOWN_FUNCTION},
};

int CodeOf(const std::string& text) {
    for (const TextCode& known : TEXT_CODES)
        if (text.find(known.part) != std::string::npos) return known.code;
    return CODE_OTHER;
}

std::string Format(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, arguments);
    std::string text(length < 0 ? 0 : static_cast<size_t>(length), '\0');
    if (length > 0) std::vsnprintf(text.data(), text.size() + 1, format, again);
    va_end(again);
    return text;
}

std::string AttributeValue(const xmlNode& element, const char* name) {
    const xmlAttr* attribute = xmlHasNsProp(const_cast<xmlNode*>(&element), Chars(name), nullptr);
    const bool hasText = (attribute != nullptr) && (attribute->children != nullptr);
    return hasText ? std::string(View(attribute->children->content)) : "";
}

// ": a='{count(1)}'", the attribute of a literal element that is a template; "" when there are several, or none.
std::string QuotedTemplate(const xmlNode& element) {
    std::string quoted;
    for (const xmlAttr* attribute = element.properties; attribute != nullptr; attribute = attribute->next) {
        const std::string name(View(attribute->name));
        const std::string value = WithoutCalls(AttributeValue(element, name.c_str()));
        if (value.find('{') == std::string::npos) continue;
        if (!quoted.empty()) return {};
        quoted.append(": ").append(name).append("='").append(value).append("'");
    }
    return quoted;
}

// ": 'count(1)'", the expression or pattern of the instruction; "" when it has none.
std::string Quoted(const xmlNode* instruction) {
    if (instruction == nullptr) return {};
    if (!IsXslt(instruction)) return QuotedTemplate(*instruction);
    for (const char* name : {"select", "test", "match", "use", "value", "count", "from"})
        if (const std::string value = AttributeValue(*instruction, name); !value.empty())
            return ": '" + WithoutCalls(value) + "'";
    return {};
}

} // namespace

ErrorCollector::ErrorCollector()
    : libxml2_({.data = this, .structured = OnStructured, .generic = OnLibxml2}),
      oldLibxslt_(xsltGenericError),
      oldLibxsltContext_(xsltGenericErrorContext) {
    xsltSetGenericErrorFunc(this, OnLibxslt);
}

ErrorCollector::~ErrorCollector() {
    xsltSetGenericErrorFunc(oldLibxsltContext_, oldLibxslt_);
    xmlResetLastError();
}

void ErrorCollector::TakeLines(xmlDoc* module) {
    for (xmlNode* node : Walk(AsNode(module))) {
        if (!IsElement(node) || node->line != MAX_NODE_LINE) continue;
        lines_->emplace(node, LineOf(node));
        node->psvi = nullptr;
    }
}

Message ErrorCollector::At(const xmlNode* instruction) const {
    Message message;
    if ((instruction == nullptr) || !IsElement(instruction)) return message;
    if ((instruction->doc != nullptr) && (instruction->doc->URL != nullptr)) message.uri = Chars(instruction->doc->URL);
    const auto line = lines_->find(instruction);
    message.line = static_cast<int>(line == lines_->end() ? xmlGetLineNo(instruction) : line->second);
    message.node = "element '<";
    if ((instruction->ns != nullptr) && (instruction->ns->prefix != nullptr))
        message.node.append(Chars(instruction->ns->prefix)).append(":");
    message.node.append(Chars(instruction->name)).append(">'");
    return message;
}

void ErrorCollector::Fail(Message message) {
    if (message.uri.empty() && message.line == 0 && (run_ != nullptr)) {
        FailAt(CurrentInstruction(), message.code, std::move(message.text));
        return;
    }
    if (run_ != nullptr) run_->state = XSLT_STATE_STOPPED;
    if (!failure_) failure_ = std::move(message);
}

void ErrorCollector::FailAt(const xmlNode* instruction, int code, std::string text) {
    Message message = At(instruction);
    message.code = code;
    message.text = std::move(text);
    if (run_ != nullptr) run_->state = XSLT_STATE_STOPPED;
    if (!failure_) failure_ = std::move(message);
}

void ErrorCollector::EnsureFailure() {
    FailOnXPathError();
    if (!failure_ && unplaced_) Keep(unplaced_->code, unplaced_->text, {});
    if (!failure_ && last_) Keep(CODE_OTHER, last_->text, {{}, 0, {}, last_->instruction});
    if (!failure_) Keep(CODE_OTHER, "failed for an unknown reason", {});
}

Message ErrorCollector::Take() {
    EnsureFailure();
    Message message = std::move(*std::exchange(failure_, std::nullopt));
    if (!message.uri.empty() && message.uri != stylesheetUri_ && message.uri != STYLESHEET_URI)
        message.text = DisplayName(message.uri) + (message.line > 0 ? ", line " + std::to_string(message.line) : "")
                       + ": " + message.text;
    message.uri = UriForPrograms(message.uri);
    return message;
}

std::string ErrorCollector::UriForPrograms(const std::string& uri) const {
    if (uri == stylesheetUri_) return STYLESHEET_URI;
    const std::string_view argument = ArgumentName(uri);
    return argument.empty() ? uri : "arg:/" + std::string(argument);
}

void ErrorCollector::OnStructured(void* self, xmlErrorPtr error) {
    auto& collector = *static_cast<ErrorCollector*>(self);
    if ((error != nullptr) && error->domain == XML_FROM_XPATH) collector.OnXPath(*error);
}

// Explains the XPath error that follows, as in "xmlXPathCompOpEval: function f not found".
void ErrorCollector::OnLibxml2(void* self, const char* format, ...) {
    std::va_list arguments;
    va_start(arguments, format);
    std::string text = UserText(Format(format, arguments));
    va_end(arguments);
    auto& collector = *static_cast<ErrorCollector*>(self);
    collector.explanation_ = {0, std::move(text), collector.CurrentInstruction()};
}

void ErrorCollector::OnLibxslt(void* self, const char* format, ...) {
    auto& collector = *static_cast<ErrorCollector*>(self);
    std::va_list arguments;
    va_start(arguments, format);
    if (!collector.ReadPlace(format, arguments)) {
        std::string text = UserText(Format(format, arguments));
        if (const std::optional<Place> place = std::exchange(collector.place_, std::nullopt)) {
            collector.OnReport(std::move(text), *place);
        } else if (IsOneOf(text, UNPLACED)) {
            collector.OnReport(std::move(text), {{}, 0, {}, collector.CurrentInstruction()});
        } else if (!text.empty()) {
            collector.last_ = {0, std::move(text), collector.CurrentInstruction()};
        }
    }
    va_end(arguments);
}

bool ErrorCollector::ReadPlace(const char* format, std::va_list arguments) {
    for (const PlaceFormat& known : PLACE_FORMATS) {
        if (known.format != format) continue;
        std::va_list values;
        va_copy(values, arguments);
        va_arg(values, const char*); // the kind
        const char* uri = known.hasUri ? va_arg(values, const char*) : nullptr;
        const int line = known.hasLine ? va_arg(values, int) : 0;
        const char* name = known.hasName ? va_arg(values, const char*) : nullptr;
        va_end(values);
        place_ = Place{uri != nullptr ? uri : "", line, name != nullptr ? name : "", nullptr};
        return true;
    }
    return false;
}

void ErrorCollector::OnXPath(const xmlError& error) {
    // What libxml2 hands to handlers of its own has no text.
    static constexpr const char* UNKNOWN = "XPath error";
    xpathError_ = {error.code, error.message != nullptr ? UserText(error.message) : UNKNOWN, CurrentInstruction()};
}

void ErrorCollector::FailOnXPathError() {
    if (!failure_ && xpathError_) OnReport({}, {{}, 0, {}, xpathError_->instruction});
}

void ErrorCollector::OnReport(std::string text, Place place) {
    // After a failure modules may be gone.
    if (failure_ && ((run_ != nullptr) || !failure_->uri.empty())) return;
    if (place.instruction == nullptr) place.instruction = FindInstruction(place, text);
    if ((run_ != nullptr) && (place.instruction == nullptr)) place.instruction = CurrentInstruction();
    if (failure_) {
        SetPlace(place); // what asked for a module that could not be loaded is known only now
        return;
    }
    if (run_ == nullptr && IsOneOf(text, WARNINGS)) return;
    if (run_ != nullptr && IsOneOf(text, RECOVERED)) {
        run_->state = XSLT_STATE_OK;
        return;
    }

    const auto belongsHere = [this, &text](const std::optional<Detail>& detail) {
        return detail && (text.empty() || (run_ == nullptr) || detail->instruction == CurrentInstruction());
    };
    const std::optional<Detail> xpath = std::exchange(xpathError_, std::nullopt);
    const std::optional<Detail> explanation = std::exchange(explanation_, std::nullopt);
    int code = CodeOf(text);
    if (belongsHere(explanation) && code == CODE_OTHER) {
        code = CodeOf(explanation->text);
        if (code != CODE_OTHER) text = explanation->text;
    }
    if (code == CODE_XPATH_SYNTAX) {
        text = "Invalid pattern" + Quoted(place.instruction) + (xpath ? " (" + xpath->text + ")" : "");
    } else if (belongsHere(xpath) && code == CODE_OTHER) {
        for (const XPathCode& known : RUN_CODES)
            if (xpath->code == known.libxml2) code = known.code;
        if (code == CODE_OTHER)
            text = xpath->code == STACK_ERROR && last_ ? last_->text : xpath->text + Quoted(place.instruction);
        else
            text = belongsHere(explanation) ? explanation->text : xpath->text;
    }
    if (IsOneOf(text, CONSEQUENCES) && last_) text = last_->text;
    if (unplaced_) {
        const bool tellsMore = unplaced_->code != CODE_OTHER;
        text = tellsMore ? unplaced_->text : text + " (" + unplaced_->text + ")";
        if (tellsMore) code = unplaced_->code;
        unplaced_.reset();
    }
    // libxslt tells the name with its URI.
    if (code == CODE_UNKNOWN_TEMPLATE && place.instruction != nullptr)
        text = "The called template '" + AttributeValue(*place.instruction, "name") + "' was not found";
    if (place.IsKnown()) {
        Keep(code, std::move(text), place);
    } else {
        unplaced_ = Message{.code = code, .text = std::move(text)};
    }
}

// Only the line as libxml2 finds it, which stays at 65535 beyond that, and a name say which instruction is meant: of
// several the one is taken whose expression the text quotes.
const xmlNode* ErrorCollector::FindInstruction(const Place& place, const std::string& text) const {
    const auto isMeant = [&place](const xmlNode* node) {
        return View(node->name) == place.name && xmlGetLineNo(node) == place.line;
    };
    const auto isQuoted = [&text](const xmlNode* node) {
        for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            if ((attribute->children != nullptr)
                && text.find("'" + std::string(View(attribute->children->content)) + "'") != std::string::npos)
                return true;
        return false;
    };
    if (place.name.empty()) return nullptr;
    if (const xmlNode* current = CurrentInstruction(); (current != nullptr) && isMeant(current)) return current;
    // Of modules with the same URI the last one is the one at work.
    const auto module = std::find_if(modules_.rbegin(), modules_.rend(),
                                     [&place](const xmlDoc* tree) { return View(tree->URL) == place.uri; });
    if (module == modules_.rend()) return nullptr;
    const xmlNode* first = nullptr;
    for (const xmlNode* node : Walk(AsNode(*module))) {
        if (!IsElement(node) || !isMeant(node)) continue;
        if (isQuoted(node)) return node;
        if (first == nullptr) first = node;
    }
    return first;
}

const xmlNode* ErrorCollector::CurrentInstruction() const {
    const xmlNode* node = run_ != nullptr ? run_->inst : nullptr;
    while ((node != nullptr) && !IsElement(node)) node = node->parent;
    return node;
}

void ErrorCollector::Keep(int code, std::string text, const Place& place) {
    if (run_ != nullptr) run_->state = XSLT_STATE_STOPPED;
    if (failure_) return;
    failure_ = Message{.code = code, .text = std::move(text)};
    SetPlace(place);
}

void ErrorCollector::SetPlace(const Place& place) {
    Message message = At(place.instruction);
    failure_->uri = message.uri.empty() ? place.uri : message.uri;
    failure_->line = message.line ? message.line : static_cast<int>(place.line);
    failure_->node = std::move(message.node);
}

} // namespace sablot
