// What the document object model costs beside plain libxml2 doing the same work on the same text. Each iteration runs
// both, so that a ratio is one of the same moment; times and ratios are the counters, in milliseconds.
#include "bench/sablotron/duel.h"

#include <benchmark/benchmark.h>
#include <libxml/parser.h>
#include <malloc.h>

#include <string>

namespace {

const std::string& Source(benchmark::State& state) {
    static const std::string SOURCES[] = {MimeTypes(), Records(100'000)};
    static const char* const NAMES[] = {"freedesktop.org.xml", "100,000 records"};
    const auto index = static_cast<size_t>(state.range(0));
    state.SetLabel(NAMES[index]);
    return SOURCES[index];
}

size_t Used() { return mallinfo2().uordblks; }

void ParseAndFree(benchmark::State& state) {
    const std::string& source = Source(state);
    const Library library;
    Duel duel;
    for (auto _ : state)
        duel.Run([&] { SablotDestroyDocument(library.situation, library.Parse(source)); },
                 [&] { xmlFreeDoc(ParsePlain(source)); });
    duel.Report(state);

    // Bytes of a document for each byte of its text.
    const auto size = static_cast<double>(source.size());
    size_t before = Used();
    SDOM_Document document = library.Parse(source);
    state.counters["ours_bytes"] = static_cast<double>(Used() - before) / size;
    SablotDestroyDocument(library.situation, document);
    before = Used();
    xmlDoc* tree = ParsePlain(source);
    state.counters["libxml2_bytes"] = static_cast<double>(Used() - before) / size;
    xmlFreeDoc(tree);
}

void Serialise(benchmark::State& state) {
    const std::string& source = Source(state);
    const Library library;
    SDOM_Document document = library.Parse(source);
    xmlDoc* tree = ParsePlain(source);
    Duel duel;
    for (auto _ : state)
        duel.Run(
            [&] {
                char* text = nullptr;
                SDOM_docToString(library.situation, document, &text);
                SablotFree(text);
            },
            [&] {
                xmlChar* text = nullptr;
                int length = 0;
                xmlDocDumpMemoryEnc(tree, &text, &length, "UTF-8");
                xmlFree(text);
            });
    duel.Report(state);
    xmlFreeDoc(tree);
}

// Every node in document order, with its type; the first walk makes the handles.
size_t Walk(const Library& library, SDOM_Document document) {
    size_t nodes = 0;
    auto node = reinterpret_cast<SDOM_Node>(document);
    while (node != nullptr) {
        ++nodes;
        SDOM_NodeType type{};
        SDOM_getNodeType(library.situation, node, &type);
        benchmark::DoNotOptimize(type);
        SDOM_Node next = nullptr;
        SDOM_getFirstChild(library.situation, node, &next);
        while ((node != nullptr) && (next == nullptr)) {
            SDOM_getNextSibling(library.situation, node, &next);
            if (next == nullptr) SDOM_getParentNode(library.situation, node, &node);
        }
        node = next;
    }
    return nodes;
}

void WalkPlain(xmlDoc* tree) {
    auto* node = reinterpret_cast<xmlNode*>(tree);
    while (node != nullptr) {
        benchmark::DoNotOptimize(node->type);
        if (node->children != nullptr) {
            node = node->children;
            continue;
        }
        while ((node != nullptr) && (node->next == nullptr)) node = node->parent;
        if (node != nullptr) node = node->next;
    }
}

void WalkAllNodes(benchmark::State& state) {
    const std::string& source = Source(state);
    const Library library;
    SDOM_Document document = library.Parse(source);
    xmlDoc* tree = ParsePlain(source);
    const size_t before = Used();
    const size_t nodes = Walk(library, document);
    state.counters["handle_bytes"] = static_cast<double>(Used() - before) / static_cast<double>(nodes);
    state.counters["nodes"] = static_cast<double>(nodes);
    Duel duel;
    for (auto _ : state) duel.Run([&] { Walk(library, document); }, [&] { WalkPlain(tree); });
    duel.Report(state);
    xmlFreeDoc(tree);
}

BENCHMARK(ParseAndFree)->DenseRange(0, 1)->Unit(benchmark::kMillisecond);
BENCHMARK(Serialise)->DenseRange(0, 1)->Unit(benchmark::kMillisecond);
BENCHMARK(WalkAllNodes)->DenseRange(0, 1)->Unit(benchmark::kMillisecond);

} // namespace
