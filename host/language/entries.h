// Entries of dictionaries, with keys and values as the registers hold them. a, b and c of the instruction are
// registers: result, dictionary, key; or dictionary, key, value. The instruction behind it has in a the kind of the
// key, in b that of the value or result, in c the register of the Variant that LookupEntry answers otherwise. false: an
// exception is pending.
#pragma once

#include "host/language/code.h"

namespace host::language {

bool GetEntry(const Instruction* instruction, Slot* base);
bool LookupEntry(const Instruction* instruction, Slot* base);
bool HasEntry(const Instruction* instruction, Slot* base);
bool StoreEntry(const Instruction* instruction, Slot* base);

// Adds the number in c to the value of the entry: a is the dictionary, b the key. The instruction behind it has in b
// the kind of the number, in c the register of the Integer that a value begins with, or NO_REGISTER. false: nothing was
// done, and what follows the next two instructions does it; otherwise the second of them jumps past that.
bool AddToEntry(const Instruction* instruction, Slot* base);
inline constexpr uint16_t NO_REGISTER = UINT16_MAX;

} // namespace host::language
