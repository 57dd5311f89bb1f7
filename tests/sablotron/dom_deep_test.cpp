// Depth and width: nothing recurses, and loops over what is long or deep stay fast.
#include "sablotron/tree/parse.h"
#include "tests/sablotron/dom_support.h"

#include <pthread.h>

namespace sablot::test {
namespace {

constexpr int DEPTH = 200'000;

std::string Nested(int depth, const std::string& attributes = {}) {
    std::string text;
    for (int i = 0; i < depth; ++i) text += i == 0 ? "<e" + attributes + ">" : "<e>";
    text += "t";
    for (int i = 0; i < depth; ++i) text += "</e>";
    return text;
}

// A small stack makes sure that recursion is found, whatever a frame costs.
void OnSmallStack(void (*body)()) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 256 * 1024);
    pthread_t thread;
    auto run = [](void* argument) -> void* {
        reinterpret_cast<void (*)()>(argument)();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, reinterpret_cast<void*>(body)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

SDOM_Node Deepest(const Dom& dom, SDOM_Document document) {
    SDOM_Node node = dom.Root(document);
    while (auto child = dom.Get<SDOM_Node>(SDOM_getFirstChild, node)) node = child;
    return node;
}

TEST(Deep, ParsesSerialisesComparesClonesAndFrees) {
    OnSmallStack([] {
        for (const std::string& attributes : {std::string(), std::string(" xmlns=\"d\" xmlns:p=\"u\" p:x=\"1\"")}) {
            Dom dom, elsewhere;
            std::string source = Nested(DEPTH, attributes);
            SDOM_Document document = dom.Parse(source);
            EXPECT_TRUE(dom.Markup(document) == source);
            SDOM_Node root = dom.Root(document);
            SDOM_Node deepest = Deepest(dom, document);
            EXPECT_EQ(dom.Compare(root, deepest), -1);
            EXPECT_FALSE(dom.Attributes(dom.Get<SDOM_Node>(SDOM_getParentNode, deepest)).empty());

            auto clone = dom.Get<SDOM_Node>(SDOM_cloneNode, root, 1);
            EXPECT_TRUE(dom.Markup(clone) == source);
            SDOM_Document other = elsewhere.Create();
            auto import = elsewhere.Get<SDOM_Node>(SDOM_cloneForeignNode, other, root, 1);
            SDOM_appendChild(elsewhere.situation, Dom::Node(other), import);
            EXPECT_TRUE(elsewhere.Markup(other) == source);

            // Moved twice as deep, taken out again; a removed tree is freed with the document.
            EXPECT_EQ(SDOM_appendChild(dom.situation, dom.Get<SDOM_Node>(SDOM_getParentNode, deepest), clone), SDOM_OK);
            EXPECT_EQ(SDOM_appendChild(dom.situation, clone, root), SDOM_HIERARCHY_REQUEST_ERR);
            EXPECT_EQ(SDOM_removeChild(dom.situation, Dom::Node(document), root), SDOM_OK);
            if (attributes.empty()) {
                EXPECT_EQ(SDOM_setAttribute(dom.situation, root, "xmlns:n", "n"), SDOM_OK);
                EXPECT_EQ(SDOM_removeAttribute(dom.situation, root, "xmlns:n"), SDOM_OK);
            }
            SablotDestroyDocument(dom.situation, document);

            ParseFailure failure;
            TreePointer tree = ParseTree(SourceOf(source), failure);
            EXPECT_TRUE(CopyTree(tree.get()));
        }
    });
}

TEST(Wide, IsWalkedAndComparedInAnyOrder) {
    constexpr int WIDTH = 300'000;
    std::string source = "<r>";
    for (int i = 0; i < WIDTH; ++i) source += "<e/>";
    Dom dom;
    SDOM_Node root = dom.Root(dom.Parse(source + "</r>"));
    ASSERT_EQ(dom.Count(root), WIDTH);
    uint32_t random = 1;
    auto next = [&] { return static_cast<int>((random = random * 1'664'525 + 1'013'904'223) >> 8) % WIDTH; };
    for (int i = 0; i < WIDTH; ++i) {
        int left = next();
        int right = next();
        ASSERT_EQ(dom.Compare(dom.Child(root, left), dom.Child(root, right)), left < right ? -1 : left > right);
    }
    for (int i = 0; i < WIDTH; ++i)
        SDOM_setAttribute(dom.situation, dom.Child(root, i), "n", "1"); // an edit in between costs nothing
    while (auto child = dom.Get<SDOM_Node>(SDOM_getFirstChild, root))
        ASSERT_EQ(SDOM_removeChild(dom.situation, root, child), SDOM_OK);
    EXPECT_EQ(dom.Count(root), 0);
}

} // namespace
} // namespace sablot::test
