// Random sequences of edits, checked against a simple model of the tree: who is whose child, which name each node has.
// KOVA_SEED replays from one seed on, KOVA_SEQUENCES sets how many sequences run.
#include "tests/sablotron/dom_support.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <map>
#include <random>
#include <ranges>
#include <set>

namespace sablot::test {
namespace {

constexpr const char* XMLNS_URI = "http://www.w3.org/2000/xmlns/";
constexpr const char* SOURCES[] = {
    "<r/>",
    "<r xmlns='d' xmlns:p='u'><p:a x='1' p:x='2'><b/>t</p:a><c xmlns=''><d xmlns='d'/></c></r>",
    "<r xmlns:p='u' xmlns:q='v'><a xmlns:p='v'><p:b q:x='1'/><c xmlns:q='u' q:y='2'>t</c></a><q:e/></r>",
    "<!--c--><p:r xmlns:p='u' xmlns='d'><a xmlns:p='w'><b xmlns='e'><p:c/></b></a>t<?p d?></p:r>",
};
constexpr const char* URIS[] = {"", "u", "v", "w", "d"};
constexpr const char* PREFIXES[] = {"", "p", "q"};
constexpr const char* LOCAL_NAMES[] = {"a", "b", "x", "y"};
constexpr const char* TEXTS[] = {"", "t", "<&>\"'", "a\r\n\tb", "]]>", "\xC3\xA4"};

bool IsElement(const Dom& dom, SDOM_Node node) {
    return dom.Get<SDOM_NodeType>(SDOM_getNodeType, node) == SDOM_ELEMENT_NODE;
}

std::string ExpandedName(const Dom& dom, SDOM_Node node) {
    if (auto uri = dom.Text(SDOM_getNodeNSUri, node))
        return "{" + *uri + "}" + dom.Text(SDOM_getNodeLocalName, node).value_or("(null)");
    return dom.Name(node);
}

// What XML says of a subtree, one line a node: names, attributes by name, text with its neighbours. The elements of
// `adopting` have no binding of their own; `inText` shows them as they read in the text, with the default namespace of
// the place where they stand.
class Outline {
public:
    Outline(const Dom& dom, SDOM_Node node, const std::set<SDOM_Node>* inText = nullptr)
        : dom_(dom), adopting_(inText) {
        Add(node, IsElement(dom, node) ? DefaultOf(node, false).value_or("") : "");
        Flush();
    }
    const std::string& Lines() const { return lines_; }

private:
    // The default namespace that the element declares, or has in scope.
    std::optional<std::string> DefaultOf(SDOM_Node element, bool own) const {
        for (int i = 0; i < dom_.Get<int>(SDOM_getAttributeNodeCount, element); ++i) {
            auto item = dom_.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, element, i);
            if (dom_.Name(item) != "xmlns") continue;
            if (!own || dom_.Get<SDOM_Node>(SDOM_getAttributeElement, item) == element) return dom_.Value(item);
        }
        return std::nullopt;
    }

    // The name of the element in the text, where `inherited` is the default namespace around it, which becomes that
    // for what is in it.
    std::string NameInText(SDOM_Node element, std::string& inherited) const {
        const std::string uri = dom_.Text(SDOM_getNodeNSUri, element).value_or("");
        const bool adopts = uri.empty() && adopting_->contains(element);
        if (adopts || !dom_.Text(SDOM_getNodePrefix, element).value_or("").empty())
            inherited = DefaultOf(element, true).value_or(inherited);
        else
            inherited = uri;
        return adopts ? "{" + inherited + "}" + dom_.Name(element) : ExpandedName(dom_, element);
    }

