// What programs cannot show of themselves: how errors are laid out, limits, interruption, sessions.
#include "host/language/program.h"
#include "host/runtime/leaks.h"
#include "tests/host/host_fixture.h"
#include "tests/sanitizers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace host;
using ::testing::Contains;
using ::testing::ElementsAre;

namespace {

class LanguageRun : public ::testing::Test {
protected:
    static void SetUpTestSuite() { PrepareHost(); }
    void SetUp() override { before_ = CountLive(); }
    void TearDown() override { EXPECT_EQ(CountLive(), before_); }

    std::string Errors(const std::string& text) {
        std::string result;
        for (const Diagnostic& diagnostic : Compile({{"a.kova", text}}).diagnostics) {
            result += FormatDiagnostic(diagnostic);
        }
        return result;
    }

    RunResult RunText(const std::string& text, RunOptions options = {}) {
        Compilation compilation = Compile({{"a.kova", text}});
        EXPECT_NE(compilation.program, nullptr) << Errors(text);
        options.print = [this](std::string_view printed) { output_ += printed; };
        return compilation.program ? host::Run(*compilation.program, options) : RunResult();
    }

    std::string output_;

private:
    LiveCounts before_;
};

TEST_F(LanguageRun, ErrorsShowTheirLineAndMarkTheText) {
    // Columns count characters; tabs stay, so that the caret stands right at any width.
    EXPECT_EQ(Errors("\tPrint \"äöü\" + 1"), "a.kova:1:14: error: \"+\" cannot be applied to String and Integer "
                                             "(convert the other side with Str(…))\n"
                                             "\tPrint \"äöü\" + 1\n"
                                             "\t            ^\n");
}

TEST_F(LanguageRun, LimitsStopAProgramWithoutItsHandlers) {
    struct Row {
        const char* text;
        RunOutcome outcome;
    };
    const Row CASES[] = {
        {"Try\n  While True\n  Wend\nCatch\n  Print \"caught\"\nFinally\n  Print \"finally\"\nEnd Try",
         RunOutcome::TIME_LIMIT},
        {"Sub Again(n As Integer)\n  If n > 0 Then Again(n - 1)\nEnd Sub\nDo\n  Again(50)\nLoop",
         RunOutcome::TIME_LIMIT},
        {"Dim d As New Dictionary\nFor i As Integer = 1 To 2000000000\n  d.Value(\"key\") = Str(i)\nNext",
         RunOutcome::TIME_LIMIT},
        {"Class C\n  Sub Destructor()\n    Do\n    Loop\n  End Sub\nEnd Class\nDim c As New C\nc = Nil",
         RunOutcome::TIME_LIMIT},
        {"Class C\n  Sub Destructor()\n    Do\n    Loop\n  End Sub\nEnd Class\nDim c As New C", RunOutcome::TIME_LIMIT},
        {"Dim s As String = \"x\"\nTry\n  Do\n    s = s + s\n  Loop\nCatch\n  Print \"caught\"\nEnd Try",
         RunOutcome::MEMORY_LIMIT},
        {"Print GetFolderItem(\"/dev/zero\").OpenAsTextFile.ReadAll", RunOutcome::MEMORY_LIMIT},
        {"Dim s As String = \"0123456789012345678901234567890123456789\"\nDim a() As String\nDo\n  a.Append(s + "
         "Str(1))\n"
         "Loop",
         RunOutcome::MEMORY_LIMIT},
    };
    for (const Row& row : CASES) {
        RunOptions options;
        bool isMemory = row.outcome == RunOutcome::MEMORY_LIMIT;
        if (IS_SANITIZED && isMemory) continue;
        options.timeLimit = std::chrono::milliseconds(isMemory ? 60000 : 50);
        options.memoryLimit = isMemory ? size_t{400} << 20 : 0;
        EXPECT_EQ(RunText(row.text, options).outcome, row.outcome) << row.text;
    }
    EXPECT_EQ(output_, "");
}

TEST_F(LanguageRun, AnInterruptEndsALoopAndSaysWhere) {
    Compilation compilation = Compile({{"a.kova", "Sub Wait()\n  Print 1\n  Do\n  Loop\nEnd Sub\nWait"}});
    RunOptions options;
    options.print = [](std::string_view) { RequestInterrupt(); };
    RunResult result = host::Run(*compilation.program, options);
    EXPECT_EQ(result.outcome, RunOutcome::INTERRUPTED);
    ASSERT_EQ(result.stack.size(), 2U);
    EXPECT_EQ(result.stack[0].function, "Wait");
    EXPECT_EQ(result.stack[1].line, 6U);
}

class LanguageSession : public LanguageRun {
protected:
    LanguageSession() {
        RunOptions options;
        options.print = [this](std::string_view printed) { output_ += printed; };
        session_ = std::make_unique<Session>(options);
    }
    void TearDown() override {
        session_ = nullptr;
        LanguageRun::TearDown();
    }

