// What the bundle hands to a host when it is loaded, seen by a host that only takes notes.
#include "tests/plugin/child.h"

#include <dlfcn.h>
#include <gmock/gmock.h>

#include <cstdint>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <functional>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace {

using testing::ContainsRegex;
using testing::ElementsAre;

using Function = void (*)();
using Record = const unsigned char*;

// The records are read as a host does that knows nothing of the plug-in's sources: by byte offsets.
uint32_t Word(Record record, int offset) {
    uint32_t word;
    std::memcpy(&word, record + offset, sizeof word);
    return word;
}
Record Table(Record record, int offset) { return reinterpret_cast<Record>(Word(record, offset)); }
std::string Text(Record record, int offset) {
    const auto* text = reinterpret_cast<const char*>(Word(record, offset));
    return text != nullptr ? text : "-";
}

constexpr uint32_t DIRECT = 0xFFFFFFFF;

std::string Access(uint32_t function) { return function == 0 ? "no" : function == DIRECT ? "direct" : "code"; }

// Names every word of the range that is not 0.
std::string Reserved(Record record, int from, int to) {
    std::string faults;
    for (int offset = from; offset < to; offset += 4)
        if (Word(record, offset) != 0) faults += " NOT-ZERO@" + std::to_string(offset);
    return faults;
}

template <typename Row>
std::string Rows(Record record, int tableOffset, int size, Row row) {
    std::string text;
    const auto count = static_cast<int32_t>(Word(record, tableOffset + 4));
    if ((Word(record, tableOffset) == 0) != (count == 0)) text += "  TABLE-WITHOUT-COUNT\n";
    for (int32_t i = 0; i < count; ++i) text += "  " + row(Table(record, tableOffset) + i * size) + "\n";
    return text;
}

std::string PropertyText(Record record) {
    return "property " + Text(record, 4) + " as " + Text(record, 8) + " flags=" + std::to_string(Word(record, 12))
           + " read=" + Access(Word(record, 16)) + " write=" + Access(Word(record, 20))
           + " param=" + std::to_string(Word(record, 24)) + Reserved(record, 0, 4) + Reserved(record, 28, 48);
}
std::string MethodText(Record record) {
    return "method " + Text(record, 8) + (Word(record, 4) ? " [assignable]" : "")
           + (Word(record, 0) ? "" : " NO-FUNCTION") + (Word(record, 12) == 4 ? "" : " WRONG-FLAGS")
           + Reserved(record, 16, 24);
}
std::string EventText(Record record) { return "event " + Text(record, 0) + Reserved(record, 4, 16); }
std::string ConstantText(Record record) { return "constant " + Text(record, 0) + Reserved(record, 4, 20); }

std::string ClassText(Record record) {
    const auto yesNo = [&](int offset) { return Word(record, offset) ? "yes" : "no"; };
    return "class " + Text(record, 4) + " superclass=" + Text(record, 8) + " size=" + std::to_string(Word(record, 12))
           + " constructor=" + yesNo(20) + " destructor=" + yesNo(24) + (Word(record, 0) == 10 ? "" : " WRONG-VERSION")
           + (Word(record, 80) == 4 ? "" : " WRONG-FLAGS") + Reserved(record, 16, 20) + Reserved(record, 52, 72)
           + Reserved(record, 84, 100) + "\n" + Rows(record, 28, 48, PropertyText) + Rows(record, 36, 24, MethodText)
           + Rows(record, 44, 16, EventText) + Rows(record, 72, 20, ConstantText);
}
std::string ModuleText(Record record) {
    return "module " + Text(record, 4) + (Word(record, 0) == 10 ? "" : " WRONG-VERSION") + Reserved(record, 8, 16)
           + Reserved(record, 24, 56) + "\n" + Rows(record, 16, 20, ConstantText);
}

// The note-taking host.
std::string calls;
std::string dump;
std::multiset<std::string> asked;
std::set<std::string> lacking;

void RegisterPluginVersion(int32_t version) { calls += "RegisterPluginVersion " + std::to_string(version) + "\n"; }
void PluginRegisterClass(unsigned char* record) {
    calls += "class " + Text(record, 4) + "\n";
    dump += ClassText(record);
    static uint32_t reference = 0x51000000;
    std::memcpy(record + 4, &++reference, sizeof reference);
}
void PluginRegisterModule(Record record) {
    calls += "module " + Text(record, 4) + "\n";
    dump += ModuleText(record);
}
double KOVAGetKVVersion() {
    calls += "KOVAGetKVVersion\n";
    return 5.5;
}

