#include "host/language/symbols.h"

namespace host::language {

std::string FormatParameters(const std::vector<ParameterSymbol>& parameters) {
    std::string text = "(";
    const char* separator = "";
    for (const ParameterSymbol& parameter : parameters) {
        bool isArray = parameter.type.Is(TypeKind::ARRAY);
        text += separator;
        if (parameter.isByRef) text += "ByRef ";
        text += parameter.name + (isArray ? "()" : "") + " As "
                + (isArray ? parameter.type.Element() : parameter.type).Text();
        if (parameter.defaultValue) text += " = " + FormatConstant(*parameter.defaultValue);
        separator = ", ";
    }
    return text + ")";
}

size_t FunctionSymbol::RequiredArguments() const {
    size_t count = parameters.size();
    while (count > 0 && parameters[count - 1].defaultValue) count--;
    return count;
}

std::string FunctionSymbol::Text() const {
    std::string text = name + FormatParameters(parameters);
    return HasResult() ? text + " As " + result.Text() : text;
}

std::string FunctionSymbol::QualifiedName() const {
    if (owner != nullptr) return owner->name + "." + name;
    if (module != nullptr) return module->name + "." + name;
    return name;
}

std::string EventSymbol::Text() const {
    std::string text = name + FormatParameters(parameters);
    return result.Is(TypeKind::NOTHING) ? text : text + " As " + result.Text();
}

bool ClassSymbol::IsA(const ClassSymbol* other) const { return DistanceTo(other) >= 0; }

int ClassSymbol::DistanceTo(const ClassSymbol* other) const {
    int distance = 0;
    for (const ClassSymbol* level = this; level != nullptr; level = level->super) {
        if (level == other) return distance;
        distance++;
    }
    return -1;
}

} // namespace host::language
