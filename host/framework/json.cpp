// JSON: text to Dictionaries, Variant arrays and values, and back.
#include "host/framework/dictionary.h"
#include "host/framework/dictionary_table.h"
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/array.h"
#include "host/runtime/class.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/numbers.h"
#include "host/runtime/string.h"
#include "host/runtime/variant.h"

#include <cmath>
#include <limits>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace host {

namespace {

using Json = nlohmann::json;

constexpr size_t MAX_LEVELS = 1000;

ObjectRef BoxText(std::string_view text) {
    StringRef string{text};
    return ObjectRef::Adopt(BoxString(string.Get()));
}

// Makes values of what the parser meets. Containers that are open lie on a stack.
class Builder : public nlohmann::json_sax<Json> {
public:
    ObjectRef Result() { return std::move(root_); }
    const std::string& Error() const { return error_; }

    bool null() override { return Add({}); }
    bool boolean(bool value) override { return Add(ObjectRef::Adopt(BoxBoolean(static_cast<int32_t>(value)))); }
    bool number_integer(number_integer_t value) override {
        bool isSmall = value >= std::numeric_limits<int32_t>::min() && value <= std::numeric_limits<int32_t>::max();
        return Add(ObjectRef::Adopt(isSmall ? BoxInteger(static_cast<int32_t>(value)) : BoxInt64(value)));
    }
    bool number_unsigned(number_unsigned_t value) override {
        bool fits = value <= static_cast<number_unsigned_t>(std::numeric_limits<int64_t>::max());
        if (fits) return number_integer(static_cast<number_integer_t>(value));
        return Add(ObjectRef::Adopt(BoxDouble(static_cast<double>(value))));
    }
    bool number_float(number_float_t value, const string_t&) override {
        return Add(ObjectRef::Adopt(BoxDouble(value)));
    }
    bool string(string_t& value) override { return Add(BoxText(value)); }
    bool binary(binary_t&) override { return false; }
    bool start_object(size_t) override { return Open(NewDictionary()); }
    bool end_object() override { return Close(); }
    bool start_array(size_t) override { return Open(ObjectRef::Adopt(NewArray(TypeNamed("Variant")))); }
    bool end_array() override { return Close(); }
    bool key(string_t& name) override {
        open_.back().key = BoxText(name);
        return true;
    }
    bool parse_error(size_t, const std::string&, const Json::exception& exception) override {
        // "[json.exception.parse_error.101] parse error at line 1, column 2: what is wrong"
        error_ = exception.what();
        size_t place = error_.find("] ");
        if (place != std::string::npos) error_.erase(0, place + 2);
        constexpr std::string_view PREFIX = "parse error at ";
        if (error_.starts_with(PREFIX)) error_.erase(0, PREFIX.size());
        return false;
    }

private:
    struct Level {
        ObjectRef container;
        ObjectRef key; // of a Dictionary: of the value that comes next
    };

    bool Add(const ObjectRef& value) {
        if (open_.empty()) {
            root_ = value;
            return true;
        }
        Level& level = open_.back();
        if (Array* array = AsArray(level.container.Get())) {
            Slot slot{};
            slot.object = ObjectRef(value).Detach();
            return ArrayInsert(array, array->count, slot);
        }
        TableOf(level.container.Get())
            .Set(Kind::VARIANT, {.object = level.key.Get()}, Kind::VARIANT, {.object = value.Get()});
        return true;
    }

    bool Open(const ObjectRef& container) {
        if (open_.size() == MAX_LEVELS) {
            error_ = "nested too deeply";
            return false;
        }
        if (!container || !Add(container)) return false;
        open_.push_back({container, {}});
        return true;
    }

    bool Close() {
        open_.pop_back();
        return true;
    }

    ObjectRef root_;
    std::vector<Level> open_;
    std::string error_;
};

void RaiseJson(std::string_view message) { RaiseNew("JsonException", 0, message); }

Object* ParseJson(String* text) {
    StringRef utf8 = text != nullptr && text->encoding != ENCODING_UNKNOWN ? ConvertString(text, ENCODING_UTF8)
                                                                           : StringRef::Share(text);
    Builder builder;
    std::string_view source = utf8.View();
    if (Json::sax_parse(source.begin(), source.end(), &builder)) return builder.Result().Detach();
    RaiseJson(builder.Error());
    return nullptr;
}

class Writer {
public:
    explicit Writer(int32_t indent) : indent_(static_cast<size_t>(std::max(indent, 0))) {}

