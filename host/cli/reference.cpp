// Pages found by their headings: "# PAGE", "## SECTION", "### SIGNATURE", and rows "| `CONSTANT = 1` | text |".
#include "host/cli/reference.h"

#include <sstream>

namespace host::reference {

namespace {

constexpr std::string_view TEXT =
#include "reference.inc"
    ;

constexpr size_t LINE_LENGTH = 100;

// The text after a line that begins with `start`, up to the next line that begins with `end`; empty without such a
// line. After `start` the line ends or goes on with a blank.
std::string_view Between(std::string_view text, const std::string& start, std::string_view end) {
    const std::string line = "\n" + start;
    for (size_t found = 0; (found = text.find(line, found)) != std::string_view::npos; ++found) {
        const size_t next = found + line.size();
        if (next < text.size() && text[next] != '\n' && text[next] != ' ') continue;
        const size_t begin = text.find('\n', next);
        if (begin == std::string_view::npos) break;
        return text.substr(begin, text.find("\n" + std::string(end), begin) - begin);
    }
    return {};
}

std::string_view Page(std::string_view name) { return Between(TEXT, "# " + std::string(name), "# "); }

std::string_view WithoutBlanks(std::string_view text) {
    const size_t begin = text.find_first_not_of(" \n");
    if (begin == std::string_view::npos) return {};
    return text.substr(begin, text.find_last_not_of(" \n") + 1 - begin);
}

std::vector<std::string_view> Lines(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

// Gathers the lines of a paragraph or of an item in a list, and fills them word by word.
class Filler {
public:
    explicit Filler(size_t indent) : indent_(indent) {}

    void AddLine(const std::string& line) {
        EndParagraph();
        if (!line.empty()) text_.append(indent_, ' ').append(line);
        text_ += '\n';
    }

    void AddWords(std::string_view line) {
        if (line.starts_with("- ")) EndParagraph();
        paragraph_.append(line).append(1, ' ');
    }

    std::string Result() {
        EndParagraph();
        return text_;
    }

private:
    void EndParagraph() {
        std::string line(indent_, ' ');
        const size_t hanging = indent_ + (paragraph_.starts_with("- ") ? 2 : 0);
        bool isNew = true;
        std::istringstream words(paragraph_);
        for (std::string word; words >> word;) {
            for (size_t mark; (mark = word.find("**")) != std::string::npos;) word.erase(mark, 2);
            if (!isNew && line.size() + 1 + word.size() > LINE_LENGTH) {
                text_ += line + '\n';
                line.assign(hanging, ' ');
                isNew = true;
            }
            line.append(isNew ? 0 : 1, ' ').append(word);
            isNew = false;
        }
        if (!isNew) text_ += line + '\n';
        paragraph_.clear();
    }

    std::string text_;
    std::string paragraph_;
    size_t indent_;
};

} // namespace

std::vector<std::string_view> Pages() {
    std::vector<std::string_view> names;
    for (const std::string_view line : Lines(TEXT))
        if (line.starts_with("# ")) names.push_back(line.substr(2));
    return names;
}

std::vector<Heading> Headings(std::string_view page) {
    std::vector<Heading> headings;
    for (const std::string_view line : Lines(Page(page))) {
        if (line.starts_with("## ")) headings.push_back({true, line.substr(3)});
        if (line.starts_with("### ")) headings.push_back({false, line.substr(4)});
    }
    return headings;
}

std::string_view Introduction(std::string_view page) {
    const std::string_view text = Page(page);
    return WithoutBlanks(text.substr(0, text.find("\n##")));
}

std::string_view Section(std::string_view page, std::string_view title) {
    return WithoutBlanks(Between(Page(page), "## " + std::string(title), "## "));
}

std::string_view MemberText(std::string_view page, std::string_view signature) {
    std::string_view rest = Page(page);
    const std::string row = "\n| `" + std::string(signature) + "` | ";
    if (const size_t found = rest.find(row); found != std::string_view::npos) {
        const std::string_view cell = rest.substr(found + row.size());
        return cell.substr(0, cell.find(" |\n"));
    }
    // The headings of overloads follow each other, the text is below the last one.
    const std::string_view after = Between(rest, "### " + std::string(signature), "## ");
    if (after.empty()) return {};
    rest = after;
    while (rest.starts_with("\n### ")) rest.remove_prefix(rest.find('\n', 1));
    return WithoutBlanks(rest.substr(0, rest.find("\n##")));
}

std::string FirstSentence(std::string_view text) {
    std::string sentence(text.substr(0, text.find("\n\n")));
    for (char& c : sentence)
        if (c == '\n') c = ' ';
    const size_t end = sentence.find(". ");
    if (end != std::string::npos) sentence.resize(end + 1);
    return sentence;
}

std::string Filled(std::string_view text, size_t indent) {
    Filler filler(indent);
    bool isCode = false;
    for (const std::string_view line : Lines(text)) {
        if (line.starts_with("```")) {
            isCode = !isCode;
        } else if (isCode) {
            // What a test of the example needs to know is nothing for readers.
            if (!line.starts_with("' leaks ")) filler.AddLine(line.empty() ? "" : "    " + std::string(line));
        } else if (line.empty() || line.starts_with('|')) {
            filler.AddLine(std::string(line));
        } else {
            filler.AddWords(line);
        }
    }
    return filler.Result();
}

} // namespace host::reference
