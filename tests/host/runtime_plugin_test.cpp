#include "host/runtime/encoding.h"
#include "host/runtime/plugin.h"
#include "tests/host/runtime_fixture.h"

namespace host::test {

namespace {

using RuntimePlugin = RuntimeTest;
using testing::HasSubstr;

std::string LoadError(const std::string& path) {
    try {
        LoadPlugin(path);
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "loaded";
}

TEST_F(RuntimePlugin, LoadsABundleOnce) {
    const Plugin& plugin = LoadPlugin(TEST_PLUGIN);
    EXPECT_EQ(plugin.version, 10);
    ASSERT_EQ(plugin.classes.size(), 1U);
    EXPECT_EQ(plugin.classes[0]->name, "Greeter");
    ASSERT_EQ(plugin.modules.size(), 1U);
    EXPECT_EQ(plugin.modules[0]->name, "Greetings");
    Value text = Call(Create("Greeter"), "Greet", {"World"});
    EXPECT_EQ(text.Text(), "Hello World");
    EXPECT_EQ(text.GetString().Get()->encoding, ENCODING_UTF8);
    EXPECT_THAT(LoadError(TEST_PLUGIN), HasSubstr("the plug-in is loaded already"));
}

TEST_F(RuntimePlugin, SaysWhyABundleCannotBeUsed) {
    EXPECT_EQ(LoadError("/no/such/plugin.so"), "/no/such/plugin.so: No such file or directory");
    EXPECT_THAT(LoadError(KOVA_SOURCE_DIR "/CMakeLists.txt"), HasSubstr("cannot be loaded as a plug-in: "));
    EXPECT_THAT(LoadError(KOVA_SYSROOT "/usr/lib/i386-linux-gnu/libexpat.so"),
                HasSubstr("this is no plug-in: it has no function KOVAPluginMain"));
    std::string error = LoadError(TEST_FAULTY_PLUGIN);
    EXPECT_THAT(error, HasSubstr("the plug-in has wrong definitions:\n  class Broken: its superclass Nothing"));
    EXPECT_NE(FindClass("Sound"), nullptr) << "what has no fault stays";
    EXPECT_THAT(LoadError(TEST_OLD_PLUGIN),
                HasSubstr("the plug-in speaks version 9 of the interface, this host version 10"));
}

} // namespace

} // namespace host::test