    // What an entry prints, or the first message about it.
    std::string Enter(const std::string& text) {
        output_.clear();
        Session::Result result = session_->Enter(text);
        if (result.incomplete) return "…";
        for (const Diagnostic& diagnostic : result.diagnostics) {
            if (diagnostic.severity == Severity::ERROR) return diagnostic.message;
        }
        if (result.run->exception) return result.run->exception->className;
        return output_;
    }

    std::unique_ptr<Session> session_;
};

TEST_F(LanguageSession, EntriesBuildOnEachOther) {
    const std::pair<const char*, const char*> ENTRIES[] = {
        {"Dim a As Integer = 20", ""},
        {"a + 1", "21\n"},
        {"a = 5", ""},
        {"a", "5\n"},
        {"\"text\" + Str(a)", "text5\n"},
        {"Sub Twice()", "…"},
        {"Sub Twice()\n  a = a * 2", "…"},
        {"Sub Twice()\n  a = a * 2\nEnd Sub", ""},
        {"Twice", ""},
        {"a", "10\n"},
        {"If a = 10 Then", "…"},
        {"Print a + _", "…"},
        {"Print 1 +", "expected an expression, found the end of the line"},
        {"Print b", "unknown name \"b\""},
        {"Dim b As Strin", "there is no type \"Strin\" (did you mean \"String\"?)"},
        {"Print b", "unknown name \"b\""},
        // Defined anew.
        {"Sub Twice()\n  a = a + 1\nEnd Sub", ""},
        {"Sub Twice()\n  a = nothing\nEnd Sub", "unknown name \"nothing\" (use Nil)"},
        {"Twice", ""},
        {"a", "11\n"},
        {"Dim a As String = \"other\"", ""},
        {"a", "other\n"},
        {"Class Box\n  Value As Integer = 3\nEnd Class", ""},
        {"Dim c As New Box", ""},
        {"c", "Box (Value 3)\n"},
        {"c.Value", "3\n"},
        {"Class Box\nEnd Class", "class \"Box\" cannot be replaced while it has objects or subclasses"},
        {"c = Nil", ""},
        {"c.Value", "NilObjectException"},
        {"Const LIMIT = 7", ""},
        {"LIMIT * 2", "14\n"},
        {"Nil", "Nil\n"},
        {"Array(1, 2).Ubound", "1\n"},
    };
    for (auto [entry, expected] : ENTRIES) EXPECT_EQ(Enter(entry), expected) << entry;
}

TEST_F(LanguageSession, CompletesMembersAndNames) {
    Enter("Dim dictionary As New Dictionary\nDim list1() As String");
    EXPECT_THAT(session_->Complete("Print dictionary.Ha").words, ElementsAre("HasKey"));
    EXPECT_EQ(session_->Complete("Print dictionary.Ha").wordLength, 2U);
    EXPECT_THAT(session_->Complete("list1.").words, Contains("Append"));
    EXPECT_THAT(session_->Complete("Print dictionary.Keys().U").words, ElementsAre("Ubound"));
    EXPECT_THAT(session_->Complete("Encodings.UTF").words, Contains("UTF8"));
    EXPECT_THAT(session_->Complete("dic").words, ElementsAre("Dictionary", "dictionary"));
    EXPECT_THAT(session_->Complete("Whi").words, ElementsAre("While"));
    EXPECT_TRUE(session_->Complete("nothing.").words.empty());
}

} // namespace
