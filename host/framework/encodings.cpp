// TextEncoding and the module Encodings.
#include "host/framework/encodings.h"

#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/encoding.h"

#include <vector>

namespace host {

namespace {

struct EncodingData {
    const Encoding* encoding = nullptr;

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
    ReadOnly("Code", "Integer", Native(GetCode)),
    ReadOnly("InternetName", "String", Native(GetInternetName)),
};

ClassDefinition& EncodingData::Record() {
    static ClassDefinition record = ClassRecordOf<EncodingData>("TextEncoding", PROPERTIES, {});
    return record;
}

// One object for each row of Encodings(), in its order; they live as long as the process.
std::vector<ObjectRef>& Objects() {
    static std::vector<ObjectRef>& objects = *new std::vector<ObjectRef>;
    return objects;
}

Object* GetEncoding(Object*, int32_t index) { return ObjectRef(Objects()[static_cast<size_t>(index)]).Detach(); }

Object* FromName(String* name) {
    const Encoding* encoding = FindEncoding(StringView(name));
    return encoding != nullptr ? ObjectRef::Share(TextEncodingObject(encoding->value)).Detach() : nullptr;
}

Object* EncodingOf(String* text) {
    return text != nullptr ? ObjectRef::Share(TextEncodingObject(text->encoding)).Detach() : nullptr;
}

String* ConvertEncoding(String* text, Object* encoding) {
    return ConvertString(text, EncodingValue(encoding, ENCODING_UTF8)).Detach();
}

// The same bytes, taken for another encoding; nil makes the encoding unknown.
String* DefineEncoding(String* text, Object* encoding) {
    uint32_t value = EncodingValue(encoding, ENCODING_UNKNOWN);
    if ((text == nullptr) || text->encoding == value) return StringRef::Share(text).Detach();
    return BuildString(text->View(), value);
}

const GlobalFunction FUNCTIONS[] = {
    {"ConvertEncoding(text as String, target as TextEncoding) as String", Native(ConvertEncoding)},
    {"DefineEncoding(text as String, actual as TextEncoding) as String", Native(DefineEncoding)},
    {"Encoding(text as String) as TextEncoding", Native(EncodingOf)},
};

const GlobalFunction MODULE_FUNCTIONS[] = {
    {"FromName(internetName as String) as TextEncoding", Native(FromName)},
};

} // namespace

Object* TextEncodingObject(uint32_t encoding) {
    for (size_t i = 0; i < Objects().size(); ++i)
        if (Encodings()[i].value == encoding) return Objects()[i].Get();
    return nullptr;
}

uint32_t EncodingValue(Object* textEncoding, uint32_t otherwise) {
    const Encoding* encoding = textEncoding != nullptr ? DataOf<EncodingData>(textEncoding).encoding : nullptr;
    return encoding != nullptr ? encoding->value : otherwise;
}

void RegisterEncodings() {
    RegisterClass(EncodingData::Record());
    std::vector<PropertyDefinition> members;
    for (const Encoding& encoding : Encodings()) {
        members.push_back(
            ReadOnly(encoding.member, "TextEncoding", Native(GetEncoding), static_cast<int32_t>(Objects().size())));
        Objects().push_back(NewInstance(EncodingData::Record()));
        DataOf<EncodingData>(Objects().back().Get()).encoding = &encoding;
    }
    RegisterModuleProperties(members, "Encodings");
    RegisterFunctions(MODULE_FUNCTIONS, "Encodings");
    RegisterFunctions(FUNCTIONS);
}

} // namespace host
