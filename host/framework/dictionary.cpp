// Dictionary: values by key.
#include "host/framework/dictionary.h"

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
#include <deque>
#include <functional>
#include <unordered_map>

namespace host {

namespace {

// A key by value: equal numbers are equal keys whatever their type, strings compare by their characters and with
// case, other objects by identity. The text is borrowed from the variant that the key was made of, or from
// `converted`.
struct Key {
    explicit Key(Object* variant) : kind(VariantKind(variant)) {
        switch (kind) {
        case Kind::INTEGER:
            kind = Kind::DOUBLE;
            number = UnboxInteger(variant);
            break;
        case Kind::DOUBLE: number = UnboxDouble(variant); break;
        case Kind::INT64:
        case Kind::CURRENCY: TakeWide(Unbox(variant)); break;
        case Kind::BOOLEAN: number = static_cast<double>(UnboxInteger(variant) != 0); break;
        case Kind::STRING: {
            String* string = UnboxString(variant);
            if ((string != nullptr) && string->encoding != ENCODING_UTF8 && string->encoding != ENCODING_UNKNOWN) {
                converted = ConvertString(string, ENCODING_UTF8);
                string = converted.Get();
            }
            text = StringView(string);
            break;
        }
        default: object = variant;
        }
    }

    // What a Double can stand for is one.
    void TakeWide(Slot value) {
        Slot same{};
        bool isDouble = ConvertNumber(kind, value, Kind::DOUBLE, same)
                        && (kind == Kind::INT64 || CurrencyOf(same.number) == Currency{value.wide});
        if (isDouble) {
            number = same.number;
            kind = Kind::DOUBLE;
        } else {
            wide = value.wide;
        }
    }

    bool operator==(const Key& other) const {
        return kind == other.kind && number == other.number && wide == other.wide && text == other.text
               && object == other.object;
    }

    Kind kind;
    double number = 0;
    int64_t wide = 0;
    std::string_view text;
    Object* object = nullptr;
    StringRef converted;
};

struct KeyHash {
    size_t operator()(const Key& key) const {
        return key.kind == Kind::STRING ? std::hash<std::string_view>()(key.text)
                                        : std::hash<double>()(key.number) ^ std::hash<int64_t>()(key.wide)
                                              ^ std::hash<Object*>()(key.object);
    }
};

struct Entry {
    ObjectRef key;
    ObjectRef value;
    bool removed = false;
};

// Entries in the order in which their keys came; removed ones are dropped when they are the majority.
struct DictionaryData {
    std::deque<Entry> entries;
    std::unordered_map<Key, Entry*, KeyHash> index;

    Entry* Find(Object* key) {
        auto found = index.find(Key(key));
        return found == index.end() ? nullptr : found->second;
    }

    void Compact() {
        if (entries.size() < 32 || index.size() * 2 > entries.size()) return;
        std::deque<Entry> kept;
        for (Entry& entry : entries)
            if (!entry.removed) kept.push_back(std::move(entry));
        entries.swap(kept);
        for (Entry& entry : entries) index.find(Key(entry.key.Get()))->second = &entry;
    }

    static ClassDefinition& Record();
};

int32_t GetCount(Object* self, int32_t) { return static_cast<int32_t>(DataOf<DictionaryData>(self).index.size()); }

void RaiseMissingKey(Object* key) {
    std::string message = "the dictionary has no such key";
    if (Key wanted(key); wanted.kind == Kind::STRING)
        message = "the dictionary has no key \"" + std::string(wanted.text) + "\"";
    RaiseNew("KeyNotFoundException", 0, message);
}

Object* GetValue(Object* self, Object* key) {
    Entry* entry = DataOf<DictionaryData>(self).Find(key);
    if (entry != nullptr) return ObjectRef(entry->value).Detach();
    RaiseMissingKey(key);
    return nullptr;
}

void SetValue(Object* self, Object* key, Object* value) {
    DictionaryData& data = DataOf<DictionaryData>(self);
    ObjectRef old; // released last: its destructor may use this dictionary
    if (Entry* entry = data.Find(key)) {
        old = std::exchange(entry->value, ObjectRef::Share(value));
        return;
    }
    Entry& entry = data.entries.emplace_back(Entry{ObjectRef::Share(key), ObjectRef::Share(value)});
    data.index.emplace(Key(entry.key.Get()), &entry);
}

Object* Lookup(Object* self, Object* key, Object* otherwise) {
    Entry* entry = DataOf<DictionaryData>(self).Find(key);
    return (entry != nullptr ? entry->value : ObjectRef::Share(otherwise)).Detach();
}

int32_t HasKey(Object* self, Object* key) {
    return static_cast<int32_t>(DataOf<DictionaryData>(self).Find(key) != nullptr);
}

void Remove(Object* self, Object* key) {
    DictionaryData& data = DataOf<DictionaryData>(self);
    Entry* entry = data.Find(key);
    if (entry == nullptr) return RaiseMissingKey(key);
    ObjectRef oldKey; // both are released when the dictionary is in order again
    ObjectRef oldValue;
    data.index.erase(Key(entry->key.Get()));
    entry->removed = true;
    std::swap(oldKey, entry->key);
    std::swap(oldValue, entry->value);
    data.Compact();
}

void Clear(Object* self) {
    DictionaryData& data = DataOf<DictionaryData>(self);
    std::deque<Entry> entries;
    data.index.clear();
    data.entries.swap(entries);
}

Array* Collect(Object* self, ObjectRef Entry::*part) {
    DictionaryData& data = DataOf<DictionaryData>(self);
    Array* array = NewArray(TypeNamed("Variant"), static_cast<int32_t>(data.index.size()));
    int32_t count = 0;
    for (const Entry& entry : data.entries)
        if ((array != nullptr) && !entry.removed) array->Objects()[count++] = ObjectRef(entry.*part).Detach();
    return array;
}

Array* Keys(Object* self) { return Collect(self, &Entry::key); }

Array* Values(Object* self) { return Collect(self, &Entry::value); }

const PropertyDefinition PROPERTIES[] = {
    ReadOnly("Count", "Integer", Native<GetCount>()),
};

const MethodDefinition METHODS[] = {
    Member("Value(key as Variant) as Variant", Native<GetValue>(), Native<SetValue>()),
    Member("Lookup(key as Variant, otherwise as Variant) as Variant", Native<Lookup>()),
    Member("HasKey(key as Variant) as Boolean", Native<HasKey>()),
    Member("Remove(key as Variant)", Native<Remove>()),
    Member("Clear()", Native<Clear>()),
    Member("Keys() as Variant()", Native<Keys>()),
    Member("Values() as Variant()", Native<Values>()),
};

ClassDefinition& DictionaryData::Record() {
    static ClassDefinition record = ClassRecordOf<DictionaryData>("Dictionary", PROPERTIES, METHODS);
    return record;
}

} // namespace

ObjectRef NewDictionary() { return NewInstance(DictionaryData::Record()); }

bool IsDictionary(const Object* object) {
    return object->cls->IsA(static_cast<const Class*>(static_cast<const void*>(DictionaryData::Record().name)));
}

void SetEntry(Object* dictionary, Object* key, Object* value) { SetValue(dictionary, key, value); }

void VisitEntries(Object* dictionary, const std::function<bool(Object* key, Object* value)>& visit) {
    for (const Entry& entry : DataOf<DictionaryData>(dictionary).entries) {
        if (!entry.removed && !visit(entry.key.Get(), entry.value.Get())) return;
    }
}

void RegisterDictionary() { RegisterClass(DictionaryData::Record()); }

} // namespace host
