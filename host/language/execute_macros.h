// The short forms that execute.cpp writes instructions in; for no other file.
#pragma once

// Before what can throw, raise or come back to the machine: its frame must tell where it is.
#define SAVE() (frames_.back().pc = pc)
// The operands of the present instruction, and the way to the next one.
#define A (base[pc->a])
#define B (base[pc->b])
#define C (base[pc->c])
#define SMALL(operand) (static_cast<int16_t>(pc->operand))
#define DISPATCH() goto*(LABELS[static_cast<size_t>(pc->opcode)]) // NOLINT(bugprone-macro-parentheses)
#define NEXT()                                                                                                         \
    do {                                                                                                               \
        ++pc;                                                                                                          \
        DISPATCH();                                                                                                    \
    } while (false)
// An instruction that does one thing and goes on. What can throw or call code of the program is no quick one.
#define QUICK(name, ...)                                                                                               \
    name:                                                                                                              \
    __VA_ARGS__;                                                                                                       \
    NEXT()
#define SIMPLE(name, ...)                                                                                              \
    name:                                                                                                              \
    SAVE();                                                                                                            \
    __VA_ARGS__;                                                                                                       \
    NEXT()
#define FAIL_UNLESS(condition)                                                                                         \
    do {                                                                                                               \
        if (!(condition)) [[unlikely]]                                                                                 \
            goto failed;                                                                                               \
    } while (false)
#define FIT(condition)                                                                                                 \
    do {                                                                                                               \
        if (!(condition)) [[unlikely]]                                                                                 \
            goto overflow;                                                                                             \
    } while (false)
#define NEED_DIVISOR(divisor)                                                                                          \
    do {                                                                                                               \
        if ((divisor) == 0) [[unlikely]]                                                                               \
            goto divisionByZero;                                                                                       \
    } while (false)
#define NEED_OBJECT(object, what)                                                                                      \
    do {                                                                                                               \
        if ((object) == nullptr) [[unlikely]] {                                                                        \
            SAVE();                                                                                                    \
            RaiseNilObject(what);                                                                                      \
            goto failed;                                                                                               \
        }                                                                                                              \
    } while (false)
#define NEED_ELEMENT(array, index)                                                                                     \
    do {                                                                                                               \
        NEED_OBJECT(array, "the array is Nil");                                                                        \
        if (static_cast<uint32_t>(index) >= static_cast<uint32_t>((array)->count)) [[unlikely]] {                      \
            SAVE();                                                                                                    \
            RaiseOutOfBounds(index, array);                                                                            \
            goto failed;                                                                                               \
        }                                                                                                              \
    } while (false)
#define POLL()                                                                                                         \
    do {                                                                                                               \
        if (attention.load(std::memory_order_relaxed) != 0) [[unlikely]] {                                             \
            SAVE();                                                                                                    \
            if (!Poll()) goto failed;                                                                                  \
        }                                                                                                              \
    } while (false)
// A test that holds skips the jump behind it, one that fails takes it.
#define SKIP_IF(condition)                                                                                             \
    do {                                                                                                               \
        bool holds = (condition);                                                                                      \
        ++pc;                                                                                                          \
        if (!holds) pc += pc->i;                                                                                       \
        NEXT();                                                                                                        \
    } while (false)
// The jump behind leads to the next turn; it is skipped when the limit is passed.
#define LOOP_IF(condition)                                                                                             \
    do {                                                                                                               \
        bool goesOn = (condition);                                                                                     \
        ++pc;                                                                                                          \
        if (goesOn) {                                                                                                  \
            POLL();                                                                                                    \
            pc += pc->i;                                                                                               \
        }                                                                                                              \
        NEXT();                                                                                                        \
    } while (false)
// An access to a dictionary, whose other operands stand in the next instruction.
#define ENTRY(name, access)                                                                                            \
    name:                                                                                                              \
    SAVE();                                                                                                            \
    FAIL_UNLESS(access(pc, base) && !isStopped_);                                                                      \
    if (attention != 0) [[unlikely]]                                                                                   \
        NoteTicks();                                                                                                   \
    ++pc;                                                                                                              \
    NEXT()
