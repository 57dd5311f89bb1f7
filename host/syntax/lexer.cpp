// Words, numbers, strings and signs of a source.
#include "host/syntax/lexer.h"

#include <algorithm>
#include <charconv>
#include <unordered_map>

namespace host {

namespace {

constexpr std::pair<Keyword, std::string_view> KEYWORDS[] = {
    {Keyword::ADDHANDLER, "AddHandler"},
    {Keyword::ADDRESSOF, "AddressOf"},
    {Keyword::DECLARE, "Declare"},
    {Keyword::DELEGATE, "Delegate"},
    {Keyword::RAISEEVENT, "RaiseEvent"},
    {Keyword::REMOVEHANDLER, "RemoveHandler"},
    {Keyword::AND, "And"},
    {Keyword::AS, "As"},
    {Keyword::BYREF, "ByRef"},
    {Keyword::BYVAL, "ByVal"},
    {Keyword::CASE, "Case"},
    {Keyword::CATCH, "Catch"},
    {Keyword::CLASS, "Class"},
    {Keyword::CONST, "Const"},
    {Keyword::CONTINUE, "Continue"},
    {Keyword::DIM, "Dim"},
    {Keyword::DO, "Do"},
    {Keyword::DOWNTO, "DownTo"},
    {Keyword::EACH, "Each"},
    {Keyword::ELSE, "Else"},
    {Keyword::ELSEIF, "ElseIf"},
    {Keyword::END, "End"},
    {Keyword::ENUM, "Enum"},
    {Keyword::EXTENDS, "Extends"},
    {Keyword::IMPORT, "Import"},
    {Keyword::EVENT, "Event"},
    {Keyword::EXIT, "Exit"},
    {Keyword::FALSE, "False"},
    {Keyword::FINALLY, "Finally"},
    {Keyword::FOR, "For"},
    {Keyword::FUNCTION, "Function"},
    {Keyword::GET, "Get"},
    {Keyword::IF, "If"},
    {Keyword::IN, "In"},
    {Keyword::INHERITS, "Inherits"},
    {Keyword::IS, "Is"},
    {Keyword::ISA, "IsA"},
    {Keyword::LOOP, "Loop"},
    {Keyword::MOD, "Mod"},
    {Keyword::MODULE, "Module"},
    {Keyword::NEW, "New"},
    {Keyword::NEXT, "Next"},
    {Keyword::NIL, "Nil"},
    {Keyword::NOT, "Not"},
    {Keyword::OR, "Or"},
    {Keyword::PRINT, "Print"},
    {Keyword::PRIVATE, "Private"},
    {Keyword::PROPERTY, "Property"},
    {Keyword::PROTECTED, "Protected"},
    {Keyword::RAISE, "Raise"},
    {Keyword::REDIM, "Redim"},
    {Keyword::RETURN, "Return"},
    {Keyword::SELECT, "Select"},
    {Keyword::SELF, "Self"},
    {Keyword::SET, "Set"},
    {Keyword::SHARED, "Shared"},
    {Keyword::STATIC, "Static"},
    {Keyword::STEP, "Step"},
    {Keyword::SUB, "Sub"},
    {Keyword::SUPER, "Super"},
    {Keyword::THEN, "Then"},
    {Keyword::TO, "To"},
    {Keyword::TRUE, "True"},
    {Keyword::TRY, "Try"},
    {Keyword::UNTIL, "Until"},
    {Keyword::WEND, "Wend"},
    {Keyword::WHILE, "While"},
    {Keyword::WITH, "With"},
    {Keyword::XOR, "Xor"},
};

Keyword FindKeyword(std::string_view word) {
    static const auto* table = [] {
        auto* words = new std::unordered_map<std::string, Keyword>;
        for (auto [keyword, name] : KEYWORDS) words->emplace(FoldName(name), keyword);
        return words;
    }();
    constexpr size_t LONGEST = std::string_view("RemoveHandler").size();
    if (word.size() > LONGEST) return Keyword::NONE;
    auto found = table->find(FoldName(word));
    return found == table->end() ? Keyword::NONE : found->second;
}

bool IsLineEnd(char c) { return c == '\n' || c == '\r'; }

constexpr std::pair<std::string_view, TokenKind> SYMBOLS[] = {
    {"+=", TokenKind::PLUS_EQUAL},
    {"-=", TokenKind::MINUS_EQUAL},
    {"*=", TokenKind::STAR_EQUAL},
    {"/=", TokenKind::SLASH_EQUAL},
    {"<>", TokenKind::NOT_EQUAL},
    {"<=", TokenKind::LESS_EQUAL},
    {">=", TokenKind::GREATER_EQUAL},
    {"+", TokenKind::PLUS},
    {"-", TokenKind::MINUS},
    {"*", TokenKind::STAR},
    {"/", TokenKind::SLASH},
    {"\\", TokenKind::BACKSLASH},
    {"^", TokenKind::CARET},
    {"=", TokenKind::EQUAL},
    {"<", TokenKind::LESS},
    {">", TokenKind::GREATER},
    {"(", TokenKind::LEFT_PARENTHESIS},
    {")", TokenKind::RIGHT_PARENTHESIS},
    {"[", TokenKind::LEFT_BRACKET},
    {"]", TokenKind::RIGHT_BRACKET},
    {",", TokenKind::COMMA},
    {".", TokenKind::DOT},
};
// What other languages write, read as what it means so that nothing follows from it.
struct Foreign {
    std::string_view symbol;
    TokenKind kind;
    Keyword keyword;
    const char* message;
};
constexpr Foreign FOREIGN[] = {
    {"==", TokenKind::EQUAL, Keyword::NONE, "\"equal\" is written \"=\""},
    {"!=", TokenKind::NOT_EQUAL, Keyword::NONE, "\"not equal\" is written \"<>\""},
    {"||", TokenKind::NAME, Keyword::OR, "\"or\" is written \"Or\""},
    {"!", TokenKind::NAME, Keyword::NOT, "\"not\" is written \"Not\""},
    {"%", TokenKind::NAME, Keyword::MOD, "the remainder is written \"Mod\""},
};

std::string_view SymbolHint(std::string_view symbol) {
    if (symbol == ";") return " (a statement ends with its line)";
    if (symbol == ":") return " (a statement has a line of its own, which ends without it)";
    if (symbol == "{" || symbol == "}")
        return " (blocks end with words such as \"End If\", arrays are written \"[1, 2]\")";
    if (symbol == "?") return " (use If(…, …, …))";
    if (symbol == "`" || symbol == "$") return " (a text is written \"…\", and joined with \"+\")";
    if (symbol == "#") return " (a comment begins with an apostrophe)";
    return {};
}

void AppendUtf8(std::string& text, uint32_t code) {
    auto put = [&text](uint32_t byte) { text += static_cast<char>(byte); };
    if (code < 0x80) {
        put(code);
    } else if (code < 0x800) {
        put(0xC0 | (code >> 6));
        put(0x80 | (code & 0x3F));
    } else if (code < 0x10000) {
        put(0xE0 | (code >> 12));
        put(0x80 | ((code >> 6) & 0x3F));
        put(0x80 | (code & 0x3F));
    } else {
        put(0xF0 | (code >> 18));
        put(0x80 | ((code >> 12) & 0x3F));
        put(0x80 | ((code >> 6) & 0x3F));
        put(0x80 | (code & 0x3F));
    }
}

class Lexer {
public:
    Lexer(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics)
        : text_(files[file]->Text()), file_(file), diagnostics_(diagnostics) {}

