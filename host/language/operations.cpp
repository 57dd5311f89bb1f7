// Operations of the machine that are too long for its loop.
#include "host/language/operations.h"

#include "host/language/folding.h"
#include "host/language/wide_arithmetic.h"
#include "host/runtime/class.h"
#include "host/runtime/exception.h"
#include "host/runtime/number_text.h"
#include "host/runtime/numbers.h"
#include "host/runtime/variant.h"

#include <algorithm>
#include <cmath>
#include <compare>
#include <limits>

namespace host::language {

namespace {

std::string NameOf(Kind kind, const Slot& value) {
    if (kind == Kind::NOTHING) return "Nil";
    return kind == Kind::OBJECT || kind == Kind::ARRAY ? value.object->cls->name : BuiltInName(kind);
}

std::string NameOf(Object* variant) { return NameOf(VariantKind(variant), {.object = variant}); }

bool Mismatch(const std::string& message) {
    RaiseNew("TypeMismatchException", 0, message);
    return false;
}

bool CannotOperate(VariantOperation operation, Object* left, Object* right) {
    static constexpr const char* SYMBOLS[] = {"+", "-", "*", "/", "\\", "Mod", "^", "=", "<", "<="};
    return Mismatch(std::string("\"") + SYMBOLS[static_cast<size_t>(operation)] + "\" cannot be applied to "
                    + NameOf(left) + " and " + NameOf(right));
}

bool NoResult() {
    RaiseNew("OverflowException", 0, "the result is too large");
    return false;
}

// Two numbers of one kind. The operations are those that the kind has; the divisor is not 0.
bool OperateIntegers(VariantOperation operation, int32_t left, int32_t right, int32_t& result) {
    switch (operation) {
    case VariantOperation::ADD: result = WrappingAdd(left, right); break;
    case VariantOperation::SUBTRACT: result = WrappingSubtract(left, right); break;
    case VariantOperation::MULTIPLY: result = WrappingMultiply(left, right); break;
    case VariantOperation::INTEGER_DIVIDE: result = WrappingDivide(left, right); break;
    default: result = WrappingModulo(left, right); break;
    }
    return true;
}

bool OperateWides(VariantOperation operation, bool isCurrency, int64_t left, int64_t right, int64_t& result) {
    switch (operation) {
    case VariantOperation::ADD: return AddWide(left, right, result);
    case VariantOperation::SUBTRACT: return SubtractWide(left, right, result);
    case VariantOperation::MULTIPLY:
        return isCurrency ? MultiplyCurrency(left, right, result) : MultiplyInt64(left, right, result);
    case VariantOperation::DIVIDE: return DivideCurrency(left, right, result);
    case VariantOperation::INTEGER_DIVIDE: return DivideInt64(left, right, result);
    default: result = ModuloWide(left, right); return true;
    }
}

bool OperateDoubles(VariantOperation operation, double left, double right, double& result) {
    switch (operation) {
    case VariantOperation::ADD: result = left + right; break;
    case VariantOperation::SUBTRACT: result = left - right; break;
    case VariantOperation::MULTIPLY: result = left * right; break;
    case VariantOperation::POWER: result = std::pow(left, right); break;
    case VariantOperation::DIVIDE: result = left / right; break;
    default: result = std::fmod(left, right); break;
    }
    return true;
}

// What an operation on two numbers is computed in; NOTHING when they do not have it.
Kind ComputedIn(VariantOperation operation, Kind left, Kind right) {
    const Kind common = CommonNumber(left, right);
    const bool isWhole = common == Kind::INTEGER || common == Kind::INT64;
    switch (operation) {
    case VariantOperation::DIVIDE: return isWhole ? Kind::DOUBLE : common;
    case VariantOperation::POWER: return common == Kind::CURRENCY ? Kind::NOTHING : Kind::DOUBLE;
    case VariantOperation::INTEGER_DIVIDE: return isWhole ? common : Kind::NOTHING;
    default: return common;
    }
}

bool IsZero(Kind kind, Slot value) {
    if (kind == Kind::INTEGER) return value.integer == 0;
    return kind == Kind::DOUBLE ? value.number == 0 : value.wide == 0;
}

bool Divides(VariantOperation operation) {
    return operation == VariantOperation::DIVIDE || operation == VariantOperation::INTEGER_DIVIDE
           || operation == VariantOperation::MODULO;
}

bool OperateNumbers(VariantOperation operation, Object* left, Object* right, Slot& result) {
    const Kind kind = ComputedIn(operation, VariantKind(left), VariantKind(right));
    if (kind == Kind::NOTHING) return CannotOperate(operation, left, right);
    Slot a{};
    Slot b{};
    if (!ConvertOrRaise(ConversionOf(VariantKind(left), kind), Unbox(left), a)
        || !ConvertOrRaise(ConversionOf(VariantKind(right), kind), Unbox(right), b)) {
        return false;
    }
    if (Divides(operation) && IsZero(kind, b)) {
        RaiseDivisionByZero();
        return false;
    }
    Slot value{};
    bool fits = kind == Kind::INTEGER  ? OperateIntegers(operation, a.integer, b.integer, value.integer)
                : kind == Kind::DOUBLE ? OperateDoubles(operation, a.number, b.number, value.number)
                                       : OperateWides(operation, kind == Kind::CURRENCY, a.wide, b.wide, value.wide);
    if (!fits) return NoResult();
    result.object = Box(kind, value);
    return result.object != nullptr;
}

bool EqualVariants(Object* left, Object* right) {
    const Kind leftKind = VariantKind(left);
    const Kind rightKind = VariantKind(right);
    if (leftKind == Kind::INTEGER && rightKind == Kind::INTEGER) return UnboxInteger(left) == UnboxInteger(right);
    if (IsNumber(leftKind) && IsNumber(rightKind)) {
        return std::is_eq(CompareNumbers(leftKind, Unbox(left), rightKind, Unbox(right)));
    }
    if (leftKind != rightKind) return false;
    if (leftKind == Kind::STRING) return CompareStrings(UnboxString(left), UnboxString(right)) == 0;
    if (leftKind == Kind::BOOLEAN) return (UnboxInteger(left) != 0) == (UnboxInteger(right) != 0);
    return left == right;
}

// Nothing is lost: what becomes an Integer or Int64 has no fraction, what becomes a Currency at most four decimals, and
// a Currency becomes nothing else.
bool ConvertWithoutLoss(Kind from, Slot value, Kind to, Slot& result) {
    if (from == Kind::CURRENCY || !IsNumber(from)) return false;
    if (from == Kind::DOUBLE && to == Kind::CURRENCY && !ExactCurrencyOf(value.number)) return false;
    Slot converted{};
    if (!ConvertNumber(from, value, to, converted) || std::is_neq(CompareNumbers(from, value, to, converted)))
        return false;
    result = converted;
    return true;
}

} // namespace

bool ConvertOrRaise(uint16_t kinds, Slot value, Slot& result) {
    const auto from = static_cast<Kind>(kinds >> 8);
    const auto to = static_cast<Kind>(kinds & 0xFF);
    if (ConvertNumber(from, value, to, result)) return true;
    const bool isInexact = from == Kind::INT64 && to == Kind::DOUBLE;
    RaiseNew("OverflowException", 0,
             isInexact ? "no Double is " + NumberText(from, value)
                       : NumberText(from, value) + " does not fit " + (to == Kind::CURRENCY ? "a " : "an ")
                             + BuiltInName(to));
    return false;
}

bool OperateVariants(VariantOperation operation, Object* left, Object* right, Slot& result) {
    Kind leftKind = VariantKind(left);
    Kind rightKind = VariantKind(right);
    if (leftKind == Kind::INTEGER && rightKind == Kind::INTEGER && operation <= VariantOperation::MULTIPLY) {
        int32_t value = 0;
        OperateIntegers(operation, UnboxInteger(left), UnboxInteger(right), value);
        result.object = BoxInteger(value);
        return result.object != nullptr;
    }
    bool areNumbers = IsNumber(leftKind) && IsNumber(rightKind);
    bool areStrings = leftKind == Kind::STRING && rightKind == Kind::STRING;
    if (operation == VariantOperation::EQUAL) {
        result.integer = static_cast<int32_t>(EqualVariants(left, right));
        return true;
    }
    if (operation == VariantOperation::LESS || operation == VariantOperation::LESS_EQUAL) {
        bool areComparable = areStrings || (areNumbers && CommonNumber(leftKind, rightKind) != Kind::NOTHING);
        if (!areComparable) return CannotOperate(operation, left, right);
        std::partial_ordering order = areNumbers ? CompareNumbers(leftKind, Unbox(left), rightKind, Unbox(right))
                                                 : CompareStrings(UnboxString(left), UnboxString(right)) <=> 0;
        result.integer =
            static_cast<int32_t>(operation == VariantOperation::LESS ? std::is_lt(order) : std::is_lteq(order));
        return true;
    }
    if (operation == VariantOperation::ADD && areStrings) {
        StringRef joined = StringRef::Adopt(AddStrings(UnboxString(left), UnboxString(right)));
        result.object = IsExceptionPending() ? nullptr : BoxString(joined.Get());
        return result.object != nullptr;
    }
    return areNumbers ? OperateNumbers(operation, left, right, result) : CannotOperate(operation, left, right);
}

bool AddInteger(Object* left, int32_t right, Slot& result) {
    if (VariantKind(left) == Kind::INTEGER) {
        Object* box = BoxInteger(WrappingAdd(UnboxInteger(left), right));
        if (box != nullptr) result.object = box;
        return box != nullptr;
    }
    ObjectRef box = ObjectRef::Adopt(BoxInteger(right));
    return box && OperateVariants(VariantOperation::ADD, left, box.Get(), result);
}

bool ConvertTo(Kind kind, Kind actual, const Slot& value, Slot& result) {
    if (kind == actual) {
        CopySlot(result, value);
        if (kind == Kind::STRING) LockString(result.string);
        return true;
    }
    if (IsNumber(kind) && ConvertWithoutLoss(actual, value, kind, result)) return true;
    return Mismatch("the Variant holds " + NameOf(actual, value) + ", not " + BuiltInName(kind));
}

bool UnboxTo(Kind kind, Object* variant, Slot& result) {
    return ConvertTo(kind, VariantKind(variant), Unbox(variant), result);
}

bool CutToInteger(double number, int32_t& result) {
    bool fits = number > -2147483649.0 && number < 2147483648.0;
    if (fits)
        result = static_cast<int32_t>(number);
    else
        RaiseNew("OverflowException", 0, NumberText(number) + " does not fit an Integer");
    return fits;
}

bool ResizeToBound(Array& array, int32_t bound) {
    // An array cannot be longer than that; there is no memory for it either.
    if (bound == std::numeric_limits<int32_t>::max()) bound--;
    return ArrayResize(&array, bound < 0 ? 0 : bound + 1);
}

int32_t FindInArray(const Array& array, Slot value) {
    for (int32_t i = 0; i < array.count; ++i) {
        Slot element = ArrayGet(&array, i);
        bool isEqual = false;
        switch (array.element) {
        case Kind::INTEGER: isEqual = element.integer == value.integer; break;
        case Kind::BOOLEAN: isEqual = (element.integer != 0) == (value.integer != 0); break;
        case Kind::DOUBLE: isEqual = element.number == value.number; break;
        case Kind::INT64:
        case Kind::CURRENCY: isEqual = element.wide == value.wide; break;
        case Kind::STRING: isEqual = CompareStrings(element.string, value.string) == 0; break;
        case Kind::VARIANT: isEqual = EqualVariants(element.object, value.object); break;
        default: isEqual = element.object == value.object; break;
        }
        if (isEqual) return i;
    }
    return -1;
}

void RaiseOutOfBounds(int32_t index, const Array* array) {
    RaiseNew("OutOfBoundsException", 0,
             "index " + std::to_string(index) + " of an array of " + std::to_string(array->count));
}

void RaiseDivisionByZero() { RaiseNew("DivisionByZeroException", 0, "division by zero"); }

void RaiseNilObject(std::string_view what) { RaiseNew("NilObjectException", 0, what); }

std::string TextOf(Kind kind, Slot value) {
    if (IsNumber(kind)) return NumberText(kind, value);
    switch (kind) {
    case Kind::BOOLEAN: return value.integer != 0 ? "True" : "False";
    case Kind::STRING: return std::string(StringView(value.string));
    case Kind::VARIANT: {
        const Kind held = VariantKind(value.object);
        bool isObject = held == Kind::NOTHING || held == Kind::OBJECT || held == Kind::ARRAY;
        return isObject ? NameOf(value.object) : TextOf(held, Unbox(value.object));
    }
    default: return value.object == nullptr ? "Nil" : value.object->cls->name;
    }
}

std::string Abridged(Kind kind, Slot value) {
    constexpr size_t MAX_TEXT = 40;
    if (kind == Kind::VARIANT) {
        Kind held = VariantKind(value.object);
        if (held == Kind::STRING) return Abridged(held, {.string = UnboxString(value.object)});
    }
    switch (kind) {
    case Kind::STRING: {
        std::string text(StringView(value.string));
        if (text.size() > MAX_TEXT) {
            size_t end = MAX_TEXT;
            while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
            text = text.substr(0, end) + "…";
        }
        std::string quoted = "\"";
        for (char byte : text) {
            if (byte == '"') quoted += '"';
            quoted += static_cast<unsigned char>(byte) < 0x20 ? ' ' : byte;
        }
        return quoted + "\"";
    }
    default: return TextOf(kind, value);
    }
}

void ReleaseSlot(Slot slot, Storage storage) {
    if (storage == Storage::STRING) UnlockString(slot.string);
    if (storage == Storage::OBJECT) UnlockObject(slot.object);
}

void ReleaseResult(Kind kind, Slot value) {
    if (kind == Kind::STRING) UnlockString(value.string);
    if (kind == Kind::OBJECT || kind == Kind::VARIANT || kind == Kind::ARRAY) UnlockObject(value.object);
}

void RaiseMismatch(const Object* object, const std::string& wanted) {
    RaiseNew("TypeMismatchException", 0, "a " + object->cls->name + " is not a " + wanted);
}

} // namespace host::language
