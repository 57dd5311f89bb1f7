// Values: ownership and conversion.
#include "host/runtime/value.h"

namespace host {

Value::Value(const std::vector<std::string>& strings) : kind_(Kind::ARRAY) {
    Array* array = NewArray(TypeNamed("String"), static_cast<int32_t>(strings.size()));
    for (size_t i = 0; (array != nullptr) && i < strings.size(); ++i)
        array->Strings()[i] = StringRef(strings[i]).Detach();
    slot_.object = array;
}

Slot Value::Detach() {
    kind_ = Kind::NOTHING;
    return slot_;
}

StringRef Value::GetString() const { return kind_ == Kind::STRING ? StringRef::Share(slot_.string) : StringRef(); }

ObjectRef Value::GetObject() const { return HoldsObject(kind_) ? ObjectRef::Share(slot_.object) : ObjectRef(); }

} // namespace host
