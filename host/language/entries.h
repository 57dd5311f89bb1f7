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

} // namespace host::language