    LexResult Run() {
        if (text_.starts_with("\xEF\xBB\xBF")) at_ = 3;
        if (text_.substr(at_).starts_with("#!")) SkipLine();
        while (at_ < text_.size()) Step();
        if (result_.tokens.empty() || result_.tokens.back().kind != TokenKind::END_OF_LINE) AddEndOfLine();
        Add(TokenKind::END_OF_FILE, at_);
        return std::move(result_);
    }

private:
    char Peek(size_t ahead = 0) const { return at_ + ahead < text_.size() ? text_[at_ + ahead] : '\0'; }

    Span Since(size_t start) const { return {file_, static_cast<uint32_t>(start), static_cast<uint32_t>(at_ - start)}; }

    Token& Add(TokenKind kind, size_t start) {
        Token token;
        token.kind = kind;
        token.span = Since(start);
        token.text = text_.substr(start, at_ - start);
        return result_.tokens.emplace_back(token);
    }

    void SkipLine() {
        while (at_ < text_.size() && !IsLineEnd(text_[at_])) at_++;
    }

    void Comment() {
        size_t start = at_;
        SkipLine();
        result_.comments.push_back(Since(start));
        if (LooksLikeText(text_.substr(start, at_ - start)))
            diagnostics_.Warning(Since(start), "this is a comment (a text is written \"…\")");
    }

