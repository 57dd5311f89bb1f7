// Runs a fuzz target without libFuzzer: its seeds as they are, then a number of mutated ones, the same in every run.
// Usage: fuzz_TARGET RUNS DICTIONARY SEEDS… (a file with inputs between lines "====", or a folder of inputs)
#include "tests/fuzz/input.h"

#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

namespace {

namespace fs = std::filesystem;

constexpr size_t LARGEST = 20'000; // bytes of an input

std::string current; // for the report of a crash

std::string ReadAll(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
}

// The target is the executable's name; inputs of whole files get an option byte.
std::vector<std::string> ReadSeeds(const fs::path& path) {
    std::vector<std::string> seeds;
    if (fs::is_directory(path)) {
        for (const fs::directory_entry& entry : fs::directory_iterator(path))
            if (entry.is_regular_file()) seeds.push_back("0" + ReadAll(entry.path()));
        std::sort(seeds.begin(), seeds.end());
        return seeds;
    }
    const std::string text = ReadAll(path);
    constexpr std::string_view BETWEEN = "====\n";
    for (size_t start = 0; start < text.size();) {
        const size_t end = std::min(text.find(BETWEEN, start), text.size());
        seeds.push_back(text.substr(start, end - start));
        start = end + BETWEEN.size();
    }
    return seeds;
}

// Lines "text", with \xNN, \" and \\ as libFuzzer reads them.
std::vector<std::string> ReadDictionary(const fs::path& path) {
    std::vector<std::string> words;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (!line.starts_with('"')) continue;
        std::string word;
        for (size_t i = 1; i + 1 < line.size(); ++i) {
            if (line[i] == '\\' && line[++i] == 'x') {
                word += static_cast<char>(std::stoi(line.substr(i + 1, 2), nullptr, 16));
                i += 2;
            } else {
                word += line[i];
            }
        }
        words.push_back(std::move(word));
    }
    return words;
}

// Takes pieces out, doubles them, moves them between inputs, inserts words of the dictionary, changes bytes.
class Mutator {
public:
    Mutator(std::vector<std::string> seeds, std::vector<std::string> words)
        : seeds_(std::move(seeds)), words_(std::move(words)) {}

    std::string Next() {
        std::string text = seeds_[Below(seeds_.size())];
        for (size_t count = 1 + Below(6); count > 0; --count) Change(text);
        text.resize(std::min(text.size(), LARGEST));
        return text;
    }

private:
    size_t Below(size_t limit) { return random_() % limit; }

    // A line, a word or a few bytes.
    std::pair<size_t, size_t> Piece(const std::string& text) {
        const size_t start = Below(text.size());
        switch (Below(3)) {
        case 0: return {start, std::min(text.find('\n', start), text.size()) - start};
        case 1: return {start, std::min(text.find_first_of(" .,()<>\"'=/\n", start + 1), text.size()) - start};
        default: return {start, std::min(1 + Below(3), text.size() - start)};
        }
    }

    void Change(std::string& text) {
        if (text.empty()) return;
        const auto [start, length] = Piece(text);
        switch (Below(6)) {
        case 0: text.erase(start, length); break;
        case 1: text.insert(start, text.substr(start, length)); break;
        case 2:
        case 3: text.insert(start, words_[Below(words_.size())]); break;
        case 4: {
            const std::string& other = seeds_[Below(seeds_.size())];
            if (other.empty()) break;
            const auto [from, count] = Piece(other);
            text.replace(start, length, other, from, count);
            break;
        }
        default: text[start] = static_cast<char>(Below(256)); break;
        }
    }

    std::vector<std::string> seeds_;
    std::vector<std::string> words_;
    std::mt19937 random_{20240607};
};

void SayInput(int signal) {
    constexpr std::string_view TITLE = "The input was:\n";
    for (const std::string_view text : {TITLE, std::string_view(current), std::string_view("\n")})
        [[maybe_unused]] const ssize_t written = write(STDERR_FILENO, text.data(), text.size());
    std::signal(signal, SIG_DFL);
    raise(signal);
}

void Run(std::string input) {
    current = std::move(input);
    LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(current.data()), current.size());
}

} // namespace

int main(int count, char** arguments) {
    if (count < 4) return 2;
    for (const int signal : {SIGABRT, SIGSEGV, SIGFPE, SIGILL, SIGBUS}) std::signal(signal, SayInput);
    std::vector<std::string> seeds;
    for (int i = 3; i < count; ++i)
        for (std::string& seed : ReadSeeds(arguments[i])) seeds.push_back(std::move(seed));
    for (const std::string& seed : seeds) Run(seed);
    Mutator mutator(std::move(seeds), ReadDictionary(arguments[2]));
    for (int runs = std::stoi(arguments[1]); runs > 0; --runs) Run(mutator.Next());
    return 0;
}
