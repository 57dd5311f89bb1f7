// Reads the expectations in a program's comments; compares lines.
#include "host/cli/expectations.h"

#include <algorithm>
#include <charconv>

namespace host {

namespace {

std::string_view Trim(std::string_view text) {
    constexpr std::string_view SPACE = " \t\r";
    size_t first = text.find_first_not_of(SPACE);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(SPACE) - first + 1);
}

// The comment that ends a line, without its mark; an apostrophe inside a string literal starts none.
std::optional<std::string_view> CommentOf(std::string_view line) {
    bool quoted = false;
    for (size_t i = 0; i < line.size(); ++i) {
        if (line[i] == '"') quoted = !quoted;
        if (quoted) continue;
        if (line[i] == '\'') return line.substr(i + 1);
        if (line.substr(i, 2) == "//") return line.substr(i + 2);
    }
    return std::nullopt;
}

bool TakeWord(std::string_view& text, std::string_view word) {
    if (!text.starts_with(word)) return false;
    std::string_view rest = text.substr(word.size());
    if (!rest.empty() && rest[0] != ' ' && rest[0] != ':') return false;
    text = Trim(rest);
    return true;
}

std::optional<int> TakeNumber(std::string_view& text) {
    int number = 0;
    auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc()) return std::nullopt;
    text.remove_prefix(static_cast<size_t>(end - text.data()));
    return number;
}

bool TakeColon(std::string_view& text) {
    if (!text.starts_with(':')) return false;
    text = Trim(text.substr(1));
    return true;
}

std::vector<std::string> SplitWords(std::string_view text) {
    std::vector<std::string> words;
    while (!(text = Trim(text)).empty()) {
        bool quoted = text[0] == '"';
        size_t end = quoted ? text.find('"', 1) : text.find_first_of(" \t");
        words.emplace_back(quoted ? text.substr(1, end - 1) : text.substr(0, end));
        text = end == std::string_view::npos ? std::string_view() : text.substr(end + 1);
    }
    return words;
}

class Reader {
public:
    Expectations Read(std::string_view source) {
        for (const std::string& line : SplitLines(source)) {
            ++line_;
            std::optional<std::string_view> comment = CommentOf(line);
            if (!comment) continue;
            std::string_view text = Trim(*comment);
            // A comment on a line of its own has no code before it.
            alone_ = Trim(line).size() <= text.size() + 3 && Trim(line).ends_with(text)
                     && (Trim(line)[0] == '\'' || Trim(line).starts_with("//"));
            if (!ReadComment(text)) result_.mistakes.push_back({line_, std::string(text)});
        }
        return std::move(result_);
    }

private:
    // False for a comment that begins like an expectation and is none.
    bool ReadComment(std::string_view text) {
        if (TakeWord(text, "expect")) return ReadExpectation(text);
        if (TakeWord(text, "leaks")) return ReadLeak(text);
        if (text.starts_with("arguments:")) {
            result_.arguments = SplitWords(text.substr(text.find(':') + 1));
        } else if (text.starts_with("input:")) {
            result_.input.append(Trim(text.substr(text.find(':') + 1))).append("\n");
        } else if (text.starts_with("program:")) {
            result_.program = std::string(Trim(text.substr(text.find(':') + 1)));
        }
        return true;
    }

    bool ReadExpectation(std::string_view text) {
        if (text.starts_with(':')) {
            // Further leading spaces belong to the line: output may be indented.
            text.remove_prefix(text.starts_with(": ") ? 2 : 1);
            result_.output.push_back({line_, std::string(text)});
            return true;
        }
        if (TakeWord(text, "error")) return ReadMessage(text, result_.errors);
        if (TakeWord(text, "warning")) return ReadMessage(text, result_.warnings);
        if (TakeWord(text, "exception")) return ReadException(text);
        return false;
    }

    bool ReadMessage(std::string_view text, std::vector<ExpectedMessage>& messages) {
        ExpectedMessage message{line_, std::nullopt, {}};
        if (std::optional<int> number = TakeNumber(text)) {
            message.line = *number;
            std::string_view rest = text;
            if (TakeColon(rest))
                if (std::optional<int> column = TakeNumber(rest); column && rest.starts_with(':')) {
                    message.column = column;
                    text = rest;
                }
        }
        if (!TakeColon(text)) return false;
        message.text = text;
        messages.push_back(message);
        return true;
    }

