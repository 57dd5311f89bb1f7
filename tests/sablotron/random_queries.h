// Random trees and queries, and the place of each node by plain counting.
#pragma once

#include "sablotron/tree/tree.h"

#include <cstdlib>
#include <map>
#include <random>
#include <string>

namespace sablot::test {

class RandomQueries {
public:
    // KOVA_SEED and KOVA_ROUNDS vary and lengthen a run.
    RandomQueries() : random_(static_cast<unsigned>(Setting("KOVA_SEED", 2006))) {}

    static int Setting(const char* name, int otherwise) {
        const char* value = std::getenv(name);
        return value != nullptr ? std::atoi(value) : otherwise;
    }

    std::string Tree() { return "<r>" + Content(0) + "</r>"; }

    std::string Query() {
        std::string query = Path();
        for (int more = Pick(4); more > 2; --more) query += Blank() + "|" + Blank() + Path();
        if (Pick(8) == 0)
            query = "(" + query + ")" + (Pick(2) == 0 ? "[" + std::to_string(1 + Pick(3)) + "]" : "") + Tail();
        return query;
    }

    int Pick(int count) { return static_cast<int>(random_() % static_cast<unsigned>(count)); }

private:
    std::string Content(int depth) {
        std::string text;
        for (int i = Pick(5); i > 0; --i) {
            switch (Pick(8)) {
            case 0: text += "t" + (Pick(2) == 0 ? "" : std::to_string(Pick(100))); break;
            case 1: text += "<!--c" + std::to_string(Pick(100)) + "-->"; break;
            case 2: text += "<?p d" + std::to_string(Pick(100)) + "?>"; break;
            default: {
                const std::string name(1, static_cast<char>('a' + Pick(3)));
                std::string tag = "<" + name;
                if (Pick(3) == 0) tag += " i='" + std::to_string(Pick(3)) + "'";
                if (Pick(4) == 0) tag += " j='x'";
                text += tag + ">" + (depth < 4 ? Content(depth + 1) : "") + "</" + name + ">";
            }
            }
        }
        return text;
    }
    std::string Blank() { return Pick(6) == 0 ? " " : ""; }
    std::string Path() {
        static constexpr const char* STARTS[] = {"", "", "/", "//", "//", "./", ".//", "../"};
        return STARTS[Pick(8)] + Step() + Tail();
    }
    std::string Tail() {
        std::string tail;
        for (int i = Pick(3); i > 0; --i) tail += Blank() + (Pick(3) == 0 ? "//" : "/") + Blank() + Step();
        return tail;
    }
    std::string Step() {
        static constexpr const char* AXES[] = {"",
                                               "",
                                               "",
                                               "",
                                               "",
                                               "child::",
                                               "descendant::",
                                               "descendant-or-self::",
                                               "self::",
                                               "parent::",
                                               "ancestor::",
                                               "ancestor-or-self::",
                                               "following::",
                                               "following-sibling::",
                                               "preceding::",
                                               "preceding-sibling::",
                                               "attribute::",
                                               "@"};
        static constexpr const char* TESTS[] = {"a",
                                                "b",
                                                "c",
                                                "i",
                                                "*",
                                                "*",
                                                "node()",
                                                "node ( )",
                                                "text()",
                                                "comment()",
                                                "processing-instruction()",
                                                "processing-instruction('p')"};
        static constexpr const char* PREDICATES[] = {"[1]",
                                                     "[2]",
                                                     "[last()]",
                                                     "[@i]",
                                                     "[@i='1']",
                                                     "['x'=@j]",
                                                     "[a]",
                                                     "[b/c]",
                                                     "[position()>1]",
                                                     "[@i > 0]",
                                                     "[not(@j)]",
                                                     "[not(following::b)]",
                                                     "[.//b]",
                                                     "[text()='t']",
                                                     "[position()=last()]",
                                                     "[../a[1]]",
                                                     "[*/a/../b]",
                                                     "[count(..//@i/..) > 1]",
                                                     "[not('' = following::b)]"};
        if (Pick(8) == 0) return Pick(2) == 0 ? ".." : ".";
        std::string step = std::string(AXES[Pick(18)]) + TESTS[Pick(12)];
        for (int i = Pick(6); i > 4; --i) step += Blank() + PREDICATES[Pick(19)];
        if (Pick(5) == 0) step += PREDICATES[Pick(19)];
        return step;
    }

    std::mt19937 random_;
};

// Document order by plain counting.
inline std::map<const xmlNode*, int> Places(xmlDoc* tree) {
    std::map<const xmlNode*, int> places;
    int place = 0;
    for (const xmlNode* node : Walk(AsNode(tree))) {
        places[node] = ++place;
        if (!IsElement(node)) continue;
        for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            places[AsNode(attribute)] = ++place;
    }
    return places;
}

} // namespace sablot::test
