// Operations of the machine that are too long for its loop.
#include "host/language/operations.h"

#include "host/language/folding.h"
#include "host/runtime/class.h"
#include "host/runtime/exception.h"
#include "host/runtime/number_text.h"
#include "host/runtime/variant.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace host::language {

namespace {

bool IsNumber(Kind kind) { return kind == Kind::INTEGER || kind == Kind::DOUBLE; }

double NumberOf(Kind kind, Object* variant) {
    return kind == Kind::INTEGER ? UnboxInteger(variant) : UnboxDouble(variant);
}

std::string NameOf(Object* variant) {
    switch (VariantKind(variant)) {
    case Kind::NOTHING: return "Nil";
    case Kind::INTEGER: return "Integer";
    case Kind::BOOLEAN: return "Boolean";
    case Kind::DOUBLE: return "Double";
    case Kind::STRING: return "String";
    default: return variant->cls->name;
    }
}

bool Mismatch(const std::string& message) {
    RaiseNew("TypeMismatchException", 0, message);
    return false;
}

bool CannotOperate(VariantOperation operation, Object* left, Object* right) {
    static constexpr const char* SYMBOLS[] = {"+", "-", "*", "/", "\\", "Mod", "^", "=", "<", "<="};
    return Mismatch(std::string("\"") + SYMBOLS[static_cast<size_t>(operation)] + "\" cannot be applied to "
                    + NameOf(left) + " and " + NameOf(right));
}

bool OperateIntegers(VariantOperation operation, int32_t left, int32_t right, Slot& result) {
    int32_t value = 0;
    switch (operation) {
    case VariantOperation::ADD: value = WrappingAdd(left, right); break;
    case VariantOperation::SUBTRACT: value = WrappingSubtract(left, right); break;
    case VariantOperation::MULTIPLY: value = WrappingMultiply(left, right); break;
    case VariantOperation::INTEGER_DIVIDE:
        if (!DivideIntegers(left, right, value)) return false;
        break;
    default:
        if (!ModuloIntegers(left, right, value)) return false;
        break;
    }
    result.object = BoxInteger(value);
    return result.object != nullptr;
}

bool OperateDoubles(VariantOperation operation, double left, double right, Slot& result) {
    double value = 0;
    switch (operation) {
    case VariantOperation::ADD: value = left + right; break;
    case VariantOperation::SUBTRACT: value = left - right; break;
    case VariantOperation::MULTIPLY: value = left * right; break;
    case VariantOperation::POWER: value = std::pow(left, right); break;
    case VariantOperation::DIVIDE:
        if (!DivideDoubles(left, right, value)) return false;
        break;
    default:
        if (!ModuloDoubles(left, right, value)) return false;
        break;
    }
    result.object = BoxDouble(value);
    return result.object != nullptr;
}

bool EqualVariants(Object* left, Kind leftKind, Object* right, Kind rightKind) {
    if (IsNumber(leftKind) && IsNumber(rightKind)) return NumberOf(leftKind, left) == NumberOf(rightKind, right);
    if (leftKind != rightKind) return false;
    if (leftKind == Kind::STRING) return CompareStrings(UnboxString(left), UnboxString(right)) == 0;
    if (leftKind == Kind::BOOLEAN) return (UnboxInteger(left) != 0) == (UnboxInteger(right) != 0);
    return left == right;
}

} // namespace

bool DivideIntegers(int32_t left, int32_t right, int32_t& result) {
    if (right == 0) {
        RaiseNew("DivisionByZeroException", 0, "division by zero");
        return false;
    }
    result = WrappingDivide(left, right);
    return true;
}

bool ModuloIntegers(int32_t left, int32_t right, int32_t& result) {
    if (right == 0) {
        RaiseNew("DivisionByZeroException", 0, "division by zero");
        return false;
    }
    result = WrappingModulo(left, right);
    return true;
}

bool DivideDoubles(double left, double right, double& result) {
    if (right == 0) {
        RaiseNew("DivisionByZeroException", 0, "division by zero");
        return false;
    }
    result = left / right;
    return true;
}

bool ModuloDoubles(double left, double right, double& result) {
    if (right == 0) {
        RaiseNew("DivisionByZeroException", 0, "division by zero");
        return false;
    }
    result = std::fmod(left, right);
    return true;
}

