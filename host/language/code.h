// Compiled functions: instructions of 8 bytes over the registers of a frame.
//
// A register is a slot of 8 bytes without a type of its own; the instructions know what it holds. Registers that own a
// string or object do so for a stretch of instructions (Lifetime); the generated code releases them at its end, and the
// machine does when an exception leaves the stretch. Parameters are the first registers of a frame; a caller passes
// arguments in a window of its own registers, which becomes the frame of the called function and belongs to it.
#pragma once

#include "host/language/storage.h"
#include "host/runtime/class.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace host::language {

// Every instruction: name and what its operands a, b, c mean (see Disassemble): r register, k small constant, n number,
// F function, o byte offset, C class, N native function, P property, E event, A array class. Operands that fill b and c
// together: i integer, j jump (relative to the next instruction), f function, g global, s string, d double, w Int64, c
// class. The list is the only one: enumeration, dispatch table and disassembler are made from it.
#define KOVA_INSTRUCTIONS(X)                                                                                           \
    X(LOAD_INTEGER, "ri")                                                                                              \
    X(LOAD_DOUBLE, "rd")                                                                                               \
    X(LOAD_WIDE, "rw")                                                                                                 \
    X(LOAD_STRING, "rs")                                                                                               \
    X(BORROW_STRING, "rs")                                                                                             \
    X(LOAD_NIL, "r")                                                                                                   \
    X(MOVE, "rr")                                                                                                      \
    X(COPY_STRING, "rr")                                                                                               \
    X(COPY_OBJECT, "rr")                                                                                               \
    X(SET_STRING, "rr")                                                                                                \
    X(SET_OBJECT, "rr")                                                                                                \
    X(TAKE_STRING, "rr")                                                                                               \
    X(TAKE_OBJECT, "rr")                                                                                               \
    X(RELEASE_STRING, "r")                                                                                             \
    X(RELEASE_OBJECT, "r")                                                                                             \
    X(LOAD_GLOBAL, "rg")                                                                                               \
    X(LOAD_GLOBAL_STRING, "rg")                                                                                        \
    X(LOAD_GLOBAL_OBJECT, "rg")                                                                                        \
    X(STORE_GLOBAL, "rg")                                                                                              \
    X(TAKE_GLOBAL_STRING, "rg")                                                                                        \
    X(TAKE_GLOBAL_OBJECT, "rg")                                                                                        \
    X(ADDRESS_LOCAL, "rr")                                                                                             \
    X(ADDRESS_GLOBAL, "rg")                                                                                            \
    X(ADDRESS_FIELD, "rro")                                                                                            \
    X(LOAD_REFERENCE_WORD, "rr")                                                                                       \
    X(LOAD_REFERENCE_WIDE, "rr")                                                                                       \
    X(LOAD_REFERENCE_STRING, "rr")                                                                                     \
    X(LOAD_REFERENCE_OBJECT, "rr")                                                                                     \
    X(STORE_REFERENCE_WORD, "rr")                                                                                      \
    X(STORE_REFERENCE_WIDE, "rr")                                                                                      \
    X(TAKE_REFERENCE_STRING, "rr")                                                                                     \
    X(TAKE_REFERENCE_OBJECT, "rr")                                                                                     \
    X(LOAD_FIELD_WORD, "rro")                                                                                          \
    X(LOAD_FIELD_WIDE, "rro")                                                                                          \
    X(LOAD_FIELD_STRING, "rro")                                                                                        \
    X(LOAD_FIELD_OBJECT, "rro")                                                                                        \
    X(STORE_FIELD_WORD, "rro")                                                                                         \
    X(STORE_FIELD_WIDE, "rro")                                                                                         \
    X(TAKE_FIELD_STRING, "rro")                                                                                        \
    X(TAKE_FIELD_OBJECT, "rro")                                                                                        \
    X(NEW_ARRAY, "r-A")                                                                                                \
    X(LOAD_ELEMENT_WORD, "rrr")                                                                                        \
    X(LOAD_ELEMENT_WIDE, "rrr")                                                                                        \
    X(LOAD_ELEMENT_STRING, "rrr")                                                                                      \
    X(BORROW_ELEMENT, "rrr")                                                                                           \
    X(LOAD_ELEMENT_OBJECT, "rrr")                                                                                      \
    X(STORE_ELEMENT_WORD, "rrr")                                                                                       \
    X(STORE_ELEMENT_WIDE, "rrr")                                                                                       \
    X(TAKE_ELEMENT_STRING, "rrr")                                                                                      \
    X(TAKE_ELEMENT_OBJECT, "rrr")                                                                                      \
    X(ARRAY_APPEND, "rr")                                                                                              \
    X(ARRAY_INSERT, "rrr")                                                                                             \
    X(ARRAY_REMOVE, "rr")                                                                                              \
    X(ARRAY_RESIZE, "rr")                                                                                              \
    X(ARRAY_BOUND, "rr")                                                                                               \
    X(ARRAY_POP, "rr")                                                                                                 \
    X(ARRAY_SORT, "r")                                                                                                 \
    X(ARRAY_SORT_BY, "rr")                                                                                             \
    X(ARRAY_INDEX, "rrr")                                                                                              \
    X(ADD_INTEGER, "rrr")                                                                                              \
    X(ADD_CONSTANT, "rrk")                                                                                             \
    X(MULTIPLY_CONSTANT, "rrk")                                                                                        \
    X(DIVIDE_CONSTANT, "rrk")                                                                                          \
    X(MODULO_CONSTANT, "rrk")                                                                                          \
    X(SUBTRACT_INTEGER, "rrr")                                                                                         \
    X(MULTIPLY_INTEGER, "rrr")                                                                                         \
    X(DIVIDE_INTEGER, "rrr")                                                                                           \
    X(MODULO_INTEGER, "rrr")                                                                                           \
    X(NEGATE_INTEGER, "rr")                                                                                            \
    X(AND_INTEGER, "rrr")                                                                                              \
    X(OR_INTEGER, "rrr")                                                                                               \
    X(XOR_INTEGER, "rrr")                                                                                              \
    X(NOT_INTEGER, "rr")                                                                                               \
    X(NOT_BOOLEAN, "rr")                                                                                               \
    X(ADD_DOUBLE, "rrr")                                                                                               \
    X(SUBTRACT_DOUBLE, "rrr")                                                                                          \
    X(MULTIPLY_DOUBLE, "rrr")                                                                                          \
    X(DIVIDE_DOUBLE, "rrr")                                                                                            \
    X(MODULO_DOUBLE, "rrr")                                                                                            \
    X(POWER_DOUBLE, "rrr")                                                                                             \
    X(NEGATE_DOUBLE, "rr")                                                                                             \
    X(ADD_WIDE, "rrr")                                                                                                 \
    X(SUBTRACT_WIDE, "rrr")                                                                                            \
    X(NEGATE_WIDE, "rr")                                                                                               \
    X(MODULO_WIDE, "rrr")                                                                                              \
    X(MULTIPLY_INT64, "rrr")                                                                                           \
    X(DIVIDE_INT64, "rrr")                                                                                             \
    X(AND_INT64, "rrr")                                                                                                \
    X(OR_INT64, "rrr")                                                                                                 \
    X(XOR_INT64, "rrr")                                                                                                \
    X(NOT_INT64, "rr")                                                                                                 \
    X(MULTIPLY_CURRENCY, "rrr")                                                                                        \
    X(DIVIDE_CURRENCY, "rrr")                                                                                          \
    X(ADD_STRING, "rrr")                                                                                               \
    X(APPEND_STRING, "rr")                                                                                             \
    X(APPEND_GLOBAL, "rg")                                                                                             \
    X(APPEND_FIELD, "rro")                                                                                             \
    X(EQUAL_INTEGER, "rrr")                                                                                            \
    X(UNEQUAL_INTEGER, "rrr")                                                                                          \
    X(LESS_INTEGER, "rrr")                                                                                             \
    X(LESS_EQUAL_INTEGER, "rrr")                                                                                       \
    X(EQUAL_DOUBLE, "rrr")                                                                                             \
    X(UNEQUAL_DOUBLE, "rrr")                                                                                           \
    X(LESS_DOUBLE, "rrr")                                                                                              \
    X(LESS_EQUAL_DOUBLE, "rrr")                                                                                        \
    X(EQUAL_WIDE, "rrr")                                                                                               \
    X(UNEQUAL_WIDE, "rrr")                                                                                             \
    X(LESS_WIDE, "rrr")                                                                                                \
    X(LESS_EQUAL_WIDE, "rrr")                                                                                          \
    X(EQUAL_STRING, "rrr")                                                                                             \
    X(UNEQUAL_STRING, "rrr")                                                                                           \
    X(LESS_STRING, "rrr")                                                                                              \
    X(LESS_EQUAL_STRING, "rrr")                                                                                        \
    X(EQUAL_BOOLEAN, "rrr")                                                                                            \
    X(UNEQUAL_BOOLEAN, "rrr")                                                                                          \
    X(EQUAL_OBJECT, "rrr")                                                                                             \
    X(UNEQUAL_OBJECT, "rrr")                                                                                           \
    X(VARIANT_ADD, "rrr")                                                                                              \
    X(VARIANT_SUBTRACT, "rrr")                                                                                         \
    X(VARIANT_MULTIPLY, "rrr")                                                                                         \
    X(VARIANT_DIVIDE, "rrr")                                                                                           \
    X(VARIANT_INTEGER_DIVIDE, "rrr")                                                                                   \
    X(VARIANT_MODULO, "rrr")                                                                                           \
    X(VARIANT_POWER, "rrr")                                                                                            \
    X(VARIANT_EQUAL, "rrr")                                                                                            \
    X(VARIANT_LESS, "rrr")                                                                                             \
    X(VARIANT_LESS_EQUAL, "rrr")                                                                                       \
    X(VARIANT_ADD_INTEGER, "rrr")                                                                                      \
    X(INTEGER_TO_DOUBLE, "rr")                                                                                         \
    X(DOUBLE_TO_INTEGER, "rr")                                                                                         \
    X(INTEGER_TO_WIDE, "rr")                                                                                           \
    X(CONVERT_NUMBER, "rrn")                                                                                           \
    X(BOX, "rrn")                                                                                                      \
    X(UNBOX, "rrn")                                                                                                    \
    X(CHECK_CLASS, "rc")                                                                                               \
    X(CHECK_ARRAY, "r-A")                                                                                              \
    X(CHECK_NIL, "r")                                                                                                  \
    X(IS_A, "rrC")                                                                                                     \
    X(JUMP, "-j")                                                                                                      \
    X(JUMP_BACK, "-j")                                                                                                 \
    X(JUMP_IF, "rj")                                                                                                   \
    X(JUMP_UNLESS, "rj")                                                                                               \
    X(TEST_EQUAL, "rr")                                                                                                \
    X(TEST_UNEQUAL, "rr")                                                                                              \
    X(TEST_LESS, "rr")                                                                                                 \
    X(TEST_LESS_EQUAL, "rr")                                                                                           \
    X(TEST_EQUAL_CONSTANT, "rk")                                                                                       \
    X(TEST_UNEQUAL_CONSTANT, "rk")                                                                                     \
    X(TEST_LESS_CONSTANT, "rk")                                                                                        \
    X(TEST_GREATER_CONSTANT, "rk")                                                                                     \
    X(FOR_TEST_INTEGER, "rrr")                                                                                         \
    X(FOR_NEXT_INTEGER, "rrr")                                                                                         \
    X(FOR_NEXT_ONE, "rr")                                                                                              \
    X(FOR_TEST_DOUBLE, "rrr")                                                                                          \
    X(FOR_NEXT_DOUBLE, "rrr")                                                                                          \
    X(FOR_TEST_WIDE, "rrr")                                                                                            \
    X(FOR_NEXT_WIDE, "rrr")                                                                                            \
    X(CALL, "rf")                                                                                                      \
    X(CALL_VIRTUAL, "rnF")                                                                                             \
    X(CALL_DELEGATE, "rnF")                                                                                            \
    X(RAISE_EVENT, "rrE")                                                                                              \
    X(BIND_FUNCTION, "rf")                                                                                             \
    X(BIND_METHOD, "rrF")                                                                                              \
    X(BIND_VIRTUAL, "rrn")                                                                                             \
    X(ADD_HANDLER, "rrE")                                                                                              \
    X(REMOVE_HANDLER, "rrE")                                                                                           \
    X(CALL_NATIVE, "rrN")                                                                                              \
    X(GET_ENTRY, "rrr")                                                                                                \
    X(LOOKUP_ENTRY, "rrr")                                                                                             \
    X(HAS_ENTRY, "rrr")                                                                                                \
    X(SET_ENTRY, "rrr")                                                                                                \
    X(ADD_TO_ENTRY, "rrr")                                                                                             \
    X(OPERANDS, "nnn")                                                                                                 \
    X(GET_PROPERTY, "rrP")                                                                                             \
    X(SET_PROPERTY, "rrP")                                                                                             \
    X(NEW_OBJECT, "rc")                                                                                                \
    X(RETURN, "")                                                                                                      \
    X(RETURN_VALUE, "r")                                                                                               \
    X(CALL_FINALLY, "rj")                                                                                              \
    X(END_FINALLY, "r")                                                                                                \
    X(RAISE, "r")                                                                                                      \
    X(RAISE_AGAIN, "r")                                                                                                \
    X(PRINT_VALUE, "rn")                                                                                               \
    X(PRINT_STRING, "r")                                                                                               \
    X(SHOW, "r")                                                                                                       \
    X(PRINT_LINE, "")

