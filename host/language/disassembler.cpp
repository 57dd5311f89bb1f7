// Compiled functions as text.
#include "host/language/code.h"
#include "host/runtime/string.h"

namespace host::language {

namespace {

struct Description {
    const char* name;
    const char* operands;
};

constexpr Description DESCRIPTIONS[] = {
#define X(name, operands) {#name, operands},
    KOVA_INSTRUCTIONS(X)
#undef X
};

std::string Operand(char kind, const Instruction& instruction, uint16_t value, size_t next, const Tables& tables) {
    auto index = static_cast<size_t>(instruction.i);
    switch (kind) {
    case 'r': return "r" + std::to_string(value);
    case 'k': return std::to_string(static_cast<int16_t>(value));
    case 'C': return tables.classes[value]->name;
    case 'N': return tables.natives[value].name;
    case 'E': return tables.events[value]->signature.name;
    case 'P': return tables.properties[value]->name;
    case 'A': return tables.arrayClasses[value]->name;
    case 'F': return tables.codes[value]->name;
    case 'i': return std::to_string(instruction.i);
    case 'j': return "-> " + std::to_string(static_cast<int32_t>(next) + instruction.i);
    case 'f': return tables.codes[index]->name;
    case 'g': return "global " + std::to_string(instruction.i);
    case 's': return '"' + std::string(StringView(tables.strings[index])) + '"';
    case 'w': return std::to_string(tables.wides[index]);
    case 'd': return std::to_string(tables.doubles[index]);
    case 'c': return tables.classes[index]->name;
    default: return std::to_string(value);
    }
}

} // namespace

std::string Disassemble(const Code& code, const Tables& tables) {
    std::string text =
        (code.name.empty() ? "(program)" : code.name) + ": " + std::to_string(code.frameSize) + " registers\n";
    for (size_t i = 0; i < code.instructions.size(); ++i) {
        const Instruction& instruction = code.instructions[i];
        const Description& description = DESCRIPTIONS[static_cast<size_t>(instruction.opcode)];
        text += "  " + std::to_string(i) + "  " + description.name;
        const uint16_t values[] = {instruction.a, instruction.b, instruction.c};
        size_t number = 0;
        for (const char* kind = description.operands; *kind != '\0'; kind++, ++number) {
            if (*kind != '-') text += " " + Operand(*kind, instruction, values[number], i + 1, tables);
        }
        text += '\n';
    }
    for (const Handler& handler : code.handlers) {
        text += "  handler " + std::to_string(handler.start) + "-" + std::to_string(handler.end) + " -> "
                + std::to_string(handler.target) + " r" + std::to_string(handler.reg) + "\n";
    }
    for (const Lifetime& lifetime : code.lifetimes) {
        text += "  r" + std::to_string(lifetime.reg) + " owns " + std::to_string(lifetime.start) + "-"
                + std::to_string(lifetime.end) + "\n";
    }
    return text;
}

} // namespace host::language
