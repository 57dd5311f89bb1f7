// Sorts arrays.
#include "host/language/sorting.h"

#include "host/language/operations.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <vector>

namespace host::language {

namespace {

// NaN stands behind all numbers, so that sorting has an order to go by.
bool IsBefore(double left, double right) { return left < right || (std::isnan(right) && !std::isnan(left)); }

Storage StorageOf(Kind kind) {
    if (kind == Kind::STRING) return Storage::STRING;
    return kind == Kind::OBJECT || kind == Kind::VARIANT ? Storage::OBJECT : Storage::PLAIN;
}

// Values that are kept alive, whatever the functions called meanwhile do.
class Values {
public:
    explicit Values(Storage storage) : storage_(storage) {}
    ~Values() {
        for (Slot slot : slots) ReleaseSlot(slot, storage_);
    }
    Values(const Values&) = delete;
    Values& operator=(const Values&) = delete;

    std::vector<Slot> slots;

private:
    Storage storage_;
};

using Order = std::vector<uint32_t>;
using Before = std::function<bool(uint32_t left, uint32_t right)>;

// Merges ever longer runs. Unlike the standard's it puts up with a function that knows no order.
void SortOrder(Order& order, const Before& isBefore) {
    Order merged(order.size());
    for (size_t width = 1; width < order.size(); width *= 2) {
        for (size_t begin = 0; begin < order.size(); begin += 2 * width) {
            size_t middle = std::min(begin + width, order.size());
            size_t end = std::min(begin + 2 * width, order.size());
            size_t left = begin;
            size_t right = middle;
            for (size_t i = begin; i < end; ++i) {
                bool takesRight = left == middle || (right < end && isBefore(order[right], order[left]));
                merged[i] = order[takesRight ? right++ : left++];
            }
        }
        order.swap(merged);
    }
}

bool KeyIsBefore(Kind kind, Slot left, Slot right) {
    if (kind == Kind::STRING) return StringView(left.string) < StringView(right.string);
    if (kind == Kind::DOUBLE) return IsBefore(left.number, right.number);
    return IsWide(kind) ? left.wide < right.wide : left.integer < right.integer;
}

} // namespace

void SortArray(Array& array) {
    if (array.element == Kind::INTEGER || array.element == Kind::BOOLEAN) {
        std::sort(array.Integers(), array.Integers() + array.count);
    } else if (array.element == Kind::DOUBLE) {
        std::sort(array.Numbers(), array.Numbers() + array.count, IsBefore);
    } else if (IsWide(array.element)) {
        std::sort(array.Wides(), array.Wides() + array.count);
    } else if (array.element == Kind::STRING) {
        std::stable_sort(array.Strings(), array.Strings() + array.count,
                         [](const String* left, const String* right) { return StringView(left) < StringView(right); });
    }
}

bool SortArrayBy(Array& array, Delegate& delegate, DelegateCall call) {
    Values elements(StorageOf(array.element));
    for (int32_t i = 0; i < array.count; ++i) {
        Slot element = ArrayGet(&array, i);
        if (StorageOf(array.element) == Storage::STRING) LockString(element.string);
        if (StorageOf(array.element) == Storage::OBJECT) LockObject(element.object);
        elements.slots.push_back(element);
    }
    const ObjectRef held = ObjectRef::Share(&delegate);
    const Kind keyKind = delegate.code->resultKind;
    Values keys(StorageOf(keyKind));
    Order order(elements.slots.size());
    std::iota(order.begin(), order.end(), 0U);
    bool isCompared = delegate.code->parameters.size() == 3;
    for (size_t i = 0; !isCompared && i < order.size() && !IsExceptionPending(); ++i) {
        Slot arguments[2] = {{}, elements.slots[i]};
        call(delegate, arguments, &keys.slots.emplace_back());
    }
    SortOrder(order, [&](uint32_t left, uint32_t right) {
        if (IsExceptionPending()) return false;
        if (!isCompared) return KeyIsBefore(keyKind, keys.slots[left], keys.slots[right]);
        Slot arguments[3] = {{}, elements.slots[left], elements.slots[right]};
        Slot result{};
        call(delegate, arguments, &result);
        return result.integer < 0;
    });
    if (IsExceptionPending()) return false;
    if (static_cast<size_t>(array.count) != order.size()) {
        RaiseNew("IllegalArgumentException", 0, "the array was changed while it was sorted");
        return false;
    }
    // The array takes over the references, and the old ones go.
    for (size_t i = 0; i < order.size(); ++i) {
        ArraySet(&array, static_cast<int32_t>(i), std::exchange(elements.slots[order[i]], Slot{}));
    }
    return true;
}

} // namespace host::language