    // 'text' where a value is wanted
    bool LooksLikeText(std::string_view comment) const {
        if (result_.tokens.empty()) return false;
        const Token& before = result_.tokens.back();
        bool wantsValue = before.kind == TokenKind::EQUAL || before.kind == TokenKind::PLUS
                          || before.kind == TokenKind::COMMA || before.kind == TokenKind::LEFT_PARENTHESIS
                          || before.keyword == Keyword::PRINT || before.keyword == Keyword::RETURN;
        const size_t end = comment.find('\'', 1);
        return wantsValue && comment[0] == '\'' && end != std::string_view::npos && end > 1
               && comment.find_first_not_of(" \t),;", end + 1) == std::string_view::npos;
    }

    void LineEnd() {
        bool hasContent = !result_.tokens.empty() && result_.tokens.back().kind != TokenKind::END_OF_LINE;
        if (hasContent) AddEndOfLine();
        at_ += Peek() == '\r' && Peek(1) == '\n' ? 2 : 1;
    }

    // A line ends behind its last word, not behind the blanks and the comment after it: errors point there.
    void AddEndOfLine() {
        Token& token = Add(TokenKind::END_OF_LINE, at_);
        if (result_.tokens.size() == 1) return;
        const Span& last = result_.tokens[result_.tokens.size() - 2].span;
        token.span.offset = last.offset + last.length;
    }

    // An underscore that stands alone at the end of a line joins the next line; a comment may follow it.
    bool Continuation() {
        if (Peek() != '_' || IsNamePart(Peek(1))) return false;
        size_t end = at_ + 1;
        while (end < text_.size() && (text_[end] == ' ' || text_[end] == '\t')) end++;
        bool comment = text_.substr(end).starts_with("'") || text_.substr(end).starts_with("//");
        if (end < text_.size() && !IsLineEnd(text_[end]) && !comment) return false;
        at_ = end;
        if (comment) Comment();
        result_.endsInContinuation = at_ >= text_.size();
        if (at_ < text_.size()) at_ += Peek() == '\r' && Peek(1) == '\n' ? 2 : 1;
        return true;
    }

    void Step() {
        char c = Peek();
        if (c == ' ' || c == '\t') {
            at_++;
        } else if (IsLineEnd(c)) {
            LineEnd();
        } else if (c == '\'' || (c == '/' && Peek(1) == '/')) {
            Comment();
        } else if (Continuation()) {
            return;
        } else if (IsNameStart(c)) {
            Name();
        } else if (IsDigit(c) || (c == '.' && IsDigit(Peek(1)))) {
            Number();
        } else if (c == '"') {
            String();
        } else if (c == '&') {
            Prefixed();
        } else {
            Symbol();
        }
    }

    void Name() {
        size_t start = at_;
        while (IsNamePart(Peek())) at_++;
        std::string_view word = text_.substr(start, at_ - start);
        bool afterDot = !result_.tokens.empty() && result_.tokens.back().kind == TokenKind::DOT;
        if (!afterDot && SameName(word, "Rem")) {
            at_ = start;
            Comment();
            return;
        }
        Add(TokenKind::NAME, start).keyword = FindKeyword(word);
    }

