// The checks of a module, element by element, by a table of what XSLT 1.0 gives its attributes for.
#include "sablotron/transform/module_check.h"

#include "sablotron/transform/expression_wrapping.h"
#include "sablotron/transform/modules.h"
#include "sablotron/tree/characters.h"
#include "sablotron/tree/xpath_rewrite.h"

#include <libxml/parserInternals.h>

#include <algorithm>
#include <cmath>
#include <span>

namespace sablot {
namespace {

enum class Content { EXPRESSION, PATTERN, TEMPLATE, NAMES, PREFIX, NUMBER, OTHER };

// The elements of XSLT and where they may stand.
enum class Position { ROOT, TOP, TEMPLATE, ANYWHERE, CHILD };
struct Element {
    std::string_view name;
    Position position;
    std::string_view parents[2] = {}; // of a CHILD
    std::string_view attributes = {}; // beside those that there are rules for
};
constexpr std::string_view OF_ROOT = "id version extension-element-prefixes exclude-result-prefixes";
constexpr Element ELEMENTS[] = {
    {"apply-imports", Position::TEMPLATE},
    {"apply-templates", Position::TEMPLATE},
    {"attribute", Position::TEMPLATE},
    {"attribute-set", Position::TOP},
    {"call-template", Position::TEMPLATE},
    {"choose", Position::TEMPLATE},
    {"comment", Position::TEMPLATE},
    {"copy", Position::TEMPLATE},
    {"copy-of", Position::TEMPLATE},
    {"decimal-format",
     Position::TOP,
     {},
     "decimal-separator grouping-separator infinity minus-sign NaN percent per-mille zero-digit digit "
     "pattern-separator"},
    {"document",
     Position::TEMPLATE,
     {},
     "href method version encoding omit-xml-declaration standalone doctype-public doctype-system "
     "cdata-section-elements indent media-type"},
    {"element", Position::TEMPLATE},
    {"fallback", Position::TEMPLATE},
    {"for-each", Position::TEMPLATE},
    {"if", Position::TEMPLATE},
    {"import", Position::TOP},
    {"include", Position::TOP},
    {"key", Position::TOP},
    {"message", Position::TEMPLATE},
    {"namespace-alias", Position::TOP},
    {"number", Position::TEMPLATE, {}, "lang grouping-separator grouping-size"},
    {"otherwise", Position::CHILD, {"choose"}},
    {"output", Position::TOP, {}, "version encoding doctype-public doctype-system media-type"},
    {"param", Position::ANYWHERE},
    {"preserve-space", Position::TOP},
    {"processing-instruction", Position::TEMPLATE},
    {"sort", Position::CHILD, {"apply-templates", "for-each"}, "lang"},
    {"strip-space", Position::TOP},
    {"stylesheet", Position::ROOT, {}, OF_ROOT},
    {"template", Position::TOP},
    {"text", Position::TEMPLATE},
    {"transform", Position::ROOT, {}, OF_ROOT},
    {"value-of", Position::TEMPLATE},
    {"variable", Position::ANYWHERE},
    {"when", Position::CHILD, {"choose"}},
    {"with-param", Position::CHILD, {"apply-templates", "call-template"}},
};

bool StandsRight(const xmlNode* node, const Element& element, bool isTop) {
    switch (element.position) {
    case Position::ROOT: return !IsElement(node->parent);
    case Position::TOP: return isTop;
    case Position::TEMPLATE: return !isTop;
    case Position::CHILD:
        return IsXslt(node->parent)
               && std::find(std::begin(element.parents), std::end(element.parents), View(node->parent->name))
                      != std::end(element.parents);
    default: return true;
    }
}

// Whether only elements of the same name stand before it.
bool StandsFirst(const xmlNode* node) {
    for (const xmlNode* before = node->prev; before != nullptr; before = before->prev)
        if (IsElement(before) && View(before->name) != View(node->name)) return false;
    return true;
}

std::string Value(const xmlAttr* attribute) {
    std::string value;
    for (const xmlNode* part = attribute->children; part != nullptr; part = part->next) value += View(part->content);
    return value;
}

xmlAttr* FindAttribute(const xmlNode* element, std::string_view name) {
    xmlAttr* attribute = element->properties;
    while (attribute != nullptr && View(attribute->name) != name) attribute = attribute->next;
    return attribute;
}

std::string Value(const xmlNode* element, std::string_view name) {
    const xmlAttr* attribute = FindAttribute(element, name);
    return attribute != nullptr ? Value(attribute) : "";
}

void Change(xmlNode* element, xmlAttr* attribute, const std::string& value) {
    if (value == Value(attribute)) return;
    xmlNode* text = Checked(xmlNewDocText(element->doc, Chars(value.c_str())), value);
    xmlFreeNodeList(attribute->children);
    attribute->children = attribute->last = text;
    text->parent = AsNode(attribute);
}

std::string Tag(const xmlNode* element) {
    std::string name;
    if ((element->ns != nullptr) && (element->ns->prefix != nullptr))
        name = std::string(View(element->ns->prefix)) + ':';
    return name.append(View(element->name));
}

// Whether it is that element of EXSLT's functions.
bool IsOfFunctions(const xmlNode* element, std::string_view name) {
    constexpr std::string_view FUNCTIONS_NAMESPACE = "http://exslt.org/functions";
    return View(element->name) == name && (element->ns != nullptr) && View(element->ns->href) == FUNCTIONS_NAMESPACE;
}

// The words of a list of names.
std::vector<std::string> Words(const std::string& text) {
    std::vector<std::string> words;
    for (size_t at = text.find_first_not_of(BLANKS); at != std::string::npos;) {
        const size_t end = std::min(text.find_first_of(BLANKS, at), text.size());
        words.push_back(text.substr(at, end - at));
        at = text.find_first_not_of(BLANKS, end);
    }
    return words;
}

bool IsBound(const xmlNode* element, const std::string& prefix) {
    return xmlSearchNs(element->doc, const_cast<xmlNode*>(element), Chars(prefix.c_str())) != nullptr;
}

// A name as XSLT compares it, with its URI.
std::string Expanded(const xmlNode* element, const std::string& name) {
    const size_t colon = name.find(':');
    if (colon == std::string::npos) return name;
    const xmlNs* binding =
        xmlSearchNs(element->doc, const_cast<xmlNode*>(element), Chars(name.substr(0, colon).c_str()));
    return (binding != nullptr ? std::string(View(binding->href)) : "") + '}' + name.substr(colon + 1);
}

// The end of the expression in braces that begins after `at`; npos when it has none.
size_t ExpressionEnd(const std::string& value, size_t at) {
    for (; at < value.size() && value[at] != '}'; ++at) {
        if (value[at] != '"' && value[at] != '\'') continue;
        at = value.find(value[at], at + 1);
        if (at == std::string::npos) return at;
    }
    return at < value.size() ? at : std::string::npos;
}

} // namespace

// What an attribute of an XSLT element holds.
struct ModuleCheck::Rule {
    std::string_view element;
    std::string_view attribute;
    Content content;
    bool isNeeded = false;
    ExpressionUse use = ExpressionUse::VALUE;
    // One of these words, where there are any; ':' among them stands for every name with a prefix.
    std::string_view words = {};
};

constexpr bool NEEDED = true;
constexpr ExpressionUse VALUE = ExpressionUse::VALUE;
constexpr ExpressionUse TEXT = ExpressionUse::TEXT;
constexpr ExpressionUse TEST = ExpressionUse::TEST;
constexpr std::string_view YES_NO = "yes no";
constexpr ModuleCheck::Rule ModuleCheck::RULES[] = {
    {"apply-templates", "mode", Content::NAMES},
    {"apply-templates", "select", Content::EXPRESSION},
    {"attribute", "name", Content::TEMPLATE, NEEDED},
    {"attribute", "namespace", Content::TEMPLATE},
    {"attribute-set", "name", Content::NAMES, NEEDED},
    {"attribute-set", "use-attribute-sets", Content::NAMES},
    {"call-template", "name", Content::NAMES, NEEDED},
    {"copy", "use-attribute-sets", Content::NAMES},
    {"copy-of", "select", Content::EXPRESSION, NEEDED, TEXT},
    {"decimal-format", "name", Content::NAMES},
    {"element", "name", Content::TEMPLATE, NEEDED},
    {"element", "namespace", Content::TEMPLATE},
    {"element", "use-attribute-sets", Content::NAMES},
    {"for-each", "select", Content::EXPRESSION, NEEDED},
    {"if", "test", Content::EXPRESSION, NEEDED, TEST},
    {"import", "href", Content::OTHER, NEEDED},
    {"include", "href", Content::OTHER, NEEDED},
    {"key", "name", Content::NAMES, NEEDED},
    {"key", "match", Content::PATTERN, NEEDED},
    {"key", "use", Content::EXPRESSION, NEEDED, TEXT},
    {"message", "terminate", Content::OTHER, false, VALUE, YES_NO},
    {"namespace-alias", "stylesheet-prefix", Content::PREFIX, NEEDED},
    {"namespace-alias", "result-prefix", Content::PREFIX, NEEDED},
    {"number", "value", Content::EXPRESSION},
    {"number", "count", Content::PATTERN},
    {"number", "from", Content::PATTERN},
    {"number", "format", Content::TEMPLATE},
    {"number", "letter-value", Content::TEMPLATE, false, VALUE, "alphabetic traditional"},
    {"number", "level", Content::OTHER, false, VALUE, "single multiple any"},
    {"output", "cdata-section-elements", Content::NAMES},
    {"output", "indent", Content::OTHER, false, VALUE, YES_NO},
    {"output", "method", Content::OTHER, false, VALUE, "xml html text :"},
    {"output", "omit-xml-declaration", Content::OTHER, false, VALUE, YES_NO},
    {"output", "standalone", Content::OTHER, false, VALUE, YES_NO},
    {"param", "name", Content::NAMES, NEEDED},
    {"param", "select", Content::EXPRESSION},
    {"preserve-space", "elements", Content::NAMES, NEEDED},
    {"processing-instruction", "name", Content::TEMPLATE, NEEDED},
    {"sort", "select", Content::EXPRESSION, false, TEXT},
    {"sort", "case-order", Content::TEMPLATE, false, VALUE, "upper-first lower-first"},
    {"sort", "data-type", Content::TEMPLATE, false, VALUE, "text number :"},
    {"sort", "order", Content::TEMPLATE, false, VALUE, "ascending descending"},
    {"strip-space", "elements", Content::NAMES, NEEDED},
    {"template", "match", Content::PATTERN},
    {"template", "mode", Content::NAMES},
    {"template", "name", Content::NAMES},
    {"template", "priority", Content::NUMBER},
    {"text", "disable-output-escaping", Content::OTHER, false, VALUE, YES_NO},
    {"value-of", "select", Content::EXPRESSION, NEEDED, TEXT},
    {"value-of", "disable-output-escaping", Content::OTHER, false, VALUE, YES_NO},
    {"variable", "name", Content::NAMES, NEEDED},
    {"variable", "select", Content::EXPRESSION},
    {"when", "test", Content::EXPRESSION, NEEDED, TEST},
    {"with-param", "name", Content::NAMES, NEEDED},
    {"with-param", "select", Content::EXPRESSION},
};

// An element of XSLT with the rules for its attributes.
struct ModuleCheck::Known {
    const Element* element = nullptr;
    std::span<const Rule> rules = {};
};

const ModuleCheck::Known* ModuleCheck::Find(std::string_view name) {
    static const std::unordered_map<std::string_view, Known> KNOWN = [] {
        std::unordered_map<std::string_view, Known> known;
        for (const Element& element : ELEMENTS) known[element.name].element = &element;
        for (const Rule& rule : RULES) { // those of an element stand together
            std::span<const Rule>& rules = known[rule.element].rules;
            rules = {rules.empty() ? &rule : rules.data(), rules.size() + 1};
        }
        return known;
    }();
    const auto found = KNOWN.find(name);
    return found != KNOWN.end() ? &found->second : nullptr;
}

ModuleCheck::ModuleCheck(ErrorCollector& errors) : errors_(errors) {}

bool ModuleCheck::Prepare(xmlDoc* module) {
    xmlNode* const root = xmlDocGetRootElement(module);
    if (root == nullptr) return true;
    const bool isStylesheet = IsXslt(root) && (View(root->name) == "stylesheet" || View(root->name) == "transform");
    if (!isStylesheet && (IsXslt(root) || xmlHasNsProp(root, Chars("version"), XSLT_NAMESPACE) == nullptr))
        return FailRoot(root);
    if (isStylesheet && !CheckTopLevelText(root)) return false;

    // The elements around the one at work that set a version, with whether it is another one than 1.0 (2.5).
    std::vector<std::pair<const xmlNode*, bool>> versions = {{nullptr, false}};
    std::vector<xmlNode*> dropped;
    const xmlNode* ignored = nullptr; // the element around that is not looked into
    Verdict verdict = Verdict::RIGHT;
    WalkTree(
        root,
        [&](xmlNode* node) {
            if (!IsElement(node) || (ignored != nullptr) || verdict == Verdict::FAILED) return;
            const bool isTop = isStylesheet && node->parent == root;
            const bool isXslt = IsXslt(node);
            if (isTop && !isXslt && !IsOfFunctions(node, "function")) {
                ignored = node; // data of the stylesheet's own (2.2)
                if (node->ns == nullptr) verdict = FailPlace(node);
                return;
            }
            const xmlAttr* version = isXslt ? (node == root ? xmlHasProp(node, Chars("version")) : nullptr)
                                            : xmlHasNsProp(node, Chars("version"), XSLT_NAMESPACE);
            if (version != nullptr) versions.emplace_back(node, Value(version) != "1.0");
            verdict = isXslt                          ? CheckInstruction(node, isTop, versions.back().second)
                      : IsOfFunctions(node, "result") ? CheckFunctionResult(node)
                                                      : CheckLiteral(node, versions.back().second);
            if (verdict != Verdict::DROPPED) return;
            ignored = node;
            dropped.push_back(node);
        },
        [&](const xmlNode* node) {
            if (ignored == node) ignored = nullptr;
            if (versions.back().first == node) versions.pop_back();
        });
    for (xmlNode* node : dropped) {
        xmlUnlinkNode(node);
        xmlFreeNode(node);
    }
    return verdict != Verdict::FAILED;
}

ModuleCheck::Verdict ModuleCheck::CheckInstruction(xmlNode* element, bool isTop, bool isLater) {
    const std::string_view name = View(element->name);
    const Known* known = Find(name);
    if (known == nullptr) {
        if (!isLater) return Fail(element, CODE_UNKNOWN_INSTRUCTION, Tag(element) + " is no element of XSLT 1.0");
        return isTop ? Verdict::DROPPED : Verdict::RIGHT; // where it stands in a template, it may never be reached
    }
    if (!isLater && !StandsRight(element, *known->element, isTop)) return FailPlace(element);
    if (name == "import" && !StandsFirst(element))
        return Fail(element, CODE_OTHER, Tag(element) + " must stand before all other elements");
    if (!isLater && !CheckAttributeNames(element, *known)) return Verdict::FAILED;
    for (const Rule& rule : known->rules) {
        if (xmlAttr* attribute = FindAttribute(element, rule.attribute)) {
            if (!CheckAttribute(element, attribute, rule, isLater)) return Verdict::FAILED;
        } else if (rule.isNeeded) {
            return Fail(element, CODE_OTHER,
                        Tag(element) + " needs the attribute '" + std::string(rule.attribute) + "'");
        }
    }
    if (name == "template" && Value(element, "match").empty() && Value(element, "name").empty())
        return Fail(element, CODE_OTHER, Tag(element) + " needs the attribute 'match' or 'name'");
    if (name == "attribute-set") NoteAttributeSet(element);
    return name == "decimal-format" ? CheckDecimalFormat(element) : Verdict::RIGHT;
}

// func:result of EXSLT, about which libexslt reports without a place.
ModuleCheck::Verdict ModuleCheck::CheckFunctionResult(xmlNode* result) {
    const xmlNode* function = result->parent;
    while (IsElement(function) && !IsOfFunctions(function, "function")) function = function->parent;
    if (!IsElement(function)) return Fail(result, CODE_OTHER, Tag(result) + " stands in a func:function only");
    for (const xmlNode* next = result->next; next != nullptr; next = next->next)
        if (IsElement(next) && !(IsXslt(next) && View(next->name) == "fallback"))
            return Fail(next, CODE_OTHER, "Nothing but xsl:fallback may follow " + Tag(result));
    xmlAttr* select = FindAttribute(result, "select");
    if (select == nullptr) return Verdict::RIGHT;
    if (result->children != nullptr)
        return Fail(result, CODE_OTHER, Tag(result) + " has content or the attribute 'select', not both");
    const std::string expression = Value(select);
    if (!CheckExpression(result, expression)) return Verdict::FAILED;
    Change(result, select, expressions_.Prepared(expression, VALUE));
    return Verdict::RIGHT;
}

ModuleCheck::Verdict ModuleCheck::CheckLiteral(xmlNode* element, bool isLater) {
    for (xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
        if (!IsXslt(AsNode(attribute)) && !CheckTemplate(element, attribute, isLater)) return Verdict::FAILED;
    return Verdict::RIGHT;
}

// Those of other namespaces may stand anywhere (2.1).
bool ModuleCheck::CheckAttributeNames(const xmlNode* element, const Known& known) {
    for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next) {
        if (attribute->ns != nullptr && !IsXslt(AsNode(attribute))) continue;
        const std::string name = Tag(AsNode(attribute));
        if (std::any_of(known.rules.begin(), known.rules.end(),
                        [&name](const Rule& rule) { return rule.attribute == name; }))
            continue;
        const std::vector<std::string> allowed = Words(std::string(known.element->attributes));
        if (std::find(allowed.begin(), allowed.end(), name) != allowed.end()) continue;
        Fail(element, CODE_OTHER, "The attribute '" + name + "' is not allowed in " + Tag(element));
        return false;
    }
    return true;
}

bool ModuleCheck::CheckAttribute(xmlNode* element, xmlAttr* attribute, const Rule& rule, bool isLater) {
    if (!rule.words.empty()) return CheckWord(element, attribute, rule, isLater);
    const std::string value = Value(attribute);
    switch (rule.content) {
    case Content::TEMPLATE: return CheckTemplate(element, attribute, isLater);
    case Content::EXPRESSION:
        if (isLater && !expressions_.Parses(value)) {
            Change(element, attribute, WrappedAsRefused(value));
            return true;
        }
        if (!CheckExpression(element, value)) return false;
        Change(element, attribute, expressions_.Prepared(value, rule.use));
        return true;
    case Content::PATTERN:
        if (!CheckExpression(element, value)) return false;
        Change(element, attribute, PreparedPattern(rule.element == "key" ? WithoutStream(value, true) : value));
        return true;
    case Content::NAMES:
        if (value.find(':') == std::string::npos) return true;
        for (const std::string& name : Words(value)) {
            const std::string prefix = name.substr(0, std::min(name.find(':'), name.size()));
            if (prefix != name && !CheckPrefix(element, prefix, name)) return false;
        }
        return true;
    case Content::NUMBER:
        if (isLater || !std::isnan(xmlXPathCastStringToNumber(Chars(value.c_str())))) return true;
        Fail(element, CODE_OTHER,
             "The attribute '" + std::string(rule.attribute) + "' is a number, not '" + value + "'");
        return false;
    case Content::PREFIX: return value == "#default" || CheckPrefix(element, value, value);
    default: return true;
    }
}

bool ModuleCheck::CheckExpression(const xmlNode* element, const std::string& expression) {
    if (!expressions_.Parses(expression)) {
        Fail(element, CODE_XPATH_SYNTAX, expressions_.Reason() + ": '" + expression + "'");
        return false;
    }
    const std::vector<std::string_view> prefixes = PrefixesOf(expression);
    return std::all_of(prefixes.begin(), prefixes.end(),
                       [&](std::string_view prefix) { return CheckPrefix(element, std::string(prefix), expression); });
}

bool ModuleCheck::CheckPrefix(const xmlNode* element, const std::string& prefix, const std::string& text) {
    if (IsBound(element, prefix)) return true;
    Fail(element, CODE_UNBOUND_PREFIX,
         "The prefix '" + prefix + "' is not bound" + (text == prefix ? "" : ": '" + text + "'"));
    return false;
}

bool ModuleCheck::CheckWord(xmlNode* element, xmlAttr* attribute, const Rule& rule, bool isLater) {
    const std::string value = Value(attribute);
    std::vector<std::string> words = Words(std::string(rule.words));
    const bool mayHavePrefix = words.back() == ":";
    if (mayHavePrefix) words.pop_back();
    if (rule.content == Content::TEMPLATE && value.find('{') != std::string::npos)
        return CheckTemplate(element, attribute, isLater);
    if (std::find(words.begin(), words.end(), value) != words.end()) return true;
    if (const size_t colon = value.find(':'); mayHavePrefix && colon != std::string::npos)
        if (xmlValidateQName(Chars(value.c_str()), 0) == 0) return CheckPrefix(element, value.substr(0, colon), value);
    if (isLater) { // as if it was not there (2.5)
        xmlRemoveProp(attribute);
        return true;
    }
    std::string choice;
    for (const std::string& word : words)
        choice += (choice.empty() ? "'" : &word == &words.back() ? " or '" : ", '") + word + "'";
    Fail(element, CODE_OTHER,
         "The attribute '" + std::string(rule.attribute) + "' is " + choice + ", not '" + value + "'");
    return false;
}

// An attribute value template (7.6.2).
bool ModuleCheck::CheckTemplate(xmlNode* element, xmlAttr* attribute, bool isLater) {
    const std::string value = Value(attribute);
    if (value.find_first_of("{}") == std::string::npos) return true;
    std::string prepared;
    for (size_t at = 0; at < value.size(); ++at) {
        const char c = value[at];
        if (c != '{' && c != '}') {
            prepared += c;
            continue;
        }
        if (at + 1 < value.size() && value[at + 1] == c) {
            prepared.append(2, c);
            ++at;
            continue;
        }
        const size_t end = c == '{' ? ExpressionEnd(value, at + 1) : std::string::npos;
        if (end == std::string::npos) {
            Fail(element, CODE_XPATH_SYNTAX,
                 std::string("The '") + c + "' has no counterpart: " + Tag(AsNode(attribute)) + "='" + value + "'");
            return false;
        }
        const std::string expression = value.substr(at + 1, end - at - 1);
        if (isLater && !expressions_.Parses(expression)) {
            prepared += '{' + WrappedAsRefused(expression) + '}';
        } else {
            if (!CheckExpression(element, expression)) return false;
            prepared += '{' + expressions_.Prepared(expression, TEXT) + '}';
        }
        at = end;
    }
    Change(element, attribute, prepared);
    return true;
}

bool ModuleCheck::CheckTopLevelText(const xmlNode* stylesheet) {
    for (const xmlNode* child = stylesheet->children; child != nullptr; child = child->next) {
        if (child->type != XML_TEXT_NODE && child->type != XML_CDATA_SECTION_NODE) continue;
        std::string text;
        for (const std::string& word : Words(std::string(View(child->content))))
            text += (text.empty() ? "" : " ") + word;
        if (text.empty()) continue;
        Fail(stylesheet, CODE_OTHER, "Text is not allowed directly in " + Tag(stylesheet) + ": '" + text + "'");
        return false;
    }
    return true;
}

// The same format may be declared again with the same values (12.3), which libxslt refuses.
ModuleCheck::Verdict ModuleCheck::CheckDecimalFormat(const xmlNode* element) {
    std::map<std::string, std::string> values = {{"decimal-separator", "."},
                                                 {"grouping-separator", ","},
                                                 {"infinity", "Infinity"},
                                                 {"minus-sign", "-"},
                                                 {"NaN", "NaN"},
                                                 {"percent", "%"},
                                                 {"per-mille", "\xE2\x80\xB0"},
                                                 {"zero-digit", "0"},
                                                 {"digit", "#"},
                                                 {"pattern-separator", ";"}};
    for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
        if (const auto known = values.find(Chars(attribute->name)); known != values.end())
            known->second = Value(attribute);
    const std::string name = Value(element, "name");
    const auto [declared, isNew] = decimalFormats_.emplace(Expanded(element, name), values);
    if (isNew) return Verdict::RIGHT;
    if (declared->second == values) return Verdict::DROPPED;
    return Fail(element, CODE_OTHER,
                (name.empty() ? "The default decimal format" : "The decimal format '" + name + "'")
                    + " is declared twice with different values");
}

void ModuleCheck::NoteAttributeSet(const xmlNode* element) {
    AttributeSet& set = attributeSets_[Expanded(element, Value(element, "name"))];
    set.declaration = element;
    for (const std::string& used : Words(Value(element, "use-attribute-sets")))
        set.uses.push_back(Expanded(element, used));
}

bool ModuleCheck::CheckAttributeSets() {
    // The sets on the way to the one at work, each with the number of those that it uses that were followed already.
    std::vector<std::pair<AttributeSet*, size_t>> way;
    for (auto& [first, start] : attributeSets_) {
        way.assign(1, {&start, 0});
        while (!way.empty()) {
            auto& [set, followed] = way.back();
            set->isOnWay = true;
            if (set->isDone || followed == set->uses.size()) {
                set->isOnWay = false;
                set->isDone = true;
                way.pop_back();
                continue;
            }
            const auto used = attributeSets_.find(set->uses[followed++]);
            if (used == attributeSets_.end()) continue;
            if (used->second.isOnWay) {
                Fail(set->declaration, CODE_OTHER,
                     "The attribute set '" + Value(set->declaration, "name") + "' uses itself");
                return false;
            }
            way.emplace_back(&used->second, 0);
        }
    }
    return true;
}

bool ModuleCheck::FailRoot(const xmlNode* root) {
    const bool hasOtherNamespace =
        !IsXslt(root) && (View(root->name) == "stylesheet" || View(root->name) == "transform");
    Fail(root, CODE_OTHER,
         hasOtherNamespace
             ? "The document is not a stylesheet: the namespace of its root is '"
                   + std::string(root->ns != nullptr ? View(root->ns->href) : "") + "', not '" + Chars(XSLT_NAMESPACE)
                   + "'"
             : "The document is not a stylesheet: its root is neither xsl:stylesheet nor an element with xsl:version");
    return false;
}

ModuleCheck::Verdict ModuleCheck::FailPlace(const xmlNode* element) {
    return Fail(element, CODE_OTHER, Tag(element) + " is not allowed in " + Tag(element->parent));
}

ModuleCheck::Verdict ModuleCheck::Fail(const xmlNode* element, int code, std::string text) {
    errors_.FailAt(element, code, std::move(text));
    return Verdict::FAILED;
}

} // namespace sablot
