// Access to dictionaries without boxes around keys and values.
#include "host/language/entries.h"

#include "host/framework/dictionary.h"
#include "host/language/operations.h"
#include "host/runtime/exception.h"
#include "host/runtime/variant.h"

namespace host::language {

namespace {

bool HasDictionary(Slot slot) {
    if (slot.object == nullptr) RaiseNilObject("the object is Nil");
    return slot.object != nullptr;
}

Kind KeyKind(const Instruction* instruction) { return static_cast<Kind>(instruction[1].a); }
Kind ValueKind(const Instruction* instruction) { return static_cast<Kind>(instruction[1].b); }

bool TakeAs(Kind kind, Object* variant, Slot& result) {
    if (kind != Kind::VARIANT) return UnboxTo(kind, variant, result);
    result.object = variant;
    LockObject(variant);
    return true;
}

} // namespace

bool GetEntry(const Instruction* instruction, Slot* base) {
    Slot& dictionary = base[instruction->b];
    if (!HasDictionary(dictionary)) return false;
    const ObjectRef* found = EntryValue(dictionary.object, KeyKind(instruction), base[instruction->c]);
    return found != nullptr && TakeAs(ValueKind(instruction), found->Get(), base[instruction->a]);
}

bool LookupEntry(const Instruction* instruction, Slot* base) {
    Slot& dictionary = base[instruction->b];
    if (!HasDictionary(dictionary)) return false;
    const ObjectRef* found = FindEntry(dictionary.object, KeyKind(instruction), base[instruction->c]);
    Object* value = found != nullptr ? found->Get() : base[instruction[1].c].object;
    return TakeAs(ValueKind(instruction), value, base[instruction->a]);
}

bool HasEntry(const Instruction* instruction, Slot* base) {
    Slot& dictionary = base[instruction->b];
    if (!HasDictionary(dictionary)) return false;
    const ObjectRef* found = FindEntry(dictionary.object, KeyKind(instruction), base[instruction->c]);
    base[instruction->a].integer = static_cast<int32_t>(found != nullptr);
    return true;
}

bool StoreEntry(const Instruction* instruction, Slot* base) {
    Slot& dictionary = base[instruction->a];
    if (!HasDictionary(dictionary)) return false;
    SetEntry(dictionary.object, KeyKind(instruction), base[instruction->b], ValueKind(instruction),
             base[instruction->c]);
    return !IsExceptionPending();
}

} // namespace host::language
