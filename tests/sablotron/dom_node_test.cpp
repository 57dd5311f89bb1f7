// Reading nodes: exception texts, names, values, navigation, attribute lists, order, handles.
#include "sablotron/tree/situation.h"
#include "tests/sablotron/dom_support.h"

#include <gmock/gmock.h>

#include <functional>
#include <type_traits>

namespace sablot::test {
namespace {

using testing::ElementsAreArray;

// Every function that takes a node, on a node that may be null or of the wrong type.
struct NodeCall {
    const char* name;
    std::function<SDOM_Exception(SablotSituation, SDOM_Node)> call; // also checks that outputs are cleared
    bool takesElementsOnly;
};

// What an output holds before the call.
template <typename Result>
Result Garbage() {
    if constexpr (std::is_pointer_v<Result>)
        return reinterpret_cast<Result>(0xAAAAAAA8);
    else
        return static_cast<Result>(7);
}

template <typename Result, typename... Parameters, typename... Arguments>
auto On(SDOM_Exception (*function)(SablotSituation, SDOM_Node, Parameters...), Arguments... arguments) {
    return [=](SablotSituation situation, SDOM_Node node) {
        Result result = Garbage<Result>();
        SDOM_Exception code = function(situation, node, arguments..., &result);
        EXPECT_EQ(result, Result{});
        return code;
    };
}

template <typename... Parameters, typename... Arguments>
auto Do(SDOM_Exception (*function)(SablotSituation, SDOM_Node, Parameters...), Arguments... arguments) {
    return [=](SablotSituation situation, SDOM_Node node) { return function(situation, node, arguments...); };
}

const std::vector<NodeCall> NODE_CALLS = {
    {"getNodeType", On<SDOM_NodeType>(SDOM_getNodeType), false},
    {"getNodeName", On<char*>(SDOM_getNodeName), false},
    {"getNodeNSUri", On<char*>(SDOM_getNodeNSUri), false},
    {"getNodePrefix", On<char*>(SDOM_getNodePrefix), false},
    {"getNodeLocalName", On<char*>(SDOM_getNodeLocalName), false},
    {"getNodeValue", On<char*>(SDOM_getNodeValue), false},
    {"setNodeName", Do(SDOM_setNodeName, "x"), false},
    {"setNodeValue", Do(SDOM_setNodeValue, "x"), false},
    {"getParentNode", On<SDOM_Node>(SDOM_getParentNode), false},
    {"getFirstChild", On<SDOM_Node>(SDOM_getFirstChild), false},
    {"getLastChild", On<SDOM_Node>(SDOM_getLastChild), false},
    {"getPreviousSibling", On<SDOM_Node>(SDOM_getPreviousSibling), false},
    {"getNextSibling", On<SDOM_Node>(SDOM_getNextSibling), false},
    {"getChildNodeIndex", On<SDOM_Node>(SDOM_getChildNodeIndex, 0), false},
    {"getChildNodeCount", On<int>(SDOM_getChildNodeCount), false},
    {"getOwnerDocument", On<SDOM_Document>(SDOM_getOwnerDocument), false},
    {"compareNodes", On<int>(SDOM_compareNodes, SDOM_Node{}), false},
    {"insertBefore", Do(SDOM_insertBefore, SDOM_Node{}, SDOM_Node{}), false},
    {"appendChild", Do(SDOM_appendChild, SDOM_Node{}), false},
    {"removeChild", Do(SDOM_removeChild, SDOM_Node{}), false},
    {"replaceChild", Do(SDOM_replaceChild, SDOM_Node{}, SDOM_Node{}), false},
    {"cloneNode", On<SDOM_Node>(SDOM_cloneNode, 1), false},
    {"getAttributeElement", On<SDOM_Node>(SDOM_getAttributeElement), false},
    {"getAttribute", On<char*>(SDOM_getAttribute, "x"), true},
    {"getAttributeNS", On<char*>(SDOM_getAttributeNS, "u", "x"), true},
    {"setAttribute", Do(SDOM_setAttribute, "x", "y"), true},
    {"setAttributeNS", Do(SDOM_setAttributeNS, "u", "p:x", "y"), true},
    {"getAttributeNode", On<SDOM_Node>(SDOM_getAttributeNode, "x"), true},
    {"getAttributeNodeNS", On<SDOM_Node>(SDOM_getAttributeNodeNS, "u", "x"), true},
    {"getAttributeNodeIndex", On<SDOM_Node>(SDOM_getAttributeNodeIndex, 0), true},
    {"getAttributeNodeCount", On<int>(SDOM_getAttributeNodeCount), true},
    {"setAttributeNode", On<SDOM_Node>(SDOM_setAttributeNode, SDOM_Node{}), true},
    {"setAttributeNodeNS", On<SDOM_Node>(SDOM_setAttributeNodeNS, SDOM_Node{}), true},
    {"removeAttribute", Do(SDOM_removeAttribute, "x"), true},
    {"removeAttributeNode", On<SDOM_Node>(SDOM_removeAttributeNode, SDOM_Node{}), true},
};

TEST(NodeCalls, RefuseNullAndNodesOfDestroyedDocuments) {
    Dom dom;
    SDOM_Document document = dom.Parse("<a x='1'>t</a>");
    SDOM_Node element = dom.Root(document);
    auto attribute = dom.Get<SDOM_Node>(SDOM_getAttributeNode, element, "x");
    auto declaration = dom.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, element, 0);
    SDOM_Node text = dom.Child(element, 0);
    SDOM_Node detached = dom.Make(SDOM_createElement, document, "d");
    SDOM_Node loose = dom.Make(SDOM_createAttribute, document, "xmlns:p");
    SablotDestroyDocument(dom.situation, document);
    for (const NodeCall& call : NODE_CALLS)
        for (SDOM_Node node :
             {SDOM_Node{}, Dom::Node(document), element, attribute, declaration, text, detached, loose}) {
            EXPECT_EQ(call.call(dom.situation, node), SDOM_NOT_FOUND_ERR) << call.name;
            EXPECT_EQ(dom.Recorded(), SDOM_NOT_FOUND_ERR) << call.name;
        }
    EXPECT_EQ(SablotDestroyDocument(dom.situation, document), 0) << "a second time";
    // As arguments beside a live node.
    SDOM_Document live = dom.Parse("<a/>");
    SDOM_Node root = dom.Root(live);
    EXPECT_EQ(SDOM_appendChild(dom.situation, root, text), SDOM_NOT_FOUND_ERR);
    EXPECT_EQ(SDOM_insertBefore(dom.situation, root, dom.Make(SDOM_createElement, live, "b"), text),
              SDOM_NOT_FOUND_ERR);
    int result = 0;
    EXPECT_EQ(SDOM_compareNodes(dom.situation, root, text, &result), SDOM_NOT_FOUND_ERR);
    SDOM_Node out = nullptr;
    EXPECT_EQ(SDOM_cloneForeignNode(dom.situation, live, text, 1, &out), SDOM_NOT_FOUND_ERR);
    EXPECT_EQ(SDOM_createElement(dom.situation, document, &out, "x"), SDOM_NOT_FOUND_ERR);
    EXPECT_EQ(SDOM_createElement(dom.situation, reinterpret_cast<SDOM_Document>(root), &out, "x"),
              SDOM_INVALID_NODE_TYPE);
}

TEST(NodeCalls, RefuseNodesThatAreNoElements) {
    Dom dom;
    SDOM_Document document = dom.Parse("<a x='1'>t<!--c--><?p d?></a>");
    SDOM_Node root = dom.Root(document);
    for (const NodeCall& call : NODE_CALLS) {
        if (!call.takesElementsOnly) continue;
        for (SDOM_Node node : {Dom::Node(document), dom.Child(root, 0), dom.Child(root, 1), dom.Child(root, 2),
                               dom.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, root, 0),
                               dom.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, root, 2)})
            EXPECT_EQ(call.call(dom.situation, node), SDOM_INVALID_NODE_TYPE) << call.name << " on " << dom.Name(node);
    }
    EXPECT_EQ(dom.Markup(document), "<a x=\"1\">t<!--c--><?p d?></a>");
}

