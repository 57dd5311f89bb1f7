// The framework as a plug-in reaches it: by declaration, through the named services.
#include "host/framework/files.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/encoding.h"
#include "host/runtime/leaks.h"
#include "host/runtime/log.h"
#include "host/runtime/services.h"
#include "tests/host/host_fixture.h"

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
    static void SetUpTestSuite() { PrepareHost(); }

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

} // namespace
} // namespace host
