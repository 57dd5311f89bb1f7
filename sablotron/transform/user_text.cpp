// The wordings of libxslt's reports.
#include "sablotron/transform/user_text.h"

#include "sablotron/transform/expression_wrapping.h"
#include "sablotron/transform/uri.h"
#include "sablotron/tree/wording.h"

#include <algorithm>

namespace sablot {
namespace {

constexpr Wording WORDINGS[] = {
    {"potential infinite template recursion", "The recursion is too deep"},
    {"Potentially infinite recursion detected in function", "The recursion is too deep"},
    {"Recursion limit exceeded", "The recursion is too deep"},
    {"Operation limit exceeded", "The run takes too many steps"},
    {"text content problem", "xsl:text holds text only"},
    {"duplicate name '*'", "There are two templates named '*'"},
    {"redefinition of global variable *", "There are two global variables named '*'"},
    {"redefinition of global param *", "There are two global parameters named '*'"},
    {"Redefinition of variable '*'", "There are two variables named '*' here"},
    {"Redefinition of variable or parameter '*'", "There are two variables or parameters named '*' here"},
    {"Recursive definition of *", "The variable '*' is defined by itself"},
    {"failed to find extension *", "No extension element '*' is known"},
    {"invalid arg expecting a nodeset", "The second argument of document() must be a set of nodes"},
    {"write for * refused", "A stylesheet writes no files: '*'"},
    {"The prefixed QName '*' has no namespace binding in scope in the stylesheet; this is an error",
     "The prefix of '*' is not bound"},
    {"}*: cannot write to result tree", "The function '*' makes nodes outside of a variable or func:result"},
    {"}*: called with too many arguments", "The function '*' is called with too many arguments"},
    {"recursion detected on included URL *", "'*' includes itself"},
    {"recursion detected on imported URL *", "'*' imports itself"},
    {"error invalid name '*'", "'*' is no name of a template"},
    {"error in format string '*', using default", "format-number(): '*' is no pattern of a number"},
    {"improper use this should not be reached", "xsl:sort must stand before all other content"},
    {"Unexpected XSLT element 'param'", "xsl:param must stand before all other content"},
    {"invalid URI reference *", "'*' is no URI"},
};

// "xsltFunction : ", "xmlXPathFunction: "
void EraseFunctionName(std::string& text) {
    const size_t colon = text.find(':');
    const size_t name = text.find_first_of(" :(");
    const bool isFunction = text.starts_with("xslt") || text.starts_with("xmlXPath") || text.starts_with("exslt");
    if (isFunction && colon != std::string::npos && colon <= name + 1)
        text.erase(0, std::min(text.find_first_not_of(": ", colon), text.size()));
}

// URIs, which only the library writes this way, become names of files.
void NameFiles(std::string& text) {
    for (const std::string_view scheme : {"file://", "arg://"}) {
        const size_t begin = text.find(scheme);
        if (begin == std::string::npos) continue;
        const size_t end = std::min(text.find_first_of(" '", begin), text.size());
        text.replace(begin, end - begin, DisplayName(text.substr(begin, end - begin)));
    }
}

} // namespace

std::string UserText(std::string_view text) {
    std::string clean;
    for (const char c : text) {
        const bool isBlank = c == ' ' || c == '\t' || c == '\r' || c == '\n';
        if (!isBlank)
            clean += c;
        else if (!clean.empty() && clean.back() != ' ')
            clean += ' ';
    }
    if (!clean.empty() && clean.back() == ' ') clean.pop_back();
    EraseFunctionName(clean);
    if (clean.starts_with("XSLT-")) clean.replace(0, 5, "xsl:");
    if (const size_t blank = clean.find(" : "); blank != std::string::npos) clean.erase(blank, 1);
    NameFiles(clean);
    return Reworded(WithoutCalls(clean), WORDINGS);
}

} // namespace sablot