TEST(AttributeList, BeginsWithBindingsInScope) {
    const std::string XML = "xmlns:xml=http://www.w3.org/XML/1998/namespace";
    struct {
        const char* source;
        int depth; // of the first-child chain from the root
        std::vector<std::string> list;
    } const CASES[] = {
        {"<a/>", 0, {"xmlns=", XML}},
        {"<a y='2' x='1'/>", 0, {"xmlns=", XML, "y=2", "x=1"}},
        {"<a xmlns:p='1' xmlns:q='2'/>", 0, {"xmlns=", "xmlns:q=2", "xmlns:p=1", XML}},
        {"<a xmlns:p='1' xmlns='d' xmlns:q='2'/>", 0, {"xmlns:q=2", "xmlns=d", "xmlns:p=1", XML}},
        {"<a xmlns:p='1' xmlns:q='2' xmlns='d'><b xmlns:r='3' x='1'/></a>",
         1,
         {"xmlns:r=3", "xmlns=d", "xmlns:q=2", "xmlns:p=1", XML, "x=1"}},
        {"<a xmlns:p='1'><b/></a>", 1, {"xmlns=", "xmlns:p=1", XML}},
        {"<a xmlns:p='1' xmlns:q='2'><b xmlns:p='3' xmlns='d'/></a>", 1, {"xmlns=d", "xmlns:p=3", "xmlns:q=2", XML}},
        {"<a xmlns='d'><b xmlns=''><c/></b></a>", 2, {"xmlns=", XML}},
        {"<a xmlns=''/>", 0, {"xmlns=", XML}},
    };
    Dom dom;
    for (const auto& row : CASES) {
        SDOM_Node element = dom.Root(dom.Parse(row.source));
        for (int i = 0; i < row.depth; ++i) element = dom.Child(element, 0);
        EXPECT_THAT(dom.Attributes(element), ElementsAreArray(row.list)) << row.source;
    }
}

