// Lays programs out in one style, line by line.
#include "host/syntax/formatter.h"

#include "host/syntax/lexer.h"
#include "host/syntax/parser.h"

#include <algorithm>
#include <vector>

namespace host {

namespace {

constexpr size_t INDENT = 2;

// What stands on one line of the text.
struct Line {
    std::vector<Token> tokens;
    std::string_view comment;
    size_t indent = 0;        // as written, in characters
    size_t commentColumn = 0; // as written, from 0
    bool isContinued = false; // by an underscore
};

std::string_view TrimEnd(std::string_view text) {
    size_t end = text.find_last_not_of(" \t\r");
    return end == std::string_view::npos ? std::string_view() : text.substr(0, end + 1);
}

size_t CharacterCount(std::string_view text) {
    return static_cast<size_t>(std::count_if(text.begin(), text.end(), [](char c) { return (c & 0xC0) != 0x80; }));
}

bool IsOpening(const Token& token) {
    return token.kind == TokenKind::LEFT_PARENTHESIS || token.kind == TokenKind::LEFT_BRACKET;
}
bool IsClosing(const Token& token) {
    return token.kind == TokenKind::RIGHT_PARENTHESIS || token.kind == TokenKind::RIGHT_BRACKET;
}

bool IsModifier(const Token& token) {
    return token.keyword == Keyword::PRIVATE || token.keyword == Keyword::PROTECTED || token.keyword == Keyword::SHARED;
}

bool IntroducesName(Keyword keyword) {
    switch (keyword) {
    case Keyword::SUB:
    case Keyword::FUNCTION:
    case Keyword::EVENT:
    case Keyword::CLASS:
    case Keyword::MODULE:
    case Keyword::ENUM:
    case Keyword::PROPERTY:
    case Keyword::CONST: return true;
    default: return false;
    }
}

bool IsNameBehind(const std::vector<Token>& tokens, size_t index) {
    return index + 1 < tokens.size() && tokens[index + 1].kind == TokenKind::NAME
           && tokens[index + 1].keyword != Keyword::AS;
}

bool EndsOperand(const Token& token) {
    return token.kind == TokenKind::INTEGER || token.kind == TokenKind::DOUBLE || IsClosing(token)
           || (token.kind == TokenKind::NAME && CanBeName(token.keyword));
}

// The same for words that may be names elsewhere.
bool IsWordHere(const std::vector<Token>& tokens, size_t index) {
    const Keyword before = index > 0 ? tokens[index - 1].keyword : Keyword::NONE;
    bool areModifiers = std::all_of(tokens.begin(), tokens.begin() + static_cast<ptrdiff_t>(index), IsModifier);
    switch (tokens[index].keyword) {
    case Keyword::GET:
    case Keyword::SET:
        if (index == 0 && (tokens.size() == 1 || (IsOpening(tokens[1]) && !IsClosing(tokens[2])))) return true;
        [[fallthrough]];
    case Keyword::CLASS:
    case Keyword::MODULE:
    case Keyword::ENUM:
    case Keyword::PROPERTY:
    case Keyword::EVENT:
        return before == Keyword::END || before == Keyword::DECLARE || (areModifiers && IsNameBehind(tokens, index));
    case Keyword::DECLARE:
    case Keyword::DELEGATE:
    case Keyword::INHERITS:
    case Keyword::STATIC:
    case Keyword::PRIVATE:
    case Keyword::PROTECTED:
    case Keyword::SHARED: return areModifiers && IsNameBehind(tokens, index);
    case Keyword::IMPORT: return index == 0;
    case Keyword::BYREF:
    case Keyword::BYVAL:
    case Keyword::EXTENDS:
        return index > 0 && (IsOpening(tokens[index - 1]) || tokens[index - 1].kind == TokenKind::COMMA)
               && IsNameBehind(tokens, index);
    case Keyword::EACH: return before == Keyword::FOR;
    case Keyword::IN:
    case Keyword::DOWNTO:
    case Keyword::STEP:
        return index > 1 && tokens[0].keyword == Keyword::FOR && EndsOperand(tokens[index - 1])
               && !IsWordHere(tokens, index - 1);
    default: return false;
    }
}

// Whether token number `index` of a line is a word of the language, not a name that is spelled like one.
bool IsWord(const std::vector<Token>& tokens, size_t index) {
    const Token& token = tokens[index];
    if (token.kind != TokenKind::NAME) return false;
    if (CanBeName(token.keyword)) return IsWordHere(tokens, index);
    if (index + 1 < tokens.size() && tokens[index + 1].keyword == Keyword::AS) return false;
    if (index == 0) return true;
    const Token& before = tokens[index - 1];
    bool isEnd = index > 1 && (tokens[index - 2].keyword == Keyword::END || tokens[index - 2].keyword == Keyword::EXIT);
    return before.kind != TokenKind::DOT && (isEnd || !IntroducesName(before.keyword));
}

bool IsOperator(const Token& token) {
    switch (token.kind) {
    case TokenKind::NAME:
    case TokenKind::INTEGER:
    case TokenKind::DOUBLE:
    case TokenKind::STRING:
    case TokenKind::RIGHT_PARENTHESIS:
    case TokenKind::RIGHT_BRACKET:
    case TokenKind::DOT: return false;
    default: return true;
    }
}

class Formatter {
public:
    explicit Formatter(std::string_view text) : text_(text) {}

