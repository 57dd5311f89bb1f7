// What documents and transformations cost through the host, beside plain libxml2 and libxslt on the same text. Each
// iteration runs both; times are in milliseconds.
#include "bench/sablotron/duel.h"
#include "host/framework/framework.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/plugin.h"

#include <benchmark/benchmark.h>
#include <libxml/tree.h>
#include <libxslt/transform.h>
#include <libxslt/xsltutils.h>
#include <unistd.h>

#include <ctime>
#include <fstream>

namespace {

using host::ObjectRef;
using host::Value;

constexpr char LOAD[] = "LoadXml(doc as String)";

const char IDENTITY[] = "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
                        "<xsl:template match='@*|node()'><xsl:copy><xsl:apply-templates select='@*|node()'/></xsl:copy>"
                        "</xsl:template></xsl:stylesheet>";

ObjectRef NewDocument(bool preserveWhitespace) {
    ObjectRef document = host::Create("XmlDocument", {}, "Constructor()");
    host::SetProperty(document, "PreserveWhitespace", preserveWhitespace);
    return document;
}

// Reads a property that is a node as compiled programs do: without looking for it by name.
class NodeProperty {
public:
    explicit NodeProperty(const char* name) : property_(*host::FindClass("XmlNode")->FindProperty(name)) {}

