// Which compiled stylesheets are kept and for how long, and that a run leaves no trace on trees.
#include "sablotron/transform/stylesheet.h"
#include "sablotron/tree/tree.h"
#include "tests/sablotron/xslt_fixture.h"

#include <filesystem>
#include <fstream>

namespace {

using sablot::FindDocument;

class Cache : public XsltFixture {
protected:
    SDOM_Document ParseStylesheet(const std::string& text) {
        SDOM_Document document = nullptr;
        EXPECT_EQ(SablotParseStylesheetBuffer(situation, text.c_str(), &document), 0) << text;
        documents.push_back(document);
        return document;
    }
    const void* CompiledOf(SDOM_Document document) { return FindDocument(document)->stylesheet.get(); }
    const void* LatestText() { return processor->compiledTexts.at(0).stylesheet.get(); }
};

TEST_F(Cache, ATreeIsCompiledOnceUntilItIsEdited) {
    SDOM_Document style = ParseStylesheet(Template("<a><b/></a>"));
    const void* compiled = CompiledOf(style);
    ASSERT_NE(compiled, nullptr);
    for (const char* source : {"<x/>", "<y/>"}) {
        EXPECT_EQ(Transform(style, Parse(source)), 0);
        EXPECT_EQ(Content(Out()), "<a><b/></a>");
        EXPECT_EQ(CompiledOf(style), compiled);
    }
    // The same tree by another processor.
    SablotHandle other = nullptr;
    SablotCreateProcessorForSituation(situation, &other);
    SablotAddArgTree(situation, other, "style", style);
    SablotAddArgTree(situation, other, "doc", Parse("<z/>"));
    EXPECT_EQ(SablotRunProcessorGen(situation, other, "arg:/style", "arg:/doc", "arg:/out"), 0);
    SablotDestroyProcessor(other);
    EXPECT_EQ(CompiledOf(style), compiled);

    SDOM_NodeList list = nullptr;
    SDOM_Node a = nullptr;
    ASSERT_EQ(SDOM_xql(situation, "//a", reinterpret_cast<SDOM_Node>(style), &list), SDOM_OK);
    ASSERT_EQ(SDOM_getNodeListItem(situation, list, 0, &a), SDOM_OK);
    SDOM_disposeNodeList(situation, list);
    EXPECT_EQ(SDOM_setAttribute(situation, a, "edited", "{1 + 1}"), SDOM_OK);
    EXPECT_EQ(CompiledOf(style), nullptr);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Content(Out()), "<a edited=\"2\"><b/></a>");
    // An edit that breaks it fails at the next run and can be repaired.
    EXPECT_EQ(SDOM_setAttribute(situation, a, "edited", "{1 +}"), SDOM_OK);
    EXPECT_EQ(Run(), 18);
    EXPECT_EQ(SDOM_removeAttribute(situation, a, "edited"), SDOM_OK);
    EXPECT_EQ(Run(), 0);
    EXPECT_EQ(Content(Out()), "<a><b/></a>");
}

TEST_F(Cache, AnOrdinaryTreeCanBeAStylesheet) {
    SDOM_Document style = Parse(Template("<a/>"));
    EXPECT_EQ(CompiledOf(style), nullptr);
    EXPECT_EQ(Transform(style, Parse("<x/>")), 0);
    EXPECT_NE(CompiledOf(style), nullptr);
}

TEST_F(Cache, TheLatestTextsAreKept) {
    Transform(Template("<a/>"), "<x/>");
    const void* first = LatestText();
    Transform(Template("<b/>"), "<x/>");
    EXPECT_NE(LatestText(), first);
    Transform(Template("<a/>"), "<y/>");
    EXPECT_EQ(LatestText(), first);
    for (int i = 0; i < 20; ++i) Transform(Template("<a>" + std::to_string(i) + "</a>"), "<x/>");
    EXPECT_EQ(processor->compiledTexts.size(), 4U);
    EXPECT_EQ(Result(Template("<a/>"), "<x/>"), "<a/>");
    EXPECT_EQ(Transform("<broken/>", "<x/>"), 1);
    EXPECT_EQ(processor->compiledTexts.size(), 4U);
}