TEST(AttributeList, GivesDeclarationsAnIdentity) {
    Dom dom;
    SDOM_Node root = dom.Root(dom.Parse("<a xmlns:p='1'><b/><c xmlns:p='1'/></a>"));
    auto at = [&](SDOM_Node element, int index) {
        return dom.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, element, index);
    };
    SDOM_Node b = dom.Child(root, 0);
    for (int index = 0; index < 3; ++index) {
        EXPECT_EQ(at(root, index), at(root, index));
        EXPECT_EQ(at(root, index), at(b, index)) << "inherited";
    }
    EXPECT_EQ(at(root, 1), dom.Get<SDOM_Node>(SDOM_getAttributeNode, root, "xmlns:p"));
    EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_getAttributeElement, at(b, 1)), root);
    EXPECT_NE(at(root, 1), at(dom.Child(root, 1), 0));
    EXPECT_EQ(dom.Get<SDOM_Node>(SDOM_getAttributeElement, at(dom.Child(root, 1), 0)), dom.Child(root, 1));
}

// All nodes of a document in document order.
std::vector<SDOM_Node> InOrder(const Dom& dom, SDOM_Document document) {
    std::vector<SDOM_Node> nodes;
    std::function<void(SDOM_Node)> add = [&](SDOM_Node node) {
        nodes.push_back(node);
        std::vector<SDOM_Node> attributes;
        for (int i = 0; i < dom.Get<int>(SDOM_getAttributeNodeCount, node); ++i) {
            auto attribute = dom.Get<SDOM_Node>(SDOM_getAttributeNodeIndex, node, i);
            bool isOwn = dom.Get<SDOM_Node>(SDOM_getAttributeElement, attribute) == node;
            if (isOwn) nodes.push_back(attribute);
        }
        for (int i = 0; i < dom.Count(node); ++i) add(dom.Child(node, i));
    };
    add(Dom::Node(document));
    return nodes;
}

