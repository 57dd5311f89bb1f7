// RegEx and RegExMatch: regular expressions as ICU has them.
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/framework/utf16.h"
#include "host/runtime/array.h"
#include "host/runtime/class.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"

#include <unicode/uregex.h>
#include <unicode/ustring.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace host {

namespace {

struct CloseExpression {
    void operator()(URegularExpression* expression) const { uregex_close(expression); }
};

struct ExpressionData {
    std::unique_ptr<URegularExpression, CloseExpression> expression;

    static ClassDefinition& Record();
};

// What one match found; groups that took no part are nil.
struct MatchData {
    int32_t start = 0; // in characters, from 1
    int32_t length = 0;
    std::vector<StringRef> groups;

    static ClassDefinition& Record();
};

void Refuse(const std::string& message) { RaiseNew("IllegalArgumentException", 0, message); }

bool Succeeded(UErrorCode status) {
    if (U_SUCCESS(status)) return true;
    if (status == U_REGEX_STACK_OVERFLOW)
        Refuse("RegEx: the expression needs too much memory for this text");
    else
        Refuse(std::string("RegEx: ") + u_errorName(status));
    return false;
}

std::u16string Utf16(String* text) {
    StringRef utf8 = ConvertString(text, ENCODING_UTF8);
    return ToUtf16(utf8.View());
}

// The options are letters: i ignores case, m has ^ and $ match at each line, s has a dot match line ends, x allows
// blanks and comments.
std::optional<uint32_t> Flags(std::string_view options) {
    uint32_t flags = 0;
    for (char option : options) {
        switch (option) {
        case 'i': flags |= UREGEX_CASE_INSENSITIVE; break;
        case 'm': flags |= UREGEX_MULTILINE; break;
        case 's': flags |= UREGEX_DOTALL; break;
        case 'x': flags |= UREGEX_COMMENTS; break;
        default: return std::nullopt;
        }
    }
    return flags;
}

void Construct(Object* self, String* pattern, String* options) {
    std::optional<uint32_t> flags = Flags(StringView(options));
    if (!flags) return Refuse("RegEx: the options are \"i\", \"m\", \"s\" and \"x\"");
    std::u16string text = Utf16(pattern);
    UErrorCode status = U_ZERO_ERROR;
    UParseError error{};
    auto* expression = uregex_open(text.data(), static_cast<int32_t>(text.size()), *flags, &error, &status);
    DataOf<ExpressionData>(self).expression.reset(expression);
    if (U_FAILURE(status)) {
        Refuse("RegEx: the pattern is wrong at character " + std::to_string(error.offset) + " (" + u_errorName(status)
               + ")");
    }
}

// Searches a text from its start; what has been passed is counted once.
class Search {
public:
    Search(Object* self, String* text)
        : expression_(DataOf<ExpressionData>(self).expression.get()), text_(Utf16(text)) {
        if (expression_ == nullptr)
            Refuse("RegEx: there is no pattern");
        else
            uregex_setText(expression_, text_.data(), static_cast<int32_t>(text_.size()), &status_);
    }
    // The expression keeps no text that is gone.
    ~Search() {
        UErrorCode status = U_ZERO_ERROR;
        if (expression_ != nullptr) uregex_setText(expression_, u"", 0, &status);
    }
    Search(const Search&) = delete;
    Search& operator=(const Search&) = delete;

    bool Next() {
        if (expression_ == nullptr) return false;
        bool isFound = uregex_findNext(expression_, &status_) != 0;
        return Succeeded(status_) && isFound;
    }

    ObjectRef Match() {
        ObjectRef match = NewInstance(MatchData::Record());
        if (!match) return match;
        auto& data = DataOf<MatchData>(match.Get());
        const int32_t start = uregex_start(expression_, 0, &status_);
        const int32_t end = uregex_end(expression_, 0, &status_);
        characters_ += u_countChar32(text_.data() + passed_, start - passed_);
        passed_ = start;
        data.start = characters_ + 1;
        data.length = u_countChar32(text_.data() + start, end - start);
        for (int32_t i = 0; i <= uregex_groupCount(expression_, &status_); ++i) {
            int32_t from = uregex_start(expression_, i, &status_);
            int32_t to = uregex_end(expression_, i, &status_);
            if (from < 0)
                data.groups.emplace_back();
            else
                data.groups.emplace_back(ToUtf8(
                    std::u16string_view(text_).substr(static_cast<size_t>(from), static_cast<size_t>(to - from))));
        }
        return match;
    }