bool OperateVariants(VariantOperation operation, Object* left, Object* right, Slot& result) {
    Kind leftKind = VariantKind(left);
    Kind rightKind = VariantKind(right);
    bool areNumbers = IsNumber(leftKind) && IsNumber(rightKind);
    bool areStrings = leftKind == Kind::STRING && rightKind == Kind::STRING;
    if (operation == VariantOperation::EQUAL) {
        result.integer = static_cast<int32_t>(EqualVariants(left, leftKind, right, rightKind));
        return true;
    }
    if (operation == VariantOperation::LESS || operation == VariantOperation::LESS_EQUAL) {
        if (!areNumbers && !areStrings) return CannotOperate(operation, left, right);
        double leftNumber =
            areNumbers ? NumberOf(leftKind, left) : CompareStrings(UnboxString(left), UnboxString(right));
        double rightNumber = areNumbers ? NumberOf(rightKind, right) : 0;
        result.integer = static_cast<int32_t>(operation == VariantOperation::LESS ? leftNumber < rightNumber
                                                                                  : leftNumber <= rightNumber);
        return true;
    }
    if (operation == VariantOperation::ADD && areStrings) {
        StringRef joined = StringRef::Adopt(AddStrings(UnboxString(left), UnboxString(right)));
        result.object = IsExceptionPending() ? nullptr : BoxString(joined.Get());
        return result.object != nullptr;
    }
    if (!areNumbers) return CannotOperate(operation, left, right);
    bool areIntegers = leftKind == Kind::INTEGER && rightKind == Kind::INTEGER;
    bool isIntegral = operation == VariantOperation::ADD || operation == VariantOperation::SUBTRACT
                      || operation == VariantOperation::MULTIPLY || operation == VariantOperation::MODULO;
    if (operation == VariantOperation::INTEGER_DIVIDE && !areIntegers) return CannotOperate(operation, left, right);
    if (areIntegers && (isIntegral || operation == VariantOperation::INTEGER_DIVIDE)) {
        return OperateIntegers(operation, UnboxInteger(left), UnboxInteger(right), result);
    }
    return OperateDoubles(operation, NumberOf(leftKind, left), NumberOf(rightKind, right), result);
}

bool UnboxTo(Kind kind, Object* variant, Slot& result) {
    static constexpr const char* NAMES[] = {"nothing", "Integer", "Boolean", "Double", "String"};
    Kind actual = VariantKind(variant);
    if (kind == Kind::DOUBLE && IsNumber(actual)) {
        result.number = NumberOf(actual, variant);
        return true;
    }
    if (kind == Kind::INTEGER && actual == Kind::DOUBLE) {
        double number = UnboxDouble(variant);
        result.integer = ToInteger(number);
        if (result.integer == number) return true;
    } else if (kind == actual && kind == Kind::STRING) {
        result.string = UnboxString(variant);
        LockString(result.string);
        return true;
    } else if (kind == actual) {
        result.integer = UnboxInteger(variant);
        return true;
    }
    return Mismatch("the Variant holds " + NameOf(variant) + ", not " + NAMES[static_cast<size_t>(kind)]);
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
        case Kind::STRING: isEqual = CompareStrings(element.string, value.string) == 0; break;
        case Kind::VARIANT:
            isEqual =
                EqualVariants(element.object, VariantKind(element.object), value.object, VariantKind(value.object));
            break;
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

void RaiseNilObject(std::string_view what) { RaiseNew("NilObjectException", 0, what); }

std::string TextOfVariant(Object* variant) {
    switch (VariantKind(variant)) {
    case Kind::INTEGER: return std::to_string(UnboxInteger(variant));
    case Kind::BOOLEAN: return UnboxInteger(variant) != 0 ? "True" : "False";
    case Kind::DOUBLE: return NumberText(UnboxDouble(variant));
    case Kind::STRING: return std::string(StringView(UnboxString(variant)));
    default: return NameOf(variant);
    }
}

std::string Abridged(Kind kind, Slot value) {
    constexpr size_t MAX_TEXT = 40;
    if (kind == Kind::VARIANT) {
        Kind held = VariantKind(value.object);
        if (held == Kind::STRING) return Abridged(held, {.string = UnboxString(value.object)});
        return TextOfVariant(value.object);
    }
    switch (kind) {
    case Kind::INTEGER: return std::to_string(value.integer);
    case Kind::BOOLEAN: return value.integer != 0 ? "True" : "False";
    case Kind::DOUBLE: return NumberText(value.number);
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
    default: return value.object == nullptr ? "Nil" : value.object->cls->name;
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
