// Members of objects that have no document.
#include "tests/plugin/plugin_host.h"

namespace {

using host::ObjectRef;
using host::Value;

// A wrapper that a program made with New has no document: each member answers nothing and leaves 8 in LastError.
TEST(Members, WithoutADocumentAnswerNothing) {
    StartHost();
    const auto before = host::CountLive();
    for (const char* name : {"XmlNode", "XmlElement", "XmlAttribute", "XmlDocument", "XmlStyleSheet", "XmlNodeList"}) {
        for (const host::Class* cls = host::FindClass(name); cls != nullptr; cls = cls->super) {
            for (const auto& method : cls->methods) {
                if (method->IsConstructor()) continue;
                const ObjectRef object = host::Create(name);
                std::vector<Value> arguments;
                for (const auto& parameter : method->signature.parameters) {
                    switch (parameter.type.kind) {
                    case host::Kind::INTEGER: arguments.emplace_back(0); break;
                    case host::Kind::BOOLEAN: arguments.emplace_back(true); break;
                    case host::Kind::STRING: arguments.emplace_back("x"); break;
                    case host::Kind::ARRAY: arguments.emplace_back(std::vector<std::string>{}); break;
                    default: arguments.emplace_back(ObjectRef()); break;
                    }
                }
                const Value result = host::Call(object, method->signature.Text(), arguments);
                EXPECT_FALSE(result.GetObject()) << name << "." << method->signature.Text();
                if (cls->name == "XmlNodeList") continue;
                EXPECT_EQ(result.Text(), "") << name << "." << method->signature.Text();
                EXPECT_EQ(host::GetProperty(object, "LastError").Integer(), 8)
                    << name << "." << method->signature.Text();
            }
            for (const auto& property : cls->properties) {
                const ObjectRef object = host::Create(name);
                if (property->name == "LastError") continue;
                const Value value = host::GetProperty(object, property->name);
                EXPECT_FALSE(value.GetObject() || !value.Text().empty() || value.Integer() != 0)
                    << name << "." << property->name;
                const ObjectRef written = host::Create(name);
                if (property->write != host::Access::NONE) host::SetProperty(written, property->name, value);
                if (cls->name == "XmlNodeList") continue;
                EXPECT_EQ(host::GetProperty(object, "LastError").Integer(), 8) << name << "." << property->name;
                if (property->write != host::Access::NONE) {
                    EXPECT_EQ(host::GetProperty(written, "LastError").Integer(), 8) << name << "." << property->name;
                }
            }
        }
    }
    EXPECT_EQ(host::CountLive(), before);
}

} // namespace