    std::string ReplaceAll(std::u16string_view replacement) {
        if (expression_ == nullptr) return {};
        std::u16string result(text_.size() + replacement.size() + 16, u'\0');
        for (;;) {
            status_ = U_ZERO_ERROR;
            int32_t length =
                uregex_replaceAll(expression_, replacement.data(), static_cast<int32_t>(replacement.size()),
                                  result.data(), static_cast<int32_t>(result.size()), &status_);
            bool isFull = status_ == U_BUFFER_OVERFLOW_ERROR;
            if (!isFull && !Succeeded(status_)) return {};
            result.resize(static_cast<size_t>(length));
            if (!isFull) return ToUtf8(result);
        }
    }

private:
    URegularExpression* expression_;
    std::u16string text_;
    UErrorCode status_ = U_ZERO_ERROR;
    int32_t passed_ = 0;     // UTF-16 units up to the last match
    int32_t characters_ = 0; // in them
};

// The first match, or nil.
Object* Match(Object* self, String* text) {
    Search search(self, text);
    return search.Next() ? search.Match().Detach() : nullptr;
}

Array* Matches(Object* self, String* text) {
    Search search(self, text);
    Type type;
    type.kind = Kind::OBJECT;
    type.className = "RegExMatch";
    Array* matches = NewArray(type);
    while (matches != nullptr && search.Next()) {
        Slot slot{};
        slot.object = search.Match().Detach();
        if (!ArrayInsert(matches, matches->count, slot)) break;
    }
    return matches;
}

// Every match by the replacement, in which $1 or ${name} is what a group found, and a backslash takes the meaning away.
String* Replace(Object* self, String* text, String* replacement) {
    return BuildString(Search(self, text).ReplaceAll(Utf16(replacement)), ENCODING_UTF8);
}

int32_t GetStart(Object* self, int32_t) { return DataOf<MatchData>(self).start; }
int32_t GetLength(Object* self, int32_t) { return DataOf<MatchData>(self).length; }
int32_t GetCount(Object* self, int32_t) {
    return std::max(static_cast<int32_t>(DataOf<MatchData>(self).groups.size()) - 1, 0);
}

String* Group(Object* self, int32_t index) {
    const auto& groups = DataOf<MatchData>(self).groups;
    if (index >= 0 && static_cast<size_t>(index) < groups.size())
        return StringRef(groups[static_cast<size_t>(index)]).Detach();
    RaiseNew("OutOfBoundsException", 0, "RegExMatch: there is no group " + std::to_string(index));
    return nullptr;
}

String* GetText(Object* self, int32_t) { return DataOf<MatchData>(self).groups.empty() ? nullptr : Group(self, 0); }

const MethodDefinition METHODS[] = {
    Member("Constructor(pattern as String, options as String = \"\")", Native<Construct>()),
    Member("Match(text as String) as RegExMatch", Native<Match>()),
    Member("Matches(text as String) as RegExMatch()", Native<Matches>()),
    Member("Replace(text as String, replacement as String) as String", Native<Replace>()),
};

const PropertyDefinition MATCH_PROPERTIES[] = {
    ReadOnly("Text", "String", Native<GetText>()),
    ReadOnly("Start", "Integer", Native<GetStart>()),
    ReadOnly("Length", "Integer", Native<GetLength>()),
    ReadOnly("Count", "Integer", Native<GetCount>()),
};

const MethodDefinition MATCH_METHODS[] = {
    Member("Group(index as Integer) as String", Native<Group>()),
};

ClassDefinition& ExpressionData::Record() {
    static ClassDefinition record = ClassRecordOf<ExpressionData>("RegEx", {}, METHODS);
    return record;
}

ClassDefinition& MatchData::Record() {
    static ClassDefinition record = ClassRecordOf<MatchData>("RegExMatch", MATCH_PROPERTIES, MATCH_METHODS);
    return record;
}

} // namespace

void RegisterRegularExpressions() {
    RegisterClass(MatchData::Record());
    RegisterClass(ExpressionData::Record());
}

} // namespace host