    void Add(SDOM_Node node, std::string inherited) {
        switch (dom_.Get<SDOM_NodeType>(SDOM_getNodeType, node)) {
        case SDOM_TEXT_NODE:
        case SDOM_CDATA_SECTION_NODE: text_ += dom_.Value(node); return;
        case SDOM_ELEMENT_NODE: {
            Flush();
            lines_ += adopting_ != nullptr ? NameInText(node, inherited) : ExpandedName(dom_, node);
            std::map<std::string, std::string> attributes;
            for (int i = 0; i < dom_.Get<int>(SDOM_getAttributeNodeCount, node); ++i) {
                auto attribute = dom_.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, node, i);
                if (dom_.Text(SDOM_getNodeNSUri, attribute) == XMLNS_URI) continue;
                EXPECT_TRUE(attributes.emplace(ExpandedName(dom_, attribute), dom_.Value(attribute)).second);
            }
            for (const auto& [name, value] : attributes) lines_ += " " + name + "='" + value + "'";
            lines_ += "\n";
            break;
        }
        case SDOM_DOCUMENT_NODE: break;
        default: Flush(); lines_ += dom_.Name(node) + " " + dom_.Value(node) + "\n";
        }
        for (auto child = dom_.Get<SDOM_Node>(SDOM_getFirstChild, node); child != nullptr;
             child = dom_.Get<SDOM_Node>(SDOM_getNextSibling, child))
            Add(child, inherited);
        Flush();
        if (IsElement(dom_, node)) lines_ += "/\n";
    }
    void Flush() {
        if (!text_.empty()) lines_ += "'" + text_ + "'\n";
        text_.clear();
    }

    const Dom& dom_;
    const std::set<SDOM_Node>* adopting_;
    std::string lines_;
    std::string text_;
};

class Sequence {
public:
    Sequence(unsigned seed, Dom& dom, const Dom& elsewhere) : random_(seed), dom_(dom), elsewhere_(elsewhere) {
        bool isCreated = Below(4) == 0;
        document_ = isCreated ? dom_.Create() : dom_.Parse(Pick(SOURCES));
        foreign_ = elsewhere_.Parse(Pick(SOURCES));
        Learn(Dom::Node(document_));
    }

    void Run() {
        for (int step = 0; step < 40 && !testing::Test::HasFailure(); ++step) {
            SCOPED_TRACE("step " + std::to_string(step));
            Step();
            Check();
        }
        SablotDestroyDocument(dom_.situation, document_);
        SablotDestroyDocument(elsewhere_.situation, foreign_);
    }

private:
    size_t Below(size_t bound) { return random_() % bound; }
    template <typename List>
    std::ranges::range_value_t<const List> Pick(const List& list) {
        return list[Below(std::size(list))];
    }

    std::string QualifiedName() {
        std::string prefix = Pick(PREFIXES);
        return (prefix.empty() ? "" : prefix + ":") + Pick(LOCAL_NAMES);
    }

    // Takes a subtree that the library made or parsed into the model.
    void Learn(SDOM_Node node) {
        nodes_.push_back(node);
        if (node != Dom::Node(document_)) names_[node] = ExpandedName(dom_, node);
        for (auto child = dom_.Get<SDOM_Node>(SDOM_getFirstChild, node); child != nullptr;
             child = dom_.Get<SDOM_Node>(SDOM_getNextSibling, child)) {
            children_[node].push_back(child);
            parents_[child] = node;
            Learn(child);
        }
    }

    void Step() {
        switch (Below(12)) {
        case 0: Create(); break;
        case 1: Clone(); break;
        case 2: RemoveChild(); break;
        case 3: ReplaceChild(); break;
        case 4:
        case 5: SetAttribute(); break;
        case 6: RemoveAttribute(); break;
        case 7: MoveAttribute(); break;
        case 8: Rename(); break;
        default: Insert();
        }
    }

    void Create() {
        std::string name = QualifiedName();
        switch (Below(6)) {
        case 0: LearnNew(dom_.Make(SDOM_createElementNS, document_, Pick(URIS), name.c_str())); break;
        case 1: {
            // A prefix that the document element does not bind would become part of the name.
            SDOM_Node root = dom_.Root(document_);
            if (name.find(':') != std::string::npos && ((root == nullptr) || !Binds(root, name))) break;
            LearnNew(dom_.Make(SDOM_createElement, document_, name.c_str()));
            if (dom_.Text(SDOM_getNodeNSUri, nodes_.back()) == "") adopting_.insert(nodes_.back());
            break;
        }
        case 2: LearnNew(dom_.Make(SDOM_createTextNode, document_, Pick(TEXTS))); break;
        case 3: LearnNew(dom_.Make(SDOM_createCDATASection, document_, Pick(TEXTS))); break;
        case 4: LearnNew(dom_.Make(SDOM_createComment, document_, "c")); break;
        case 5: LearnNew(dom_.Make(SDOM_createProcessingInstruction, document_, "p", "d")); break;
        }
    }

    void LearnNew(SDOM_Node node) {
        if (node != nullptr) Learn(node);
    }

