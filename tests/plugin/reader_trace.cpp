// Writes down every event of a reader.
#include "tests/plugin/reader_trace.h"

#include "tests/plugin/plugin_host.h"

using host::Arguments;
using host::Call;
using host::GetProperty;
using host::Kind;
using host::ObjectRef;
using host::Value;

namespace {

std::string_view ReaderClassName() {
    StartHost();
    return "XmlReader";
}

std::string AttributesText(const ObjectRef& list) {
    std::string text = "[";
    for (int i = 0; i < GetProperty(list, "Count").Integer(); ++i) {
        text += (i ? " " : "") + Call(list, "Key(index as Integer) as String", {i}).Text() + "="
                + Shown(Call(list, "Value(index as Integer) as String", {i}));
    }
    return text + "]";
}

void KeepWordInReach(const ObjectRef& reader, int offset) {
    static auto& words = *new std::vector<void*>;
    words.push_back(host::DataAt<void*>(reader.Get(), host::FindClass("XmlReader")->dataOffset + offset));
}

} // namespace

void KeepInReach(const Value& encoding) {
    static auto& encodings = *new std::vector<host::String*>;
    encodings.push_back(encoding.GetString().Get());
}

void KeepMainParserInReach(const ObjectRef& reader) { KeepWordInReach(reader, 4); }
void KeepEntityParserInReach(const ObjectRef& reader) { KeepWordInReach(reader, 8); }

std::string ModelText(const ObjectRef& model) {
    static constexpr const char* TYPES[] = {"EMPTY", "ANY", "MIXED", "NAME", "CHOICE", "SEQ"};
    static constexpr const char* QUANTIFIERS[] = {"", "?", "*", "+"};
    const int type = GetProperty(model, "Type").Integer();
    std::string text = type < 1 ? std::to_string(type) : TYPES[type - 1];
    if (type > 0) text += QUANTIFIERS[GetProperty(model, "Quant").Integer()];
    if (const std::string name = GetProperty(model, "Name").Text(); !name.empty()) text += " " + name;
    const int children = GetProperty(model, "NumChildren").Integer();
    for (int i = 0; i < children; ++i) text += (i ? ", " : "(") + ModelText(Call(model, "Child", {i}).GetObject());
    return children ? text + ")" : text;
}

std::string Shown(const Value& value) {
    switch (value.GetKind()) {
    case Kind::STRING: return value.GetString() ? "'" + value.Text() + "'" : "nil";
    case Kind::INTEGER:
    case Kind::BOOLEAN: return std::to_string(value.Integer());
    case Kind::OBJECT: {
        const ObjectRef object = value.GetObject();
        if (!object) return "nil";
        return object.Get()->cls->name == "XmlAttributeList" ? AttributesText(object) : ModelText(object);
    }
    default: return "?";
    }
}

ReaderTrace::ReaderTrace() : readers_(ReaderClassName()) {
    for (const auto& event : readers_.Get()->super->events) {
        const std::string name = event->signature.name;
        const Value noAnswer = event->signature.result.kind == Kind::BOOLEAN ? Value(false) : Value();
        readers_.On(name, [this, name, noAnswer](const ObjectRef& self, Arguments arguments) -> Value {
            std::string line = name + "(";
            for (size_t i = 0; i < arguments.size(); ++i) line += (i ? ", " : "") + Shown(arguments[i]);
            lines.push_back(line + ")");
            const auto handler = handlers_.find(name);
            return handler == handlers_.end() ? noAnswer : handler->second(self, arguments);
        });
    }
}

ReaderTrace& ReaderTrace::On(const std::string& event, Handler handler) {
    handlers_[event] = std::move(handler);
    return *this;
}

ObjectRef ReaderTrace::NewReader(std::initializer_list<Value> arguments) const {
    if (arguments.size() > 0) KeepInReach(*arguments.begin());
    return readers_.Create(arguments, "Constructor");
}

std::vector<std::string> ReaderTrace::Guarded(const std::function<void()>& parse) {
    lines.clear();
    try {
        parse();
    } catch (const host::ProgramException& exception) {
        lines.emplace_back(exception.what());
    }
    return Take();
}

std::vector<std::string> ReaderTrace::Parse(const ObjectRef& reader, Value text) {
    return Guarded([&] { Call(reader, "Parse", {std::move(text)}); });
}

std::vector<std::string> ReaderTrace::ParseChunks(const ObjectRef& reader, std::string_view text, size_t size) {
    return Guarded([&] {
        for (size_t start = 0; start < text.size(); start += size)
            Call(reader, "Parse", {text.substr(start, size), start + size >= text.size()});
    });
}

std::vector<std::string> ReaderTrace::Events(std::string_view text) { return Parse(NewReader(), text); }

std::vector<std::string> Joined(const std::vector<std::string>& lines) {
    constexpr std::string_view CHARACTERS = "Characters('";
    std::vector<std::string> joined;
    for (const std::string& line : lines) {
        if (line == "StartDocument()" || line == "EndDocument()") continue;
        if (line.starts_with(CHARACTERS) && !joined.empty() && joined.back().starts_with(CHARACTERS))
            joined.back().replace(joined.back().size() - 2, 2, line.substr(CHARACTERS.size()));
        else
            joined.push_back(line);
    }
    return joined;
}
