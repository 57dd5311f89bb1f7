// Real work: DocBook XSL makes HTML of an article, and the database of media types is queried.
#include "tests/sablotron/xslt_fixture.h"

#include <cstdio>
#include <fstream>
#include <memory>
#include <sstream>

namespace {

const std::string ARTICLE = R"(<?xml version="1.0"?>
<!DOCTYPE article [<!ENTITY product "The Product">]>
<article id="top" lang="en">
  <articleinfo>
    <title>About &product;</title>
    <author><firstname>A.</firstname><surname>Writer</surname></author>
    <pubdate>1999</pubdate>
    <abstract><para>What it is, and why.</para></abstract>
  </articleinfo>
  <section id="first"><title>First things &amp; others</title>
    <para>A paragraph with <emphasis>emphasis</emphasis>, <literal>code</literal>, a link to
      <xref linkend="second"/>, &#xE4;&#xF6;&#xFC; &#x20AC; and a footnote<footnote><para>Here.</para></footnote>.</para>
    <itemizedlist><listitem><para>one</para></listitem><listitem><para>two</para></listitem></itemizedlist>
    <orderedlist><listitem><para>first</para></listitem><listitem><para>second</para></listitem></orderedlist>
    <programlisting>if (a &lt; b) {
    return;
}</programlisting>
    <table><title>Numbers</title><tgroup cols="2"><thead><row><entry>n</entry><entry>n&#xB2;</entry></row></thead>
      <tbody><row><entry>1</entry><entry>1</entry></row><row><entry>2</entry><entry>4</entry></row></tbody></tgroup>
    </table>
  </section>
  <section id="second"><title>Second</title>
    <note><para>Mind the <ulink url="http://www.example.org/">link</ulink>.</para></note>
    <figure><title>A figure</title><mediaobject><imageobject><imagedata fileref="a.png"/></imageobject>
      <textobject><phrase>text</phrase></textobject></mediaobject></figure>
    <section><title>Deeper</title><para>See <xref linkend="first"/>.</para></section>
  </section>
  <glossary><glossentry><glossterm>Term</glossterm><glossdef><para>Definition.</para></glossdef></glossentry></glossary>
</article>
)";

std::string OutputOf(const std::string& command) {
    const std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), pclose);
    std::string output;
    char buffer[4096];
    while (const size_t count = std::fread(buffer, 1, sizeof buffer, pipe.get())) output.append(buffer, count);
    return output;
}

class RealWork : public XsltFixture {};

// HTML has no XML declaration, so that nothing differs from what libxslt's own tool writes.
TEST_F(RealWork, DocBookMakesTheSameHtmlAsXsltproc) {
    const std::string sheet = KOVA_SYSROOT "/usr/share/xml/docbook/stylesheet/docbook-xsl/html/docbook.xsl";
    const std::string file = "article.xml";
    std::ofstream(file) << ARTICLE;
    const std::string expected = OutputOf("xsltproc --nonet '" + sheet + "' " + file + " 2>/dev/null");
    ASSERT_GT(expected.size(), 3000U);
    const std::string importing = Sheet("<xsl:import href='" + sheet + "'/>");
    ASSERT_EQ(Transform(importing, ARTICLE), 0) << (messages.empty() ? "" : messages.back().Field("msg"));
    EXPECT_EQ(Out(), expected);
    SDOM_Document article = Parse(ARTICLE);
    const std::string before = Text(article);
    ASSERT_EQ(Transform(importing, article), 0);
    EXPECT_EQ(Out(), expected);
    EXPECT_EQ(Text(article), before);
}

TEST_F(RealWork, TheMediaTypesAreQueried) {
    std::stringstream text;
    text << std::ifstream(KOVA_SYSROOT "/usr/share/mime/packages/freedesktop.org.xml").rdbuf();
    SDOM_Document document = Parse(text.str());
    const auto count = [&](const char* query) {
        SDOM_NodeList list = nullptr;
        int length = -1;
        EXPECT_EQ(SDOM_xql(situation, query, reinterpret_cast<SDOM_Node>(document), &list), SDOM_OK) << query;
        SDOM_getNodeListLength(situation, list, &length);
        SDOM_disposeNodeList(situation, list);
        return length;
    };
    const int types = count("/mime-info/mime-type");
    EXPECT_GT(types, 500);
    EXPECT_EQ(count("//mime-type[@type]"), types);
    EXPECT_EQ(count("//mime-type/@type"), types);
    EXPECT_EQ(count("//glob[@pattern='*.xml']/parent::mime-type[@type='application/xml']"), 1);
    EXPECT_EQ(count("//mime-type[starts-with(@type, 'image/')] | //mime-type[not(starts-with(@type, 'image/'))]"),
              types);
    EXPECT_GT(count("//comment[@xml:lang='de']"), 100);
    EXPECT_EQ(count("//none"), 0);

    // Again from its own text.
    const std::string once = Text(document);
    SDOM_Document again = Parse(once);
    EXPECT_EQ(Text(again), once);
    EXPECT_EQ(Transform(Sheet("<xsl:output method='text'/><xsl:template match='/'><xsl:value-of select=\""
                              "count(//*[local-name()='mime-type'])\"/></xsl:template>"),
                        again),
              0);
    EXPECT_EQ(Out(), std::to_string(types));
}

} // namespace
