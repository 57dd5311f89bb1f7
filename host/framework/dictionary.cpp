// Dictionary: values by key.
#include "host/framework/dictionary.h"

#include "host/framework/dictionary_table.h"
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/array.h"
#include "host/runtime/class.h"
#include "host/runtime/exception.h"
#include "host/runtime/variant.h"

#include <random>

namespace host {

namespace {

int32_t GetCount(Object* self, int32_t) { return static_cast<int32_t>(TableOf(self).Count()); }

Entry* FindEntry(Object* self, Object* key) { return TableOf(self).Find(Kind::VARIANT, {.object = key}).entry; }

Object* BoxedKey(const Entry& entry) { return Box(entry.keyKind, entry.key); }
Object* BoxedValue(const Entry& entry) { return Box(entry.kind, entry.value); }

Object* GetValue(Object* self, Object* key) {
    const Entry* entry = FindEntry(self, key);
    if (entry != nullptr) return BoxedValue(*entry);
    RaiseMissingKey(Kind::VARIANT, {.object = key});
    return nullptr;
}

void SetValue(Object* self, Object* key, Object* value) {
    TableOf(self).Set(Kind::VARIANT, {.object = key}, Kind::VARIANT, {.object = value});
}

Object* Lookup(Object* self, Object* key, Object* otherwise) {
    const Entry* entry = FindEntry(self, key);
    return entry != nullptr ? BoxedValue(*entry) : ObjectRef::Share(otherwise).Detach();
}

int32_t HasKey(Object* self, Object* key) { return static_cast<int32_t>(FindEntry(self, key) != nullptr); }

void Remove(Object* self, Object* key) {
    Entry* entry = FindEntry(self, key);
    if (entry == nullptr) return RaiseMissingKey(Kind::VARIANT, {.object = key});
    TableOf(self).Remove(*entry);
}

void Clear(Object* self) {
    DictionaryTable old;
    old.Swap(TableOf(self));
}

// The array is complete before anything else can run.
template <typename Part>
Array* Collect(Object* self, Part part) {
    DictionaryTable& data = TableOf(self);
    Array* array = NewArray(TypeNamed("Variant"), static_cast<int32_t>(data.Count()));
    int32_t count = 0;
    for (const Entry& entry : data.Entries())
        if ((array != nullptr) && entry.hash != 0) array->Objects()[count++] = part(entry);
    return array;
}

Array* Keys(Object* self) { return Collect(self, BoxedKey); }
Array* Values(Object* self) { return Collect(self, BoxedValue); }

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

} // namespace

ClassDefinition& DictionaryTable::Record() {
    static ClassDefinition record = ClassRecordOf<DictionaryTable>("Dictionary", PROPERTIES, METHODS);
    return record;
}

ObjectRef NewDictionary() { return NewInstance(DictionaryTable::Record()); }

bool IsDictionary(const Object* object) {
    return object->cls->IsA(static_cast<const Class*>(static_cast<const void*>(DictionaryTable::Record().name)));
}

EntryAccess EntryAccessOf(const void* function) {
    if (function == Native<GetValue>()) return EntryAccess::VALUE;
    if (function == Native<Lookup>()) return EntryAccess::LOOKUP;
    return function == Native<HasKey>() ? EntryAccess::HAS_KEY : EntryAccess::NONE;
}

void RaiseMissingKey(Kind kind, const Slot& given) {
    const NormalKey key(kind, given);
    std::string message = "the dictionary has no such key";
    if (key.GetKind() == Kind::STRING)
        message = "the dictionary has no key \"" + std::string(StringView(key.Get().string)) + "\"";
    RaiseNew("KeyNotFoundException", 0, message);
}

void RegisterDictionary() {
    std::random_device random;
    for (uint32_t& seed : hashSeeds) seed = random();
    RegisterClass(DictionaryTable::Record());
    dictionaryOffset = DictionaryTable::Record().dataOffset;
}

} // namespace host
