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

#include <bit>
#include <cmath>
#include <cstring>
#include <functional>
#include <random>
#include <vector>

namespace host {

namespace {

uint32_t seeds[2]; // set when the class is registered

inline uint32_t WordAt(const char* bytes) {
    uint32_t word = 0;
    std::memcpy(&word, bytes, sizeof word);
    return word;
}

inline void Mix(uint32_t& a, uint32_t& b) {
    const uint64_t product = uint64_t{a ^ 0x53C5CA59U} * (b ^ 0x74743C1BU);
    a = static_cast<uint32_t>(product);
    b = static_cast<uint32_t>(product >> 32);
}

// As wyhash does it for 32 bits. Each process has other seeds: nobody can prepare keys that all meet in one place.
[[gnu::always_inline]] inline uint32_t HashOf(std::string_view text) {
    const char* bytes = text.data();
    size_t left = text.size();
    uint32_t a = seeds[0];
    uint32_t b = seeds[1] + static_cast<uint32_t>(left);
    for (; left > 8; left -= 8, bytes += 8) {
        a ^= WordAt(bytes);
        b ^= WordAt(bytes + 4);
        Mix(a, b);
    }
    if (left >= 4) {
        a ^= WordAt(bytes);
        b ^= WordAt(bytes + left - 4);
    } else if (left > 0) {
        auto at = [bytes](size_t i) { return uint32_t{static_cast<unsigned char>(bytes[i])}; };
        a ^= (at(0) << 16) | (at(left / 2) << 8) | at(left - 1);
    }
    Mix(a, b);
    Mix(a, b);
    return a ^ b;
}

// A key by value: equal numbers are equal keys whatever their type, strings compare by their characters and with
// case, other objects by identity.
class Key {
public:
    [[gnu::always_inline]] Key(Kind kind, const Slot& value) : kind_(kind) {
        CopySlot(value_, value);
        if (HoldsObject(kind)) {
            kind_ = VariantKind(value.object);
            value_ = Unbox(value.object);
        }
        given_ = kind_;
        bool isCommon = kind_ == Kind::INTEGER || (kind_ == Kind::STRING && IsUtf8(value_.string));
        if (!isCommon) Normalise();
        hash_ = MakeHash();
    }
    explicit Key(Object* variant) : Key(Kind::VARIANT, {.object = variant}) {}

    Kind GetKind() const { return kind_; }
    const Slot& Get() const { return value_; } // borrowed
    // Whether it has become another value than was given.
    bool IsOther() const { return kind_ != given_ || converted_; }
    uint32_t Hash() const { return hash_; } // not 0

    bool Equals(const Value& other) const {
        if (kind_ != other.GetKind()) return false;
        const Slot& value = other.Get();
        switch (kind_) {
        case Kind::INTEGER:
        case Kind::BOOLEAN: return value_.integer == value.integer;
        case Kind::DOUBLE: return value_.number == value.number;
        case Kind::INT64:
        case Kind::CURRENCY: return value_.wide == value.wide;
        case Kind::STRING:
            return value_.string == value.string || StringView(value_.string) == StringView(value.string);
        default: return value_.object == value.object;
        }
    }

private:
    static bool IsUtf8(const String* string) {
        return string == nullptr || string->encoding == ENCODING_UTF8 || string->encoding == ENCODING_UNKNOWN;
    }

    uint32_t MakeHash() const {
        constexpr uint32_t NOT_ZERO = 1U << 31;
        if (kind_ == Kind::STRING) return HashOf(StringView(value_.string)) | NOT_ZERO;
        auto word = static_cast<uint32_t>(value_.integer);
        if (kind_ == Kind::DOUBLE || kind_ == Kind::INT64 || kind_ == Kind::CURRENCY)
            word ^= static_cast<uint32_t>(static_cast<uint64_t>(value_.wide) >> 32);
        word *= 0x9E3779B1U;
        return (word ^ (word >> 15)) | NOT_ZERO;
    }

    [[gnu::noinline]] void Normalise() {
        switch (kind_) {
        case Kind::DOUBLE: TakeDouble(value_.number); break;
        case Kind::INT64:
        case Kind::CURRENCY: TakeWide(); break;
        case Kind::BOOLEAN: value_.integer = static_cast<int32_t>(value_.integer != 0); break;
        case Kind::STRING:
            converted_ = ConvertString(value_.string, ENCODING_UTF8);
            value_.string = converted_.Get();
            break;
        default: break;
        }
    }

