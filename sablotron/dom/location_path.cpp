// The parser of location paths.
#include "sablotron/dom/location_path.h"

#include "sablotron/tree/characters.h"
#include "sablotron/tree/xpath_tokens.h"

#include <algorithm>
#include <charconv>
#include <utility>

namespace sablot {

namespace {

constexpr int MAX_PARENTHESES = 32;

constexpr std::pair<std::string_view, Axis> AXES[] = {
    {"child", Axis::CHILD},
    {"descendant", Axis::DESCENDANT},
    {"descendant-or-self", Axis::DESCENDANT_OR_SELF},
    {"attribute", Axis::ATTRIBUTE},
    {"self", Axis::SELF},
    {"parent", Axis::PARENT},
    {"ancestor", Axis::ANCESTOR},
    {"ancestor-or-self", Axis::ANCESTOR_OR_SELF},
    {"following", Axis::FOLLOWING},
    {"following-sibling", Axis::FOLLOWING_SIBLING},
    {"preceding", Axis::PRECEDING},
    {"preceding-sibling", Axis::PRECEDING_SIBLING},
};

constexpr std::pair<std::string_view, NodeTest::Kind> NODE_TYPES[] = {
    {"node", NodeTest::NODE},
    {"text", NodeTest::TEXT},
    {"comment", NodeTest::COMMENT},
    {"processing-instruction", NodeTest::INSTRUCTION},
};

std::string_view Trim(std::string_view text) {
    const size_t first = text.find_first_not_of(BLANKS);
    return first == std::string_view::npos ? "" : text.substr(first, text.find_last_not_of(BLANKS) + 1 - first);
}

// Reads what it knows from the front of a text; what it does not know it leaves.
class Parser {
public:
    explicit Parser(std::string_view text) : rest_(text) {}

    bool AtEnd() {
        Skip();
        return rest_.empty();
    }

    bool Union(PathUnion& result, int depth = 0) {
        do {
            Path& path = result.paths.emplace_back();
            if (!OnePath(path, depth)) return false;
        } while (Take("|"));
        return true;
    }

    // An attribute and nothing more, or compared with a literal.
    bool AttributePredicate(Predicate& predicate) {
        std::string value;
        const bool literalFirst = Literal(value);
        if (literalFirst && !Take("=")) return false;
        if (!Take("@") || !Name(predicate.attribute) || predicate.attribute.kind != NodeTest::NAME) return false;
        const bool compared = literalFirst || (Take("=") && Literal(value));
        predicate.kind = compared ? Predicate::ATTRIBUTE_EQUALS : Predicate::HAS_ATTRIBUTE;
        predicate.value = std::move(value);
        return AtEnd();
    }

    // The inside of a pair of brackets that was opened just now, up to the closing one.
    std::optional<std::string_view> Bracketed() {
        int depth = 1;
        for (size_t i = 0; i < rest_.size(); ++i) {
            const char c = rest_[i];
            if (c == '"' || c == '\'') {
                i = rest_.find(c, i + 1);
                if (i == std::string_view::npos) return std::nullopt;
            }
            depth += c == '[' ? 1 : c == ']' ? -1 : 0;
            if (depth > 0) continue;
            const std::string_view inside = rest_.substr(0, i);
            rest_.remove_prefix(i + 1);
            return inside;
        }
        return std::nullopt;
    }

private:
    void Skip() {
        const size_t first = rest_.find_first_not_of(BLANKS);
        rest_.remove_prefix(first == std::string_view::npos ? rest_.size() : first);
    }
    bool Take(std::string_view token) {
        Skip();
        if (!rest_.starts_with(token)) return false;
        rest_.remove_prefix(token.size());
        return true;
    }
    char Next() {
        Skip();
        return rest_.empty() ? '\0' : rest_.front();
    }
    std::string_view NCName() {
        if (rest_.empty() || !IsNameStart(rest_.front())) return {};
        const auto end = std::find_if_not(rest_.begin(), rest_.end(), IsNameChar);
        const std::string_view name = rest_.substr(0, static_cast<size_t>(end - rest_.begin()));
        rest_.remove_prefix(name.size());
        return name;
    }
    bool Literal(std::string& value) {
        const char quote = Next();
        if (quote != '"' && quote != '\'') return false;
        const size_t end = rest_.find(quote, 1);
        if (end == std::string_view::npos) return false;
        value = rest_.substr(1, end - 1);
        rest_.remove_prefix(end + 1);
        return true;
    }

    bool OnePath(Path& path, int depth) {
        if (Take("(")) {
            if (depth == MAX_PARENTHESES || !Union(path.start.emplace_back(), depth + 1) || !Take(")")) return false;
            if (!Predicates(path.startPredicates)) return false;
            return Next() != '/' || Steps(path);
        }
        if (Next() != '/') return Relative(path);
        path.isAbsolute = true;
        if (rest_.starts_with("//")) return Steps(path);
        Take("/");
        const char next = Next();
        return (next != '*' && next != '.' && next != '@' && !IsNameStart(next)) || Relative(path);
    }

    bool Relative(Path& path) { return OneStep(path) && Steps(path); }