    ObjectRef Of(const ObjectRef& node) const {
        host::Slot arguments[2];
        arguments[0].object = node.Get();
        arguments[1].integer = property_.param;
        host::Slot result{};
        host::CallNative(property_.getterShape, property_.getter, arguments, &result);
        return ObjectRef::Adopt(result.object);
    }

private:
    const host::Property& property_;
};

int CountNodes(const ObjectRef& node, const NodeProperty& first, const NodeProperty& next) {
    int count = 1;
    for (ObjectRef child = first.Of(node); child; child = next.Of(child)) count += CountNodes(child, first, next);
    return count;
}

int CountNodes(const xmlNode* node) {
    int count = 1;
    for (const xmlNode* child = node->type == XML_ELEMENT_NODE ? node->children : nullptr; child != nullptr;
         child = child->next)
        count += CountNodes(child);
    return count;
}

// Processor time: what the machine does beside does not count.
double Milliseconds() { return 1000.0 * static_cast<double>(std::clock()) / CLOCKS_PER_SEC; }

size_t ResidentBytes() {
    size_t size = 0;
    size_t resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * static_cast<size_t>(sysconf(_SC_PAGESIZE));
}

void Load(benchmark::State& state) {
    const std::string text = state.range(0) == 0 ? MimeTypes() : Records(20'000);
    const Value value = text;
    Duel duel;
    for (auto _ : state) {
        duel.Run([&] { host::Call(NewDocument(state.range(1) != 0), LOAD, {value}); },
                 [&] { xmlFreeDoc(ParsePlain(text)); });
    }
    state.SetLabel(state.range(1) != 0 ? "whitespace preserved" : "scanned");
    duel.Report(state);
}
BENCHMARK(Load)->ArgsProduct({{0, 1}, {0, 1}})->Unit(benchmark::kMillisecond);

void Walk(benchmark::State& state) {
    const std::string text = Records(20'000);
    const ObjectRef document = NewDocument(true);
    host::Call(document, LOAD, {text});
    xmlDoc* plain = ParsePlain(text);
    const NodeProperty first("FirstChild");
    const NodeProperty next("NextSibling");
    int nodes = 0;
    double milliseconds = 0;
    for (auto _ : state) {
        const double start = Milliseconds();
        nodes = CountNodes(document, first, next);
        milliseconds += Milliseconds() - start;
    }
    if (nodes != CountNodes(xmlDocGetRootElement(plain)) + 1) state.SkipWithError("the trees differ");
    state.counters["ns_per_wrapper"] = milliseconds * 1e6 / static_cast<double>(state.iterations()) / nodes;
    xmlFreeDoc(plain);
}
BENCHMARK(Walk)->Unit(benchmark::kMillisecond);

// Some fifty megabytes: loaded, walked node by node, freed.
void LargeDocument(benchmark::State& state) {
    for (auto _ : state) {
        const Value text = Records(470'000);
        state.counters["MB"] = static_cast<double>(text.GetString().View().size()) / 1e6;
        const size_t before = ResidentBytes();
        double start = Milliseconds();
        ObjectRef document = NewDocument(false);
        host::Call(document, LOAD, {text});
        state.counters["load_ms"] = Milliseconds() - start;
        const size_t loaded = ResidentBytes();
        start = Milliseconds();
        const int nodes = CountNodes(document, NodeProperty("FirstChild"), NodeProperty("NextSibling"));
        state.counters["ns_per_wrapper"] = (Milliseconds() - start) * 1e6 / nodes;
        state.counters["nodes"] = nodes;
        state.counters["bytes_per_node"] = static_cast<double>(loaded - before) / nodes;
        state.counters["bytes_per_node_walked"] = static_cast<double>(ResidentBytes() - before) / nodes;
        start = Milliseconds();
        document = ObjectRef();
        state.counters["free_ms"] = Milliseconds() - start;
        state.counters["MB_left"] = (static_cast<double>(ResidentBytes()) - static_cast<double>(before)) / 1e6;
    }
}
BENCHMARK(LargeDocument)->Iterations(1)->Unit(benchmark::kMillisecond);

void Transform(benchmark::State& state) {
    const bool isObject = state.range(0) != 0;
    const std::string text = Records(5'000);
    const ObjectRef document = NewDocument(true);
    host::Call(document, LOAD, {text});
    const ObjectRef style = host::Create("XmlStyleSheet", {IDENTITY}, "Constructor(xmlDoc as String)");
    xmlDoc* plain = ParsePlain(text);
    const auto compile = [] {
        return xsltParseStylesheetDoc(xmlReadMemory(IDENTITY, sizeof IDENTITY - 1, nullptr, nullptr, 0));
    };
    xsltStylesheet* compiled = compile();
    Duel duel;
    for (auto _ : state) {
        duel.Run(
            [&] {
                if (isObject)
                    host::Call(document, "Transform(xsl as XmlStylesheet) as String", {style});
                else
                    host::Call(document, "Transform(xsl as String) as String", {IDENTITY});
            },
            [&] {
                xsltStylesheet* sheet = isObject ? compiled : compile();
                xmlDoc* result = xsltApplyStylesheet(sheet, plain, nullptr);
                xmlChar* output = nullptr;
                int length = 0;
                xsltSaveResultToString(&output, &length, result, sheet);
                xmlFree(output);
                xmlFreeDoc(result);
                if (!isObject) xsltFreeStylesheet(sheet);
            });
    }
    state.SetLabel(isObject ? "stylesheet object" : "stylesheet text");
    duel.Report(state);
    xsltFreeStylesheet(compiled);
    xmlFreeDoc(plain);
}
BENCHMARK(Transform)->Arg(0)->Arg(1)->Unit(benchmark::kMillisecond);

// The same with an event for each element and text.
void TransformEvents(benchmark::State& state) {
    const std::string text = Records(5'000);
    const ObjectRef document = NewDocument(true);
    host::Call(document, LOAD, {text});
    const ObjectRef style = host::Create("XmlStyleSheet", {IDENTITY}, "Constructor(xmlDoc as String)");
    host::HandlerClass handlerClass("XmlXsltHandler");
    int events = 0;
    for (const char* event : {"StartElement", "EndElement", "Characters"}) {
        handlerClass.On(event, [&](const ObjectRef&, host::Arguments) {
            ++events;
            return Value();
        });
    }
    const ObjectRef handler = handlerClass.Create();
    for (auto _ : state) {
        host::Call(document, "Transform(xsl as XmlStylesheet, saxHandler as XmlXsltHandler) as String",
                   {style, handler});
    }
    state.counters["events"] = events / static_cast<double>(state.iterations());
}
BENCHMARK(TransformEvents)->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    host::RegisterFramework();
    host::LoadPlugin(KOVA_PLUGIN);
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    benchmark::Shutdown();
    return 0;
}
