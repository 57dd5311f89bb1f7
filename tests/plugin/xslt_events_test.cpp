// A run without a reference of its caller's own: its events let go of all that it works on.
#include "tests/plugin/plugin_host.h"

namespace {

using host::Arguments;
using host::ObjectRef;
using host::Value;

TEST(InEvent, LetsEverythingGo) {
    StartHost();
    ObjectRef document = MakeDocument("<r><a/><b/></r>");
    ObjectRef style = host::Create("XmlStyleSheet",
                                   {"<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
                                    "<xsl:template match='@*|node()'><xsl:copy><xsl:apply-templates/></xsl:copy>"
                                    "</xsl:template></xsl:stylesheet>"},
                                   "Constructor(xmlDoc as String)");
    host::HandlerClass handlerClass("XmlXsltHandler");
    ObjectRef handler;
    int elements = 0;
    handlerClass.On("StartElement", [&](auto&, Arguments) {
        ++elements;
        document = style = handler = ObjectRef();
        return Value();
    });
    handler = handlerClass.Create();
    const std::string text = TextOf(document, "ToString") + "\n";
    const host::Method* method = host::FindClass("XmlDocument")
                                     ->FindMethod(host::ParseSignature(
                                         "Transform(xsl as XmlStylesheet, saxHandler as XmlXsltHandler) as String"));
    const host::Slot slots[] = {{.object = document.Get()}, {.object = style.Get()}, {.object = handler.Get()}};
    host::Slot result{};
    host::CallNative(method->shape, method->function, slots, &result);
    EXPECT_EQ(Value::Adopt(host::Kind::STRING, result).Text(), text);
    EXPECT_EQ(elements, 3);
    EXPECT_EQ(host::FindClass("Xml")->liveCount, 0u);
}

} // namespace