    bool Binds(SDOM_Node element, const std::string& name) const {
        std::string declaration = "xmlns:" + name.substr(0, name.find(':')) + "=";
        std::vector<std::string> attributes = dom_.Attributes(element);
        return std::any_of(attributes.begin(), attributes.end(),
                           [&](const std::string& item) { return item.starts_with(declaration); });
    }

    void Clone() {
        int deep = static_cast<int>(Below(2));
        SDOM_Node copy;
        if (Below(2) == 0) {
            SDOM_Node node = Pick(nodes_);
            copy = dom_.Get<SDOM_Node>(SDOM_cloneNode, node, deep);
            EXPECT_EQ(copy == nullptr, node == Dom::Node(document_));
            if ((copy != nullptr) && deep) {
                EXPECT_EQ(Outline(dom_, copy).Lines(), Outline(dom_, node).Lines());
            }
            if (copy != nullptr) CopyAdopting(node, copy, deep != 0);
        } else {
            SDOM_Node node = elsewhere_.Root(foreign_);
            copy = dom_.Get<SDOM_Node>(SDOM_cloneForeignNode, document_, node, deep);
            if (deep) {
                EXPECT_EQ(Outline(dom_, copy).Lines(), Outline(elsewhere_, node).Lines());
            }
        }
        LearnNew(copy);
    }

    void CopyAdopting(SDOM_Node node, SDOM_Node copy, bool deep) {
        if (adopting_.contains(node)) adopting_.insert(copy);
        for (int i = 0; deep && i < dom_.Count(node); ++i) CopyAdopting(dom_.Child(node, i), dom_.Child(copy, i), true);
    }

    bool IsWithin(SDOM_Node node, SDOM_Node ancestor) {
        while ((node != nullptr) && node != ancestor) node = parents_[node];
        return node != nullptr;
    }

    SDOM_Exception MayTake(SDOM_Node parent, SDOM_Node child, SDOM_Node leaving) {
        auto type = dom_.Get<SDOM_NodeType>(SDOM_getNodeType, child);
        bool isDocument = parent == Dom::Node(document_);
        if ((!isDocument && !IsElement(dom_, parent)) || type == SDOM_DOCUMENT_NODE || IsWithin(parent, child))
            return SDOM_HIERARCHY_REQUEST_ERR;
        if (!isDocument) return SDOM_OK;
        if (type == SDOM_TEXT_NODE || type == SDOM_CDATA_SECTION_NODE) return SDOM_HIERARCHY_REQUEST_ERR;
        SDOM_Node root = dom_.Root(document_);
        bool isSecond = IsElement(dom_, child) && (root != nullptr) && root != child && root != leaving;
        return isSecond ? SDOM_HIERARCHY_REQUEST_ERR : SDOM_OK;
    }

    void Unlink(SDOM_Node child) {
        if (parents_[child] == nullptr) return;
        std::erase(children_[parents_[child]], child);
        parents_[child] = nullptr;
    }
    void Link(SDOM_Node parent, SDOM_Node child, SDOM_Node next) {
        std::vector<SDOM_Node>& children = children_[parent];
        children.insert(std::find(children.begin(), children.end(), next), child);
        parents_[child] = parent;
    }

    void Insert() {
        SDOM_Node parent = Pick(nodes_);
        SDOM_Node child = Pick(nodes_);
        SDOM_Node next = nullptr;
        if (!children_[parent].empty() && Below(2) == 0) next = Pick(children_[parent]);
        if (Below(10) == 0) next = Pick(nodes_);
        SDOM_Exception expected = MayTake(parent, child, nullptr);
        if (!expected && (next != nullptr) && parents_[next] != parent) expected = SDOM_NOT_FOUND_ERR;
        EXPECT_EQ(SDOM_insertBefore(dom_.situation, parent, child, next), expected);
        if (expected || child == next) return;
        Unlink(child);
        Link(parent, child, next);
    }

    void RemoveChild() {
        SDOM_Node child = Pick(nodes_);
        SDOM_Node parent = parents_[child];
        if (parent == nullptr) return;
        const std::vector<std::string> attributes = dom_.Attributes(child);
        EXPECT_EQ(SDOM_removeChild(dom_.situation, parent, child), SDOM_OK);
        EXPECT_EQ(dom_.Attributes(child), attributes);
        Unlink(child);
    }

