// The endings of messages that help.
#include "host/language/hints.h"

namespace host::language {

std::string ConversionHint(const ValueType& from, const ValueType& to) {
    bool isWhole = to.Is(TypeKind::INTEGER) || to.Is(TypeKind::INT64);
    if (to.Is(TypeKind::CURRENCY) && from.Is(TypeKind::DOUBLE)) return " (Currency(…) rounds to four decimals)";
    if (from.Is(TypeKind::CURRENCY) && to.Is(TypeKind::DOUBLE)) return " (use Double(…))";
    if (isWhole && from.IsNumber()) return " (" + to.Text() + "(…) cuts off the fraction)";
    if (to.Is(TypeKind::CURRENCY) && from.Is(TypeKind::STRING)) return " (use ParseCurrency(…))";
    if (to.Is(TypeKind::INT64) && from.Is(TypeKind::STRING)) return " (use ParseInt64(…))";
    if (to.Is(TypeKind::INTEGER) && from.Is(TypeKind::BOOLEAN)) return " (use Integer(…))";
    if (to.Is(TypeKind::BOOLEAN) && from.Is(TypeKind::INTEGER)) return " (compare it with 0)";
    if (to.Is(TypeKind::STRING) && (from.IsNumber() || from.Is(TypeKind::BOOLEAN))) return " (use Str(…))";
    if (to.Is(TypeKind::INTEGER) && from.Is(TypeKind::STRING)) return " (use Integer(Val(…)))";
    if (to.Is(TypeKind::DOUBLE) && from.Is(TypeKind::STRING)) return " (use Val(…))";
    if (to.Is(TypeKind::OBJECT) && from.Is(TypeKind::STRING) && SameName(to.cls->name, "FolderItem")) {
        return " (use GetFolderItem(…))";
    }
    bool isDowncast = to.Is(TypeKind::OBJECT) && from.Is(TypeKind::OBJECT) && to.cls->IsA(from.cls);
    if (isDowncast) return " (use " + to.cls->name + "(…))";
    return {};
}

std::string Plural(size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace host::language