    std::string Run(const LexResult& lexed) {
        Divide(lexed);
        for (size_t i = 0; i < lines_.size(); ++i) Put(i);
        while (result_.ends_with("\n\n")) result_.pop_back();
        return std::move(result_);
    }

private:
    // Gives each line its tokens and its comment.
    void Divide(const LexResult& lexed) {
        size_t token = 0;
        size_t comment = 0;
        for (size_t begin = 0; begin < text_.size();) {
            size_t end = std::min(text_.find_first_of("\r\n", begin), text_.size());
            Line& line = lines_.emplace_back();
            std::string_view written = text_.substr(begin, end - begin);
            line.indent = CharacterCount(written.substr(0, std::min(written.find_first_not_of(" \t"), written.size())));
            size_t codeEnd = end;
            for (; token < lexed.tokens.size() && lexed.tokens[token].span.offset < end; ++token) {
                const Token& next = lexed.tokens[token];
                bool isLineEnd = next.kind == TokenKind::END_OF_LINE || next.kind == TokenKind::END_OF_FILE;
                if (!isLineEnd) line.tokens.push_back(next);
            }
            if (comment < lexed.comments.size() && lexed.comments[comment].offset < end) {
                codeEnd = lexed.comments[comment].offset;
                line.comment = TrimEnd(text_.substr(codeEnd, end - codeEnd));
                line.commentColumn = CharacterCount(text_.substr(begin, codeEnd - begin));
                ++comment;
            }
            if (begin == 0 && written.starts_with("#!")) line.comment = TrimEnd(written);
            size_t codeBegin =
                line.tokens.empty() ? begin : line.tokens.back().span.offset + line.tokens.back().span.length;
            line.isContinued = TrimEnd(text_.substr(codeBegin, codeEnd - codeBegin)).ends_with('_');
            begin = end + (text_.substr(end).starts_with("\r\n") ? 2 : 1);
        }
    }

    void Put(size_t index) {
        const Line& line = lines_[index];
        if (line.tokens.empty() && line.comment.empty() && !line.isContinued) {
            bool isSecond = result_.empty() || result_.ends_with("\n\n");
            if (!isSecond) result_ += '\n';
            return;
        }
        std::string text(IndentOf(index), ' ');
        for (size_t i = 0; i < line.tokens.size(); ++i) {
            if (i > 0 && HasBlank(line.tokens, i)) text += ' ';
            text += Spelling(line.tokens, i);
        }
        if (line.isContinued) text += line.tokens.empty() ? "_" : " _";
        if (!line.comment.empty()) {
            bool isAlone = line.tokens.empty() && !line.isContinued;
            size_t length = CharacterCount(text);
            if (!isAlone) text.append(length < line.commentColumn ? line.commentColumn - length : 1, ' ');
            text += line.comment;
        }
        result_ += text + '\n';
        Follow(line);
    }