    void ReplaceChild() {
        SDOM_Node old = Pick(nodes_);
        SDOM_Node child = Pick(nodes_);
        SDOM_Node parent = parents_[old];
        if (parent == nullptr) return;
        SDOM_Exception expected = MayTake(parent, child, old);
        EXPECT_EQ(SDOM_replaceChild(dom_.situation, parent, child, old), expected);
        if (expected || child == old) return;
        std::vector<SDOM_Node>& children = children_[parent];
        auto place = std::find(children.begin(), children.end(), old) + 1;
        if (place != children.end() && *place == child) ++place;
        SDOM_Node next = place == children.end() ? nullptr : *place;
        Unlink(child);
        Unlink(old);
        Link(parent, child, next);
    }

    SDOM_Node AnyElement() {
        SDOM_Node node = Pick(nodes_);
        return IsElement(dom_, node) ? node : nullptr;
    }
    SDOM_Node AnyAttribute(SDOM_Node element) {
        int count = dom_.Get<int>(SDOM_getAttributeNodeCount, element);
        if (count == 0) return nullptr;
        return dom_.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, element,
                                   static_cast<int>(Below(static_cast<size_t>(count))));
    }

    void SetAttribute() {
        SDOM_Node element = AnyElement();
        if (element == nullptr) return;
        std::string name = QualifiedName();
        std::string value = Pick(TEXTS);
        std::string uri;
        SDOM_Exception code;
        switch (Below(4)) {
        case 0: {
            std::string prefix = Pick(PREFIXES);
            SDOM_setAttribute(dom_.situation, element, ("xmlns" + (prefix.empty() ? "" : ":" + prefix)).c_str(),
                              Pick(URIS));
            return;
        }
        case 1:
            uri = Pick(URIS);
            code = SDOM_setAttributeNS(dom_.situation, element, uri.c_str(), name.c_str(), value.c_str());
            if (code == SDOM_OK) {
                std::string local = name.substr(name.find(':') + 1);
                EXPECT_EQ(dom_.Text(SDOM_getAttributeNS, element, uri.c_str(), local.c_str()), value);
            }
            return;
        default:
            if (name.find(':') != std::string::npos && !Binds(element, name)) return;
            EXPECT_EQ(SDOM_setAttribute(dom_.situation, element, name.c_str(), value.c_str()), SDOM_OK);
        }
    }

    void RemoveAttribute() {
        SDOM_Node element = AnyElement();
        SDOM_Node attribute = element != nullptr ? AnyAttribute(element) : nullptr;
        if (attribute == nullptr) return;
        std::string before = Outline(dom_, element).Lines();
        auto removed = dom_.Get<SDOM_Node>(SDOM_removeAttributeNode, element, attribute);
        bool isDeclaration = dom_.Text(SDOM_getNodeNSUri, attribute) == XMLNS_URI;
        if ((removed == nullptr) || isDeclaration) {
            EXPECT_EQ(Outline(dom_, element).Lines(), before);
        } else {
            EXPECT_NE(Outline(dom_, element).Lines(), before);
        }
    }

    void MoveAttribute() {
        SDOM_Node from = AnyElement();
        SDOM_Node to = AnyElement();
        SDOM_Node attribute = (from != nullptr) && (to != nullptr) ? AnyAttribute(from) : nullptr;
        if (attribute == nullptr) return;
        std::string name = ExpandedName(dom_, attribute);
        std::string value = dom_.Value(attribute);
        if (Below(2) == 0)
            attribute = dom_.Get<SDOM_Node>(SDOM_cloneNode, attribute, 0);
        else if (dom_.Get<SDOM_Node>(SDOM_removeAttributeNode, from, attribute) == nullptr)
            return;
        if (attribute == nullptr) return; // xmlns:xml has no copy
        dom_.Get<SDOM_Node>(SDOM_setAttributeNodeNS, to, attribute);
        bool isPlaced = dom_.Recorded() == SDOM_OK;
        EXPECT_EQ(dom_.Get<SDOM_Node>(SDOM_getAttributeElement, attribute), isPlaced ? to : nullptr);
        EXPECT_EQ(ExpandedName(dom_, attribute), name);
        EXPECT_EQ(dom_.Value(attribute), value);
    }

    void Rename() {
        SDOM_Node element = AnyElement();
        if (element == nullptr) return;
        std::string name = QualifiedName();
        SDOM_Node node = Below(2) == 0 ? element : AnyAttribute(element);
        if (node == nullptr) return;
        if (dom_.Text(SDOM_getNodeNSUri, node) == XMLNS_URI) {
            name = "xmlns:" + name.substr(0, 1);
            if (Below(2) == 0) {
                SDOM_setNodeValue(dom_.situation, node, Pick(URIS));
                return;
            }
        }
        SDOM_Exception code = SDOM_setNodeName(dom_.situation, node, name.c_str());
        if (code) return;
        if (name.find(':') != std::string::npos) adopting_.erase(node);
        EXPECT_EQ(dom_.Name(node), name);
        if (node == element) names_[node] = ExpandedName(dom_, node);
    }

    void Check() {
        size_t elementsOfDocument = 0;
        for (SDOM_Node node : nodes_) {
            const std::vector<SDOM_Node>& children = children_[node];
            ASSERT_EQ(dom_.Get<SDOM_Node>(SDOM_getParentNode, node), parents_[node]);
            ASSERT_EQ(dom_.Count(node), static_cast<int>(children.size()));
            SDOM_Node previous = nullptr;
            for (size_t i = 0; i < children.size(); ++i) {
                ASSERT_EQ(dom_.Child(node, static_cast<int>(i)), children[i]);
                ASSERT_EQ(dom_.Get<SDOM_Node>(SDOM_getPreviousSibling, children[i]), previous);
                previous = children[i];
            }
            ASSERT_EQ(dom_.Get<SDOM_Node>(SDOM_getLastChild, node), previous);
            if (parents_[node] == nullptr) {
                ASSERT_EQ(dom_.Get<SDOM_Node>(SDOM_getNextSibling, node), nullptr);
            }
            if (node == Dom::Node(document_)) continue;
            ASSERT_EQ(ExpandedName(dom_, node), names_[node]);
            if (parents_[node] == Dom::Node(document_) && IsElement(dom_, node)) ++elementsOfDocument;
        }
        ASSERT_LE(elementsOfDocument, 1U);
        CheckBindings(Dom::Node(document_));
        if (dom_.Root(document_) != nullptr) Reread(dom_.Markup(document_), Dom::Node(document_));
        if (SDOM_Node element = AnyElement()) Reread(dom_.Markup(element), element);
    }

    // In the tree every prefix in a name means in scope what it means in the name.
    void CheckBindings(SDOM_Node node) {
        if (IsElement(dom_, node)) {
            std::vector<std::string> list = dom_.Attributes(node);
            std::vector<SDOM_Node> named = {node};
            for (size_t i = 0; i < list.size(); ++i)
                named.push_back(dom_.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, node, static_cast<int>(i)));
            for (SDOM_Node name : named) {
                std::string prefix = *dom_.Text(SDOM_getNodePrefix, name);
                std::string uri = *dom_.Text(SDOM_getNodeNSUri, name);
                if (uri.empty() || uri == XMLNS_URI) continue;
                std::string binding = "xmlns" + (prefix.empty() ? "" : ":" + prefix) + "=" + uri;
                ASSERT_NE(std::find(list.begin(), list.end(), binding), list.end()) << binding;
            }
        }
        for (SDOM_Node child : children_[node]) CheckBindings(child);
    }

    // Serialised text says what the tree says, and is written the same again.
    void Reread(const std::string& markup, SDOM_Node node) {
        SDOM_Document again = elsewhere_.Parse(XML_DECLARATION + markup);
        bool isDocument = node == Dom::Node(document_);
        EXPECT_EQ(Outline(elsewhere_, isDocument ? Dom::Node(again) : elsewhere_.Root(again)).Lines(),
                  Outline(dom_, node, &adopting_).Lines())
            << markup;
        std::string once = elsewhere_.Markup(again);
        SDOM_Document third = elsewhere_.Parse(XML_DECLARATION + once);
        EXPECT_EQ(elsewhere_.Markup(third), once);
        SablotDestroyDocument(elsewhere_.situation, again);
        SablotDestroyDocument(elsewhere_.situation, third);
    }

    std::mt19937 random_;
    Dom& dom_;
    const Dom& elsewhere_;
    SDOM_Document document_;
    SDOM_Document foreign_;
    std::vector<SDOM_Node> nodes_;
    std::map<SDOM_Node, std::vector<SDOM_Node>> children_;
    std::map<SDOM_Node, SDOM_Node> parents_;
    std::map<SDOM_Node, std::string> names_;
    std::set<SDOM_Node> adopting_; // elements without a binding of their own
};

