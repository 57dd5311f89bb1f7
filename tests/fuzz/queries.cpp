// Queries on a document with nodes of all types, from several of them, with and without prefixes.
#include "sablotron/tree/xpath.h"
#include "tests/fuzz/plugin.h"

namespace {

using host::Call;
using host::ObjectRef;

constexpr const char* DOCUMENT =
    "<!DOCTYPE r [<!ATTLIST c id ID #IMPLIED>]><r xmlns='urn:d' xmlns:p='urn:p' a='1' p:b='2'>text<!--note--><?t data?>"
    "<c id='i'><d>7</d><d>08</d><e><d>x</d></e></c><p:c xml:lang='en'>a b<![CDATA[<>]]></p:c><f><f><f "
    "g='3'/></f></f></r>";
constexpr int MOST_NODES = 50; // of a list that are looked at

void Use(const ObjectRef& list) {
    if (!list) return; // the query does not parse
    const int count = host::GetProperty(list, "Length").Integer();
    for (int i = 0; i < std::min(count, MOST_NODES); ++i) {
        const ObjectRef node = Call(list, "Item", {i}).GetObject();
        TextOf(node, "Name");
        Completes([&] { TextOf(node, "ToString"); });
    }
    Completes([&] { Call(list, "ToString() as String"); });
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    StartHost();
    sablot::maxXPathOperations = 200'000;
    static const ObjectRef document = MakeDocument(DOCUMENT);
    static const ObjectRef root = NodeOf(document, "DocumentElement");
    static const ObjectRef nodes[] = {document, root, NodeOf(root, "FirstChild"), NodeOf(root, "LastChild")};
    static const ObjectRef map = [] {
        ObjectRef prefixes = host::Create("XmlNamespaces");
        host::Assign(prefixes, "Uri(Prefix as String) as String", {"p"}, "urn:p");
        host::Assign(prefixes, "Uri(Prefix as String) as String", {"d"}, "urn:d");
        return prefixes;
    }();
    static const std::string before = TextOf(document, "ToString");
    const Input input(data, size);
    const ObjectRef& node = nodes[input.options & 3];
    const std::string& query = input.texts[0];
    Completes([&] { Use(Call(node, "Xql(query as String) as XmlNodeList", {query}).GetObject()); });
    Completes([&] {
        Use(Call(node, "Xql(query as String, map as XmlNamespaces) as XmlNodeList", {query, map}).GetObject());
    });
    Require(TextOf(document, "ToString") == before, "queries change nothing");
    return 0;
}