    size_t IndentOf(size_t index) {
        const Line& line = lines_[index];
        if (isContinuation_) {
            // As far in or out as it was written.
            size_t moved = firstIndent_ + line.indent;
            return moved > writtenIndent_ ? std::max(moved - writtenIndent_, firstIndent_) : firstIndent_;
        }
        size_t indent = LevelOf(line.tokens) * INDENT;
        if (line.tokens.empty()) {
            // A comment belongs to the block around it, or to the words that divide or end it.
            size_t next = index + 1;
            while (next < lines_.size() && lines_[next].tokens.empty()) ++next;
            size_t other = next < lines_.size() ? LevelOf(lines_[next].tokens) * INDENT : indent;
            if (line.indent == other) indent = other;
        }
        firstIndent_ = indent;
        writtenIndent_ = line.indent;
        return indent;
    }

    // The level on which a statement stands that begins with these tokens.
    size_t LevelOf(const std::vector<Token>& tokens) const {
        if (tokens.empty()) return level_;
        switch (tokens[0].keyword) {
        case Keyword::END:
        case Keyword::NEXT:
        case Keyword::WEND:
        case Keyword::LOOP:
        case Keyword::ELSE:
        case Keyword::ELSEIF:
        case Keyword::CASE:
        case Keyword::CATCH:
        case Keyword::FINALLY: return IsWord(tokens, 0) && level_ > 0 ? level_ - 1 : level_;
        default: return level_;
        }
    }

    // What the line opens and closes.
    void Follow(const Line& line) {
        const auto& tokens = line.tokens;
        if (!isContinuation_) statement_.clear();
        statement_.insert(statement_.end(), tokens.begin(), tokens.end());
        for (const Token& token : tokens) {
            depth_ += IsOpening(token) ? 1 : 0;
            depth_ -= IsClosing(token) ? 1 : 0;
        }
        isContinuation_ = line.isContinued || depth_ > 0;
        if (isContinuation_ || statement_.empty()) return;
        if (LevelOf(statement_) < level_ && !Divides(statement_[0].keyword)) --level_;
        if (Opens(statement_)) ++level_;
    }

    static bool Divides(Keyword keyword) {
        return keyword == Keyword::ELSE || keyword == Keyword::ELSEIF || keyword == Keyword::CASE
               || keyword == Keyword::CATCH || keyword == Keyword::FINALLY;
    }

    bool Opens(const std::vector<Token>& tokens) {
        size_t first = 0;
        while (first + 1 < tokens.size() && IsModifier(tokens[first]) && tokens[first + 1].kind == TokenKind::NAME
               && tokens[first + 1].keyword != Keyword::AS) {
            ++first;
        }
        const Token* next = first + 1 < tokens.size() ? &tokens[first + 1] : nullptr;
        bool isNamed = next != nullptr && next->kind == TokenKind::NAME && next->keyword != Keyword::AS;
        Keyword keyword = tokens[first].keyword;
        switch (keyword) {
        case Keyword::IF: return tokens.back().keyword == Keyword::THEN;
        case Keyword::SELECT:
        case Keyword::FOR:
        case Keyword::WHILE:
        case Keyword::DO:
        case Keyword::WITH:
        case Keyword::TRY: return IsWord(tokens, first);
        case Keyword::SUB:
        case Keyword::FUNCTION:
        case Keyword::EVENT:
        case Keyword::CLASS:
        case Keyword::MODULE:
        case Keyword::ENUM: return isNamed;
        case Keyword::PROPERTY: return isNamed && IsComputed(*next);
        case Keyword::GET: return isInProperty_ && tokens.size() == 1;
        case Keyword::SET: return isInProperty_ && next != nullptr && next->kind == TokenKind::LEFT_PARENTHESIS;
        case Keyword::END:
            if (next != nullptr && next->keyword == Keyword::PROPERTY) isInProperty_ = false;
            return false;
        default: return false;
        }
    }

