// The reader on input that is made to hurt.
#include "host/runtime/class_program.h"
#include "host/runtime/dynamic.h"
#include "tests/plugin/plugin_host.h"
#include "tests/plugin/reader_trace.h"

#include <gtest/gtest.h>
#include <malloc.h>

#include <cstdio>
#include <fstream>
#include <sstream>

namespace {

using host::Arguments;
using host::Call;
using host::Create;
using host::ObjectRef;
using host::Value;

constexpr const char* SHARE = KOVA_SYSROOT "/usr/share/";

std::string FileText(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(path, std::ios::binary).rdbuf();
    return text.str();
}

TEST(HardInput, TruncatedAnywhere) {
    StartHost();
    const std::string text = FileText(SHARE + std::string("xml/iso-codes/iso_15924.xml"));
    ASSERT_GT(text.size(), 10000U);
    for (size_t length = 0; length < text.size() - 2; length += 97) {
        const ObjectRef reader = Create("XmlReader", {});
        EXPECT_THROW(Call(reader, "Parse", {text.substr(0, length)}), host::ProgramException) << length;
    }
}

// Counts by native handlers, without the price of the trace.
int starts, ends, longest;
void CountStart(host::Object*, host::String*, host::Object* attributes) {
    ++starts;
    const ObjectRef list = ObjectRef::Share(attributes);
    if (host::GetProperty(list, "Count").Integer() == 0) return;
    longest = static_cast<int>(Call(list, "Value(index as Integer) as String", {0}).Text().size());
}
void CountEnd(host::Object*, host::String*) { ++ends; }

void ParseCounting(const std::string& text) {
    starts = ends = longest = 0;
    StartHost();
    const host::HandlerClass readers("XmlReader");
    SetEventHandler(readers.Get(), readers.Get()->FindEvent("StartElement"), reinterpret_cast<void*>(CountStart));
    SetEventHandler(readers.Get(), readers.Get()->FindEvent("EndElement"), reinterpret_cast<void*>(CountEnd));
    Call(readers.Create({}, "Constructor"), "Parse", {text});
}

TEST(HardInput, MillionNestedElements) {
    constexpr int DEPTH = 1'000'000;
    std::string text;
    for (int i = 0; i < DEPTH; ++i) text += "<a>";
    for (int i = 0; i < DEPTH; ++i) text += "</a>";
    ParseCounting(text);
    EXPECT_EQ(starts, DEPTH);
    EXPECT_EQ(ends, DEPTH);
}

TEST(HardInput, AttributeOfHundredMegabytes) {
    constexpr int LENGTH = 100'000'000;
    ParseCounting("<a b='" + std::string(LENGTH, 'x') + "'/>");
    EXPECT_EQ(starts, 1);
    EXPECT_EQ(longest, LENGTH);
}

TEST(HardInput, DeeplyNestedContentModel) {
    constexpr int DEPTH = 100'000;
    std::string text = "<!DOCTYPE a [<!ELEMENT a ";
    text.append(DEPTH, '(').append("b").append(DEPTH, ')').append(">]><a/>");
    ParseCounting(text);
    EXPECT_EQ(ends, 1);
}

// Expat stops it; the text is not among those that have a constant.
TEST(HardInput, EntityBomb) {
    std::string text = "<!DOCTYPE a [<!ENTITY e0 'ha'>";
    for (int i = 1; i < 40; ++i) {
        const std::string before = "&e" + std::to_string(i - 1) + ";";
        text += "<!ENTITY e" + std::to_string(i) + " '";
        for (int copy = 0; copy < 10; ++copy) text += before;
        text += "'>";
    }
    text += "]><a>&e39;</a>";
    try {
        ParseCounting(text);
        FAIL();
    } catch (const host::ProgramException& exception) {
        EXPECT_EQ(exception.number, 43);
        EXPECT_EQ(exception.message, ""); // codes above 27 have no text
    }
}

// Parsers go with their readers: what remains of thousands is a short string each.
TEST(Reader, MemoryDoesNotGrow) {
    constexpr int READERS = 2000;
    ReaderTrace trace;
    trace.On("NotStandalone", [](const ObjectRef&, Arguments) { return Value(true); });
    trace.On("ExternalEntityRef", [](const ObjectRef& self, Arguments) {
        Call(self, "CreateExternalEntityReader", {"UTF-8"});
        Call(self, "Parse", {"<!ELEMENT a (b,c)>"});
        Call(self, "FreeExternalEntityReader");
        return Value(true);
    });
    const auto useReader = [&] { trace.Events("<!DOCTYPE a SYSTEM 'd'><a x='1'>t</a>"); };
    useReader();
    const struct mallinfo2 before = mallinfo2();
    for (int i = 0; i < READERS; ++i) useReader();
    const struct mallinfo2 after = mallinfo2();
    EXPECT_LT(static_cast<double>(after.uordblks) - static_cast<double>(before.uordblks), READERS * 64.0);
}

} // namespace
