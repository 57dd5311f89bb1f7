// Asks objects for what they tell of themselves; an exception that this raises is no one's.
#include "host/language/display.h"

#include "host/language/operations.h"
#include "host/runtime/array.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/property.h"
#include "host/runtime/utf8.h"
#include "host/runtime/variant.h"

#include <algorithm>
#include <optional>

namespace host::language {
namespace {

constexpr size_t MAX_TEXT = 4'000;
constexpr int32_t MAX_ELEMENTS = 20;

std::string ElementsOf(const Array& array) {
    std::string text = "[";
    for (int32_t i = 0; i < std::min(array.count, MAX_ELEMENTS); ++i)
        text += (i > 0 ? ", " : "") + Abridged(array.element, ArrayGet(&array, i));
    if (array.count > MAX_ELEMENTS) text += ", … " + std::to_string(array.count) + " in all";
    return text + "]";
}

std::optional<std::string> TextOf(Object* object) {
    try {
        const ObjectRef self = ObjectRef::Share(object);
        const bool isProperty = object->cls->FindProperty("ToString") != nullptr;
        std::string text = (isProperty ? GetProperty(self, "ToString") : Call(self, "ToString() As String")).Text();
        if (text.size() > MAX_TEXT) {
            const size_t size = text.size();
            text.resize(CharacterOffset(text, CountCharacters(std::string_view(text).substr(0, MAX_TEXT)) - 1));
            text += "… " + std::to_string(size) + " bytes in all";
        }
        return text.empty() ? std::nullopt : std::optional(std::move(text));
    } catch (const std::runtime_error&) {
        return std::nullopt; // no such method, or an exception of it
    }
}

} // namespace

std::string DetailsOf(Object* object, const Class* end) {
    std::string text;
    for (const Class* level = object->cls; level != nullptr && level != end; level = level->super) {
        for (const auto& property : level->properties) {
            Kind kind = property->type.kind;
            bool isShown = IsNumber(kind) || kind == Kind::STRING;
            if (property->read == Access::NONE || !isShown) continue;
            Slot value = ReadProperty(object, *property);
            bool isRead = !TakePendingException();
            std::string shown = isRead ? Abridged(kind, value) : "";
            if (kind == Kind::STRING) UnlockString(value.string);
            if (isRead && shown != "\"\"") text += (text.empty() ? "" : ", ") + property->name + " " + shown;
        }
    }
    return text;
}

std::string DisplayText(Object* value) {
    if (const Array* array = AsArray(value)) return ElementsOf(*array);
    if (VariantKind(value) != Kind::OBJECT) return TextOf(Kind::VARIANT, {.object = value});
    if (std::optional<std::string> text = TextOf(value)) return *text;
    const std::string details = DetailsOf(value, nullptr);
    return value->cls->name + (details.empty() ? "" : " (" + details + ")");
}

} // namespace host::language