    // Whether the block of an accessor follows the line of the name.
    bool IsComputed(const Token& name) {
        auto line = std::find_if(lines_.begin(), lines_.end(), [&](const Line& candidate) {
            return !candidate.tokens.empty() && candidate.tokens.back().span.offset >= name.span.offset;
        });
        if (line == lines_.end()) return false;
        do ++line;
        while (line != lines_.end() && line->tokens.empty());
        if (line == lines_.end()) return false;
        const auto& tokens = line->tokens;
        isInProperty_ = (tokens[0].keyword == Keyword::GET && tokens.size() == 1)
                        || (tokens[0].keyword == Keyword::SET && tokens.size() > 2 && IsOpening(tokens[1])
                            && tokens[2].kind == TokenKind::NAME);
        return isInProperty_;
    }

    bool HasBlank(const std::vector<Token>& tokens, size_t index) const {
        const Token& before = tokens[index - 1];
        const Token& token = tokens[index];
        if (token.kind == TokenKind::COMMA || IsClosing(token)) return false;
        if (token.kind == TokenKind::DOT && !BeginsOperand(tokens, index)) return false;
        if (IsOpening(before) || before.kind == TokenKind::DOT) return false;
        if (tokens[0].keyword == Keyword::IMPORT) return index == 1;
        if (IsSign(tokens, index - 1)) return token.kind == TokenKind::MINUS;
        if (token.kind != TokenKind::LEFT_PARENTHESIS) return true;
        if (before.kind != TokenKind::NAME) return IsOperator(before);
        // If(…) is a value, If (…) a statement.
        if (before.keyword == Keyword::IF) {
            return index == 1 || tokens[index - 2].keyword == Keyword::THEN
                   || tokens[index - 2].keyword == Keyword::ELSE;
        }
        bool isName = before.keyword == Keyword::NONE || before.keyword == Keyword::SELF
                      || before.keyword == Keyword::SUPER || (index > 1 && tokens[index - 2].kind == TokenKind::DOT);
        bool isAccessor = index == 1 && before.keyword == Keyword::SET;
        return !isName && !isAccessor && IsWord(tokens, index - 1);
    }

    // A dot that has no object before it, within a With.
    static bool BeginsOperand(const std::vector<Token>& tokens, size_t index) {
        const Token& before = tokens[index - 1];
        bool isObject = before.keyword == Keyword::SELF || before.keyword == Keyword::SUPER;
        return IsOperator(before) || (before.kind == TokenKind::NAME && IsWord(tokens, index - 1) && !isObject);
    }

    // A minus that has nothing before it to be taken from.
    static bool IsSign(const std::vector<Token>& tokens, size_t index) {
        if (tokens[index].kind != TokenKind::MINUS) return false;
        if (index == 0) return true;
        const Token& before = tokens[index - 1];
        bool isWord = before.kind == TokenKind::NAME && IsWord(tokens, index - 1) && before.keyword != Keyword::SELF;
        return IsOperator(before) || isWord;
    }

    static std::string Spelling(const std::vector<Token>& tokens, size_t index) {
        const Token& token = tokens[index];
        return std::string(IsWord(tokens, index) ? KeywordName(token.keyword) : token.text);
    }

    std::string_view text_;
    std::vector<Line> lines_;
    std::vector<Token> statement_; // the lines of it so far
    std::string result_;
    size_t level_ = 0;
    size_t firstIndent_ = 0;   // of the statement's first line
    size_t writtenIndent_ = 0; // and as it was
    int depth_ = 0;            // of parentheses
    bool isContinuation_ = false;
    bool isInProperty_ = false;
};

} // namespace

std::string FormatProgram(const SourceFiles& files, uint32_t file, DiagnosticList& diagnostics) {
    std::string text(files[file]->Text());
    Parse(files, file, diagnostics);
    if (diagnostics.HasErrors()) return text;
    LexResult lexed = Lex(files, file, diagnostics);
    return Formatter(text).Run(lexed);
}

} // namespace host
