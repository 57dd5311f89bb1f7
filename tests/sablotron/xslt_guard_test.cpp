// What a hostile stylesheet, source or query can do: each case would succeed, crash or never end without its guard.
#include "sablotron/transform/processor.h"
#include "tests/sablotron/xslt_fixture.h"
#include "tests/sanitizers.h"

#include <gmock/gmock.h>

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace {

namespace fs = std::filesystem;

class Guards : public XsltFixture {
protected:
    Guards() { Write("data.xml", "<secret>42</secret>"); }

    std::string Write(const std::string& name, const std::string& text) {
        std::ofstream(directory / name) << text;
        return Path(name);
    }
    std::string Path(const std::string& name) const { return (directory / name).string(); }
    // What document() finds at the URI.
    std::string Document(const std::string& uri) {
        return Result(Template("<o><xsl:value-of select=\"document('" + uri + "')\"/></o>"), "<a/>");
    }

    fs::path directory = fs::current_path();
};

TEST_F(Guards, OnlyArgumentsAndLocalFilesAreRead) {
    const std::string file = Path("data.xml");
    for (const std::string& uri : {file, "file://" + file, "file://localhost" + file, "file:" + file})
        EXPECT_EQ(Document(uri), "<o>42</o>") << uri;
    fs::create_symlink(file, Path("link.xml"));
    EXPECT_EQ(Document(Path("link.xml")), "<o>42</o>");
    ASSERT_EQ(std::system(("mkfifo " + Path("pipe")).c_str()), 0);
    for (const std::string& uri :
         {std::string("http://localhost/x.xml"), std::string("https://localhost/x.xml"),
          std::string("ftp://localhost/x"), "file://elsewhere" + file, "//localhost" + file, std::string("arg:/none"),
          std::string("none.xml"), Path("none.xml"), directory.string(), std::string("/dev/zero"), Path("pipe"),
          std::string("data:text/xml,a"), std::string("-"), std::string("/dev/stdin")}) {
        EXPECT_EQ(Transform(Template("<o><xsl:value-of select=\"document('" + uri + "')\"/></o>"), "<a/>"), 65) << uri;
        ASSERT_EQ(messages.size(), 1U) << uri;
        EXPECT_THAT(messages[0].Field("msg"), testing::MatchesRegex("'.*' not found"));
    }
}

// A module may take declarations from another file, as the stylesheets for DocBook do; no content.
TEST_F(Guards, FilesMayIncludeFilesAndDeclarations) {
    Write("entities.ent", "<!ENTITY hello 'hello'>");
    Write("base.xsl", Sheet("<xsl:template name='t'><xsl:value-of select=\"document('data.xml', document(''))\"/>"
                            "</xsl:template>"));
    const std::string main =
        Write("main.xsl", "<!DOCTYPE xsl:stylesheet [<!ENTITY % e SYSTEM 'entities.ent'>%e;]>"
                              + Sheet("<xsl:import href='base.xsl'/><xsl:template match='/'><o>&hello;"
                                      "<xsl:value-of select=\"document('data.xml')\"/></o></xsl:template>"));
    EXPECT_EQ(Result(Sheet("<xsl:import href='" + main + "'/>"), "<a/>"), "<o>hello42</o>");
    fs::remove(Path("entities.ent"));
    EXPECT_EQ(Result(Sheet("<xsl:import href='" + main + "'/>"), "<a/>"),
              "code 65: '" + Path("entities.ent") + "' not found");
    Write("entity.xml", "<!DOCTYPE a [<!ENTITY e SYSTEM 'data.xml'>]><a>&e;</a>");
    EXPECT_EQ(Document(Path("entity.xml")),
              "code 2: " + Path("entity.xml") + ", line 1: XML parser error 29: External entity 'e' is not read");
    // A document type declaration that is out of reach is no failure.
    Write("dtd.xml", "<!DOCTYPE a PUBLIC 'x' 'http://localhost/x.dtd'><a>1</a>");
    EXPECT_EQ(Document(Path("dtd.xml")), "<o>1</o>");
}

TEST_F(Guards, ArgumentsReadNothingElse) {
    const std::string entity = "<!DOCTYPE a [<!ENTITY e SYSTEM '" + Path("data.xml") + "'>]><a>&e;</a>";
    EXPECT_EQ(Transform(Template("<o><xsl:value-of select='.'/></o>"), entity), 2);
    EXPECT_EQ(
        Transform("<!DOCTYPE a [<!ENTITY e SYSTEM '" + Path("data.xml") + "'>]>" + Template("<o>&e;</o>"), "<a/>"), 2);
    SablotAddArgBuffer(situation, processor, "extra", entity.c_str());
    EXPECT_THAT(Document("arg:/extra"), testing::HasSubstr("code 2: "));
    const std::string include =
        "<x xmlns:i='http://www.w3.org/2001/XInclude'><i:include href='" + Path("data.xml") + "'/></x>";
    SablotAddArgBuffer(situation, processor, "extra", include.c_str());
    EXPECT_EQ(Document("extra"), "<o/>");
}

TEST_F(Guards, NothingIsWritten) {
    const std::string target = Path("written");
    const struct {
        const char* uri;
        const char* instruction;
    } CASES[] = {
        {"http://exslt.org/common", "<x:document href='%'>1</x:document>"},
        {"http://icl.com/saxon", "<x:output href='%'>1</x:output>"},
        {"http://icl.com/saxon", "<x:output file='%'>1</x:output>"},
        {"org.apache.xalan.xslt.extensions.Redirect", "<x:write file='%'>1</x:write>"},
        {"org.apache.xalan.xslt.extensions.Redirect", "<x:write select=\"'%'\">1</x:write>"},
        {"http://www.jclark.com/xt", "<x:document href='%'>1</x:document>"},
        {"http://www.w3.org/1999/XSL/Transform", "<x:document href='%'>1</x:document>"},
    };
    for (const auto& c : CASES) {
        std::string instruction = c.instruction;
        instruction.replace(instruction.find('%'), 1, target);
        EXPECT_EQ(Transform("<xsl:stylesheet version='1.1' xmlns:xsl='http://www.w3.org/1999/XSL/Transform' xmlns:x='"
                                + std::string(c.uri) + "' extension-element-prefixes='x'><xsl:template match='/'>"
                                + instruction + "</xsl:template></xsl:stylesheet>",
                            "<a/>"),
                  1)
            << c.instruction;
        EXPECT_EQ(messages.size(), 1U);
        EXPECT_FALSE(fs::exists(target)) << c.instruction;
    }
}

TEST_F(Guards, EntityBombsEndInAnError) {
    std::string bomb = "<!DOCTYPE a [<!ENTITY e0 'xxxxxxxxxx'>";
    for (int i = 1; i < 12; ++i) {
        bomb += "<!ENTITY e" + std::to_string(i) + " '";
        for (int j = 0; j < 10; ++j) bomb += "&e" + std::to_string(i - 1) + ";";
        bomb += "'>";
    }
    bomb += "]><a>&e11;</a>";
    EXPECT_EQ(Transform(Template("<o/>"), bomb), 2);
    EXPECT_THAT(Document(Write("bomb.xml", bomb)), testing::HasSubstr("code 2: "));
}

// ---- Recursion ------------------------------------------------------------------------------------------------------

std::string Nested(int depth, const std::string& open, const std::string& close, const std::string& inner = "") {
    std::string text;
    for (int i = 0; i < depth; ++i) text += open;
    text += inner;
    for (int i = 0; i < depth; ++i) text += close;
    return text;
}

TEST_F(Guards, RunawayRecursionEndsInAnError) {
    const std::string deep = Nested(IS_SANITIZED ? 600000 : 150000, "<a>", "</a>", "x"); // its stack is larger
    const std::string shallow = Nested(500, "<a>", "</a>", "x");
    const std::string functions = "<f:function name='x:f' xmlns:f='http://exslt.org/functions' xmlns:x='urn:x'>";
    const struct {
        const char* name;
        std::string content;
        const std::string& source;
    } CASES[] = {
        {"template", "<xsl:template match='/' name='t'><xsl:call-template name='t'/></xsl:template>", shallow},
        {"instructions",
         "<xsl:template match='/' name='t'>"
             + Nested(40, "<b><xsl:if test='1'>", "</xsl:if></b>", "<xsl:call-template name='t'/>") + "</xsl:template>",
         shallow},
        {"elements",
         "<xsl:template match='/' name='t'><xsl:element name='b'><xsl:copy><xsl:for-each select='.'>"
         "<xsl:comment><xsl:call-template name='t'/></xsl:comment></xsl:for-each></xsl:copy></xsl:element>"
         "</xsl:template>",
         shallow},
        {"rules", "<xsl:template match='text()'><xsl:apply-templates select='/'/></xsl:template>", shallow},
        {"imports", "<xsl:template match='text()'><xsl:apply-imports/><xsl:apply-templates select='/'/></xsl:template>",
         shallow},
        {"variable",
         "<xsl:template match='/' name='t'><xsl:variable name='v'><xsl:call-template name='t'/>"
         "</xsl:variable><xsl:copy-of select='$v'/></xsl:template>",
         shallow},
        {"parameter",
         "<xsl:template match='/' name='t'><xsl:call-template name='t'><xsl:with-param name='p'>"
         "<xsl:call-template name='t'/></xsl:with-param></xsl:call-template></xsl:template>",
         shallow},
        {"function",
         functions
             + "<f:result select='x:f()' xmlns:f='http://exslt.org/functions'/></f:function>"
               "<xsl:template match='/'><xsl:value-of select='x:f()'/></xsl:template>",
         shallow},
        {"function without result",
         functions
             + "<xsl:variable name='v' select='x:f()'/></f:function>"
               "<xsl:template match='/'><xsl:value-of select='x:f()'/></xsl:template>",
         shallow},
        {"nesting", "<xsl:template match='/'>" + Nested(100000, "<xsl:if test='1'>", "</xsl:if>") + "</xsl:template>",
         shallow},
        {"built-in rules", "", deep},
        {"rules of a deep tree", "<xsl:template match='*'><xsl:copy><xsl:apply-templates/></xsl:copy></xsl:template>",
         deep},
        {"copy of a deep tree", "<xsl:template match='/'><xsl:copy-of select='.'/></xsl:template>", deep},
        {"copy of a deep document", "<xsl:template match='/'><xsl:copy-of select=\"document('deep')\"/></xsl:template>",
         shallow},
        {"rules of a deep document",
         "<xsl:template match='/'><xsl:apply-templates select=\"document('deep')\"/></xsl:template>", shallow},
        {"copies of copies",
         "<xsl:template match='/' name='t'><xsl:param name='p'/><xsl:call-template name='t'><xsl:with-param name='p'>"
             + Nested(200, "<b>", "</b>", "<xsl:copy-of select='$p'/>")
             + "</xsl:with-param></xsl:call-template></xsl:template>",
         shallow},
        {"walks of copies",
         "<xsl:template match='/'><xsl:call-template name='t'/></xsl:template><xsl:template name='t'><xsl:param "
         "name='p'/><xsl:call-template name='t'><xsl:with-param name='p'>"
             + Nested(200, "<b>", "</b>", "<xsl:apply-templates select='e:node-set($p)/*'/>")
             + "</xsl:with-param></xsl:call-template></xsl:template><xsl:template match='b'><b><xsl:apply-templates/>"
               "</b></xsl:template>",
         shallow},
    };
    SablotAddArgBuffer(situation, processor, "deep", deep.c_str());
    for (const auto& c : CASES) {
        // Ends for want of memory, of which AddressSanitizer has less.
        if (IS_SANITIZED && c.name == std::string_view("copies of copies")) continue;
        SCOPED_TRACE(c.name);
        EXPECT_EQ(Transform("<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform' xmlns:d="
                            "'http://exslt.org/dynamic' xmlns:x='urn:x' xmlns:e='http://exslt.org/common' "
                            "extension-element-prefixes='f' xmlns:f='http://exslt.org/functions'>"
                                + c.content + "</xsl:stylesheet>",
                            c.source),
                  1);
        ASSERT_EQ(messages.size(), 1U);
    }
}

TEST_F(Guards, DepthThatIsNotWalkedIsFine) {
    const std::string deep = Nested(100000, "<a>", "</a>", "x");
    EXPECT_EQ(Result(Template("<o><xsl:value-of select='.'/><xsl:for-each select='//a[not(*)]'>"
                              "<xsl:value-of select='count(ancestor::*)'/></xsl:for-each></o>"),
                     deep),
              "<o>x99999</o>");
    const std::string nested = Nested(50000, "<a>", "</a>", "x");
    EXPECT_EQ(Result(Template(nested), "<a/>"), nested);
    EXPECT_EQ(Result("<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
                     "<xsl:template match='*'><xsl:copy><xsl:apply-templates/></xsl:copy></xsl:template>"
                     "</xsl:stylesheet>",
                     Nested(1000, "<a>", "</a>", "x")),
              Nested(1000, "<a>", "</a>", "x"));
}

TEST_F(Guards, CirclesOfModulesEndInAnError) {
    const struct {
        const char* first;
        const char* second;
    } CASES[] = {{"import", "import"}, {"include", "include"}, {"import", "include"}, {"include", "import"}};
    for (const auto& c : CASES) {
        SablotAddArgBuffer(situation, processor, "m", Sheet(std::string("<xsl:") + c.second + " href='n'/>").c_str());
        SablotAddArgBuffer(situation, processor, "n", Sheet(std::string("<xsl:") + c.first + " href='m'/>").c_str());
        EXPECT_NE(Transform(Sheet(std::string("<xsl:") + c.first + " href='m'/>"), "<a/>"), 0);
        EXPECT_EQ(messages.size(), 1U) << c.first << " " << c.second;
    }
}

// EXSLT lets an expression that cannot be evaluated pass as nothing.
TEST_F(Guards, EvaluationOfItselfEnds) {
    EXPECT_EQ(Result("<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform' xmlns:d="
                     "'http://exslt.org/dynamic' exclude-result-prefixes='d'><xsl:variable name='e'>d:evaluate($e)"
                     "</xsl:variable><xsl:template match='/'><o><xsl:value-of select='d:evaluate($e)'/></o>"
                     "</xsl:template></xsl:stylesheet>",
                     "<a/>"),
              "<o/>");
}

TEST_F(Guards, RunsThatMultiplyEnd) {
    processor->maxInstructions = 100'000;
    EXPECT_EQ(Transform(Sheet("<xsl:template match='/' name='t'><xsl:param name='n' select='0'/>"
                              "<xsl:if test='$n &lt; 60'><xsl:call-template name='t'><xsl:with-param name='n' "
                              "select='$n + 1'/></xsl:call-template><xsl:call-template name='t'><xsl:with-param "
                              "name='n' select='$n + 1'/></xsl:call-template></xsl:if></xsl:template>"),
                        "<a/>"),
              1);
}

// The memory is that of tests; a run has a gigabyte.
TEST_F(Guards, RunsThatDoubleWhatTheyHoldEnd) {
    processor->maxMemory = size_t{1} << 25;
    for (const char* parameter :
         {" select='concat($v, $v)'/>", "><b><xsl:copy-of select='$v'/><xsl:copy-of select='$v'/></b></xsl:with-param>",
          "><xsl:value-of select='$v'/><xsl:value-of select='$v'/></xsl:with-param>"}) {
        EXPECT_EQ(Transform(Sheet("<xsl:template match='/' name='t'><xsl:param name='v' select='\"x\"'/>"
                                  "<xsl:message><xsl:value-of select='string-length($v)'/></xsl:message>"
                                  "<xsl:call-template name='t'><xsl:with-param name='v'"
                                  + std::string(parameter) + "</xsl:call-template></xsl:template>"),
                            "<a/>"),
                  1)
            << parameter;
        EXPECT_THAT(messages.back().Field("msg"), testing::HasSubstr("The run ")) << parameter;
    }
}

TEST_F(Guards, ExpressionsThatMultiplyEnd) {
    std::string source = "<a>";
    for (int i = 0; i < 100; ++i) source += "<b/>";
    source += "</a>";
    sablot::maxXPathOperations = 100'000;
    for (const char* content : {"<xsl:value-of select='count(//b[count(//b[count(//b) > 0]) > 0])'/>",
                                "<xsl:for-each select='//b'><xsl:if test='//b[count(//b) = 0]'/></xsl:for-each>",
                                "<xsl:variable name='v' select='//b'/><xsl:for-each select='//b'><xsl:for-each "
                                "select='$v'><xsl:if test='$v | $v'/></xsl:for-each></xsl:for-each>"})
        EXPECT_EQ(Transform(Template(content), source), 1) << content;
}

} // namespace
