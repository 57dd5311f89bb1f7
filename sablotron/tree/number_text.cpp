// Numbers as text: the format, and the core functions that use it.
#include "sablotron/tree/number_text.h"

#include "sablotron/tree/tree.h"

#include <libxml/xpathInternals.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdio>

namespace sablot {
namespace {

// A core function whose first `strings` arguments are strings.
struct StringFunction {
    std::string_view name;
    xmlXPathFunction function;
    int strings;
};
constexpr int ALL = std::numeric_limits<int>::max();
constexpr StringFunction STRING_FUNCTIONS[] = {
    {"concat", xmlXPathConcatFunction, ALL},
    {"contains", xmlXPathContainsFunction, ALL},
    {"lang", xmlXPathLangFunction, ALL},
    {"normalize-space", xmlXPathNormalizeFunction, ALL},
    {"starts-with", xmlXPathStartsWithFunction, ALL},
    {"string", xmlXPathStringFunction, ALL},
    {"string-length", xmlXPathStringLengthFunction, ALL},
    {"substring", xmlXPathSubstringFunction, 1},
    {"substring-after", xmlXPathSubstringAfterFunction, ALL},
    {"substring-before", xmlXPathSubstringBeforeFunction, ALL},
    {"translate", xmlXPathTranslateFunction, ALL},
};

template <size_t INDEX>
void CallWithText(xmlXPathParserContext* parser, int count) {
    constexpr const StringFunction& CALLED = STRING_FUNCTIONS[INDEX];
    NumbersToStrings(parser, count, CALLED.strings);
    CALLED.function(parser, count);
}

} // namespace

std::string NumberText(double number) {
    if (std::isnan(number)) return "NaN";
    if (std::isinf(number)) return number > 0 ? "Infinity" : "-Infinity";
    if (number == 0) return "0"; // without the sign of -0
    // What stands before the point is never rounded to fewer digits than it has.
    const int magnitude = static_cast<int>(std::floor(std::log10(std::fabs(number))));
    const bool isWhole = std::trunc(number) == number;
    const int decimals = isWhole ? 0 : std::max(0, DBL_DIG - 1 - magnitude);
    std::array<char, DBL_MAX_10_EXP + DBL_DIG + 10> buffer{}; // the smallest number has 324 zeros after its point
    const int length = std::snprintf(buffer.data(), buffer.size(), "%.*f", decimals, number);
    std::string text(buffer.data(), static_cast<size_t>(length));
    if (decimals > 0) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.') text.pop_back();
    }
    return text;
}

xmlXPathObject* NumberAsString(xmlXPathObject* number) {
    xmlXPathObject* text = xmlXPathNewCString(NumberText(number->floatval).c_str());
    if (text == nullptr) return number;
    xmlXPathFreeObject(number);
    return text;
}

void NumbersToStrings(xmlXPathParserContext* parser, int argumentCount, int strings) {
    if (argumentCount > parser->valueNr) return; // the function will say so
    for (int i = 0; i < std::min(argumentCount, strings); ++i) {
        xmlXPathObject*& argument = parser->valueTab[parser->valueNr - argumentCount + i];
        if (argument->type == XPATH_NUMBER) argument = NumberAsString(argument);
    }
    if (argumentCount > 0) parser->value = parser->valueTab[parser->valueNr - 1];
}

xmlXPathFunction FindStringFunction(std::string_view name) {
    xmlXPathFunction found = nullptr;
    [&]<size_t... INDEX>(std::index_sequence<INDEX...>) {
        ((found = STRING_FUNCTIONS[INDEX].name == name ? CallWithText<INDEX> : found), ...);
    }
    (std::make_index_sequence<std::size(STRING_FUNCTIONS)>());
    return found;
}

} // namespace sablot