    // Numbers are the Integer of their value if there is one, else the Double.
    void TakeDouble(double number) {
        const bool isInteger = number >= INT32_MIN && number <= INT32_MAX && std::trunc(number) == number;
        kind_ = isInteger ? Kind::INTEGER : Kind::DOUBLE;
        if (isInteger)
            value_.integer = static_cast<int32_t>(number);
        else
            value_.number = number;
    }

    void TakeWide() {
        Slot same{};
        bool isDouble = ConvertNumber(kind_, value_, Kind::DOUBLE, same)
                        && (kind_ == Kind::INT64 || CurrencyOf(same.number) == Currency{value_.wide});
        if (isDouble) TakeDouble(same.number);
    }

    Kind kind_;
    Kind given_;
    Slot value_;
    uint32_t hash_;
    StringRef converted_;
};

struct Entry {
    uint32_t hash = 0; // 0 of one that was removed
    Value key;
    ObjectRef given; // the key as it was given, if that is another value
    ObjectRef value;

    // With one reference.
    Object* GivenKey() const { return given ? ObjectRef(given).Detach() : Box(key.GetKind(), key.Get()); }
};

// Entries in the order in which their keys came, found by places that are tried from the one of the key's hash on.
// Removed entries keep their places until the table is made anew.
class DictionaryData {
public:
    [[gnu::always_inline]] Entry* Find(const Key& key) {
        if (places_.empty()) return nullptr;
        const uint32_t hash = key.Hash();
        const size_t mask = places_.size() - 1;
        for (size_t i = hash & mask; places_[i].number != 0; i = (i + 1) & mask) {
            if (places_[i].hash != hash) continue;
            Entry& entry = entries_[places_[i].number - 1];
            if (entry.hash == hash && key.Equals(entry.key)) return &entry;
        }
        return nullptr;
    }

    // A key that is not there yet. The dictionary holds nothing new when memory ends.
    void Add(const Key& key, ObjectRef given, ObjectRef value) {
        if ((entries_.size() + 1) * 4 > places_.size() * 3) Rebuild();
        const uint32_t hash = key.Hash();
        entries_.push_back({hash, Value::Share(key.GetKind(), key.Get()), std::move(given), std::move(value)});
        Put(places_, hash, entries_.size());
        ++count_;
    }

    // What it held is the caller's: releasing it may run code that uses this dictionary.
    Entry Take(Entry& entry) {
        Entry taken = std::exchange(entry, Entry());
        --count_;
        if (entries_.size() >= 32 && count_ * 2 <= entries_.size()) Rebuild();
        return taken;
    }

    size_t Count() const { return count_; }
    const std::vector<Entry>& Entries() const { return entries_; }

    static ClassDefinition& Record();

private:
    struct Place {
        uint32_t hash;
        uint32_t number; // of the entry, from 1
    };

    static void Put(std::vector<Place>& places, uint32_t hash, size_t number) {
        const size_t mask = places.size() - 1;
        size_t i = hash & mask;
        while (places[i].number != 0) i = (i + 1) & mask;
        places[i] = {hash, static_cast<uint32_t>(number)};
    }

    // Drops removed entries and makes room for as many as there are.
    void Rebuild() {
        std::vector<Place> places(std::bit_ceil(count_ * 2 + 6));
        if (count_ < entries_.size()) {
            std::vector<Entry> kept;
            kept.reserve(places.size());
            for (Entry& entry : entries_)
                if (entry.hash != 0) kept.push_back(std::move(entry));
            entries_.swap(kept);
        }
        for (size_t i = 0; i < entries_.size(); ++i) Put(places, entries_[i].hash, i + 1);
        places_.swap(places);
    }

