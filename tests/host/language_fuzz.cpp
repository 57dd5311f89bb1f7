// Programs broken at random: whatever the text, compiling ends with a program or with errors.
#include "host/language/program.h"
#include "tests/host/host_fixture.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>

using namespace host;

namespace {

class LanguageFuzz : public ::testing::Test {
protected:
    static void SetUpTestSuite() { PrepareHost(); }
};

std::vector<std::string> Samples() {
    std::vector<std::string> samples;
    for (const char* folder : {"/tests/programs/language", "/tests/programs/language/errors"}) {
        for (const auto& entry : std::filesystem::directory_iterator(std::string(KOVA_SOURCE_DIR) + folder)) {
            if (entry.path().extension() != ".kova") continue;
            std::ifstream file(entry.path());
            samples.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    }
    std::sort(samples.begin(), samples.end());
    return samples;
}

// Takes lines and words out, doubles them, exchanges them, or changes bytes.
class Mutator {
public:
    explicit Mutator(std::vector<std::string> samples) : samples_(std::move(samples)) {}

    std::string Next() {
        std::string text = samples_[Below(samples_.size())];
        for (size_t count = 1 + Below(4); count > 0; --count) Change(text);
        return text;
    }

private:
    size_t Below(size_t limit) { return limit == 0 ? 0 : random_() % limit; }

    // A piece of a text: a line, a word or a few bytes.
    std::pair<size_t, size_t> Piece(const std::string& text) {
        size_t start = Below(text.size());
        if (Below(3) == 0) {
            start = text.rfind('\n', start);
            start = start == std::string::npos ? 0 : start;
            size_t end = text.find('\n', start + 1);
            return {start, (end == std::string::npos ? text.size() : end) - start};
        }
        if (Below(2) == 0) {
            size_t end = text.find_first_of(" .,()\n", start + 1);
            return {start, (end == std::string::npos ? text.size() : end) - start};
        }
        return {start, std::min<size_t>(1 + Below(3), text.size() - start)};
    }

    void Change(std::string& text) {
        static constexpr std::string_view WORDS[] = {
            "(",         ")",         ".",    "\"",        "\n",         " _\n",    "End If",    "End Class\n",
            "Next\n",    "Sub x()\n", "= ",   "Super.",    "Self",       " As ",    " New ",     "Nil",
            "ByRef ",    "Try\n",     "0",    "1e999",     "&hFF",       "Return ", "Finally\n", "Event ",
            "Inherits ", "\xFF",      "\xC3", "Class A\n", "If ",        "Then ",   "()",        "-",
            "Not ",      "^",         "Mod ", "'",         "Exit For\n", "Dim a(",  ",",         "\r",
        };
        if (text.empty()) return;
        auto [start, length] = Piece(text);
        switch (Below(5)) {
        case 0: text.erase(start, length); break;
        case 1: text.insert(start, text.substr(start, length)); break;
        case 2: text.insert(start, WORDS[Below(std::size(WORDS))]); break;
        case 3: {
            const std::string& other = samples_[Below(samples_.size())];
            auto [from, count] = Piece(other);
            text.replace(start, length, other.substr(from, count));
            break;
        }
        default: text[start] = static_cast<char>(Below(256)); break;
        }
    }

    std::vector<std::string> samples_;
    std::mt19937 random_{20240607};
};

TEST_F(LanguageFuzz, BrokenProgramsEndWithDiagnostics) {
    Mutator mutator(Samples());
    size_t programs = 0;
    for (int i = 0; i < 3000; ++i) {
        std::string text = mutator.Next();
        Compilation compilation = Compile({{"fuzz.kova", text}});
        bool hasErrors =
            std::any_of(compilation.diagnostics.begin(), compilation.diagnostics.end(),
                        [](const Diagnostic& diagnostic) { return diagnostic.severity == Severity::ERROR; });
        ASSERT_EQ(compilation.program == nullptr, hasErrors) << text;
        for (const Diagnostic& diagnostic : compilation.diagnostics) FormatDiagnostic(diagnostic, true);
        if (compilation.program != nullptr) {
            compilation.program->Disassemble();
            programs++;
        }
    }
    // Some survive, most do not: otherwise the changes would test nothing.
    EXPECT_GT(programs, 100U);
    EXPECT_LT(programs, 2500U);
}

TEST_F(LanguageFuzz, DeepNestingIsAnError) {
    auto repeat = [](const std::string& text, int count) {
        std::string result;
        for (int i = 0; i < count; ++i) result += text;
        return result;
    };
    constexpr int DEEP = 100000;
    const std::string CASES[] = {
        "Print " + repeat("(", DEEP) + "1" + repeat(")", DEEP),
        "Print " + repeat("-", DEEP) + "1",
        "Print " + repeat("Not ", DEEP) + "True",
        "Print 1" + repeat(" + 1", DEEP),
        "Print 2" + repeat(" ^ 2", DEEP),
        "Dim a() As Integer\nPrint a" + repeat("(0)", DEEP),
        "Print a" + repeat(".b", DEEP),
        "Print " + repeat("Str(", DEEP),
        repeat("If True Then\n", DEEP),
        "If True Then " + repeat("If True Then ", DEEP) + "Print 1",
        repeat("Try\n", DEEP),
        repeat("For i As Integer = 1 To 2\n", DEEP),
    };
    for (const std::string& text : CASES) {
        Compilation compilation = Compile({{"deep.kova", text}});
        EXPECT_EQ(compilation.program, nullptr) << text.substr(0, 40);
        EXPECT_LT(compilation.diagnostics.size(), 300U) << text.substr(0, 40);
    }
}

} // namespace
