// Serialising: escapes, declarations, and that what is written reads the same again.
#include "tests/sablotron/dom_support.h"

#include <fstream>
#include <sstream>

namespace sablot::test {
namespace {

TEST(Serialise, WritesCreatedContent) {
    Dom dom;
    SDOM_Document document = dom.Create();
    EXPECT_EQ(dom.Markup(document), "");
    SDOM_Node root = dom.Make(SDOM_createElement, document, "a");
    SDOM_appendChild(dom.situation, Dom::Node(document), root);
    SDOM_Node nodes[] = {
        dom.Make(SDOM_createTextNode, document, "&<>\r\n\t\"'"),
        dom.Make(SDOM_createCDATASection, document, "a<b]]>c"),
        dom.Make(SDOM_createCDATASection, document, "]]]>]]>\r]]"),
        dom.Make(SDOM_createCDATASection, document, ""),
        dom.Make(SDOM_createComment, document, "<&>"),
        dom.Make(SDOM_createProcessingInstruction, document, "p", "<&>"),
        dom.Make(SDOM_createProcessingInstruction, document, "q", ""),
        dom.Make(SDOM_createElement, document, "b"),
    };
    for (SDOM_Node node : nodes) {
        SDOM_appendChild(dom.situation, root, node);
        if (node != nodes[7]) {
            EXPECT_EQ(dom.Markup(node), "") << "only elements and documents are written";
        }
    }
    SDOM_setAttribute(dom.situation, root, "x", "&<>\r\n\t\"'");
    EXPECT_EQ(
        dom.Markup(document),
        "<a x=\"&amp;&lt;&gt;&#13;&#10;&#9;&quot;'\">&amp;&lt;&gt;&#13;\n\t\"'<![CDATA[a<b]]]]><![CDATA[>c]]>"
        "<![CDATA[]]]]]><![CDATA[>]]]]><![CDATA[>]]>&#13;<![CDATA[]]]]><![CDATA[]]><!--<&>--><?p <&>?><?q?><b/></a>");
    // The same text comes back.
    SDOM_Node again = dom.Root(dom.Parse(XML_DECLARATION + dom.Markup(document)));
    EXPECT_EQ(dom.Value(dom.Child(again, 0)), "&<>\r\n\t\"'a<b]]>c]]]>]]>\r]]");
    EXPECT_EQ(dom.Text(SDOM_getAttribute, again, "x"), "&<>\r\n\t\"'");
}

TEST(Serialise, DeclaresScopeOnElementsOnTheirOwn) {
    struct {
        const char* source;
        const char* markup; // of the first child of the first child
    } const CASES[] = {
        {"<r><a><b/></a></r>", "<b/>"},
        {"<r xmlns='d' xmlns:p='u'><a xmlns:q='v' xmlns:p='w'><b xmlns:s='z' x='1'/></a></r>",
         "<b xmlns:s=\"z\" xmlns:q=\"v\" xmlns:p=\"w\" xmlns=\"d\" x=\"1\"/>"},
        {"<r xmlns='d'><a xmlns=''><b/></a></r>", "<b/>"},
        {"<r xmlns='d'><a><b xmlns=''><c/></b></a></r>", "<b><c/></b>"},
        {"<r xmlns:p='u'><a><b><p:c xmlns:p='u'/></b></a></r>", "<b xmlns:p=\"u\"><p:c/></b>"},
    };
    Dom dom;
    for (const auto& row : CASES) {
        SDOM_Node root = dom.Root(dom.Parse(row.source));
        EXPECT_EQ(dom.Markup(dom.Child(dom.Child(root, 0), 0)), row.markup) << row.source;
    }
}

} // namespace
} // namespace sablot::test