    void Number() {
        size_t start = at_;
        bool isDouble = false;
        while (IsDigit(Peek())) at_++;
        if (Peek() == '.' && IsDigit(Peek(1))) {
            isDouble = true;
            at_++;
            while (IsDigit(Peek())) at_++;
        }
        size_t sign = Peek(1) == '+' || Peek(1) == '-' ? 2 : 1;
        if ((Peek() == 'e' || Peek() == 'E') && IsDigit(Peek(sign))) {
            isDouble = true;
            at_ += sign;
            while (IsDigit(Peek())) at_++;
        }
        std::string_view digits = text_.substr(start, at_ - start);
        if (IsNamePart(Peek())) {
            const bool isHexadecimal = digits == "0" && (Peek() == 'x' || Peek() == 'X');
            while (IsNamePart(Peek())) at_++;
            diagnostics_.Error(Since(start), std::string("a number cannot be followed by letters")
                                                 + (isHexadecimal ? " (&hFF is hexadecimal)" : ""));
        }
        Token& token = Add(isDouble ? TokenKind::DOUBLE : TokenKind::INTEGER, start);
        const char* end = digits.data() + digits.size();
        auto parsed = isDouble ? std::from_chars(digits.data(), end, token.number)
                               : std::from_chars(digits.data(), end, token.integer);
        if (parsed.ec != std::errc()) {
            diagnostics_.Error(token.span, isDouble ? "number out of range" : NUMBER_TOO_LARGE);
            return;
        }
        const std::optional<Currency> amount = isDouble ? ParseCurrency(digits) : std::nullopt;
        if (!amount || amount == CurrencyOf(token.number)) return;
        diagnostics_.Error(token.span, "a Double holds only " + FormatConstant(token.number)
                                           + " of it (write that, or ParseCurrency(\"…\"))");
    }

    void String() {
        size_t start = at_++;
        for (;;) {
            if (at_ >= text_.size() || IsLineEnd(Peek())) {
                diagnostics_.Error(Since(start), "the string is not closed");
                break;
            }
            if (Peek() == '"') {
                at_++;
                if (Peek() != '"') break;
            }
            at_++;
        }
        Add(TokenKind::STRING, start);
    }

    // &hFF and &b11 are numbers (&hFFFFFFFF has 32 bits and is -1), &u263A is the string of one character.
    void Prefixed() {
        size_t start = at_;
        if (Peek(1) == '&') {
            at_ += 2;
            diagnostics_.Error(Since(start), "\"and\" is written \"And\"");
            Add(TokenKind::NAME, start).keyword = Keyword::AND;
            return;
        }
        char prefix = FoldName(text_.substr(at_ + 1, 1)).c_str()[0];
        int base = prefix == 'h' || prefix == 'u' ? 16 : prefix == 'o' ? 8 : prefix == 'b' ? 2 : 0;
        if (base == 0) {
            at_++;
            Invalid(start, "unexpected \"&\" (strings are joined with \"+\")");
            Add(TokenKind::PLUS, start);
            return;
        }
        at_ += 2;
        size_t digits = at_;
        while (IsNamePart(Peek())) at_++;
        uint64_t value = 0;
        const char* end = text_.data() + at_;
        auto parsed = std::from_chars(text_.data() + digits, end, value, base);
        bool isCharacter = value <= 0x10FFFF && (value < 0xD800 || value > 0xDFFF);
        if (parsed.ec != std::errc() || parsed.ptr != end || (prefix == 'u' && !isCharacter)) {
            diagnostics_.Error(Since(start), prefix == 'u' ? "not a character" : "not a 64-bit number");
            value = 0;
        }
        Add(prefix == 'u' ? TokenKind::STRING : TokenKind::INTEGER, start).integer = value;
    }

    // Stands where something could not be read, so that the parser does not join what is around it.
    void Invalid(size_t start, std::string message) {
        diagnostics_.Error(Since(start), std::move(message));
        Add(TokenKind::INVALID, start);
    }