    // Slashes, each followed by a step.
    bool Steps(Path& path) {
        while (Next() == '/') {
            if (Take("//"))
                path.steps.push_back({Axis::DESCENDANT_OR_SELF, {}, {}});
            else
                Take("/");
            if (!OneStep(path)) return false;
        }
        return true;
    }

    bool OneStep(Path& path) {
        Step& step = path.steps.emplace_back();
        if (Take("..")) {
            step.axis = Axis::PARENT;
            return true;
        }
        if (Next() == '.') {
            step.axis = Axis::SELF;
            Take(".");
            return rest_.empty() || !IsDigit(rest_.front());
        }
        if (Take("@")) {
            step.axis = Axis::ATTRIBUTE;
        } else if (const std::string_view before = rest_; IsNameStart(Next())) {
            const std::string_view name = NCName();
            if (Take("::")) {
                const auto* axis = std::find_if(std::begin(AXES), std::end(AXES),
                                                [name](const auto& known) { return known.first == name; });
                if (axis == std::end(AXES)) return false;
                step.axis = axis->second;
            } else {
                rest_ = before;
            }
        }
        if (!Test(step.test) || !Predicates(step.predicates)) return false;
        Merge(path.steps);
        return true;
    }

    // descendant-or-self::node()/child::x finds what descendant::x finds, unless x is counted below each parent.
    static void Merge(std::vector<Step>& steps) {
        if (steps.size() < 2 || steps.back().axis != Axis::CHILD || steps.back().IsPositional()) return;
        const Step& before = steps[steps.size() - 2];
        if (before.axis != Axis::DESCENDANT_OR_SELF || before.test.kind != NodeTest::NODE || !before.predicates.empty())
            return;
        steps.back().axis = Axis::DESCENDANT;
        steps.erase(steps.end() - 2);
    }

    bool Test(NodeTest& test) {
        const std::string_view before = (Skip(), rest_);
        const std::string_view name = NCName();
        if (name.empty() || !Take("(")) {
            rest_ = before;
            return Name(test);
        }
        const auto* type = std::find_if(std::begin(NODE_TYPES), std::end(NODE_TYPES),
                                        [name](const auto& known) { return known.first == name; });
        if (type == std::end(NODE_TYPES)) return false; // a function
        test.kind = type->second;
        if (test.kind == NodeTest::INSTRUCTION) Literal(test.name);
        return Take(")");
    }

    bool Name(NodeTest& test) {
        if (Take("*")) {
            test.kind = NodeTest::ANY_NAME;
            return true;
        }
        const std::string_view name = NCName();
        if (name.empty()) return false;
        test.kind = NodeTest::NAME;
        if (rest_.starts_with(':') && !rest_.starts_with("::")) {
            rest_.remove_prefix(1);
            test.prefix = name;
            if (Take("*"))
                test.kind = NodeTest::ANY_NAME_OF;
            else
                test.name = NCName();
            return test.kind == NodeTest::ANY_NAME_OF || !test.name.empty();
        }
        test.name = name;
        return true;
    }

    bool Predicates(std::vector<Predicate>& predicates);

    std::string_view rest_;
};

// Whether the value is a boolean or a node set whatever stands there, so that only an explicit position() or last()
// can make the position matter.
bool IsTruthValue(std::string_view text) {
    int depth = 0;
    for (size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"' || c == '\'') {
            i = text.find(c, i + 1);
            if (i == std::string_view::npos) return false;
        }
        depth += c == '[' || c == '(' ? 1 : c == ']' || c == ')' ? -1 : 0;
        if (depth == 0 && (c == '=' || c == '<' || c == '>')) return true;
    }
    return ParsePaths(text).has_value();
}

Predicate PredicateOf(std::string_view text) {
    Predicate predicate;
    text = Trim(text);
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), predicate.position);
    if (error == std::errc() && end == text.data() + text.size() && IsDigit(text.front())) {
        predicate.kind = Predicate::POSITION;
    } else if (text == "last()") {
        predicate.kind = Predicate::LAST;
    } else if (Parser(text).AttributePredicate(predicate)) {
        predicate.isPositional = false;
    } else {
        predicate = {};
        predicate.text = text;
        const auto mentions = [text](std::string_view name) { return text.find(name) != std::string_view::npos; };
        predicate.isPositional = mentions("position") || mentions("last") || !IsTruthValue(text);
    }
    return predicate;
}

bool Parser::Predicates(std::vector<Predicate>& predicates) {
    while (Take("[")) {
        const std::optional<std::string_view> inside = Bracketed();
        if (!inside) return false;
        predicates.push_back(PredicateOf(*inside));
    }
    return true;
}

} // namespace

bool Step::IsPositional() const {
    return std::any_of(predicates.begin(), predicates.end(),
                       [](const Predicate& predicate) { return predicate.isPositional; });
}

std::optional<PathUnion> ParsePaths(std::string_view expression) {
    Parser parser(expression);
    PathUnion paths;
    if (!parser.Union(paths) || !parser.AtEnd()) return std::nullopt;
    return paths;
}

} // namespace sablot
