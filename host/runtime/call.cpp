#include "host/runtime/call.h"

#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"

#include <array>
#include <bit>
#include <cstring>
#include <new>
#include <stdexcept>
#include <string>
#include <unordered_map>

namespace host {

namespace {

// The words of most calls fit on the stack.
constexpr uint32_t STACK_WORDS = 32;

// libffi copies the argument block rounded up to this many words.
constexpr uint32_t BLOCK_WORDS = 4;

ffi_type* FfiType(Kind kind) {
    switch (kind) {
    case Kind::NOTHING: return &ffi_type_void;
    case Kind::DOUBLE: return &ffi_type_double;
    default: return &ffi_type_sint32;
    }
}

// Only the width matters, so most signatures share a shape.
char KindCode(Kind kind) { return kind == Kind::NOTHING ? 'v' : kind == Kind::DOUBLE ? 'd' : 'w'; }

std::vector<Kind> ArgumentKinds(const Signature& signature, bool withObject) {
    std::vector<Kind> kinds;
    if (withObject) kinds.push_back(Kind::OBJECT);
    for (const FormalParameter& parameter : signature.parameters) {
        kinds.push_back(parameter.byRef ? Kind::INTEGER : parameter.type.kind);
    }
    return kinds;
}

void PackWords(const CallShape& shape, const Slot* arguments, ffi_raw* words) {
    const size_t count = shape.types.size();
    if (shape.allWords) {
        for (size_t i = 0; i < count; ++i) words[i].sint = arguments[i].integer;
        return;
    }
    for (size_t i = 0; i < count; ++i) {
        if (shape.wide[i]) {
            std::memcpy(words, &arguments[i].number, sizeof(double));
            words += 2;
        } else {
            (words++)->sint = arguments[i].integer;
        }
    }
}

void UnpackWords(const CallShape& shape, const ffi_raw* words, Slot* arguments) {
    for (size_t i = 0; i < shape.types.size(); ++i) {
        if (shape.wide[i]) {
            std::memcpy(&arguments[i].number, words, sizeof(double));
            words += 2;
        } else {
            arguments[i].integer = (words++)->sint;
        }
    }
}

} // namespace

const CallShape* ShapeOf(const std::vector<Kind>& arguments, Kind result) {
    static auto& shapes = *new std::unordered_map<std::string, std::unique_ptr<CallShape>>;
    std::string key;
    for (Kind kind : arguments) key += KindCode(kind);
    key += KindCode(result);
    std::unique_ptr<CallShape>& shape = shapes[key];
    if (shape) return shape.get();

    shape = std::make_unique<CallShape>();
    shape->result = result == Kind::NOTHING || result == Kind::DOUBLE ? result : Kind::INTEGER;
    for (Kind kind : arguments) {
        bool isWide = kind == Kind::DOUBLE;
        shape->wide.push_back(isWide);
        shape->words += isWide ? 2 : 1;
        shape->types.push_back(FfiType(kind));
    }
    shape->allWords = shape->words == arguments.size();
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

void CallNative(const CallShape* shape, void* function, const Slot* arguments, Slot* result) {
    const size_t mark = ConversionPoolMark();
    auto* cif = const_cast<ffi_cif*>(&shape->cif); // libffi only reads it
    auto target = reinterpret_cast<void (*)()>(function);
    if (shape->words <= STACK_WORDS) {
        ffi_raw words[STACK_WORDS];
        PackWords(*shape, arguments, words);
        ffi_raw_call(cif, target, result, words);
    } else {
        std::vector<ffi_raw> words(shape->words + BLOCK_WORDS);
        PackWords(*shape, arguments, words.data());
        ffi_raw_call(cif, target, result, words.data());
    }
    ReleaseConversionPool(mark);
}

Closure::Closure(const CallShape* shape, ClosureCallback callback, void* context)
    : shape_(shape), callback_(callback), context_(context) {
    memory_ = ffi_closure_alloc(sizeof(ffi_raw_closure), &function_);
    if (!memory_) throw std::bad_alloc();
    if (ffi_prep_raw_closure_loc(static_cast<ffi_raw_closure*>(memory_), const_cast<ffi_cif*>(&shape->cif), Enter, this,
                                 function_)
        != FFI_OK) {
        ffi_closure_free(memory_);
        throw std::logic_error("libffi refuses a closure");
    }
}

Closure::~Closure() { ffi_closure_free(memory_); }

void Closure::Enter(ffi_cif*, void* result, ffi_raw* words, void* self) {
    const auto* closure = static_cast<const Closure*>(self);
    const CallShape& shape = *closure->shape_;
    const size_t count = shape.types.size();
    std::array<Slot, STACK_WORDS> few;
    std::vector<Slot> many;
    Slot* arguments = few.data();
    if (count > few.size()) {
        many.resize(count);
        arguments = many.data();
    }
    UnpackWords(shape, words, arguments);

    Slot value{};
    if (IsExceptionPending()) {
        SuspendedException suspended;
        closure->callback_(closure->context_, arguments, &value);
    } else {
        closure->callback_(closure->context_, arguments, &value);
    }
    if (shape.result == Kind::DOUBLE) {
        std::memcpy(result, &value.number, sizeof(double));
    } else if (shape.result != Kind::NOTHING) {
        *static_cast<ffi_sarg*>(result) = value.integer;
    }
}

} // namespace host
