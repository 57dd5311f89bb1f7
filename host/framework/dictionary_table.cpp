// Keys of all kinds, and how the table grows.
#include "host/framework/dictionary_table.h"

#include "host/runtime/numbers.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

namespace host {

NormalKey::NormalKey(Kind kind, const Slot& value)
    : kind_(HoldsObject(kind) ? VariantKind(value.object) : kind),
      value_(HoldsObject(kind) ? Unbox(value.object) : value) {
    const Kind given = kind_;
    switch (kind_) {
    case Kind::DOUBLE: TakeDouble(value_.number); break;
    case Kind::INT64:
    case Kind::CURRENCY: TakeWide(); break;
    case Kind::BOOLEAN: value_.integer = static_cast<int32_t>(value_.integer != 0); break;
    case Kind::STRING:
        if (DictionaryTable::IsUtf8(value_.string)) break;
        converted_ = ConvertString(value_.string, ENCODING_UTF8);
        value_.string = converted_.Get();
        break;
    default: break;
    }
    isOther_ = kind_ != given || converted_;
}

// Numbers are the Integer of their value if there is one, else the Double.
void NormalKey::TakeDouble(double number) {
    const bool isInteger = number >= INT32_MIN && number <= INT32_MAX && std::trunc(number) == number;
    kind_ = isInteger ? Kind::INTEGER : Kind::DOUBLE;
    if (isInteger)
        value_.integer = static_cast<int32_t>(number);
    else
        value_.number = number;
}

void NormalKey::TakeWide() {
    Slot same{};
    bool isDouble = ConvertNumber(kind_, value_, Kind::DOUBLE, same)
                    && (kind_ == Kind::INT64 || CurrencyOf(same.number) == Currency{value_.wide});
    if (isDouble) TakeDouble(same.number);
}

bool NormalKey::operator==(const NormalKey& other) const {
    if (kind_ != other.kind_) return false;
    if (kind_ == Kind::STRING) return StringView(value_.string) == StringView(other.value_.string);
    return IsWide(kind_) ? value_.wide == other.value_.wide : value_.words[0] == other.value_.words[0];
}

uint32_t NormalKey::Hash() const {
    if (kind_ == Kind::STRING) return DictionaryTable::HashOf(StringView(value_.string));
    return DictionaryTable::HashOf(value_.words[0] ^ (IsWide(kind_) ? value_.words[1] : 0));
}

DictionaryTable::~DictionaryTable() {
    for (const Entry& entry : entries_) {
        if (entry.hash == 0) continue;
        UnlockValue(entry.kind, entry.value);
        UnlockValue(entry.keyKind, entry.key);
    }
}

void DictionaryTable::Swap(DictionaryTable& other) noexcept {
    entries_.swap(other.entries_);
    places_.swap(other.places_);
    std::swap(mask_, other.mask_);
    std::swap(count_, other.count_);
}

DictionaryTable::Found DictionaryTable::FindOther(Kind kind, const Slot& key) {
    const NormalKey normal(kind, key);
    return FindHash(normal.Hash(), normal.IsOther(),
                    [&normal](const Entry& entry) { return NormalKey(entry.keyKind, entry.key) == normal; });
}

bool DictionaryTable::IsSame(const Entry& entry, const String* text) {
    const NormalKey key(entry.keyKind, entry.key);
    return key.GetKind() == Kind::STRING && StringView(key.Get().string) == StringView(text);
}

bool DictionaryTable::IsSame(const Entry& entry, int32_t integer) {
    const NormalKey key(entry.keyKind, entry.key);
    return key.GetKind() == Kind::INTEGER && key.Get().integer == integer;
}

void DictionaryTable::Add(const Found& place, Kind keyKind, const Slot& key, Kind kind, const Slot& value) {
    if ((entries_.size() + 1) * 4 > places_.size() * 3) Rebuild();
    Entry& entry = entries_.emplace_back();
    entry.hash = place.hash;
    entry.isOther = place.isOther;
    entry.keyKind = HoldsObject(keyKind) ? VariantKind(key.object) : keyKind;
    CopySlot(entry.key, HoldsObject(keyKind) ? Unbox(key.object) : key);
    LockValue(entry.keyKind, entry.key);
    entry.kind = kind;
    CopySlot(entry.value, value);
    LockValue(kind, value);
    Put(place.hash, entries_.size());
    ++count_;
}

// What it held is released last, since that may run code that uses this dictionary.
void DictionaryTable::Remove(Entry& entry) {
    const Entry removed = entry;
    entry = Entry();
    --count_;
    if (entries_.size() >= 32 && count_ * 2 <= entries_.size()) Rebuild();
    UnlockValue(removed.kind, removed.value);
    UnlockValue(removed.keyKind, removed.key);
}

void DictionaryTable::Put(uint32_t hash, size_t number) {
    uint32_t i = hash & mask_;
    while (places_[i] != 0) i = (i + 1) & mask_;
    places_[i] = (hash & ~mask_) | static_cast<uint32_t>(number);
}

// Drops removed entries and makes room for as many as there are.
void DictionaryTable::Rebuild() {
    std::vector<uint32_t> places(std::max<size_t>(std::bit_ceil(count_ * 2 + 1), 4));
    std::vector<Entry> entries;
    entries.reserve(places.size() / 4 * 3);
    std::copy_if(entries_.begin(), entries_.end(), std::back_inserter(entries),
                 [](const Entry& entry) { return entry.hash != 0; });
    entries_.swap(entries);
    places_.swap(places);
    mask_ = static_cast<uint32_t>(places_.size() - 1);
    for (size_t i = 0; i < entries_.size(); ++i) Put(entries_[i].hash, i + 1);
}

} // namespace host
