// Access to dictionaries without boxes around keys and values.
#include "host/language/entries.h"

#include "host/framework/dictionary.h"
#include "host/framework/dictionary_table.h"
#include "host/language/folding.h"
#include "host/language/operations.h"
#include "host/runtime/exception.h"
#include "host/runtime/variant.h"

namespace host::language {

namespace {

DictionaryTable* TableIn(Slot slot) {
    if (slot.object != nullptr) return &TableOf(slot.object);
    RaiseNilObject("the object is Nil");
    return nullptr;
}

Kind KeyKind(const Instruction* instruction) { return static_cast<Kind>(instruction[1].a); }
Kind ValueKind(const Instruction* instruction) { return static_cast<Kind>(instruction[1].b); }

bool TakeAs(Kind kind, const Entry& entry, Slot& result) {
    if (kind != Kind::VARIANT) return ConvertTo(kind, entry.kind, entry.value, result);
    result.object = Box(entry.kind, entry.value);
    return result.object != nullptr || entry.kind == Kind::NOTHING;
}

} // namespace

bool GetEntry(const Instruction* instruction, Slot* base) {
    DictionaryTable* table = TableIn(base[instruction->b]);
    if (table == nullptr) return false;
    const Slot& key = base[instruction->c];
    const Entry* entry = table->Find(KeyKind(instruction), key).entry;
    if (entry != nullptr) return TakeAs(ValueKind(instruction), *entry, base[instruction->a]);
    RaiseMissingKey(KeyKind(instruction), key);
    return false;
}

bool LookupEntry(const Instruction* instruction, Slot* base) {
    DictionaryTable* table = TableIn(base[instruction->b]);
    if (table == nullptr) return false;
    const Entry* entry = table->Find(KeyKind(instruction), base[instruction->c]).entry;
    Slot& result = base[instruction->a];
    const Kind kind = ValueKind(instruction);
    if (entry != nullptr) return TakeAs(kind, *entry, result);
    Object* otherwise = base[instruction[1].c].object;
    if (kind != Kind::VARIANT) return UnboxTo(kind, otherwise, result);
    LockObject(otherwise);
    result.object = otherwise;
    return true;
}

bool HasEntry(const Instruction* instruction, Slot* base) {
    DictionaryTable* table = TableIn(base[instruction->b]);
    if (table == nullptr) return false;
    const Entry* entry = table->Find(KeyKind(instruction), base[instruction->c]).entry;
    base[instruction->a].integer = static_cast<int32_t>(entry != nullptr);
    return true;
}

bool StoreEntry(const Instruction* instruction, Slot* base) {
    DictionaryTable* table = TableIn(base[instruction->a]);
    if (table == nullptr) return false;
    table->Set(KeyKind(instruction), base[instruction->b], ValueKind(instruction), base[instruction->c]);
    return !IsExceptionPending();
}

bool AddToEntry(const Instruction* instruction, Slot* base) {
    Object* dictionary = base[instruction->a].object;
    if (dictionary == nullptr) return false;
    DictionaryTable& table = TableOf(dictionary);
    const Kind keyKind = KeyKind(instruction);
    const Slot& key = base[instruction->b];
    const Slot& added = base[instruction->c];
    const bool isInteger = ValueKind(instruction) == Kind::INTEGER;
    const DictionaryTable::Found found = table.Find(keyKind, key);
    Entry* entry = found.entry;
    if (entry == nullptr) {
        const uint16_t first = instruction[1].c;
        if (first == NO_REGISTER) return false;
        table.Add(found, keyKind, key, Kind::INTEGER, {.integer = WrappingAdd(base[first].integer, added.integer)});
    } else if (entry->kind == Kind::INTEGER && isInteger) {
        entry->value.integer = WrappingAdd(entry->value.integer, added.integer);
    } else if (entry->kind == Kind::DOUBLE) {
        entry->value.number += isInteger ? added.integer : added.number;
    } else if (entry->kind == Kind::INTEGER) {
        entry->kind = Kind::DOUBLE;
        entry->value.number = entry->value.integer + added.number;
    } else {
        return false;
    }
    return true;
}

} // namespace host::language
