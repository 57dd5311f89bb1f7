// The table of a Dictionary: entries in the order in which their keys came, found by hashes.
#pragma once

#include "host/runtime/encoding.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"
#include "host/runtime/value.h"
#include "host/runtime/variant.h"

#include <cstdint>
#include <cstring>
#include <string_view>
#include <vector>

namespace host {

struct ClassDefinition;

// Keys and values stand outside of boxes: of what kind a Variant is, and its value (see VariantKind and Unbox). The
// table owns what they refer to.
struct Entry {
    uint32_t hash; // 0 of one that was removed
    Kind keyKind;
    Kind kind;
    bool isOther; // the key is as it was given; it counts as the one that NormalKey makes of it
    Slot key;
    Slot value;

    // What was there is released last: its destructor may use this dictionary.
    void Set(Kind newKind, const Slot& newValue) {
        LockValue(newKind, newValue);
        const Kind oldKind = kind;
        const Slot oldValue = value;
        kind = newKind;
        CopySlot(value, newValue);
        UnlockValue(oldKind, oldValue);
    }
};

// A key by value: equal numbers are equal keys whatever their type, strings compare by their characters and with
// case, other objects by identity.
class NormalKey {
public:
    NormalKey(Kind kind, const Slot& value);

    bool operator==(const NormalKey& other) const;
    Kind GetKind() const { return kind_; }
    const Slot& Get() const { return value_; } // borrowed
    uint32_t Hash() const;
    // Whether it has become another value than was given.
    bool IsOther() const { return isOther_; }

private:
    void TakeDouble(double number);
    void TakeWide();

    Kind kind_;
    bool isOther_ = false;
    Slot value_{};
    StringRef converted_;
};

// Places are tried from the one of the key's hash on. Each has the number of an entry (from 1) in as many low bits as
// there are places, and above them the hash's. Removed entries keep their places until the table is made anew.
class DictionaryTable {
public:
    // An entry or, if that is null, what Add needs to know of the key.
    struct Found {
        Entry* entry;
        uint32_t hash;
        bool isOther;
    };

    DictionaryTable() = default;
    ~DictionaryTable();
    DictionaryTable(const DictionaryTable&) = delete;
    DictionaryTable& operator=(const DictionaryTable&) = delete;
    void Swap(DictionaryTable& other) noexcept;

    // The key is of any kind, also a Variant.
    [[gnu::always_inline]] Found Find(Kind kind, const Slot& key) {
        if (kind == Kind::STRING && IsUtf8(key.string)) return FindText(key.string);
        return kind == Kind::INTEGER ? FindInteger(key.integer) : FindOther(kind, key);
    }
    // A key that was not found. The dictionary holds nothing new when memory ends.
    void Add(const Found& place, Kind keyKind, const Slot& key, Kind kind, const Slot& value);
    void Set(Kind keyKind, const Slot& key, Kind kind, const Slot& value) {
        const Found found = Find(keyKind, key);
        const bool isVariant = HoldsObject(kind);
        const Kind heldKind = isVariant ? VariantKind(value.object) : kind;
        const Slot held = isVariant ? Unbox(value.object) : value;
        if (found.entry != nullptr)
            found.entry->Set(heldKind, held);
        else
            Add(found, keyKind, key, heldKind, held);
    }
    void Remove(Entry& entry);

    size_t Count() const { return count_; }
    const std::vector<Entry>& Entries() const { return entries_; }

    static ClassDefinition& Record(); // of the class

    static bool IsUtf8(const String* string) {
        return string == nullptr || string->encoding == ENCODING_UTF8 || string->encoding == ENCODING_UNKNOWN;
    }
    // Hashes have their highest bit: none is 0, nor the same as that of a place without an entry.
    [[gnu::always_inline]] static uint32_t HashOf(std::string_view text);
    static uint32_t HashOf(uint32_t word) {
        word *= 0x9E3779B1U;
        return (word ^ (word >> 15)) | HIGHEST_BIT;
    }

private:
    static constexpr uint32_t HIGHEST_BIT = 1U << 31;

    template <typename Same>
    [[gnu::always_inline]] Found FindHash(uint32_t hash, bool isOther, Same same) {
        const uint32_t* places = places_.data();
        const uint32_t mask = mask_;
        uint32_t i = hash & mask;
        while (mask != 0 && places[i] != 0) {
            if ((places[i] ^ hash) <= mask) {
                Entry& entry = entries_[(places[i] & mask) - 1];
                if (entry.hash == hash && same(entry)) return {&entry, hash, isOther};
            }
            i = (i + 1) & mask;
        }
        return {nullptr, hash, isOther};
    }

    [[gnu::always_inline]] Found FindText(const String* text) {
        const std::string_view view = StringView(text);
        return FindHash(HashOf(view), false, [text, view](const Entry& entry) {
            if (entry.keyKind != Kind::STRING || entry.isOther) return entry.isOther && IsSame(entry, text);
            return entry.key.string == text || StringView(entry.key.string) == view;
        });
    }
    [[gnu::always_inline]] Found FindInteger(int32_t integer) {
        return FindHash(HashOf(static_cast<uint32_t>(integer)), false, [integer](const Entry& entry) {
            if (entry.keyKind != Kind::INTEGER) return entry.isOther && IsSame(entry, integer);
            return entry.key.integer == integer;
        });
    }
    Found FindOther(Kind kind, const Slot& key);
    static bool IsSame(const Entry& entry, const String* text);
    static bool IsSame(const Entry& entry, int32_t integer);

    void Put(uint32_t hash, size_t number);
    void Rebuild();

    std::vector<Entry> entries_;
    std::vector<uint32_t> places_; // a power of two, at least a quarter of them free
    uint32_t mask_ = 0;            // their number less 1; 0: there are none
    size_t count_ = 0;
};

inline uint32_t hashSeeds[2]; // set when the class is registered: nobody can prepare keys that all meet in one place

// As wyhash does it for 32 bits.
inline uint32_t DictionaryTable::HashOf(std::string_view text) {
    auto wordAt = [](const char* bytes) {
        uint32_t word = 0;
        std::memcpy(&word, bytes, sizeof word);
        return word;
    };
    auto mix = [](uint32_t& a, uint32_t& b) {
        const uint64_t product = uint64_t{a ^ 0x53C5CA59U} * (b ^ 0x74743C1BU);
        a = static_cast<uint32_t>(product);
        b = static_cast<uint32_t>(product >> 32);
    };
    const char* bytes = text.data();
    size_t left = text.size();
    uint32_t a = hashSeeds[0];
    uint32_t b = hashSeeds[1] + static_cast<uint32_t>(left);
    for (; left > 8; left -= 8, bytes += 8) {
        a ^= wordAt(bytes);
        b ^= wordAt(bytes + 4);
        mix(a, b);
    }
    if (left >= 4) {
        a ^= wordAt(bytes);
        b ^= wordAt(bytes + left - 4);
    } else if (left > 0) {
        auto at = [bytes](size_t i) { return uint32_t{static_cast<unsigned char>(bytes[i])}; };
        a ^= (at(0) << 16) | (at(left / 2) << 8) | at(left - 1);
    }
    mix(a, b);
    mix(a, b);
    return (a ^ b) | HIGHEST_BIT;
}

inline int32_t dictionaryOffset = 0; // of each dictionary's data

inline DictionaryTable& TableOf(Object* dictionary) { return DataAt<DictionaryTable>(dictionary, dictionaryOffset); }

} // namespace host
