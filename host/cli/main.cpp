// Runs the command line, and tells what no command has handled.
#include "host/cli/commands.h"

#include <clocale>
#include <csignal>
#include <cstdio>
#include <exception>
#include <filesystem>
#include <new>

namespace {

int Main(int argc, char** argv) {
    try {
        return host::RunCommandLine(argc, argv);
    } catch (const host::UsageError& error) {
        std::fprintf(stderr, "kova: %s\n", error.what());
        return host::EXIT_USAGE;
    } catch (const std::filesystem::filesystem_error& error) {
        std::fprintf(stderr, "kova: %s: %s\n", error.path1().c_str(), error.code().message().c_str());
    } catch (const std::bad_alloc&) {
        std::fputs("kova: there is not enough memory\n", stderr);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "kova: %s\n", error.what());
    }
    return host::EXIT_FAILED;
}

} // namespace

int main(int argc, char** argv) {
    // Output into a closed pipe, as of `kova events FILE | head`, ends the process quietly.
    std::signal(SIGPIPE, SIG_DFL);
    // Texts are UTF-8 whatever the user's locale; line editing must know.
    std::setlocale(LC_CTYPE, "C.UTF-8");
    int result = Main(argc, argv);
    if (std::fflush(stdout) != 0 || std::ferror(stdout)) {
        std::perror("kova: standard output");
        return host::EXIT_FAILED;
    }
    return result;
}
