// Boxes of the values in Variants.
#include "host/runtime/variant.h"

#include "host/runtime/class_program.h"

namespace host {

namespace {

struct IntegerBox : Object {
    int32_t value;
};
struct DoubleBox : Object {
    double value;
};
struct WideBox : Object {
    int64_t value;
};
struct StringBox : Object {
    String* value;
};

void FreeStringBox(Object* object, Class*) { UnlockString(static_cast<StringBox*>(object)->value); }

template <typename Box>
Class* MakeBoxClass(const char* name, Kind kind, ClassHook destructor) {
    Class* cls = DefineInternalClass(name, static_cast<int32_t>(sizeof(Box) - sizeof(Object)), destructor);
    cls->boxKind = kind;
    return cls;
}

template <typename Box, Kind KIND, typename T>
Object* MakeBox(const char* name, T value, ClassHook destructor = nullptr) {
    static Class* const cls = MakeBoxClass<Box>(name, KIND, destructor);
    auto* box = static_cast<Box*>(NewObject(cls));
    if (box) box->value = value;
    return box;
}

} // namespace

Object* BoxInteger(int32_t value) { return MakeBox<IntegerBox, Kind::INTEGER>("Integer in a Variant", value); }
Object* BoxBoolean(int32_t value) { return MakeBox<IntegerBox, Kind::BOOLEAN>("Boolean in a Variant", value); }
Object* BoxDouble(double value) { return MakeBox<DoubleBox, Kind::DOUBLE>("Double in a Variant", value); }

Object* BoxString(String* value) {
    Object* box = MakeBox<StringBox, Kind::STRING>("String in a Variant", value, FreeStringBox);
    if (box != nullptr) LockString(value);
    return box;
}

Object* BoxInt64(int64_t value) { return MakeBox<WideBox, Kind::INT64>("Int64 in a Variant", value); }

Object* Box(Kind kind, Slot value) {
    switch (kind) {
    case Kind::INTEGER: return BoxInteger(value.integer);
    case Kind::BOOLEAN: return BoxBoolean(value.integer);
    case Kind::DOUBLE: return BoxDouble(value.number);
    case Kind::STRING: return BoxString(value.string);
    case Kind::INT64: return BoxInt64(value.wide);
    case Kind::CURRENCY: return MakeBox<WideBox, Kind::CURRENCY>("Currency in a Variant", value.wide);
    default: LockObject(value.object); return value.object;
    }
}

Kind VariantKind(const Object* variant) {
    if (variant == nullptr) return Kind::NOTHING;
    Kind kind = variant->cls->boxKind;
    return kind == Kind::NOTHING ? Kind::OBJECT : kind;
}

int32_t UnboxInteger(Object* box) { return static_cast<IntegerBox*>(box)->value; }
double UnboxDouble(Object* box) { return static_cast<DoubleBox*>(box)->value; }
String* UnboxString(Object* box) { return static_cast<StringBox*>(box)->value; }
int64_t UnboxWide(Object* box) { return static_cast<WideBox*>(box)->value; }

Slot Unbox(Object* variant) {
    switch (VariantKind(variant)) {
    case Kind::INTEGER:
    case Kind::BOOLEAN: return {.integer = UnboxInteger(variant)};
    case Kind::DOUBLE: return {.number = UnboxDouble(variant)};
    case Kind::INT64:
    case Kind::CURRENCY: return {.wide = UnboxWide(variant)};
    case Kind::STRING: return {.string = UnboxString(variant)};
    default: return {.object = variant};
    }
}

} // namespace host
