// Programs nested too deeply: compiling ends with few errors.
#include "host/language/program.h"
#include "tests/host/host_fixture.h"

#include <gtest/gtest.h>

using namespace host;

namespace {

class DeepPrograms : public ::testing::Test {
protected:
    static void SetUpTestSuite() { PrepareHost(); }
};

TEST_F(DeepPrograms, AreAnError) {
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