enum class Opcode : uint16_t {
#define X(name, operands) name,
    KOVA_INSTRUCTIONS(X)
#undef X
};

struct Instruction {
    Opcode opcode;
    uint16_t a;
    union {
        struct {
            uint16_t b;
            uint16_t c;
        };
        int32_t i;
    };
};
static_assert(sizeof(Instruction) == 8);

// Register `reg` owns a reference while one of the instructions [start, end) runs.
struct Lifetime {
    uint32_t start;
    uint32_t end;
    uint16_t reg;
    Storage storage;
};

// An exception raised by one of the instructions [start, end) goes to `target`, in register `reg`. Inner handlers stand
// first.
struct Handler {
    uint32_t start;
    uint32_t end;
    uint32_t target;
    uint16_t reg;
};

struct Code {
    std::string name; // for stack traces: "Counter.Add", "" for a program's statements
    uint32_t file = 0;
    bool isHidden = false;           // left out of stack traces
    uint16_t frameSize = 0;          // registers, with the windows of calls
    std::vector<Storage> parameters; // the object of a method first; a ByRef parameter is PLAIN
    std::vector<Kind> parameterKinds;
    std::vector<std::string> parameterNames; // "" of the object and of ByRef parameters
    Storage result = Storage::PLAIN;
    Kind resultKind = Kind::NOTHING;
    std::vector<Instruction> instructions;
    std::vector<uint32_t> offsets; // byte offset in the source, for each instruction
    std::vector<Lifetime> lifetimes;
    std::vector<Handler> handlers;
};

// A call into native code: arguments in a window, the object first.
struct NativeCall {
    const CallShape* shape;
    void* function;
    bool hasObject;
    Kind result;
    std::string name; // for the disassembler and messages
    std::vector<Kind> parameters;
};

// What instructions refer to by number.
struct Tables {
    std::vector<std::unique_ptr<Code>> codes;
    std::vector<String*> strings; // one reference each
    std::vector<double> doubles;
    std::vector<int64_t> wides;
    std::vector<NativeCall> natives;
    std::vector<const Property*> properties;
    std::vector<const Event*> events;
    std::vector<Class*> classes;
    std::vector<Class*> arrayClasses;
};

// What Class::program refers to for a program's class.
struct ClassCode : ProgramClass {
    std::vector<const Code*> virtualMethods;
    const Code* destructor = nullptr;
    struct OwnedField {
        int32_t offset; // from the object's address
        Storage storage;
    };
    std::vector<OwnedField> ownedFields;
};

std::string Disassemble(const Code& code, const Tables& tables);

} // namespace host::language
