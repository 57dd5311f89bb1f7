// Events of results when the run fails, its handler goes or its processor goes.
#include "tests/sablotron/xslt_fixture.h"

#include <functional>

namespace {

class Events : public XsltFixture {
protected:
    Events() { SablotRegHandler(processor, SABLOT_HANDLER_OUTPUT, &recorder, this); }

    static int Add(void* self, const std::string& event) {
        auto& events = *static_cast<Events*>(self);
        events.seen.push_back(event);
        if (events.onEvent) events.onEvent(event);
        return 0;
    }

    SablotOutputHandler recorder{
        [](void* self, SablotHandle) { return Add(self, "start document"); },
        [](void* self, SablotHandle, const char* name, const char** attributes) {
            std::string event = std::string("<") + name;
            for (; *attributes != nullptr; attributes += 2)
                event += std::string(" ") + attributes[0] + "='" + attributes[1] + "'";
            return Add(self, event);
        },
        [](void* self, SablotHandle, const char* name) { return Add(self, std::string("</") + name); },
        [](void* self, SablotHandle, const char* prefix, const char* uri) {
            return Add(self, std::string("+'") + prefix + "' '" + uri + "'");
        },
        [](void* self, SablotHandle, const char* prefix) { return Add(self, std::string("-'") + prefix + "'"); },
        [](void* self, SablotHandle, const char* text) { return Add(self, std::string("!") + text); },
        [](void* self, SablotHandle, const char* target, const char* data) {
            return Add(self, std::string("?") + target + " " + data);
        },
        [](void* self, SablotHandle, const char* text, int length) {
            return Add(self, "\"" + std::string(text, static_cast<size_t>(length)) + "\"");
        },
        [](void* self, SablotHandle) { return Add(self, "end document"); }};
    std::vector<std::string> seen;
    std::function<void(const std::string&)> onEvent;
};

TEST_F(Events, AreNotSentWhenTheRunFailsOrTheHandlerHasGone) {
    EXPECT_EQ(Transform(Template("<a/><xsl:value-of select='$v'/>"), "<r/>"), 46);
    EXPECT_TRUE(seen.empty());
    onEvent = [this](const std::string& event) {
        if (event == "<b") SablotUnregHandler(processor, SABLOT_HANDLER_OUTPUT, nullptr, nullptr);
    };
    EXPECT_EQ(Transform(Template("<a><b/><c/></a>"), "<r/>"), 0);
    EXPECT_EQ(seen.back(), "<b");
    EXPECT_EQ(Content(Out()), "<a><b/><c/></a>");
}

TEST_F(Events, MayDestroyTheProcessor) {
    onEvent = [this](const std::string& event) {
        if (event != "<b") return;
        SablotDestroyProcessor(processor);
        processor = nullptr;
    };
    EXPECT_EQ(Transform(Template("<a><b/></a>"), "<r/>"), 0);
    EXPECT_EQ(seen.back(), "<b");
}

} // namespace
