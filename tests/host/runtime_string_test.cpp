#include "host/runtime/encoding.h"
#include "host/runtime/string.h"
#include "tests/host/runtime_fixture.h"

namespace host::test {

namespace {

using RuntimeString = RuntimeTest;

StringRef Bytes(std::string_view bytes, uint32_t encoding) { return StringRef::Adopt(BuildString(bytes, encoding)); }

TEST_F(RuntimeString, KeepsBytesAndCountsReferences) {
    auto* build = ServiceNamed<String*(const char*, int32_t)>("KOVABuildString");
    auto* lock = ServiceNamed<void(String*)>("KOVALockString");
    auto* unlock = ServiceNamed<void(String*)>("KOVAUnlockString");
    auto* bytesOf = ServiceNamed<const char*(String*)>("StringGetCString");

    const uint32_t before = LiveStringCount();
    String* string = build("a\0b", 3);
    EXPECT_EQ(string->View(), std::string_view("a\0b", 3));
    EXPECT_EQ(bytesOf(string)[3], '\0');
    lock(string);
    unlock(string);
    EXPECT_EQ(string->references, 1U);
    unlock(string);
    EXPECT_EQ(LiveStringCount(), before);

    for (String* empty : {build("", 0), build(nullptr, 5), build("abc", -1)}) {
        ASSERT_NE(empty, nullptr);
        EXPECT_EQ(empty->View(), "");
        unlock(empty);
    }
    lock(nullptr);
    unlock(nullptr);
    EXPECT_STREQ(bytesOf(nullptr), "");
}

TEST_F(RuntimeString, RaisesWhenMemoryIsMissing) {
    EXPECT_EQ(AllocateString(0xFFFFFFFE, 0), nullptr);
    EXPECT_THROW(ThrowPending(), ProgramException);
}

TEST_F(RuntimeString, Compares) {
    struct Case {
        StringRef left, right;
        int order;
    };
    const Case cases[] = {
        {{}, {}, 0},
        {{}, StringRef(""), 0},
        {StringRef("a"), {}, 1},
        {StringRef("a"), StringRef("A"), 1},
        {StringRef("a"), StringRef("ab"), -1},
        {Bytes("\xE4", ENCODING_ISO_LATIN1), StringRef("\xC3\xA4"), 0},
        {Bytes("\xE4", ENCODING_UNKNOWN), StringRef("\xC3\xA4"), 1}, // unknown bytes are compared as they are
        {Bytes(std::string_view("a\0b", 3), ENCODING_UTF8), StringRef("a"), 1},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(CompareStrings(test.left.Get(), test.right.Get()), test.order) << test.left.View();
        EXPECT_EQ(CompareStrings(test.right.Get(), test.left.Get()), -test.order) << test.left.View();
    }
}

TEST_F(RuntimeString, Joins) {
    struct Case {
        StringRef left, right;
        std::string_view joined;
        uint32_t encoding;
    };
    const Case cases[] = {
        {StringRef("a"), StringRef("b"), "ab", ENCODING_UTF8},
        {{}, StringRef("b"), "b", ENCODING_UTF8},
        {Bytes("", 0), StringRef("b"), "b", ENCODING_UTF8},
        {StringRef("a"), {}, "a", ENCODING_UTF8},
        {{}, {}, "", 0},
        {StringRef("x"), Bytes("\xE4", ENCODING_ISO_LATIN1), "x\xC3\xA4", ENCODING_UTF8},
        {Bytes("\xE4", ENCODING_ISO_LATIN1), StringRef("\xC3\xA4"), "\xE4\xE4", ENCODING_ISO_LATIN1},
        {Bytes("\xE4", ENCODING_ISO_LATIN1), StringRef("\xE2\x82\xAC"), "\xC3\xA4\xE2\x82\xAC", ENCODING_UTF8},
    };
    for (const Case& test : cases) {
        StringRef joined = StringRef::Adopt(AddStrings(test.left.Get(), test.right.Get()));
        ASSERT_TRUE(joined);
        EXPECT_EQ(joined.View(), test.joined);
        EXPECT_EQ(joined.Get()->encoding, test.encoding) << test.joined;
    }
}

TEST_F(RuntimeString, ConvertsBetweenEncodings) {
    constexpr uint32_t UTF16_BE = 0x10000100;
    struct Case {
        std::string_view bytes;
        uint32_t from, to;
        std::string_view converted;
    };
    const Case cases[] = {
        {"\xE4\x80", ENCODING_WINDOWS_LATIN1, ENCODING_UTF8, "\xC3\xA4\xE2\x82\xAC"},
        {"\xE4", ENCODING_ISO_LATIN1, ENCODING_UTF8, "\xC3\xA4"},
        {"\xC3\xA4", ENCODING_UTF8, ENCODING_ISO_LATIN1, "\xE4"},
        {"a\xE2\x82\xAC", ENCODING_UTF8, UTF16_BE, std::string_view("\0a\x20\xAC", 4)},
        {std::string_view("\xFF\xFE\x61\0", 4), ENCODING_UTF16, ENCODING_UTF8, "a"}, // by its byte order mark
        {"\xF0\x9D\x84\x9E", ENCODING_UTF8, UTF16_BE, "\xD8\x34\xDD\x1E"},
        {"\x8A\xBF", 0x0A01, ENCODING_UTF8, "\xE6\xBC\xA2"},
        {"abc", ENCODING_ASCII, ENCODING_ISO_LATIN1, "abc"},
        {"", ENCODING_ISO_LATIN1, UTF16_BE, ""},
        {"\xC3\xA4", ENCODING_UNKNOWN, ENCODING_UTF8, "\xC3\xA4"}, // unknown, and valid UTF-8
        {"\xE4z", ENCODING_UNKNOWN, ENCODING_UTF8, "\xC3\xA4z"},   // unknown, and not
        {"a\xFFz", ENCODING_UTF8, ENCODING_ISO_LATIN1, "a\x1Az"},  // the target's substitution character
    };
    for (const Case& test : cases) {
        StringRef converted = ConvertString(Bytes(test.bytes, test.from).Get(), test.to);
        EXPECT_EQ(converted.View(), test.converted) << test.bytes << " " << std::hex << test.from << " " << test.to;
        EXPECT_EQ(converted.Get()->encoding, test.to);
    }
}

TEST_F(RuntimeString, ConvertsLongTextAcrossBufferEdges) {
    // Each length puts a character of two bytes across another edge of the converter's buffers.
    for (size_t length : {4095U, 4096U, 4097U, 100000U}) {
        StringRef latin = Bytes(std::string(length, '\xE4'), ENCODING_ISO_LATIN1);
        StringRef utf8 = ConvertString(latin.Get(), ENCODING_UTF8);
        EXPECT_EQ(utf8.Get()->length, 2 * length);
        EXPECT_EQ(CompareStrings(latin.Get(), utf8.Get()), 0) << length;
        EXPECT_EQ(ConvertString(utf8.Get(), ENCODING_ISO_LATIN1).View(), latin.View());
    }
}

TEST_F(RuntimeString, KeepsTheSameStringWhenNothingIsToBeDone) {
    StringRef text("\xC3\xA4");
    EXPECT_EQ(ConvertString(text.Get(), ENCODING_UTF8).Get(), text.Get());
    EXPECT_EQ(ConvertString(text.Get(), 0x7777).Get(), text.Get()) << "unknown target";
    EXPECT_EQ(ConvertString(nullptr, ENCODING_UTF8).Get(), nullptr);
    auto* encodingOf = ServiceNamed<uint32_t(String*)>("KOVAGetStringEncoding");
    auto* setEncoding = ServiceNamed<void(String*, uint32_t)>("KOVASetStringEncoding");
    setEncoding(text.Get(), 0x7777);
    EXPECT_EQ(encodingOf(text.Get()), 0x7777U);
    EXPECT_EQ(encodingOf(nullptr), 0U);
    setEncoding(nullptr, 1);
}

TEST_F(RuntimeString, LendsConvertedStringsForOneNativeCall) {
    ObjectRef sensor = Create("Sensor");
    const uint32_t before = LiveStringCount();
    EXPECT_EQ(Call(sensor, "UTF16Length", {Bytes("\xE4", ENCODING_ISO_LATIN1)}).Integer(), 4); // with byte order mark
    EXPECT_EQ(LiveStringCount(), before);

    String* lent = ConvertStringPooled(Bytes("\xE4", ENCODING_ISO_LATIN1).Get(), ENCODING_UTF8);
    EXPECT_EQ(lent->View(), "\xC3\xA4");
    EXPECT_EQ(Call(sensor, "UTF16Length", {"x"}).Integer(), 4);
    EXPECT_EQ(lent->View(), "\xC3\xA4") << "a call releases only what was lent in it";
    ReleaseConversionPool(0);
}

TEST_F(RuntimeString, EveryEncodingOfTheTableConverts) {
    for (const Encoding& encoding : Encodings()) {
        EXPECT_EQ(FindEncoding(encoding.value), &encoding) << encoding.member;
        EXPECT_EQ(FindEncoding(encoding.icuName), &encoding) << encoding.member;
        StringRef there = ConvertString(StringRef("<a b='1'/>").Get(), encoding.value);
        EXPECT_EQ(there.Get()->encoding, encoding.value);
        EXPECT_EQ(ConvertString(there.Get(), ENCODING_UTF8).View(), "<a b='1'/>") << encoding.member;
    }
    EXPECT_EQ(FindEncoding("latin1")->value, ENCODING_ISO_LATIN1);
    EXPECT_EQ(FindEncoding("utf8")->value, ENCODING_UTF8);
    EXPECT_EQ(FindEncoding("no such encoding"), nullptr);
    EXPECT_EQ(FindEncoding(""), nullptr);
}

TEST_F(RuntimeString, TellsValidUTF8) {
    struct Case {
        std::string_view bytes;
        bool valid;
    };
    const Case cases[] = {
        {"", true},
        {"a\x7F", true},
        {"\xC2\x80", true},
        {"\xEF\xBF\xBF", true},
        {"\xF4\x8F\xBF\xBF", true},
        {"\x80", false},
        {"\xC0\x80", false},         // overlong
        {"\xE0\x9F\xBF", false},     // overlong
        {"\xF0\x8F\xBF\xBF", false}, // overlong
        {"\xED\xA0\x80", false},     // surrogate
        {"\xF4\x90\x80\x80", false}, // above U+10FFFF
        {"\xE2\x82", false},         // cut off
        {"\xE2\x82z", false},
    };
    for (const Case& test : cases) EXPECT_EQ(IsValidUTF8(test.bytes), test.valid) << testing::PrintToString(test.bytes);
}

} // namespace

} // namespace host::test
