// What queries and transformations cost beside plain libxml2 and libxslt doing the same work on the same text. Each
// iteration runs both, so that a ratio is one of the same moment; times and ratios are the counters, in milliseconds.
#include "bench/sablotron/duel.h"

#include <libexslt/exslt.h>
#include <libxml/xpathInternals.h>
#include <libxslt/transform.h>
#include <libxslt/xsltutils.h>

#include <cstdlib>

namespace {

const char* const MIME_URI = "http://www.freedesktop.org/standards/shared-mime-info";

struct QueryCase {
    const char* label;
    const char* query; // unprefixed for the library
    const char* plain; // the same with a prefix
    int repeats;
};

constexpr QueryCase QUERIES[] = {
    {"all of one name", "//mime-type", "//m:mime-type", 1},
    {"by an attribute", "//mime-type[@type='application/xml']", "//m:mime-type[@type='application/xml']", 1},
    {"union", "//glob | //magic", "//m:glob | //m:magic", 1},
    {"parents", "//glob[@pattern='*.xml']/..", "//m:glob[@pattern='*.xml']/..", 1},
    {"1000 small ones", "mime-type[1]/@type", "m:mime-type[1]/@type", 1000},
};

void Query(benchmark::State& state) {
    const QueryCase& c = QUERIES[state.range(0)];
    state.SetLabel(c.label);
    const std::string text = MimeTypes();
    const Library library;
    SDOM_Document document = library.Parse(text);
    SDOM_Node root = nullptr;
    for (SDOM_getFirstChild(library.situation, reinterpret_cast<SDOM_Node>(document), &root); root != nullptr;
         SDOM_getNextSibling(library.situation, root, &root)) {
        SDOM_NodeType type = SDOM_OTHER_NODE;
        SDOM_getNodeType(library.situation, root, &type);
        if (type == SDOM_ELEMENT_NODE) break;
    }
    xmlDoc* plain = ParsePlain(text);
    int found = 0;
    int expected = 0;
    Duel duel;
    for (auto _ : state) {
        duel.Run(
            [&] {
                for (int i = 0; i < c.repeats; ++i) {
                    SDOM_NodeList list = nullptr;
                    SDOM_xql(library.situation, c.query, root, &list);
                    SDOM_getNodeListLength(library.situation, list, &found);
                    SDOM_disposeNodeList(library.situation, list);
                }
            },
            [&] {
                for (int i = 0; i < c.repeats; ++i) {
                    xmlXPathContext* context = xmlXPathNewContext(plain);
                    context->node = xmlDocGetRootElement(plain);
                    xmlXPathRegisterNs(context, reinterpret_cast<const xmlChar*>("m"),
                                       reinterpret_cast<const xmlChar*>(MIME_URI));
                    xmlXPathObject* value = xmlXPathEval(reinterpret_cast<const xmlChar*>(c.plain), context);
                    expected = value->nodesetval->nodeNr;
                    xmlXPathFreeObject(value);
                    xmlXPathFreeContext(context);
                }
            });
    }
    if (found != expected) state.SkipWithError("the results differ");
    duel.Report(state);
    xmlFreeDoc(plain);
}
BENCHMARK(Query)->DenseRange(0, std::size(QUERIES) - 1)->Unit(benchmark::kMillisecond);

const std::string SHEET_BEGIN = "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>";
const std::string IDENTITY = SHEET_BEGIN
                             + "<xsl:template match='@*|node()'><xsl:copy><xsl:apply-templates select='@*|node()'/>"
                               "</xsl:copy></xsl:template></xsl:stylesheet>";
const std::string TABLE =
    SHEET_BEGIN
    + "<xsl:output method='html'/><xsl:key name='k' match='record' use='@kind'/><xsl:template match='/'><table>"
      "<xsl:for-each select='records/record'><xsl:sort select='@id' data-type='number' order='descending'/>"
      "<tr id='{@id}'><td><xsl:value-of select='name'/></td><td><xsl:number value='position()'/></td></tr>"
      "</xsl:for-each></table><p><xsl:value-of select=\"count(key('k', 'k'))\"/></p></xsl:template></xsl:stylesheet>";
const std::string HELLO = SHEET_BEGIN
                          + "<xsl:template match='/'><hello><xsl:value-of select='*/*[1]/@id'/></hello></xsl:template>"
                            "</xsl:stylesheet>";
const std::string DOCBOOK = SHEET_BEGIN
                            + "<xsl:import href='" KOVA_SYSROOT
                              "/usr/share/xml/docbook/stylesheet/docbook-xsl/html/docbook.xsl'/></xsl:stylesheet>";

std::string Article() {
    std::string text = "<article><title>Title</title>";
    for (int i = 0; i < 50; ++i)
        text += "<section><title>Section</title><para>Text with <emphasis>emphasis</emphasis>.</para><itemizedlist>"
                "<listitem><para>one</para></listitem></itemizedlist></section>";
    return text + "</article>";
}

struct TransformCase {
    const char* label;
    const std::string& stylesheet;
    std::string (*source)();
    int repeats;
};

const TransformCase TRANSFORMS[] = {
    {"identity of 20,000 records", IDENTITY, [] { return Records(20'000); }, 1},
    {"sorted table of 20,000 records", TABLE, [] { return Records(20'000); }, 1},
    {"1000 small ones", HELLO, [] { return Records(1); }, 1000},
    {"DocBook", DOCBOOK, Article, 1},
};

// The same text again and again with trees that live: the library compiles once, as plain libxslt does here.
void Transform(benchmark::State& state) {
    const TransformCase& c = TRANSFORMS[state.range(0)];
    state.SetLabel(c.label);
    const std::string text = c.source();
    const Library library;
    SablotHandle processor = nullptr;
    SablotCreateProcessorForSituation(library.situation, &processor);
    SDOM_Document document = library.Parse(text);
    std::string ours;
    const auto run = [&] {
        SablotAddArgBuffer(library.situation, processor, "style", c.stylesheet.c_str());
        SablotAddArgTree(library.situation, processor, "doc", document);
        SablotRunProcessorGen(library.situation, processor, "arg:/style", "arg:/doc", "arg:/out");
        char* result = nullptr;
        SablotGetResultArg(processor, "arg:/out", &result);
        ours = result != nullptr ? result : "";
        std::free(result);
    };
    exsltRegisterAll();
    xmlDoc* plain = ParsePlain(text);
    xmlDoc* sheet = xmlReadMemory(c.stylesheet.data(), static_cast<int>(c.stylesheet.size()), "style.xsl", nullptr,
                                  XSLT_PARSE_OPTIONS);
    xsltStylesheet* compiled = xsltParseStylesheetDoc(sheet);
    int length = 0;
    run(); // compiles
    Duel duel;
    for (auto _ : state) {
        duel.Run(
            [&] {
                for (int i = 0; i < c.repeats; ++i) run();
            },
            [&] {
                for (int i = 0; i < c.repeats; ++i) {
                    xmlDoc* result = xsltApplyStylesheet(compiled, plain, nullptr);
                    xmlChar* output = nullptr;
                    xsltSaveResultToString(&output, &length, result, compiled);
                    xmlFree(output);
                    xmlFreeDoc(result);
                }
            });
    }
    // Apart from the XML declaration the results are the same.
    if (ours.empty() || std::abs(static_cast<int>(ours.size()) - length) > 20)
        state.SkipWithError("the results differ");
    duel.Report(state);
    xsltFreeStylesheet(compiled);
    xmlFreeDoc(plain);
    SablotDestroyProcessor(processor);
}
BENCHMARK(Transform)->DenseRange(0, std::size(TRANSFORMS) - 1)->Unit(benchmark::kMillisecond);

} // namespace