Function Resolve(const char* name) {
    static const std::map<std::string, Function> SERVICES = {
        {"RegisterPluginVersion", reinterpret_cast<Function>(RegisterPluginVersion)},
        {"PluginRegisterClass", reinterpret_cast<Function>(PluginRegisterClass)},
        {"PluginRegisterModule", reinterpret_cast<Function>(PluginRegisterModule)},
        {"KOVAGetKVVersion", reinterpret_cast<Function>(KOVAGetKVVersion)},
    };
    asked.insert(name);
    const auto service = SERVICES.find(name);
    return service == SERVICES.end() || lacking.contains(name) ? nullptr : service->second;
}

using PluginMain = void (*)(Function (*)(const char*));

PluginMain LoadEntry() {
    void* bundle = dlopen(KOVA_PLUGIN, RTLD_NOW | RTLD_LOCAL);
    return bundle != nullptr ? reinterpret_cast<PluginMain>(dlsym(bundle, "KOVAPluginMain")) : nullptr;
}

ChildResult StartUp(const std::function<std::string()>& result) {
    return RunInChild([&]() -> std::string {
        const PluginMain entry = LoadEntry();
        if (entry == nullptr) return dlerror();
        entry(Resolve);
        return result();
    });
}

std::string FileText(const char* path) {
    std::ostringstream text;
    text << std::ifstream(path).rdbuf();
    return text.str();
}

TEST(Registration, RecordsAreTheCatalogueByteForByte) {
    const ChildResult child = StartUp([] { return dump; });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.output, FileText(KOVA_SOURCE_DIR "/tests/plugin/catalogue.txt"));
}

TEST(Registration, StartUpOrder) {
    const ChildResult child = StartUp([] { return calls; });
    EXPECT_EQ(child.status, 0);
    EXPECT_EQ(child.output, "RegisterPluginVersion 10\n"
                            "class XmlXsltHandler\nclass XmlReaderException\nclass XmlAttributeList\n"
                            "class XmlContentModel\nclass XmlReader\n"
                            "KOVAGetKVVersion\n"
                            "class XmlException\nclass XmlDomException\nclass XmlNamespaces\nclass Xml\n"
                            "class XmlNodeList\nclass XmlNode\nclass XmlElement\nclass XmlAttribute\n"
                            "class XmlTextNode\nclass XmlCDATASection\nclass XmlComment\n"
                            "class XmlProcessingInstruction\nclass XmlDocument\nclass XmlStyleSheet\n"
                            "module XmlNodeType\n");
}

// Start-up goes on without any of these; a service that was found is not asked for again, one that was not is.
TEST(Registration, AsksAgainForWhatTheHostLacks) {
    struct {
        const char* service;
        const char* asks; // while it is there, while it is not
    } const CASES[] = {
        {"PluginRegisterClass", "1 19"},
        {"PluginRegisterModule", "1 1"},
        {"KOVAGetKVVersion", "1 1"},
    };
    for (const auto& [service, asks] : CASES) {
        const auto count = [service = service] { return std::to_string(asked.count(service)); };
        const ChildResult present = StartUp(count);
        lacking = {service};
        const ChildResult absent = StartUp(count);
        lacking.clear();
        EXPECT_EQ(present.output + " " + absent.output, asks) << service;
        EXPECT_EQ(absent.status, 0) << service;
    }
}

TEST(RegistrationDeathTest, SecondLoadAborts) {
    EXPECT_DEATH(
        {
            const PluginMain entry = LoadEntry();
            entry(Resolve);
            entry(Resolve);
        },
        "Glue Code/PluginMain:1853: KOVAPluginMain: Assertion `!gResolver && \"Plugin loaded twice\\?\"' failed");
}

TEST(Bundle, ExportsTheEntryAndNothingElse) {
    FILE* nm = popen("nm -D --defined-only '" KOVA_PLUGIN "'", "r");
    ASSERT_NE(nm, nullptr);
    std::vector<std::string> symbols;
    for (char line[256]; std::fgets(line, sizeof line, nm) != nullptr;) symbols.emplace_back(line);
    EXPECT_EQ(pclose(nm), 0);
    EXPECT_THAT(symbols, ElementsAre(ContainsRegex("^[0-9a-f]+ T KOVAPluginMain\n$")));
}

} // namespace
