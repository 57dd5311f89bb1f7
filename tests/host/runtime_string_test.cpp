// Strings that share their bytes, and their characters.
#include "host/runtime/characters.h"
#include "host/runtime/string.h"
#include "host/runtime/utf8.h"
#include "tests/host/runtime_fixture.h"

#include <random>
#include <string>
#include <vector>

namespace host::test {

namespace {

using RuntimeString = RuntimeTest;

TEST_F(RuntimeString, WalksOverCharacters) {
    struct Case {
        std::string_view text;
        size_t count, offsetOfSecond, offsetOfLastButOne;
    };
    const Case cases[] = {
        {"", 0, 0, 0},
        {"a", 1, 1, 0},
        {"0123456789abcdef\xC3\xA9", 17, 1, 15}, // past a run of ASCII
        {"\xC3\xA4\xE2\x82\xAC\xF0\x9F\x98\x80", 3, 2, 2},
        {"\x80\x61\xE2\x82", 3, 1, 1}, // ill-formed: a lone continuation byte, a truncated sequence
        {std::string_view("a\0b", 3), 3, 1, 1},
    };
    for (const Case& test : cases) {
        EXPECT_EQ(CountCharacters(test.text), test.count) << testing::PrintToString(test.text);
        EXPECT_EQ(CharacterOffset(test.text, 1), test.offsetOfSecond) << testing::PrintToString(test.text);
        EXPECT_EQ(CharacterOffsetFromEnd(test.text, 2), test.offsetOfLastButOne) << testing::PrintToString(test.text);
    }
}

// Strings that are joined and cut at random share their bytes and what is known of them; each must be what it would be
// alone.
TEST_F(RuntimeString, SharedBytesReadAsIfAlone) {
    struct Kept {
        StringRef string;
        std::string text;
        const char* cString = nullptr;
    };
    const std::string pieces[] = {std::string(150, 'x'),
                                  "\xC3\xA4",
                                  "ab",
                                  "\xE2\x82\xAC" + std::string(70, 'y'),
                                  "",
                                  std::string(40, '\xC3') + "\xA4\xC3",
                                  "\xA4"};
    std::mt19937 random(7);
    auto below = [&random](size_t limit) { return random() % limit; };
    std::vector<Kept> kept(8);
    for (int round = 0; round < 30000; ++round) {
        Kept& from = kept[below(kept.size())];
        Kept& to = kept[below(kept.size())];
        const std::string& piece = pieces[below(std::size(pieces) - (round % 3000 < 2500 ? 2 : 0))];
        Kept made;
        switch (below(6)) {
        case 0:
            made = {StringRef::Adopt(AddStrings(from.string.Get(), StringRef(piece).Get())), from.text + piece};
            break;
        case 1:
            made = {StringRef::Adopt(AddStrings(StringRef(piece).Get(), from.string.Get())), piece + from.text};
            break;
        case 2:
            from.string = StringRef::Adopt(AppendString(from.string.Detach(), StringRef(piece).Get()));
            from.text += piece;
            from.cString = nullptr; // it grew in place
            made = from;
            break;
        case 3: {
            size_t begin = OffsetOfCharacter(StringRef(from.text).Get(), below(4));
            size_t length = from.text.size() - begin - below(std::min<size_t>(from.text.size() - begin, 5) + 1);
            if (!from.string) continue;
            made = {StringRef::Adopt(PartOfString(from.string.Get(), begin, length)), from.text.substr(begin, length)};
            break;
        }
        case 4: made = from.text.size() > 5000 ? Kept() : from; break;
        default: made = from; made.cString = CString(made.string.Get());
        }
        to = std::move(made);
        ASSERT_EQ(to.string.View(), to.text);
        if (to.cString != nullptr) {
            ASSERT_STREQ(to.cString, to.text.c_str());
        }
        if (!to.string) continue;
        size_t place = below(CountCharacters(to.text) + 2);
        size_t offset = CharacterOffset(to.text, place);
        ASSERT_EQ(CharacterCount(to.string.Get()), CountCharacters(to.text));
        ASSERT_EQ(OffsetOfCharacter(to.string.Get(), place), offset);
        ASSERT_EQ(CharacterAtOffset(to.string.Get(), offset), CountCharacters(to.text.substr(0, offset)));
    }
    for (const Kept& one : kept) EXPECT_EQ(one.string.View(), one.text);
}

} // namespace

} // namespace host::test