    std::vector<Entry> entries_;
    std::vector<Place> places_; // a power of two, at least a quarter of them free
    size_t count_ = 0;
};

int32_t dataOffset = 0; // of each dictionary's data

DictionaryData& TableOf(Object* object) { return DataAt<DictionaryData>(object, dataOffset); }

int32_t GetCount(Object* self, int32_t) { return static_cast<int32_t>(TableOf(self).Count()); }

void RaiseMissingKey(const Key& key) {
    std::string message = "the dictionary has no such key";
    if (key.GetKind() == Kind::STRING)
        message = "the dictionary has no key \"" + std::string(StringView(key.Get().string)) + "\"";
    RaiseNew("KeyNotFoundException", 0, message);
}

Object* GetValue(Object* self, Object* key) {
    const ObjectRef* value = EntryValue(self, Kind::VARIANT, {.object = key});
    return value != nullptr ? ObjectRef(*value).Detach() : nullptr;
}

void SetValue(Object* self, Object* key, Object* value) {
    SetEntry(self, Kind::VARIANT, {.object = key}, Kind::VARIANT, {.object = value});
}

Object* Lookup(Object* self, Object* key, Object* otherwise) {
    const ObjectRef* value = FindEntry(self, Kind::VARIANT, {.object = key});
    return ObjectRef(value != nullptr ? *value : ObjectRef::Share(otherwise)).Detach();
}

int32_t HasKey(Object* self, Object* key) {
    return static_cast<int32_t>(FindEntry(self, Kind::VARIANT, {.object = key}) != nullptr);
}

void Remove(Object* self, Object* variant) {
    DictionaryData& data = TableOf(self);
    const Key key(variant);
    Entry* entry = data.Find(key);
    if (entry == nullptr) return RaiseMissingKey(key);
    data.Take(*entry);
}

void Clear(Object* self) {
    DictionaryData old;
    std::swap(old, TableOf(self));
}

// The array is complete before anything else can run.
template <typename Part>
Array* Collect(Object* self, Part part) {
    DictionaryData& data = TableOf(self);
    Array* array = NewArray(TypeNamed("Variant"), static_cast<int32_t>(data.Count()));
    int32_t count = 0;
    for (const Entry& entry : data.Entries())
        if ((array != nullptr) && entry.hash != 0) array->Objects()[count++] = part(entry);
    return array;
}

Array* Keys(Object* self) {
    return Collect(self, [](const Entry& entry) { return entry.GivenKey(); });
}

Array* Values(Object* self) {
    return Collect(self, [](const Entry& entry) { return ObjectRef(entry.value).Detach(); });
}

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

EntryAccess EntryAccessOf(const void* function) {
    if (function == Native<GetValue>()) return EntryAccess::VALUE;
    if (function == Native<Lookup>()) return EntryAccess::LOOKUP;
    return function == Native<HasKey>() ? EntryAccess::HAS_KEY : EntryAccess::NONE;
}

const ObjectRef* FindEntry(Object* dictionary, Kind kind, const Slot& key) {
    const Entry* entry = TableOf(dictionary).Find(Key(kind, key));
    return entry != nullptr ? &entry->value : nullptr;
}

const ObjectRef* EntryValue(Object* dictionary, Kind kind, const Slot& key) {
    const ObjectRef* value = FindEntry(dictionary, kind, key);
    if (value == nullptr) RaiseMissingKey(Key(kind, key));
    return value;
}

void SetEntry(Object* dictionary, Kind keyKind, const Slot& keyValue, Kind kind, const Slot& value) {
    DictionaryData& data = TableOf(dictionary);
    const Key key(keyKind, keyValue);
    Entry* entry = data.Find(key);
    if (entry != nullptr && SetBox(entry->value.Get(), kind, value)) return;
    ObjectRef box = ObjectRef::Adopt(Box(kind, value));
    if (!box && (!HoldsObject(kind) || value.object != nullptr)) return;
    // What was there is released last: its destructor may use this dictionary.
    if (entry != nullptr)
        std::swap(entry->value, box);
    else
        data.Add(key, key.IsOther() ? ObjectRef::Adopt(Box(keyKind, keyValue)) : ObjectRef(), std::move(box));
}

void VisitEntries(Object* dictionary, const std::function<bool(const Value& key, Object* value)>& visit) {
    for (const Entry& entry : TableOf(dictionary).Entries()) {
        if (entry.hash != 0 && !visit(entry.key, entry.value.Get())) return;
    }
}

void RegisterDictionary() {
    std::random_device random;
    for (uint32_t& seed : seeds) seed = random();
    RegisterClass(DictionaryData::Record());
    dataOffset = DictionaryData::Record().dataOffset;
}

} // namespace host
