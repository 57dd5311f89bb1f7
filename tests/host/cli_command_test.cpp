// The command as a user of the command line meets it: exit codes, streams, messages.
#include "tests/sanitizers.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

namespace {

namespace fs = std::filesystem;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

struct Outcome {
    int code; // of exit, or minus the signal
    std::string output;
    std::string errors;
};

class CliCommand : public testing::Test {
protected:
    static void Write(const std::string& name, const std::string& text) {
        std::ofstream(name, std::ios::binary) << text;
    }

    static std::string Read(const std::string& name) {
        std::ostringstream text;
        text << std::ifstream(name, std::ios::binary).rdbuf();
        return text.str();
    }

    // Runs `kova` in the test's folder; `setup` is shell text before it.
    static Outcome Kova(const std::vector<std::string>& arguments, const std::string& setup = "",
                        const std::string& input = "") {
        std::string line = setup + " '" KOVA_COMMAND "'";
        for (const std::string& argument : arguments) line += " '" + argument + "'";
        Write(".input", input);
        line += " >.output 2>.errors <.input";
        int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), Read(".output"), Read(".errors")};
    }
};

TEST_F(CliCommand, PrintsEveryEventOfAFile) {
    Write("a.xml", "<?xml version='1.0'?>\n"
                   "<!DOCTYPE a SYSTEM 'a.dtd' [<!ELEMENT a (#PCDATA|b)*><!ELEMENT b (c?,(d|e)+)>]>\n"
                   "<a x='1' y='\"&#9;'>t&amp;<![CDATA[u]]></a><?p q?>\n");
    Outcome got = Kova({"events", "a.xml"});
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.errors, "");
    EXPECT_THAT(
        got.output,
        StartsWith("StartDocument\n"
                   "XmlDecl version=\"1.0\" xmlEncoding=nil standalone=-1\n"
                   "StartDoctypeDecl doctypeName=\"a\" systemId=\"a.dtd\" publicId=nil has_internal_subset=True\n"
                   "ElementDecl name=\"a\" content=(#PCDATA | b)*\n"
                   "ElementDecl name=\"b\" content=(c?, (d | e)+)\n"
                   "ExternalEntityRef context=nil base=nil systemId=\"a.dtd\" publicId=nil\n"
                   "EndDoctypeDecl\n"
                   "StartElement name=\"a\" attributeList={x=\"1\" y=\"\\\"\\t\"}\n"
                   "Characters s=\"t\"\n"
                   "Characters s=\"&\"\n"
                   "StartCDATA\n"
                   "Characters s=\"u\"\n"
                   "EndCDATA\n"
                   "EndElement name=\"a\"\n"
                   "ProcessingInstruction target=\"p\" data=\"q\"\n"
                   "EndDocument\n"
                   "\n"
                   "         1  StartDocument\n"));
    EXPECT_THAT(got.output, HasSubstr("\n         3  Characters\n"));
    EXPECT_THAT(got.output, testing::ContainsRegex("\n        16  events in [0-9]+ ms \\([0-9.]+ MB/s\\)\n$"));
}

TEST_F(CliCommand, EventsTakesEncodingAndNamespaces) {
    Write("latin.xml", "<p:a xmlns:p='urn:p'>\xE4</p:a>");
    Outcome got = Kova({"events", "latin.xml", "--encoding", "ISO-8859-1", "--namespaces", "|"});
    EXPECT_THAT(got.output, HasSubstr("StartPrefixMapping prefix=\"p\" uri=\"urn:p\"\n"
                                      "StartElement name=\"urn:p|a\" attributeList={}\n"
                                      "Characters s=\"\xC3\xA4\"\n"));
    got = Kova({"events", "latin.xml"});
    EXPECT_EQ(got.code, 1);
    EXPECT_EQ(got.errors, "latin.xml:1:22: not well-formed (invalid token)\n");
}

