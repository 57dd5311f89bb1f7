// Values of the host language.
#pragma once

#include "host/runtime/array.h"
#include "host/runtime/call.h"
#include "host/runtime/object.h"
#include "host/runtime/string.h"

#include <concepts>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace host {

inline void LockValue(Kind kind, const Slot& slot) {
    if (kind == Kind::STRING) LockString(slot.string);
    if (HoldsObject(kind)) LockObject(slot.object);
}

inline void UnlockValue(Kind kind, const Slot& slot) {
    if (kind == Kind::STRING) UnlockString(slot.string);
    if (HoldsObject(kind)) UnlockObject(slot.object);
}

// A value that owns what it refers to, for C++ code that works with objects dynamically.
class Value {
public:
    Value() = default; // Kind::NOTHING; as an argument: nil
    Value(int32_t value) : kind_(Kind::INTEGER) { slot_.integer = value; }
    Value(int64_t value) : kind_(Kind::INT64) { slot_.wide = value; }
    Value(Currency value) : kind_(Kind::CURRENCY) { slot_.wide = value.units; }
    Value(std::same_as<bool> auto value) : kind_(Kind::BOOLEAN) { slot_.integer = value; }
    Value(double value) : kind_(Kind::DOUBLE) { slot_.number = value; }
    Value(std::string_view utf8) : Value(StringRef(utf8)) {}
    Value(const char* utf8) : Value(StringRef(std::string_view(utf8))) {}
    Value(const std::string& utf8) : Value(StringRef(std::string_view(utf8))) {}
    Value(StringRef string) : kind_(Kind::STRING) { slot_.string = string.Detach(); }
    Value(ObjectRef object) : kind_(Kind::OBJECT) { slot_.object = object.Detach(); }
    Value(const std::vector<std::string>& strings); // a string array

    Value(const Value& other) : kind_(other.kind_) {
        CopySlot(slot_, other.slot_);
        LockValue(kind_, slot_);
    }
    Value(Value&& other) noexcept : kind_(other.kind_) {
        CopySlot(slot_, other.slot_);
        other.kind_ = Kind::NOTHING;
    }
    Value& operator=(Value other) noexcept {
        std::swap(kind_, other.kind_);
        std::swap(slot_, other.slot_);
        return *this;
    }
    ~Value() { UnlockValue(kind_, slot_); }

    // Takes over the reference in the slot / adds one.
    static Value Adopt(Kind kind, const Slot& slot) { return Value(kind, slot); }
    static Value Share(Kind kind, const Slot& slot) {
        LockValue(kind, slot);
        return Value(kind, slot);
    }

    Kind GetKind() const { return kind_; }
    const Slot& Get() const { return slot_; } // borrowed
    Slot Detach();                            // the reference passes to the caller

    // The content; 0, "" or nil if the value is of another kind.
    int32_t Integer() const { return kind_ == Kind::INTEGER || kind_ == Kind::BOOLEAN ? slot_.integer : 0; }
    bool Boolean() const { return Integer() != 0; }
    double Double() const { return kind_ == Kind::DOUBLE ? slot_.number : 0; }
    StringRef GetString() const;
    std::string Text() const { return std::string(GetString().View()); }
    ObjectRef GetObject() const;

private:
    Value(Kind kind, const Slot& slot) : kind_(kind) { CopySlot(slot_, slot); }

    Kind kind_ = Kind::NOTHING;
    Slot slot_{};
};

} // namespace host
