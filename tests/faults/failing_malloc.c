// Loaded before a process: lets its KOVA_FAIL-th allocation fail, and with KOVA_FAIL_ON all after it. At its end it
// writes down how many there were (KOVA_COUNT names the file); of a crash it shows the stack, library by library.
#define _GNU_SOURCE
#include <errno.h>
#include <execinfo.h>
#include <signal.h>
#include <stddef.h>
#include <stdio.h>
#include <stdlib.h>
#include <unistd.h>

void* __libc_malloc(size_t size);
void* __libc_calloc(size_t count, size_t size);
void* __libc_realloc(void* memory, size_t size);
void* __libc_memalign(size_t alignment, size_t size);

static unsigned long count;
static unsigned long failing;
static int failsOn;

static int Fails(void) {
    const unsigned long number = __atomic_add_fetch(&count, 1, __ATOMIC_RELAXED);
    if (failing == 0 || (failsOn ? number < failing : number != failing)) return 0;
    errno = ENOMEM;
    return 1;
}

__attribute__((visibility("default"))) void* malloc(size_t size) { return Fails() ? NULL : __libc_malloc(size); }
__attribute__((visibility("default"))) void* calloc(size_t n, size_t size) {
    return Fails() ? NULL : __libc_calloc(n, size);
}
__attribute__((visibility("default"))) void* realloc(void* memory, size_t size) {
    return Fails() ? NULL : __libc_realloc(memory, size);
}
__attribute__((visibility("default"))) void* aligned_alloc(size_t alignment, size_t size) {
    return Fails() ? NULL : __libc_memalign(alignment, size);
}

static void ShowStack(int number) {
    void* frames[40];
    failing = 0;
    backtrace_symbols_fd(frames, backtrace(frames, 40), STDERR_FILENO);
    signal(number, SIG_DFL);
    raise(number);
}

__attribute__((constructor)) static void Begin(void) {
    static char stack[1 << 16];
    const stack_t other = {.ss_sp = stack, .ss_size = sizeof stack};
    const struct sigaction action = {.sa_handler = ShowStack, .sa_flags = SA_ONSTACK};
    void* frame[1];
    backtrace(frame, 1); // loads what it needs
    sigaltstack(&other, NULL);
    sigaction(SIGSEGV, &action, NULL);
    sigaction(SIGABRT, &action, NULL);
    sigaction(SIGBUS, &action, NULL);
    const char* fail = getenv("KOVA_FAIL");
    failsOn = getenv("KOVA_FAIL_ON") != NULL;
    count = 0;
    failing = fail != NULL ? strtoul(fail, NULL, 10) : 0;
}

__attribute__((destructor)) static void End(void) {
    const char* name = getenv("KOVA_COUNT");
    FILE* file = name != NULL ? fopen(name, "w") : NULL;
    if (file == NULL) return;
    fprintf(file, "%lu\n", count);
    fclose(file);
}