    bool ReadException(std::string_view text) {
        if (result_.exception || text.empty()) return false;
        size_t end = std::min(text.find_first_of(" :"), text.size());
        ExpectedException exception{std::nullopt, std::string(text.substr(0, end)), std::nullopt, std::nullopt};
        if (!alone_) exception.line = line_;
        text = Trim(text.substr(end));
        exception.number = TakeNumber(text);
        if (TakeColon(text))
            exception.text = text;
        else if (!text.empty())
            return false;
        result_.exception = exception;
        return true;
    }

    bool ReadLeak(std::string_view text) {
        size_t colon = text.find(':');
        if (colon == std::string_view::npos) return false;
        DeclaredLeak leak{line_, std::string(Trim(text.substr(0, colon))), {}};
        text = text.substr(colon);
        while (TakeColon(text) || text.starts_with(',')) {
            if (text.starts_with(',')) text = Trim(text.substr(1));
            std::optional<int> count = TakeNumber(text);
            text = Trim(text);
            size_t end = std::min(text.find(','), text.size());
            std::string_view name = Trim(text.substr(0, end));
            if (!count || name.empty()) return false;
            leak.counts[std::string(name)] += *count;
            text = text.substr(end);
        }
        result_.leaks.push_back(leak);
        return true;
    }

    Expectations result_;
    int line_ = 0;
    bool alone_ = false;
};

} // namespace

std::vector<std::string> SplitLines(std::string_view text) {
    std::vector<std::string> lines;
    while (!text.empty()) {
        size_t end = std::min(text.find('\n'), text.size());
        std::string_view line = text.substr(0, end);
        lines.emplace_back(line.ends_with('\r') ? line.substr(0, line.size() - 1) : line);
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

Expectations ReadExpectations(std::string_view source) { return Reader().Read(source); }

bool MatchesMessage(std::string_view got, std::string_view expected) {
    if (!expected.ends_with("...")) return got == expected;
    return got.starts_with(expected.substr(0, expected.size() - 3));
}

std::vector<Difference> CompareLines(const std::vector<std::string>& expected, const std::vector<std::string>& got) {
    size_t begin = 0;
    size_t expectedEnd = expected.size();
    size_t gotEnd = got.size();
    while (begin < expectedEnd && begin < gotEnd && expected[begin] == got[begin]) ++begin;
    while (expectedEnd > begin && gotEnd > begin && expected[expectedEnd - 1] == got[gotEnd - 1])
        --expectedEnd, --gotEnd;

    size_t rows = expectedEnd - begin;
    size_t columns = gotEnd - begin;
    // Longest common part by dynamic programming; very long differences are paired line by line instead.
    constexpr size_t MAXIMUM_CELLS = 4'000'000;
    bool aligned = rows * columns <= MAXIMUM_CELLS;
    std::vector<size_t> common(aligned ? (rows + 1) * (columns + 1) : 0);
    auto at = [&](size_t row, size_t column) -> size_t& { return common[row * (columns + 1) + column]; };
    if (aligned)
        for (size_t row = rows; row-- > 0;)
            for (size_t column = columns; column-- > 0;)
                at(row, column) = expected[begin + row] == got[begin + column]
                                      ? at(row + 1, column + 1) + 1
                                      : std::max(at(row + 1, column), at(row, column + 1));

    // Runs without a common line are paired in order: a changed line is one difference, not two.
    std::vector<Difference> differences;
    std::vector<size_t> missing;
    std::vector<size_t> surplus;
    auto flush = [&] {
        for (size_t i = 0; i < std::max(missing.size(), surplus.size()); ++i)
            differences.push_back({i < missing.size() ? std::optional(missing[i]) : std::nullopt,
                                   i < surplus.size() ? std::optional(surplus[i]) : std::nullopt});
        missing.clear();
        surplus.clear();
    };
    size_t row = 0;
    size_t column = 0;
    while (row < rows || column < columns) {
        bool equal = row < rows && column < columns && expected[begin + row] == got[begin + column];
        if (equal) {
            flush();
            ++row, ++column;
        } else if (column == columns || (row < rows && aligned && at(row + 1, column) >= at(row, column + 1))) {
            missing.push_back(begin + row++);
        } else if (row == rows || aligned) {
            surplus.push_back(begin + column++);
        } else {
            missing.push_back(begin + row++);
            surplus.push_back(begin + column++);
        }
    }
    flush();
    return differences;
}

} // namespace host
