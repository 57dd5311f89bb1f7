// Values: ownership and conversion.
#include "host/runtime/value.h"

namespace host {

namespace {

void Lock(Kind kind, const Slot& slot) {
    if (kind == Kind::STRING) LockString(slot.string);
    if (HoldsObject(kind)) LockObject(slot.object);
}

} // namespace

Value::Value(const std::vector<std::string>& strings) : kind_(Kind::ARRAY) {
    Array* array = NewArray(TypeNamed("String"), static_cast<int32_t>(strings.size()));
    for (size_t i = 0; (array != nullptr) && i < strings.size(); ++i)
        array->Strings()[i] = StringRef(strings[i]).Detach();
    slot_.object = array;
}

Value::Value(const Value& other) : kind_(other.kind_), slot_(other.slot_) { Lock(kind_, slot_); }

Value& Value::operator=(Value other) noexcept {
    std::swap(kind_, other.kind_);
    std::swap(slot_, other.slot_);
    return *this;
}

Value Value::Adopt(Kind kind, const Slot& slot) {
    Value value;
    value.kind_ = kind;
    CopySlot(value.slot_, slot);
    return value;
}

Value Value::Share(Kind kind, const Slot& slot) {
    Lock(kind, slot);
    return Adopt(kind, slot);
}

Slot Value::Detach() {
    kind_ = Kind::NOTHING;
    return slot_;
}

StringRef Value::GetString() const { return kind_ == Kind::STRING ? StringRef::Share(slot_.string) : StringRef(); }

ObjectRef Value::GetObject() const { return HoldsObject(kind_) ? ObjectRef::Share(slot_.object) : ObjectRef(); }

} // namespace host
