// Calls through libffi, and directly where words are all that is passed.
#include "host/runtime/call.h"

#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <unordered_map>
#include <utility>

namespace host {

namespace {

// The arguments of most calls fit on the stack.
constexpr size_t FEW_ARGUMENTS = 16;

ffi_type* FfiType(Kind kind) {
    switch (kind) {
    case Kind::NOTHING: return &ffi_type_void;
    case Kind::DOUBLE: return &ffi_type_double;
    case Kind::INT64:
    case Kind::CURRENCY: return &ffi_type_sint64;
    default: return &ffi_type_sint32;
    }
}

// Only the width matters, so most signatures share a shape.
char KindCode(Kind kind) {
    if (kind == Kind::NOTHING) return 'v';
    if (kind == Kind::DOUBLE) return 'd';
    return IsWide(kind) ? 'l' : 'w';
}

std::vector<Kind> ArgumentKinds(const Signature& signature, bool withObject) {
    std::vector<Kind> kinds;
    if (withObject) kinds.push_back(Kind::OBJECT);
    for (const FormalParameter& parameter : signature.parameters) {
        kinds.push_back(parameter.byRef ? Kind::INTEGER : parameter.type.kind);
    }
    return kinds;
}

// cdecl passes words alike whatever they mean, and drops of a result what is not there.
template <size_t... INDEX>
int32_t CallWithWords(void* function, const Slot* arguments, std::index_sequence<INDEX...>) {
    using Function = int32_t (*)(decltype(static_cast<void>(INDEX), int32_t())...);
    return reinterpret_cast<Function>(function)(arguments[INDEX].integer...);
}

template <size_t COUNT>
int32_t CallWithCount(void* function, const Slot* arguments) {
    return CallWithWords(function, arguments, std::make_index_sequence<COUNT>());
}

// Calls of this many words and no wide argument or result, which are nearly all, go straight to the function.
constexpr std::array WORD_CALLS = {CallWithCount<0>, CallWithCount<1>, CallWithCount<2>, CallWithCount<3>,
                                   CallWithCount<4>, CallWithCount<5>, CallWithCount<6>};

} // namespace

const CallShape* ShapeOf(const std::vector<Kind>& arguments, Kind result) {
    static auto& shapes = *new std::unordered_map<std::string, std::unique_ptr<CallShape>>;
    std::string key;
    for (Kind kind : arguments) key += KindCode(kind);
    key += KindCode(result);
    std::unique_ptr<CallShape>& shape = shapes[key];
    if (shape) return shape.get();

    shape = std::make_unique<CallShape>();
    shape->result = result == Kind::NOTHING || IsWide(result) ? result : Kind::INTEGER;
    for (Kind kind : arguments) {
        shape->isWide.push_back(IsWide(kind) ? 1 : 0);
        shape->types.push_back(FfiType(kind));
    }
    bool hasWide = IsWide(result) || std::any_of(arguments.begin(), arguments.end(), IsWide);
    if (!hasWide && arguments.size() < WORD_CALLS.size()) shape->wordCall = WORD_CALLS[arguments.size()];
    if (ffi_prep_cif(&shape->cif, FFI_DEFAULT_ABI, static_cast<unsigned>(arguments.size()), FfiType(result),
                     shape->types.data())
        != FFI_OK) {
        throw std::logic_error("libffi refuses a call of shape " + key);
    }
    return shape.get();
}

const CallShape* ShapeOf(const Signature& signature, bool withObject) {
    return ShapeOf(ArgumentKinds(signature, withObject), signature.result.kind);
}

const CallShape* SetterShapeOf(const Signature& signature, bool withObject) {
    std::vector<Kind> kinds = ArgumentKinds(signature, withObject);
    kinds.push_back(signature.result.kind);
    return ShapeOf(kinds, Kind::NOTHING);
}

// Not by ffi_raw_call, which would take the words as they are: that of libffi 3.4 damages the fourth word on i386.
void CallThroughFfi(const CallShape& shape, void* function, const Slot* arguments, Slot* result) {
    const size_t count = shape.types.size();
    void* few[FEW_ARGUMENTS];
    std::vector<void*> many;
    void** values = few;
    if (count > FEW_ARGUMENTS) {
        many.resize(count);
        values = many.data();
    }
    for (size_t i = 0; i < count; ++i) values[i] = const_cast<Slot*>(&arguments[i]);
    auto* cif = const_cast<ffi_cif*>(&shape.cif); // libffi only reads it
    ffi_call(cif, reinterpret_cast<void (*)()>(function), result, values);
}

Closure::Closure(const CallShape* shape, ClosureCallback callback, void* context)
    : shape_(shape), callback_(callback), context_(context) {
    memory_ = static_cast<ffi_raw_closure*>(ffi_closure_alloc(sizeof(ffi_raw_closure), &function_));
    if (memory_ == nullptr) throw std::bad_alloc();
    if (ffi_prep_raw_closure_loc(memory_, const_cast<ffi_cif*>(&shape->cif), Enter, this, function_) != FFI_OK) {
        ffi_closure_free(memory_);
        throw std::logic_error("libffi refuses a closure");
    }
}

Closure::~Closure() { ffi_closure_free(memory_); }

inline void Closure::CallBack(const Slot* arguments, Slot& value) const {
    if (!IsExceptionPending()) [[likely]]
        return callback_(context_, arguments, &value);
    SuspendedException suspended;
    callback_(context_, arguments, &value);
}

// The words of a raw closure are the caller's stack: a wide value takes two.
void Closure::CallWithWide(const ffi_raw* words, Slot& value) const {
    std::vector<Slot> arguments(shape_->types.size());
    for (size_t i = 0; i < arguments.size(); ++i) {
        if (shape_->isWide[i]) {
            std::memcpy(&arguments[i].wide, words, sizeof(int64_t));
            words += 2;
        } else {
            arguments[i].integer = (words++)->sint;
        }
    }
    CallBack(arguments.data(), value);
}

void Closure::Enter(ffi_cif*, void* result, ffi_raw* words, void* self) noexcept {
    const auto& closure = *static_cast<const Closure*>(self);
    const CallShape& shape = *closure.shape_;
    Slot value{};
    try {
        if (shape.wordCall != nullptr) {
            Slot arguments[WORD_CALLS.size()];
            for (size_t i = 0; i < shape.types.size(); ++i) arguments[i].integer = words[i].sint;
            closure.CallBack(arguments, value);
        } else {
            closure.CallWithWide(words, value);
        }
    } catch (const std::bad_alloc&) {
        RaiseOutOfMemory();
    }
    if (shape.result == Kind::NOTHING) return;
    if (IsWide(shape.result)) {
        std::memcpy(result, &value.wide, sizeof(int64_t));
    } else {
        *static_cast<ffi_sarg*>(result) = value.integer;
    }
}

} // namespace host
