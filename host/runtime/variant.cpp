// Boxes of the values in Variants.
#include "host/runtime/variant.h"

#include "host/runtime/class_program.h"
#include "host/runtime/exception.h"
#include "host/runtime/small_blocks.h"

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

template <typename Box>
Class* MakeBoxClass(const char* name, Kind kind) {
    Class* cls = DefineInternalClass(name, static_cast<int32_t>(sizeof(Box) - sizeof(Object)), nullptr);
    cls->boxKind = kind;
    return cls;
}

// Boxes are made and freed without the ways of objects: they have neither constructors nor destructors.
template <typename Box, Kind KIND, typename T>
Object* MakeBox(const char* name, T value) {
    static Class* const cls = MakeBoxClass<Box>(name, KIND);
    auto* box = static_cast<Box*>(SmallBlocks::Allocate(sizeof(Box)));
    if (box == nullptr) {
        RaiseOutOfMemory();
        return nullptr;
    }
    box->cls = cls;
    box->references = 1;
    box->value = value;
    ++cls->liveCount;
    return box;
}

} // namespace

Object* BoxInteger(int32_t value) { return MakeBox<IntegerBox, Kind::INTEGER>("Integer in a Variant", value); }
Object* BoxBoolean(int32_t value) { return MakeBox<IntegerBox, Kind::BOOLEAN>("Boolean in a Variant", value); }
Object* BoxDouble(double value) { return MakeBox<DoubleBox, Kind::DOUBLE>("Double in a Variant", value); }

Object* BoxString(String* value) {
    Object* box = MakeBox<StringBox, Kind::STRING>("String in a Variant", value);
    if (box != nullptr) LockString(value);
    return box;
}

Object* BoxInt64(int64_t value) { return MakeBox<WideBox, Kind::INT64>("Int64 in a Variant", value); }

void FreeBox(Object* box) {
    Class* cls = box->cls;
    if (cls->boxKind == Kind::STRING) UnlockString(static_cast<StringBox*>(box)->value);
    --cls->liveCount;
    SmallBlocks::Free(box, static_cast<size_t>(cls->objectSize));
}

Object* Box(Kind kind, const Slot& value) {
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