TEST_F(CliCommand, EventsFeedsLargeFilesInChunks) {
    std::string text = "<a>";
    for (int i = 0; i < 100'000; ++i) text += "<b/>\n";
    Write("large.xml", text + "</a>");
    Outcome got = Kova({"events", "--quiet", "large.xml"});
    EXPECT_THAT(got.output,
                StartsWith("         1  StartDocument\n         1  EndDocument\n    100001  StartElement\n"));
    Write("broken.xml", text);
    got = Kova({"events", "--quiet", "broken.xml"});
    EXPECT_EQ(got.code, 1);
    EXPECT_EQ(got.output, "");
    EXPECT_EQ(got.errors, "broken.xml:100001:1: no element found\n");
}

TEST_F(CliCommand, EventsNeedsNoMoreMemoryForALargerFile) {
    std::string piece;
    for (int i = 0; i < 20'000; ++i) piece += "<element attribute='value'>some text</element>\n";
    std::string text = "<a>";
    for (int i = 0; i < 60; ++i) text += piece;
    Write("huge.xml", text + "</a>");
    // 55 MB of file in 40 MB of data.
    Outcome got = Kova({"events", "--quiet", "huge.xml"}, IS_SANITIZED ? "" : "ulimit -d 40000;");
    EXPECT_EQ(got.code, 0) << got.errors;
    EXPECT_THAT(got.output, HasSubstr("   1200001  StartElement\n"));
}

// What a document cannot do for want of memory is an exception, and no file is the worse for it.
TEST_F(CliCommand, MembersWithoutMemoryRaise) {
    if (IS_SANITIZED) GTEST_SKIP();
    Write("grow.kova", R"(
Dim text As String = "0123456789abcdef"
For i As Integer = 1 To 17
  text = text + text
Next
Dim document As New XmlDocument("<a/>")
Dim file As FolderItem = GetFolderItem("saved.xml")
document.SaveXml(file)
Try
  Do
    document.DocumentElement.AppendChild(document.CreateTextNode(text))
  Loop
Catch e As OutOfMemoryException
  Print "full"
End Try
Try
  document.SaveXml(file)
Catch e As OutOfMemoryException
  Print "not saved"
End Try
Dim saved As New XmlDocument(file)
Print saved.ToString
Try
  document.LoadXml(GetFolderItem("many.xml"))
Catch e As OutOfMemoryException
  Print "not loaded"
End Try
document.LoadXml("<b/>")
Print document.ToString
)");
    std::string text = "<m>";
    for (int i = 0; i < 400'000; ++i) text += "<n/>";
    Write("many.xml", text + "</m>");
    const Outcome got = Kova({"run", "grow.kova"}, "ulimit -d 40000;");
    EXPECT_EQ(got.errors, "");
    EXPECT_EQ(got.output, "full\nnot saved\n<?xml version=\"1.0\" encoding=\"UTF-8\"?><a/>\nnot loaded\n"
                          "<?xml version=\"1.0\" encoding=\"UTF-8\"?><b/>\n");
}

// For programs that leave objects alive because the test wants them to.
constexpr const char* WITHOUT_LEAK_SANITIZER = "LSAN_OPTIONS=detect_leaks=0";

TEST_F(CliCommand, RunsProgramsAndTellsHowTheyEnded) {
    struct Case {
        const char* program;
        std::vector<std::string> options;
        int code;
        const char* output;
        const char* errors; // begins with
    };
    const Case cases[] = {
        {"Print System.CommandLine", {}, 0, "a --leaks\n", ""},
        {"StdErr.WriteLine(\"e\")\nSystem.Quit(7)\nPrint 1", {}, 7, "", "e\n"},
        {"Sub F()\nRaise New IOException(\"disk\", 5)\nEnd Sub\nPrint 1\nF",
         {},
         1,
         "1\n",
         "Uncaught exception: IOException 5: disk\np.kova:2:1\nRaise New IOException(\"disk\", 5)\n^\n  at F() "
         "(p.kova:2)\n  "
         "at p.kova:5\n"},
        {"Print 1\nPrint x", {}, 1, "", "p.kova:2:7: error: "},
        {"While True\nWend", {"--time-limit", "0.2"}, 124, "", "The time limit is reached\n  at p.kova:"},
        {"Dim s As String = \"x\"\nWhile True\ns = s + s\nWend",
         {"--memory-limit", "40"},
         1,
         "",
         "The memory limit is reached\n  at p.kova:"},
        {"Class C\nMe As C\nEnd Class\nDim c As New C\nc.Me = c", {"--leaks"}, 0, "", "still alive: 1 C\n"},
        {"Print 1", {"--leaks"}, 0, "1\n", "Nothing is left\n"},
    };
    for (const Case& c : cases) {
        if (IS_SANITIZED && c.errors == std::string_view("The memory limit is reached\n  at p.kova:")) continue;
        SCOPED_TRACE(c.program);
        Write("p.kova", c.program);
        std::vector<std::string> arguments = {"run"};
        arguments.insert(arguments.end(), c.options.begin(), c.options.end());
        arguments.insert(arguments.end(), {"p.kova", "a", "--leaks"});
        Outcome got = Kova(arguments, c.options.empty() ? "" : WITHOUT_LEAK_SANITIZER);
        EXPECT_EQ(got.code, c.code);
        EXPECT_EQ(got.output, c.output);
        EXPECT_THAT(got.errors, StartsWith(c.errors));
        if (!*c.errors) {
            EXPECT_EQ(got.errors, "");
        }
    }
    EXPECT_EQ(Kova({"run", "p.kova"}, "true |").output, "1\n");
    Outcome full = Kova({"run", "p.kova"}, "exec 3>/dev/full; run() { \"$@\" >&3; }; run");
    EXPECT_EQ(full.code, 1);
    EXPECT_EQ(full.errors, "kova: standard output: No space left on device\n");
}

TEST_F(CliCommand, ChecksProgramsWithoutRunningThem) {
    Write("good.kova", "Print 1\n");
    Write("warned.kova", "Dim unused As Integer\n");
    Write("bad.kova", "Dim a As Integer = \"x\"\nPrint b\n");
    Outcome got = Kova({"check", "good.kova"});
    EXPECT_EQ(got.code, 0);
    EXPECT_EQ(got.output + got.errors, "");
    got = Kova({"check", "warned.kova"});
    EXPECT_EQ(got.code, 0);
    EXPECT_THAT(got.errors, StartsWith("warned.kova:1:5: warning: "));
    got = Kova({"check", "bad.kova", "warned.kova", "good.kova"});
    EXPECT_EQ(got.code, 1);
    for (const char* begin : {"bad.kova:1:20: error: ", "\nbad.kova:2:7: error: ", "\nwarned.kova:1:5: warning: "})
        EXPECT_THAT(got.errors, HasSubstr(begin));
}

TEST_F(CliCommand, TheReplReadsAScriptFromAPipe) {
    Outcome got =
        Kova({"repl"}, "", "Dim a As Integer = 20\nFor i As Integer = 1 To 2\na = a + i\nNext\na\nSystem.Quit(3)\n1\n");
    EXPECT_EQ(got.code, 3);
    EXPECT_EQ(got.output, "23\n");
    EXPECT_EQ(got.errors, "");
    got = Kova({"repl"}, "", "nonsense\n1\n");
    EXPECT_EQ(got.code, 1);
    EXPECT_EQ(got.output, "1\n");
    EXPECT_THAT(got.errors, HasSubstr("error: "));
    got = Kova({"repl"}, "", "While True\n");
    EXPECT_EQ(got.code, 1);
    EXPECT_THAT(got.errors, HasSubstr("the input ends inside a block"));
}

TEST_F(CliCommand, TestsProgramsByWhatTheyExpect) {
    Write("deliberate_leaks.txt", "# comment\ncircle: a circle of references\n");
    Write("good.kova", "Print 1 ' expect: 1\nPrint \"a \" ' expect: a\n");
    Write("error.kova", "Print x ' expect error: unknown name...\nDim y As Integer\n");
    Write("raises.kova", "Raise New IOException(\"disk\", 5) ' expect exception IOException 5: disk\n");
    Write("leak.kova", "Class C\nMe As C\nEnd Class\nDim c As New C\nc.Me = c\n' leaks circle: 1 C\n");
    Write("files.kova",
          "Print Str(GetFolderItem(\"\").Count) ' expect: 0\nPrint StdIn.ReadLine ' expect: line\n' input: line\n");
    Outcome got = Kova({"test", "."}, WITHOUT_LEAK_SANITIZER);
    EXPECT_EQ(got.code, 0) << got.output;
    EXPECT_EQ(got.output, "5 passed, 0 failed\n");

    struct Case {
        const char* program;
        const char* failure;
    };
    const Case cases[] = {
        {"Print 1\nPrint 2 ' expect: 3\n", "./bad.kova:2: expected: 3\n  got: 1\n"},
        {"Print 1 ' expect: 1\nPrint 2\n", "./bad.kova: line 2 of the output: expected: (nothing)\n  got: 2\n"},
        {"' expect: 1\n", "./bad.kova:1: expected: 1\n  got: (nothing)\n"},
        {"Print x\n", "./bad.kova:1: not expected, in column 7: error: unknown name"},
        {"Print 1 ' expect error: none\n", "./bad.kova:1: expected error: none\n"},
        {"Dim x As Integer\n", "./bad.kova:1: not expected, in column 5: warning: "},
        {"Dim x As Integer ' expect warning: other\n", "./bad.kova:1: expected warning: other\n"},
        {"Raise New IOException\n", "./bad.kova:1: uncaught exception: IOException"},
        {"Print 1 ' expect: 1\n' expect exception IOException\n", "./bad.kova:0: expected exception: IOException\n"},
        {"Raise New IOException ' expect exception IOException 5\n",
         "./bad.kova:1: expected exception: IOException 5\n  got: IOException"},
        {"Class C\nMe As C\nEnd Class\nDim c As New C\nc.Me = c\n", "expected to be left alive: 0 C\n  got: 1\n"},
        {"' leaks circle: 1 C\n", "./bad.kova:1: expected to be left alive: 1 C\n  got: 0\n"},
        {"' leaks other: 1 C\n", "./bad.kova:1: the list of deliberate leaks has no entry other\n"},
        {"Print 1 ' expct: 1 is no expectation\n' expect 1\n", "./bad.kova:2: this is no expectation: expect 1\n"},
        {"While True\nWend\n", "./bad.kova: not done after 1 seconds\n"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.program);
        Write("bad.kova", c.program);
        std::vector<std::string> arguments = {"test", ".", "--filter", "bad"};
        if (std::string_view(c.failure).find("not done") != std::string_view::npos)
            arguments.insert(arguments.end(), {"--time-limit", "1"});
        got = Kova(arguments, WITHOUT_LEAK_SANITIZER);
        EXPECT_EQ(got.code, 1);
        EXPECT_THAT(got.output, StartsWith("FAILED ./bad.kova\n"));
        EXPECT_THAT(got.output, HasSubstr(c.failure));
        EXPECT_THAT(got.output, EndsWith("\n0 passed, 1 failed\n"));
    }
    EXPECT_EQ(Kova({"test", ".", "--filter", "no such program"}).code, 2);
}

TEST_F(CliCommand, TestsLongerOutputByAFileAndRewritesIt) {
    Write("long.kova", "For i As Integer = 1 To 3\nPrint i\nNext\n");
    Write("long.expected", "1\n2\n4\n");
    Outcome got = Kova({"test", "long.kova"});
    EXPECT_EQ(got.code, 1);
    EXPECT_EQ(got.output, "FAILED long.kova\n  long.expected:3: expected: 4\n  got: 3\n0 passed, 1 failed\n");
    got = Kova({"test", "long.kova", "--update"});
    EXPECT_EQ(got.output, "updated long.kova\n1 passed, 0 failed\n");
    EXPECT_EQ(Read("long.expected"), "1\n2\n3\n");
    EXPECT_EQ(Kova({"test", "long.kova"}).code, 0);
}

} // namespace