TEST_F(Cache, ChangedModulesAreSeen) {
    const auto module = [](const char* value) {
        return Sheet(std::string("<xsl:variable name='v' select=\"'") + value + "'\"/>");
    };
    const std::string file = std::filesystem::current_path() / "module.xsl";
    const auto write = [&file](const std::string& text) { std::ofstream(file) << text; };
    const std::string main = "<xsl:template match='/'><o><xsl:value-of select='$v'/></o></xsl:template>";

    SDOM_Document tree = Parse(module("1"));
    SablotAddArgTree(situation, processor, "tree", tree);
    SablotAddArgBuffer(situation, processor, "text", module("1").c_str());
    write(module("1"));
    for (const std::string& uri : {std::string("tree"), std::string("text"), file}) {
        const std::string sheet = Sheet("<xsl:import href='" + uri + "'/>" + main);
        EXPECT_EQ(Result(sheet, "<x/>"), "<o>1</o>") << uri;
        const void* compiled = LatestText();
        EXPECT_EQ(Result(sheet, "<x/>"), "<o>1</o>") << uri;
        EXPECT_EQ(LatestText(), compiled) << uri;
        SDOM_Node variable = nullptr;
        SDOM_getFirstChild(situation, Root(tree), &variable);
        SDOM_setAttribute(situation, variable, "select", "2");
        SablotAddArgBuffer(situation, processor, "text", module("2").c_str());
        write(module("2") + " ");
        EXPECT_EQ(Result(sheet, "<x/>"), "<o>2</o>") << uri;
        SDOM_setAttribute(situation, variable, "select", "1");
        SablotAddArgBuffer(situation, processor, "text", module("1").c_str());
        write(module("1"));
    }
}

// Everything that libxslt and libxml2 can leave on a tree.
std::vector<std::string> Traces(const xmlDoc* tree) {
    std::vector<std::string> traces;
    const auto add = [&traces](const void* node, const void* psvi, unsigned flags, const void* extra) {
        traces.push_back(std::to_string(reinterpret_cast<uintptr_t>(node)) + ' '
                         + std::to_string(reinterpret_cast<uintptr_t>(psvi)) + ' ' + std::to_string(flags) + ' '
                         + std::to_string(reinterpret_cast<uintptr_t>(extra)));
    };
    add(tree, tree->psvi, static_cast<unsigned>(tree->properties), tree->_private);
    traces.emplace_back(tree->URL != nullptr ? sablot::Chars(tree->URL) : "no URL");
    for (const xmlNode* node : sablot::Walk(sablot::AsNode(tree))) {
        if (sablot::IsDocument(node)) continue;
        add(node, node->psvi, node->extra, node->_private);
        traces.push_back(std::to_string(node->line));
        if (!sablot::IsElement(node)) {
            traces.emplace_back(sablot::View(node->content));
            continue;
        }
        add(node, node->content, 0, node->ns);
        for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            add(attribute, attribute->psvi, static_cast<unsigned>(attribute->atype), attribute->_private);
    }
    return traces;
}

TEST_F(Cache, ARunLeavesNoTraceOnItsTrees) {
    const std::string lines(70000, '\n');
    const std::string text =
        "<r xmlns:p='urn:p'>" + lines + "<i k='1'> <p:j/> </i><i k='2'>b<!--c--><?t d?></i>\n" + "<i k='1'>\n</i></r>";
    SDOM_Document source = Parse(text);
    SDOM_Node root = Root(source);
    SDOM_Node child = nullptr;
    SDOM_getLastChild(situation, root, &child);
    const std::string before = Text(source);
    const std::vector<std::string> traces = Traces(FindDocument(source)->Tree());
    for (const char* content :
         {"<xsl:key name='k' match='i' use='@k'/><xsl:key name='j' match='@k' use='.'/><xsl:template match='/'><o>"
          "<xsl:value-of select=\"count(key('k','1') | key('j','2'))\"/><xsl:value-of "
          "select='generate-id(//text()[1])'/>"
          "<xsl:value-of select='generate-id(//@k)'/><xsl:value-of select='generate-id(/)'/></o></xsl:template>"
          "<xsl:template match=\"key('k','1')\"/>",
          "<xsl:strip-space elements='*'/><xsl:template match='/'><o><xsl:copy-of select='.'/></o></xsl:template>",
          "<xsl:template match='/'><o><xsl:copy-of select=\"document('arg:/doc')//i\"/></o></xsl:template>",
          "<xsl:template match='/'><xsl:for-each select='//i | //text()'><xsl:sort select='.'/><o/>"
          "</xsl:for-each></xsl:template>",
          "<xsl:template match='/'><xsl:value-of select='$undeclared'/></xsl:template>"}) {
        Transform(Sheet(content), source);
        EXPECT_EQ(Traces(FindDocument(source)->Tree()), traces) << content;
        EXPECT_EQ(Text(source), before) << content;
    }
    SDOM_Node again = nullptr;
    SDOM_getLastChild(situation, root, &again);
    EXPECT_EQ(again, child);

    SDOM_Document style = Parse(Sheet("<!--c--> <xsl:template match='/'> <a/> </xsl:template>"));
    const std::string sheet = Text(style);
    const std::vector<std::string> sheetTraces = Traces(FindDocument(style)->Tree());
    EXPECT_EQ(Transform(style, source), 0);
    EXPECT_EQ(Text(style), sheet);
    EXPECT_EQ(Traces(FindDocument(style)->Tree()), sheetTraces);
    // A stylesheet may be its own source.
    EXPECT_EQ(Transform(style, style), 0);
    EXPECT_EQ(Text(style), sheet);
}

} // namespace
