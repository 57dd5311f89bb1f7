// The command as a user of the command line meets it: exit codes, streams, messages.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <string>
#include <vector>

#include <sys/wait.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

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
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "kova-cli-XXXXXX").native();
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder_ = pattern;
    }
    void TearDown() override { fs::remove_all(folder_); }

    std::string Write(const std::string& name, const std::string& text) {
        std::ofstream(folder_ / name, std::ios::binary) << text;
        return (folder_ / name).native();
    }

    std::string Read(const std::string& name) {
        std::ostringstream text;
        text << std::ifstream(folder_ / name, std::ios::binary).rdbuf();
        return text.str();
    }

    // Runs `kova` in the test's folder; `setup` is shell text before it.
    Outcome Kova(const std::vector<std::string>& arguments, const std::string& setup = "") {
        std::string line = "cd '" + folder_.native() + "'; " + setup + " '" KOVA_COMMAND "'";
        for (const std::string& argument : arguments) line += " '" + argument + "'";
        line += " >.output 2>.errors </dev/null";
        int status = std::system(line.c_str());
        return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), Read(".output"), Read(".errors")};
    }

private:
    fs::path folder_;
};

TEST_F(CliCommand, TellsUsageFromFailure) {
    struct Case {
        std::vector<std::string> arguments;
        int code;
        const char* output; // begins with
        const char* errors; // contains
    };
    const Case cases[] = {
        {{"--version"}, 0, "kova 1", ""},
        {{"--help"}, 0, "Runs programs", ""},
        {{"events", "--help"}, 0, "Print the reader's events", ""},
        {{}, 2, "", "kova: A subcommand is required\nTry 'kova --help'.\n"},
        {{"nonsense"}, 2, "", "Try 'kova --help'.\n"},
        {{"events"}, 2, "", "Try 'kova events --help'.\n"},
        {{"events", "--nonsense", "x"}, 2, "", "--nonsense"},
        {{"events", "missing.xml"}, 1, "", "kova: missing.xml: No such file or directory\n"},
        {{"events", "."}, 1, "", "kova: .: Is a directory\n"},
        {{"xql", "missing.xml", "/"}, 1, "", "kova: missing.xml: No such file or directory\n"},
        {{"xql", "a", "/", "--namespace", "nothing"}, 2, "", "PREFIX=URI"},
        {{"transform", "missing.xml", "missing.xsl"}, 1, "", "kova: missing.xml: No such file or directory\n"},
        {{"describe", "XmlReder"}, 1, "", "no class, module or function XmlReder (did you mean XmlReader?)\n"},
        {{"describe", "--without", "Nonsense"}, 2, "", "there is no service Nonsense\n"},
        {{"describe", "--plugin", "/dev/null"}, 1, "", "/dev/null"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::PrintToString(c.arguments));
        Outcome got = Kova(c.arguments);
        EXPECT_EQ(got.code, c.code);
        EXPECT_THAT(got.output, StartsWith(c.output));
        EXPECT_THAT(got.errors, HasSubstr(c.errors));
        // One stream or the other: what went wrong is no output, and what was asked for is no error.
        EXPECT_TRUE(got.output.empty() || got.errors.empty());
    }
}

TEST_F(CliCommand, DescribesFromTheRecords) {
    std::string catalogue = Kova({"describe"}).output;
    for (const char* line : {"\n  XmlReader\n", "\n  XmlStyleSheet  (XmlDocument)\n", "\n  XmlNodeType\n",
                             "\n  Mid(s As String, start As Integer) As String\n"})
        EXPECT_THAT(catalogue, HasSubstr(line));
    std::string node = Kova({"describe", "xmlnamespaces"}).output;
    EXPECT_THAT(node, StartsWith("Class XmlNamespaces\n"));
    EXPECT_THAT(node, HasSubstr("\nProperties\n  Count As Integer\n"));
    EXPECT_THAT(node, HasSubstr("\n  Uri(Prefix As String) As String  (can be assigned to)\n"));
    EXPECT_EQ(node.find('\033'), std::string::npos) << "colours belong on a terminal";
    EXPECT_EQ(Kova({"describe", "instr"}).output,
              "InStr(source As String, find As String) As Integer\n"
              "InStr(start As Integer, source As String, find As String) As Integer\n");
}

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
    // 55 MB of file in 40 MB of data; the limit means nothing to AddressSanitizer, which reserves its shadow.
    bool sanitized = fs::path(KOVA_COMMAND).parent_path().filename() == "i386-asan";
    Outcome got = Kova({"events", "--quiet", "huge.xml"}, sanitized ? "" : "ulimit -d 40000;");
    EXPECT_EQ(got.code, 0) << got.errors;
    EXPECT_THAT(got.output, HasSubstr("   1200001  StartElement\n"));
}

TEST_F(CliCommand, QueriesAndTransforms) {
    Write("a.xml", "<p:a xmlns:p='urn:p'>\n  <b k='1'>x</b><b k='2'/>\n</p:a>");
    Outcome got = Kova({"xql", "a.xml", "//b"});
    EXPECT_EQ(got.code, 0) << got.errors;
    EXPECT_EQ(got.output, "<b xmlns:p=\"urn:p\" k=\"1\">x</b>\n<b xmlns:p=\"urn:p\" k=\"2\"/>\n");
    EXPECT_EQ(Kova({"xql", "a.xml", "/n:a/b[1]/text()", "--namespace", "n=urn:p"}).output, "x\n");
    EXPECT_EQ(Kova({"xql", "a.xml", "//nothing"}).output, "");
    got = Kova({"xql", "a.xml", "//["});
    EXPECT_EQ(got.code, 1);
    EXPECT_EQ(got.errors, "kova: the query gives no list of nodes: //[\n");

    Write("style.xsl", "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
                       "<xsl:output method='text'/><xsl:template match='/'>"
                       "<xsl:value-of select='count(//b)'/></xsl:template></xsl:stylesheet>");
    got = Kova({"transform", "a.xml", "style.xsl"});
    EXPECT_EQ(got.code, 0) << got.errors;
    EXPECT_EQ(got.output, "2");
    EXPECT_EQ(Kova({"transform", "a.xml", "style.xsl", "-o", "result"}).output, "");
    EXPECT_EQ(Read("result"), "2");

    Write("broken.xml", "<a>\n</b>");
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"xql", "broken.xml", "/"}, {"transform", "broken.xml", "style.xsl"}}) {
        got = Kova(arguments);
        EXPECT_EQ(got.code, 1);
        EXPECT_THAT(got.errors, StartsWith("broken.xml:2: "));
        EXPECT_EQ(got.output, "");
    }
    EXPECT_THAT(Kova({"transform", "a.xml", "broken.xml"}).errors, StartsWith("broken.xml:2: "));
}

} // namespace