TEST(Compare, FollowsDocumentOrder) {
    Dom dom;
    SDOM_Document document =
        dom.Parse("<!--c--><a xmlns:p='1' x='1' y='2'>t<b z='3' xmlns:q='2'><c/><d/></b><e/>u</a><?p?>");
    std::vector<SDOM_Node> nodes = InOrder(dom, document);
    ASSERT_EQ(nodes.size(), 17U);
    nodes.push_back(dom.Make(SDOM_createElement, document, "outside"));
    for (int round = 0; round < 2; ++round) {
        for (size_t i = 0; i < nodes.size(); ++i)
            for (size_t j = 0; j < nodes.size(); ++j)
                EXPECT_EQ(dom.Compare(nodes[i], nodes[j]), i < j   ? -1
                                                           : i > j ? 1
                                                                   : 0)
                    << dom.Name(nodes[i]) << " and " << dom.Name(nodes[j]) << " in round " << round;
        // The second round answers from the numbering.
        for (int i = 0; i < 100'000; ++i) dom.Compare(nodes[10], nodes.back());
    }
    SDOM_Node last = nodes[nodes.size() - 2];
    SDOM_insertBefore(dom.situation, Dom::Node(document), last, nodes[1]);
    EXPECT_EQ(dom.Compare(last, nodes[1]), -1) << "after an edit";
}

TEST(Compare, OrdersDetachedNodesAndDocuments) {
    Dom dom;
    SDOM_Document document = dom.Parse("<a/>");
    SDOM_Node root = dom.Root(document);
    std::vector<SDOM_Node> detached = {
        dom.Make(SDOM_createElement, document, "b"), dom.Make(SDOM_createAttribute, document, "x"),
        dom.Make(SDOM_createAttribute, document, "xmlns:p"), dom.Make(SDOM_createTextNode, document, "t")};
    for (SDOM_Node node : detached) {
        EXPECT_EQ(dom.Compare(root, node), -1);
        for (SDOM_Node other : detached) {
            EXPECT_EQ(dom.Compare(node, other), -dom.Compare(other, node));
            EXPECT_EQ(dom.Compare(node, other) == 0, node == other);
        }
    }
    Dom elsewhere;
    SDOM_Node foreign = elsewhere.Root(elsewhere.Parse("<a/>"));
    EXPECT_NE(dom.Compare(root, foreign), 0);
    EXPECT_EQ(dom.Compare(root, foreign), -elsewhere.Compare(foreign, root));
}

TEST(Handles, OfReloadedDocumentsAreReused) {
    Dom dom;
    std::string source = "<a>";
    for (int i = 0; i < 20'000; ++i) source += "<b/>";
    source += "</a>";
    SDOM_Node stale = nullptr;
    for (int round = 0; round < 100; ++round) {
        SDOM_Document document = dom.Parse(source);
        for (SDOM_Node node = dom.Child(dom.Root(document), 0); node != nullptr;
             node = dom.Get<SDOM_Node>(SDOM_getNextSibling, node))
            stale = node;
        SablotDestroyDocument(dom.situation, document);
        SDOM_NodeType type{};
        EXPECT_EQ(SDOM_getNodeType(dom.situation, stale, &type), SDOM_NOT_FOUND_ERR);
    }
    // Two million handles were given out; what is kept is one load and the quarantine.
    EXPECT_LE(dom.situation->nodes.Capacity(), 120'000U);
}

} // namespace
} // namespace sablot::test
