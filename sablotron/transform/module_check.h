// What is done to the tree of a module before libxslt compiles it: a check that says plainly what is wrong and where,
// and the changes that let libxslt do what XSLT 1.0 asks for.
#pragma once

#include "sablotron/transform/error_collector.h"
#include "sablotron/transform/expressions.h"

#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace sablot {

// Checks the modules of one stylesheet.
class ModuleCheck {
public:
    explicit ModuleCheck(ErrorCollector& errors);

    // Checks and prepares a module; false after a failure.
    bool Prepare(xmlDoc* module);
    // Whether no attribute set uses itself; called when all modules are known.
    bool CheckAttributeSets();

private:
    struct Rule;
    struct Known;
    enum class Verdict { RIGHT, DROPPED, FAILED }; // DROPPED: it means nothing and is taken out
    struct AttributeSet {
        const xmlNode* declaration = nullptr;
        std::vector<std::string> uses = {};
        bool isOnWay = false;
        bool isDone = false;
    };

    Verdict CheckInstruction(xmlNode* element, bool isTop, bool isLater);
    Verdict CheckFunctionResult(xmlNode* result);
    Verdict CheckLiteral(xmlNode* element, bool isLater);
    bool CheckAttributeNames(const xmlNode* element, const Known& known);
    bool CheckAttribute(xmlNode* element, xmlAttr* attribute, const Rule& rule, bool isLater);
    bool CheckExpression(const xmlNode* element, const std::string& expression);
    bool CheckPrefix(const xmlNode* element, const std::string& prefix, const std::string& text);
    bool CheckWord(xmlNode* element, xmlAttr* attribute, const Rule& rule, bool isLater);
    bool CheckTemplate(xmlNode* element, xmlAttr* attribute, bool isLater);
    bool CheckTopLevelText(const xmlNode* stylesheet);
    Verdict CheckDecimalFormat(const xmlNode* element);
    void NoteAttributeSet(const xmlNode* element);
    bool FailRoot(const xmlNode* root);
    Verdict FailPlace(const xmlNode* element);
    Verdict Fail(const xmlNode* element, int code, std::string text);

    static const Rule RULES[];
    static const Known* Find(std::string_view name);

    ErrorCollector& errors_;
    Expressions expressions_;
    std::map<std::string, std::map<std::string, std::string>> decimalFormats_;
    std::map<std::string, AttributeSet> attributeSets_;
};

} // namespace sablot