unsigned Setting(const char* name, unsigned otherwise) {
    const char* value = std::getenv(name);
    return value != nullptr ? static_cast<unsigned>(std::strtoul(value, nullptr, 10)) : otherwise;
}

TEST(Random, EditsKeepTreeAndNames) {
    unsigned first = Setting("KOVA_SEED", 1); // the suite is the same every time; vary it by hand
    unsigned count = Setting("KOVA_SEQUENCES", 600);
    std::cout << "KOVA_SEED=" << first << "\n";
    Dom dom, elsewhere;
    // Attributes that were set before their element had a place lost their declaration on the way in.
    Sequence(3006473058U, dom, elsewhere).Run();
    for (unsigned i = 0; i < count && !HasFailure(); ++i) {
        SCOPED_TRACE("replay with KOVA_SEED=" + std::to_string(first + i) + " KOVA_SEQUENCES=1");
        Sequence(first + i, dom, elsewhere).Run();
    }
}

// One list of children and one of attributes grow long and go again, edited and read at places of every kind.
TEST(Random, LongListsAreWhatEditsMakeThem) {
    Dom dom;
    const SDOM_Document document = dom.Create();
    const SDOM_Node parent = dom.Make(SDOM_createElement, document, "e");
    std::mt19937 random(Setting("KOVA_SEED", 1));
    std::vector<SDOM_Node> children;
    std::vector<std::string> names;
    int made = 0;
    const auto below = [&random](size_t bound) {
        return static_cast<ptrdiff_t>(random() % std::max<size_t>(bound, 1));
    };
    const auto nameOf = [&](ptrdiff_t i) {
        return dom.Name(dom.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, parent, static_cast<int>(i)));
    };
    for (int step = 0; step < 12'000 && !HasFailure(); ++step) {
        const bool grows = below(3) < (step < 6'000 ? 2 : 1);
        const ptrdiff_t place = below(step % 50 == 0 ? 1 : children.size());
        if (grows) {
            const SDOM_Node child = dom.Make(SDOM_createComment, document, "");
            const SDOM_Node next = children.empty() || below(4) == 0 ? nullptr : children[static_cast<size_t>(place)];
            EXPECT_EQ(SDOM_insertBefore(dom.situation, parent, child, next), SDOM_OK);
            children.insert(next != nullptr ? children.begin() + place : children.end(), child);
            names.push_back("a" + std::to_string(++made));
            EXPECT_EQ(SDOM_setAttribute(dom.situation, parent, names.back().c_str(), ""), SDOM_OK);
        } else if (!children.empty()) {
            const SDOM_Node child = dom.Child(parent, static_cast<int>(place));
            EXPECT_EQ(child, children[static_cast<size_t>(place)]);
            EXPECT_EQ(SDOM_removeChild(dom.situation, parent, child), SDOM_OK);
            children.erase(children.begin() + place);
            EXPECT_EQ(SDOM_removeAttribute(dom.situation, parent, names[static_cast<size_t>(place)].c_str()), SDOM_OK);
            names.erase(names.begin() + place);
        }
        if (children.empty()) continue;
        std::string& name = names[static_cast<size_t>(below(names.size()))];
        const SDOM_Node attribute = dom.Get<SDOM_Node>(SDOM_getAttributeNode, parent, name.c_str());
        EXPECT_EQ(dom.Name(attribute), name);
        if (step % 5 == 0) {
            EXPECT_EQ(SDOM_setNodeName(dom.situation, attribute, (name += "b").c_str()), SDOM_OK);
        }
        if (step % 7 == 0) {
            const SDOM_Node other = dom.Make(SDOM_createAttribute, document, name.c_str());
            EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_setAttributeNode, parent, other), attribute);
        }
        const ptrdiff_t read = below(children.size());
        EXPECT_EQ(dom.Child(parent, static_cast<int>(read)), children[static_cast<size_t>(read)]);
        EXPECT_EQ(nameOf(read), names[static_cast<size_t>(read)]);
        EXPECT_EQ(dom.Count(parent), static_cast<int>(children.size()));
    }
    for (size_t i = 0; i < children.size(); ++i) EXPECT_EQ(nameOf(static_cast<ptrdiff_t>(i)), names[i]);
}

} // namespace
} // namespace sablot::test