    bool Write(Object* variant) { return Write(VariantKind(variant), Unbox(variant)); }
    bool Write(Kind kind, const Slot& value) {
        switch (kind) {
        case Kind::NOTHING: text_ += "null"; return true;
        case Kind::BOOLEAN: text_ += value.integer != 0 ? "true" : "false"; return true;
        case Kind::INTEGER:
        case Kind::DOUBLE:
        case Kind::INT64:
        case Kind::CURRENCY: return Number(kind, value);
        case Kind::STRING: Text(value.string); return true;
        case Kind::ARRAY: return Elements(*AsArray(value.object));
        default: break;
        }
        if (IsDictionary(value.object)) return Members(value.object);
        return Fail("JsonText: a " + value.object->cls->name + " has no JSON");
    }
    const std::string& Result() const { return text_; }

private:
    static bool Fail(const std::string& message) {
        RaiseJson(message);
        return false;
    }

    bool Number(Kind kind, Slot number) {
        if (kind == Kind::DOUBLE && !std::isfinite(number.number))
            return Fail("JsonText: JSON knows finite numbers only");
        text_ += NumberText(kind, number);
        return true;
    }

    void Text(String* string) {
        StringRef utf8 = ConvertString(string, ENCODING_UTF8);
        text_ += Json(std::string(utf8.View())).dump(-1, ' ', false, Json::error_handler_t::replace);
    }

    bool Enter(char bracket) {
        text_ += bracket;
        if (++level_ <= MAX_LEVELS) return true;
        return Fail("JsonText: nested too deeply, or in a circle");
    }

    void Next(bool isFirst) {
        if (!isFirst) text_ += ',';
        NewLine();
    }

    void NewLine() {
        if (indent_ > 0) text_.append(1, '\n').append(indent_ * level_, ' ');
    }

    bool Leave(char bracket, bool isEmpty) {
        --level_;
        if (!isEmpty) NewLine();
        text_ += bracket;
        return true;
    }

    bool Elements(Array& array) {
        if (!Enter('[')) return false;
        for (int32_t i = 0; i < array.count; ++i) {
            Next(i == 0);
            bool isWritten = true;
            switch (array.element) {
            case Kind::BOOLEAN: text_ += array.Integers()[i] != 0 ? "true" : "false"; break;
            case Kind::INTEGER:
            case Kind::DOUBLE:
            case Kind::INT64:
            case Kind::CURRENCY: isWritten = Number(array.element, ArrayGet(&array, i)); break;
            case Kind::STRING: Text(array.Strings()[i]); break;
            default: isWritten = Write(array.Objects()[i]); break;
            }
            if (!isWritten) return false;
        }
        return Leave(']', array.count == 0);
    }

    bool Members(Object* dictionary) {
        if (!Enter('{')) return false;
        bool isEmpty = true;
        for (const Entry& entry : TableOf(dictionary).Entries()) {
            if (entry.hash == 0) continue;
            if (entry.keyKind != Kind::STRING) return Fail("JsonText: a key that is no String");
            Next(isEmpty);
            isEmpty = false;
            Text(entry.key.string);
            text_ += indent_ > 0 ? ": " : ":";
            if (!Write(entry.kind, entry.value)) return false;
        }
        return Leave('}', isEmpty);
    }

    std::string text_;
    size_t indent_;
    size_t level_ = 0;
};

// On one line, or with each level indented by so many blanks.
String* JsonText(Object* value, int32_t indent) {
    Writer writer(indent);
    return writer.Write(value) ? BuildString(writer.Result(), ENCODING_UTF8) : nullptr;
}

const GlobalFunction FUNCTIONS[] = {
    {"ParseJson(text as String) as Variant", Native<ParseJson>()},
    {"JsonText(value as Variant, indent as Integer = 0) as String", Native<JsonText>()},
};

} // namespace

std::span<const GlobalFunction> JsonFunctions() { return FUNCTIONS; }

} // namespace host
