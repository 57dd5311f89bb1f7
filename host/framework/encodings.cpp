// TextEncoding and the module Encodings.
#include "host/framework/encodings.h"

#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace host {

namespace {

// The object of each encoding that has one, by its value. Those of the module's members live as long as the process.
std::unordered_map<uint32_t, Object*>& Objects() {
    static auto& objects = *new std::unordered_map<uint32_t, Object*>;
    return objects;
}

struct EncodingData {
    const Encoding* encoding = nullptr;

    ~EncodingData() {
        if (encoding != nullptr) Objects().erase(encoding->value);
    }

    static ClassDefinition& Record();
};

int32_t GetCode(Object* self, int32_t) {
    const Encoding* encoding = DataOf<EncodingData>(self).encoding;
    return encoding != nullptr ? static_cast<int32_t>(encoding->value) : 0;
}

String* GetInternetName(Object* self, int32_t) {
    const Encoding* encoding = DataOf<EncodingData>(self).encoding;
    return encoding != nullptr ? StringRef(encoding->icuName).Detach() : nullptr;
}

const PropertyDefinition PROPERTIES[] = {
    ReadOnly("Code", "Integer", Native<GetCode>()),
    ReadOnly("InternetName", "String", Native<GetInternetName>()),
};

ClassDefinition& EncodingData::Record() {
    static ClassDefinition record = ClassRecordOf<EncodingData>("TextEncoding", PROPERTIES, {});
    return record;
}

Object* GetEncoding(Object*, int32_t value) { return TextEncodingObject(static_cast<uint32_t>(value)).Detach(); }

Object* FromName(String* name) {
    const Encoding* encoding = FindEncoding(StringView(name));
    if (encoding != nullptr) return TextEncodingObject(encoding->value).Detach();
    RaiseNew("IllegalArgumentException", 0, "FromName: there is no encoding \"" + std::string(StringView(name)) + "\"");
    return nullptr;
}

Object* EncodingOf(String* text) { return text != nullptr ? TextEncodingObject(text->encoding).Detach() : nullptr; }

String* ConvertEncoding(String* text, Object* encoding) {
    return ConvertString(text, EncodingValue(encoding, ENCODING_UTF8)).Detach();
}

// The same bytes, taken for another encoding; nil makes the encoding unknown.
String* DefineEncoding(String* text, Object* encoding) {
    uint32_t value = EncodingValue(encoding, ENCODING_UNKNOWN);
    if ((text == nullptr) || text->encoding == value) return StringRef::Share(text).Detach();
    return RetagString(text, value);
}

const GlobalFunction FUNCTIONS[] = {
    {"ConvertEncoding(text as String, target as TextEncoding) as String", Native<ConvertEncoding>()},
    {"DefineEncoding(text as String, actual as TextEncoding) as String", Native<DefineEncoding>()},
    {"Encoding(text as String) as TextEncoding", Native<EncodingOf>()},
};

const GlobalFunction MODULE_FUNCTIONS[] = {
    {"FromName(internetName as String) as TextEncoding", Native<FromName>()},
};

} // namespace

ObjectRef TextEncodingObject(uint32_t encoding) {
    const Encoding* known = FindEncoding(encoding);
    if (known == nullptr) return {};
    Object*& object = Objects()[encoding];
    if (object != nullptr) return ObjectRef::Share(object);
    ObjectRef made = NewInstance(EncodingData::Record());
    if (made) DataOf<EncodingData>(made.Get()).encoding = known;
    object = made.Get();
    return made;
}

uint32_t EncodingValue(Object* textEncoding, uint32_t otherwise) {
    const Encoding* encoding = textEncoding != nullptr ? DataOf<EncodingData>(textEncoding).encoding : nullptr;
    return encoding != nullptr ? encoding->value : otherwise;
}

void RegisterEncodings() {
    RegisterClass(EncodingData::Record());
    std::vector<PropertyDefinition> members;
    for (const Encoding& encoding : Encodings()) {
        TextEncodingObject(encoding.value).Detach();
        members.push_back(
            ReadOnly(encoding.member, "TextEncoding", Native<GetEncoding>(), static_cast<int32_t>(encoding.value)));
    }
    RegisterModuleProperties(members, "Encodings");
    RegisterFunctions(MODULE_FUNCTIONS, "Encodings");
    RegisterFunctions(FUNCTIONS);
}

} // namespace host