    bool ForeignSymbol() {
        size_t start = at_;
        for (const Foreign& foreign : FOREIGN) {
            char behind = Peek(foreign.symbol.size());
            bool isNot = foreign.keyword != Keyword::NOT || IsNameStart(behind) || behind == '(';
            if (!isNot || !text_.substr(at_).starts_with(foreign.symbol)) continue;
            at_ += foreign.symbol.size();
            diagnostics_.Error(Since(start), foreign.message);
            Add(foreign.kind, start).keyword = foreign.keyword;
            return true;
        }
        return false;
    }

    void Symbol() {
        if (ForeignSymbol()) return;
        size_t start = at_;
        for (auto [symbol, kind] : SYMBOLS) {
            if (!text_.substr(at_).starts_with(symbol)) continue;
            at_ += symbol.size();
            Add(kind, start);
            return;
        }
        at_++;
        while ((static_cast<unsigned char>(Peek()) & 0xC0) == 0x80) at_++;
        unsigned char first = static_cast<unsigned char>(text_[start]);
        bool printable = first >= 0x20 && first != 0x7F;
        const std::string_view symbol = text_.substr(start, at_ - start);
        Invalid(start, printable ? "unexpected \"" + std::string(symbol) + "\"" + std::string(SymbolHint(symbol))
                                 : "unexpected control character");
    }

    std::string_view text_;
    uint32_t file_;
    DiagnosticList& diagnostics_;
    size_t at_ = 0;
    LexResult result_;
};

} // namespace

LexResult Lex(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics) {
    return Lexer(files, file, diagnostics).Run();
}

std::string StringValue(const Token& token) {
    std::string value;
    if (token.text.starts_with("&")) {
        AppendUtf8(value, static_cast<uint32_t>(token.integer));
        return value;
    }
    std::string_view inner = token.text.substr(1);
    for (size_t i = 0; i < inner.size(); ++i) {
        if (inner[i] == '"') {
            if (i + 1 >= inner.size() || inner[i + 1] != '"') break;
            i++;
        }
        value += inner[i];
    }
    return value;
}

bool CanBeName(Keyword keyword) {
    switch (keyword) {
    case Keyword::NONE:
    case Keyword::BYREF:
    case Keyword::BYVAL:
    case Keyword::CLASS:
    case Keyword::DECLARE:
    case Keyword::DELEGATE:
    case Keyword::DOWNTO:
    case Keyword::EACH:
    case Keyword::ENUM:
    case Keyword::EVENT:
    case Keyword::EXTENDS:
    case Keyword::GET:
    case Keyword::IMPORT:
    case Keyword::IN:
    case Keyword::INHERITS:
    case Keyword::MODULE:
    case Keyword::PRIVATE:
    case Keyword::PROPERTY:
    case Keyword::PROTECTED:
    case Keyword::SET:
    case Keyword::SHARED:
    case Keyword::STATIC:
    case Keyword::STEP: return true;
    default: return false;
    }
}

std::optional<ConstantValue> NumberValue(const Token& token, bool isNegated) {
    if (token.kind == TokenKind::DOUBLE) return isNegated ? -token.number : token.number;
    const uint64_t value = isNegated ? 0 - token.integer : token.integer;
    const uint64_t sign = isNegated ? 1 : 0;
    // Digits of another base stand for bits.
    bool isBits = token.text.starts_with('&');
    if (token.integer <= (isBits ? uint64_t{UINT32_MAX} : INT32_MAX + sign)) return static_cast<int32_t>(value);
    if (isBits || token.integer <= INT64_MAX + sign) return static_cast<int64_t>(value);
    return std::nullopt;
}

std::string_view KeywordName(Keyword keyword) {
    auto found = std::find_if(std::begin(KEYWORDS), std::end(KEYWORDS),
                              [keyword](const auto& entry) { return entry.first == keyword; });
    return found == std::end(KEYWORDS) ? std::string_view() : found->second;
}

std::vector<std::string_view> KeywordNames() {
    std::vector<std::string_view> names;
    for (auto [keyword, name] : KEYWORDS) names.push_back(name);
    return names;
}

} // namespace host
