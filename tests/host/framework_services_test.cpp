// The framework as a plug-in reaches it: by declaration, through the named services.
#include "host/framework/files.h"
#include "host/framework/framework.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/encoding.h"
#include "host/runtime/leaks.h"
#include "host/runtime/log.h"
#include "host/runtime/services.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>

namespace host {
namespace {

template <typename Function>
Function Service(const char* name) {
    return reinterpret_cast<Function>(ResolveService(name));
}

template <typename Function>
Function ObjectMethod(const ObjectRef& object, const char* declaration) {
    auto load = Service<void* (*)(Object*, const char*)>("KOVALoadObjectMethod");
    return reinterpret_cast<Function>(load(object.Get(), declaration));
}

class FrameworkServices : public testing::Test {
protected:
    static void SetUpTestSuite() { RegisterFramework(); }

    void TearDown() override { EXPECT_EQ(CountLive(), before_); }

    std::filesystem::path folder_ = std::filesystem::current_path();
    LiveCounts before_ = CountLive();
};

TEST_F(FrameworkServices, ReadsAFileByTheDeclarationsOfPlugins) {
    std::ofstream(folder_ / "file", std::ios::binary) << "a\xC3\xA4" << '\0' << "b";
    ObjectRef file = NewFolderItem(folder_ / "file");
    auto open = ObjectMethod<Object* (*)(Object*, int32_t)>(file, "OpenAsBinaryFile(write as Boolean) as BinaryStream");
    ASSERT_NE(open, nullptr);
    auto nativePath = ObjectMethod<String* (*)(Object*)>(file, "NativePath() As String");
    ASSERT_NE(nativePath, nullptr);
    EXPECT_EQ(StringRef::Adopt(nativePath(file.Get())).View(), (folder_ / "file").native());
    ObjectRef stream = ObjectRef::Adopt(open(file.Get(), 0));
    ASSERT_TRUE(stream);

    int32_t length = 0;
    auto getInteger = Service<bool (*)(Object*, const char*, int32_t*)>("KOVAGetPropValueInt");
    EXPECT_TRUE(getInteger(stream.Get(), "length", &length));
    EXPECT_EQ(length, 5);

    auto read = ObjectMethod<String* (*)(Object*, int32_t, Object*)>(
        stream, "Read(Count as Integer, enc as TextEncoding = nil) as String");
    ASSERT_NE(read, nullptr);
    StringRef text = StringRef::Adopt(read(stream.Get(), length, nullptr));
    EXPECT_EQ(text.View(), std::string_view("a\xC3\xA4\0b", 5));
    EXPECT_EQ(text.Get()->encoding, ENCODING_UNKNOWN);
    StringRef end = StringRef::Adopt(read(stream.Get(), 0, nullptr));
    EXPECT_EQ(end.View(), "");

    auto close = ObjectMethod<void (*)(Object*)>(stream, "Close()");
    ASSERT_NE(close, nullptr);
    close(stream.Get());
    EXPECT_FALSE(IsExceptionPending());
}

TEST_F(FrameworkServices, WritesAFileByTheDeclarationsOfPlugins) {
    ObjectRef file = NewFolderItem(folder_ / "file");
    auto create = ObjectMethod<Object* (*)(Object*)>(file, "CreateTextFile() as TextOutputStream");
    ASSERT_NE(create, nullptr);
    ObjectRef stream = ObjectRef::Adopt(create(file.Get()));
    auto write = ObjectMethod<void (*)(Object*, String*)>(stream, "Write(text as String)");
    ASSERT_NE(write, nullptr);
    write(stream.Get(), StringRef("<a/>").Get());
    write(stream.Get(), nullptr);
    ObjectMethod<void (*)(Object*)>(stream, "Close()")(stream.Get());
    EXPECT_EQ(std::filesystem::file_size(folder_ / "file"), 4U);
}

TEST_F(FrameworkServices, AnUnreadableFileRaisesAndGivesNil) {
    ObjectRef file = NewFolderItem(folder_ / "missing");
    auto open = ObjectMethod<Object* (*)(Object*, int32_t)>(file, "OpenAsBinaryFile(write as Boolean) as BinaryStream");
    EXPECT_EQ(open(file.Get(), 0), nullptr);
    ObjectRef exception = TakePendingException();
    ASSERT_TRUE(exception);
    EXPECT_EQ(exception.Get()->cls->name, "IOException");
    EXPECT_EQ(GetProperty(exception, "ErrorNumber").Integer(), ENOENT);
    EXPECT_EQ(GetProperty(exception, "Message").Text(), (folder_ / "missing").native() + ": No such file or directory");
}

TEST_F(FrameworkServices, LogsMessagesOfPluginsAndKeepsThem) {
    auto log = Service<void (*)(String*)>("RuntimeLogMessage");
    ASSERT_NE(log, nullptr);
    testing::internal::CaptureStderr();
    log(StringRef::Adopt(BuildString(std::string_view("\xE4"), ENCODING_ISO_LATIN1)).Get());
    log(nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "\xC3\xA4\n\n");
    EXPECT_EQ(TakeLogMessages(), (std::vector<std::string>{"\xC3\xA4", ""}));
    EXPECT_TRUE(TakeLogMessages().empty());
}

TEST_F(FrameworkServices, CountsBytesByTheDeclarationOfPlugins) {
    auto load = Service<void* (*)(Object*, const char*)>("KOVALoadGlobalMethod");
    auto lenB = reinterpret_cast<int32_t (*)(String*)>(load(nullptr, "LenB( s as string ) as integer"));
    ASSERT_NE(lenB, nullptr);
    EXPECT_EQ(lenB(StringRef("\xC3\xA4").Get()), 2);
    EXPECT_EQ(lenB(nullptr), 0);
}

// Functions of one string and their result for the same text in several encodings.
TEST_F(FrameworkServices, StringFunctionsWorkInTheEncodingOfTheirText) {
    struct Case {
        uint32_t encoding;
        int32_t length, position; // of the third letter, which the text holds in UTF-8
        const char* upper;
    };
    const Case cases[] = {
        {ENCODING_UTF8, 4, 3, "B\xC3\x84\xC3\x96S"},
        {ENCODING_ISO_LATIN1, 4, 3, "B\xC3\x84\xC3\x96S"},
        {ENCODING_WINDOWS_LATIN1, 4, 3, "B\xC3\x84\xC3\x96S"},
        {ENCODING_UTF16, 4, 3, "B\xC3\x84\xC3\x96S"},
        // Without a known encoding a text is its bytes, and only ASCII letters are letters.
        {ENCODING_UNKNOWN, 6, 4, "B\xC3\xA4\xC3\xB6S"},
    };
    StringRef utf8("b\xC3\xA4\xC3\xB6s");
    for (const Case& c : cases) {
        StringRef text = c.encoding == ENCODING_UNKNOWN ? StringRef::Adopt(BuildString(utf8.View()))
                                                        : ConvertString(utf8.Get(), c.encoding);
        EXPECT_EQ(CallGlobal("Len", {text}).Integer(), c.length) << c.encoding;
        EXPECT_EQ(CallGlobal("InStr(source as String, find as String) as Integer", {text, "\xC3\xB6"}).Integer(),
                  c.position);
        StringRef upper = CallGlobal("Uppercase", {text}).GetString();
        EXPECT_EQ(upper.Get()->encoding, c.encoding);
        EXPECT_EQ(ConvertString(upper.Get(), ENCODING_UTF8).View(), c.upper);
    }
}

TEST_F(FrameworkServices, ExceptionsKeepTheirStack) {
    ObjectRef exception = Create("IOException", {"text", 5}, "Constructor(message as String, errorNumber as Integer)");
    EXPECT_EQ(GetProperty(exception, "Message").Text(), "text");
    EXPECT_EQ(UpperBound(AsArray(Call(exception, "Stack").GetObject().Get())), -1);
    Assign(exception, "Stack", {}, std::vector<std::string>{"a.kova:3", "a.kova:9"});
    EXPECT_EQ(UpperBound(AsArray(Call(exception, "Stack").GetObject().Get())), 1);
}

} // namespace
} // namespace host
