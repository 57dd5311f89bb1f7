// Random calls of every registered member, with arguments of every wrong kind that a host lets through.
//
// KOVA_STRESS_SEED and KOVA_STRESS_CALLS choose the run; a failure prints the seed and the number of the call. With
// KOVA_STRESS_TRACE every call is printed before it is made, its texts included.
#include "tests/plugin/plugin_host.h"

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <random>
#include <vector>

namespace {

using host::ObjectRef;
using host::Value;

constexpr unsigned DEFAULT_CALLS = 300'000;
constexpr unsigned CALLS_BETWEEN_CHECKS = 20'000;
constexpr unsigned CALLS_BETWEEN_SIZE_CHECKS = 100;
constexpr size_t LARGEST_DOCUMENT = 20'000; // bytes of markup; a larger one is loaded anew

unsigned FromEnvironment(const char* name, unsigned otherwise) {
    const char* text = std::getenv(name);
    return text != nullptr ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : otherwise;
}

const char STYLE[] = "<xsl:stylesheet version='1.0' xmlns:xsl='http://www.w3.org/1999/XSL/Transform'>"
                     "<xsl:template match='@*|node()'><xsl:copy><xsl:apply-templates select='@*|node()'/></xsl:copy>"
                     "</xsl:template></xsl:stylesheet>";

const std::string TEXTS[] = {"",
                             "a",
                             "b",
                             "p:x",
                             "q:y",
                             "xmlns",
                             "xmlns:p",
                             "xmlns:q",
                             "xml:lang",
                             "urn:p",
                             "urn:q",
                             "1bad",
                             "a:b:c",
                             "<",
                             "&",
                             "plain text",
                             "\xC3\xA9\xE2\x82\xAC",
                             "\xFF\xFE",
                             "\x01",
                             "]]>",
                             "--",
                             "?>",
                             "xml",
                             "http://www.w3.org/2000/xmlns/",
                             "http://www.w3.org/XML/1998/namespace",
                             "//*",
                             "..",
                             "@*",
                             "//text()",
                             "ancestor-or-self::*",
                             "//[",
                             "namespace::*",
                             "/",
                             "count(*)",
                             "//node()|//@*",
                             "preceding::node()[2]",
                             "p:x",
                             "id('a')",
                             "self::node()",
                             STYLE,
                             "<a xmlns:p='urn:p' p:x='1' y='2'><b/>t<!--c--><?t d?></a>",
                             "<r xmlns='urn:d'> <a/> <b><c k='v'/></b> </r>",
                             "<unclosed>",
                             std::string(100'000, 'x'),
                             std::string(3'000, '/')};

// What a round can do: a method, or reading or writing a property.
struct Operation {
    const host::Class* cls;
    const host::Method* method;
    const host::Property* property;
    bool writes;
};

class Stress {
public:
    explicit Stress(unsigned seed) : random_(seed) {
        for (const char* name :
             {"XmlNode", "XmlAttribute", "XmlDocument", "XmlStyleSheet", "XmlNodeList", "XmlNamespaces"}) {
            const host::Class* cls = host::FindClass(name);
            for (const auto& method : cls->methods) operations_.push_back({cls, method.get(), nullptr, false});
            for (const auto& property : cls->properties) {
                if (property->read != host::Access::NONE) operations_.push_back({cls, nullptr, property.get(), false});
                if (property->write != host::Access::NONE) operations_.push_back({cls, nullptr, property.get(), true});
            }
        }
        for (const char* cls : {"XmlDocument", "XmlDocument", "XmlDocument", "XmlStyleSheet"})
            documents_.push_back(host::Create(cls, {}, "Constructor()"));
        for (const ObjectRef& document : documents_) Reload(document);
        for (int index = 0; index < 2; ++index) {
            maps_.push_back(host::Create("XmlNamespaces"));
            handlers_.push_back(host::Create("XmlXsltHandler"));
        }
        others_ = {host::Create("XmlElement"), host::Create("XmlDocument"), host::Create("XmlNodeList")};
    }

    Stress(const Stress&) = delete;
    Stress& operator=(const Stress&) = delete;
    // A map gives back the entries that its Count, which the walk has set to anything, covers, and no others.
    ~Stress() {
        for (const ObjectRef& map : maps_) host::SetProperty(map, "Count", 16);
    }

    unsigned LeakedStrings() const { return leakedStrings_; }

    // Whether there was an object to call.
    bool Call() {
        const Operation& operation = operations_[Below(operations_.size())];
        // What empties a document, or costs much, is done seldom.
        if (operation.method != nullptr && IsRare(operation.method->signature.name) && Below(200) != 0) return false;
        const ObjectRef object = Receiver(operation.cls);
        if (!object) return false;
        if (operation.method != nullptr)
            CallMethod(object, *operation.method);
        else if (operation.writes)
            Guard([&] { host::SetProperty(object, operation.property->name, Argument(operation.property->type)); });
        else
            Guard([&] { Keep(host::GetProperty(object, operation.property->name)); });
        return true;
    }

    void ReloadLargeDocuments() {
        for (const ObjectRef& document : documents_) {
            if (TextOf(document, "ToString").size() > LARGEST_DOCUMENT) Reload(document);
        }
    }

    void CheckDocuments() {
        for (const ObjectRef& document : documents_) {
            if (host::GetProperty(document, "Type").Integer() != 9) continue; // nothing since a failed LoadXml
            CheckLinks(document);
            if (!NodeOf(document, "DocumentElement")) continue;
            // What is written can be read, and then is written the same.
            const ObjectRef copy = host::Create("XmlDocument", {}, "Constructor()");
            host::SetProperty(copy, "PreserveWhitespace", true);
            try {
                host::Call(copy, "LoadXml(doc as String)", {TextOf(document, "ToString")});
            } catch (const host::ProgramException& e) {
                // But for names like p:x in no namespace, made where no p is declared: they cannot be read, or are the
                // same as others.
                constexpr const char* EXPECTED[] = {"msg:XML parser error 201: ", "msg:XML parser error 42: "};
                EXPECT_TRUE(std::any_of(std::begin(EXPECTED), std::end(EXPECTED),
                                        [&](const char* start) { return e.message.starts_with(start); }))
                    << e.message << "\n"
                    << TextOf(document, "ToString");
                leakedStrings_ += 2;
                continue;
            }
            const std::string text = TextOf(copy, "ToString");
            host::Call(copy, "LoadXml(doc as String)", {text});
            EXPECT_EQ(TextOf(copy, "ToString"), text);
        }
    }

private:
    size_t Below(size_t limit) { return random_() % limit; }

    static bool IsRare(std::string_view name) {
        return name == "LoadXml" || name == "Constructor" || name == "Transform" || name == "ToString";
    }

    void Reload(const ObjectRef& document) {
        const bool isStyle = document.Get()->cls->name == "XmlStyleSheet";
        Guard([&] {
            host::Call(document, "LoadXml(doc as String)", {isStyle ? std::string(STYLE) : TEXTS[40 + Below(2)]});
        });
    }

    ObjectRef Any(const std::vector<ObjectRef>& objects) {
        return objects.empty() ? ObjectRef() : objects[Below(objects.size())];
    }

    ObjectRef AnyNode() {
        switch (Below(12)) {
        case 0: return {};
        case 1: return others_[Below(2)];
        case 2: return Any(documents_);
        default: return Any(nodes_);
        }
    }

    // An object on which the member can be called at all.
    ObjectRef Receiver(const host::Class* cls) {
        ObjectRef object;
        if (cls->name == "XmlNodeList")
            object = Below(20) == 0 ? others_[2] : Any(lists_);
        else if (cls->name == "XmlNamespaces")
            object = Any(maps_);
        else if (cls->name == "XmlDocument" || cls->name == "XmlStyleSheet")
            object = Below(20) == 0 ? others_[1] : Any(documents_);
        else
            object = AnyNode();
        return object && object.Get()->cls->IsA(cls) ? object : ObjectRef();
    }

    std::string Text() {
        // A huge text now and then only.
        const std::string& text = TEXTS[Below(std::size(TEXTS))];
        return text.size() > 1000 && Below(50) != 0 ? "t" : text;
    }

    Value Argument(const host::Type& type) {
        constexpr int32_t NUMBERS[] = {0, 1, 2, 3, -1, -2, 17, 1000, 0x7FFFFFFF, -0x7FFFFFFF - 1};
        switch (type.kind) {
        case host::Kind::INTEGER:
        case host::Kind::BOOLEAN: return NUMBERS[Below(std::size(NUMBERS))];
        case host::Kind::STRING: return Below(10) == 0 ? Value(host::StringRef()) : Value(Text());
        case host::Kind::ARRAY: {
            std::vector<std::string> elements(Below(5));
            for (auto& element : elements) element = Text();
            return elements;
        }
        default: break;
        }
        if (type.className == "XmlNamespaces") return Below(5) == 0 ? ObjectRef() : Any(maps_);
        if (type.className == "XmlXsltHandler") return Below(5) == 0 ? ObjectRef() : Any(handlers_);
        if (type.className == "XmlStylesheet") return Below(5) == 0 ? ObjectRef() : documents_[3];
        if (type.className == "FolderItem") return ObjectRef();
        return AnyNode(); // whatever its class
    }

    // By the native function, so that nodes of another class than declared come through.
    void CallMethod(const ObjectRef& object, const host::Method& method) {
        std::vector<Value> values;
        std::vector<host::Slot> slots(1);
        slots[0].object = object.Get();
        for (const auto& parameter : method.signature.parameters) values.push_back(Argument(parameter.type));
        for (const Value& value : values) slots.push_back(value.Get());
        if (trace_) Trace(method, values);
        const bool isListText = object.Get()->cls->name == "XmlNodeList" && method.signature.name == "ToString";
        if (isListText) leakedStrings_ += ItemsOf(object);
        if (method.setter != nullptr && Below(2) == 0) {
            const Value value = Argument(method.signature.result);
            slots.push_back(value.Get());
            Guard([&] {
                host::CallNative(method.setterShape, method.setter, slots.data(), nullptr);
                host::ThrowPending();
            });
            return;
        }
        host::Slot result{};
        Guard([&] {
            host::CallNative(method.shape, method.function, slots.data(), &result);
            host::ThrowPending();
        });
        if (method.signature.result.kind != host::Kind::NOTHING)
            Keep(Value::Adopt(method.signature.result.kind, result));
    }

    // Those of a tree that went are not there any more.
    static unsigned ItemsOf(const ObjectRef& list) {
        const int length = host::GetProperty(list, "Length").Integer();
        unsigned items = 0;
        for (int index = 0; index < length; ++index) {
            if (host::Call(list, "Item", {index}).GetObject()) ++items;
        }
        return items;
    }

    static void Trace(const host::Method& method, const std::vector<Value>& values) {
        std::cerr << method.signature.Text();
        for (const Value& value : values) std::cerr << " | " << value.Text().substr(0, 80) << " " << value.Integer();
        std::cerr << std::endl;
    }

    // Counts what the exceptions keep on purpose.
    template <typename Action>
    void Guard(Action action) {
        try {
            action();
        } catch (const host::ProgramException& e) {
            if (e.className == "NilObjectException") return;
            ASSERT_TRUE(e.className == "XmlDomException" || e.className == "XmlException") << e.what();
            if (!e.message.empty()) ++leakedStrings_;
            if (e.className == "XmlDomException") return;
            for (const char* field : {"Line", "Node"}) {
                if (!TextOf(e.exception, field).empty()) ++leakedStrings_;
            }
        }
    }

    void Keep(const Value& value) {
        const ObjectRef object = value.GetObject();
        if (!object) return;
        const bool isList = object.Get()->cls->name == "XmlNodeList";
        auto& pool = isList ? lists_ : nodes_;
        if (pool.size() < (isList ? 8 : 64))
            pool.push_back(object);
        else
            pool[Below(pool.size())] = object;
    }

    void CheckLinks(const ObjectRef& node) {
        ObjectRef previous;
        int32_t count = 0;
        for (ObjectRef child = NodeOf(node, "FirstChild"); child; child = NodeOf(child, "NextSibling")) {
            ASSERT_EQ(host::Call(NodeOf(child, "Parent"), "Compare", {node}).Integer(), 0);
            const ObjectRef back = NodeOf(child, "PreviousSibling");
            ASSERT_EQ(static_cast<bool>(back), static_cast<bool>(previous));
            if (previous) {
                ASSERT_EQ(host::Call(back, "Compare", {previous}).Integer(), 0);
            }
            CheckLinks(child);
            previous = child;
            ++count;
        }
        ASSERT_EQ(host::GetProperty(node, "ChildCount").Integer(), count);
        const ObjectRef last = NodeOf(node, "LastChild");
        ASSERT_EQ(static_cast<bool>(last), static_cast<bool>(previous));
        if (last) {
            ASSERT_EQ(host::Call(last, "Compare", {previous}).Integer(), 0);
        }
    }

    std::mt19937 random_;
    std::vector<Operation> operations_;
    std::vector<ObjectRef> documents_;
    std::vector<ObjectRef> nodes_;
    std::vector<ObjectRef> lists_;
    std::vector<ObjectRef> maps_;
    std::vector<ObjectRef> handlers_;
    std::vector<ObjectRef> others_; // made by the program itself: they belong to no document
    unsigned leakedStrings_ = 0;
    const bool trace_ = std::getenv("KOVA_STRESS_TRACE") != nullptr;
};

TEST(Stress, RandomCalls) {
    StartHost();
    const unsigned seed = FromEnvironment("KOVA_STRESS_SEED", 1);
    const unsigned calls = FromEnvironment("KOVA_STRESS_CALLS", DEFAULT_CALLS);
    const auto before = host::CountLive();
    unsigned leakedStrings = 0;
    {
        Stress stress(seed);
        for (unsigned call = 1; call <= calls; ++call) {
            while (!stress.Call()) {
            }
            if (call % CALLS_BETWEEN_SIZE_CHECKS == 0) stress.ReloadLargeDocuments();
            if (call % CALLS_BETWEEN_CHECKS == 0) stress.CheckDocuments();
            ASSERT_FALSE(HasFailure()) << "seed " << seed << ", call " << call;
        }
        leakedStrings = stress.LeakedStrings();
    }
    const auto after = host::CountLive();
    EXPECT_EQ(after.objects, before.objects);
    EXPECT_EQ(after.strings, before.strings + leakedStrings);
}

} // namespace
