// Definition records with faults in their texts, numbers and counts: refused, or a class whose objects can be used.
//
// A line is a word and what belongs to it: "class NAME SUPER", "size N", "version N", "property NAME TYPE PARAM"
// (direct access), "method DECLARATION", "event DECLARATION", "constant DECLARATION", "count N" (of methods, in place
// of the true one).
#include "host/framework/framework.h"
#include "host/runtime/class.h"
#include "host/runtime/dynamic.h"
#include "host/runtime/registration.h"
#include "tests/fuzz/input.h"

#include <charconv>
#include <deque>
#include <map>

using namespace host;

namespace {

void DoNothing(Object*) {}

int32_t Number(std::string_view text) {
    int32_t number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

class Records {
public:
    explicit Records(std::string_view text) {
        record_.version = RECORD_VERSION;
        record_.name = "Fuzzed";
        for (size_t start = 0, end = 0; start < text.size(); start = end + 1) {
            end = std::min(text.find('\n', start), text.size());
            Take(text.substr(start, end - start));
        }
        record_.properties = properties_.data();
        record_.propertyCount = static_cast<int32_t>(properties_.size());
        record_.methods = methods_.data();
        record_.methodCount = isCounted_ ? std::min(count_, Size(methods_)) : Size(methods_);
        record_.events = events_.data();
        record_.eventCount = Size(events_);
        record_.constants = constants_.data();
        record_.constantCount = Size(constants_);
    }

    ClassDefinition& Get() { return record_; }

private:
    static int32_t Size(const auto& records) { return static_cast<int32_t>(records.size()); }

    const char* Keep(std::string_view text) { return texts_.emplace_back(text).c_str(); }

    void Take(std::string_view line) {
        const std::string word(Cut(line));
        if (word == "class") {
            record_.name = Keep(Cut(line));
            if (!line.empty()) record_.superclass = Keep(line);
        } else if (word == "size") {
            record_.dataSize = Number(line);
        } else if (word == "version") {
            record_.version = Number(line);
        } else if (word == "count") {
            count_ = Number(line);
            isCounted_ = true;
        } else if (word == "property") {
            const char* name = Keep(Cut(line));
            const char* type = Keep(Cut(line));
            void* const direct = reinterpret_cast<void*>(DIRECT_ACCESS);
            properties_.push_back({0, name, type, 0, direct, direct, Number(line), {}});
        } else if (word == "method") {
            methods_.push_back({reinterpret_cast<void*>(DoNothing), nullptr, Keep(line), 0, {}});
        } else if (word == "event") {
            events_.push_back({Keep(line), nullptr, {}});
        } else if (word == "constant") {
            constants_.push_back({Keep(line), {}});
        }
    }

    static std::string_view Cut(std::string_view& line) {
        const size_t end = std::min(line.find(' '), line.size());
        const std::string_view word = line.substr(0, end);
        line.remove_prefix(std::min(end + 1, line.size()));
        return word;
    }

    std::deque<std::string> texts_;
    std::vector<PropertyDefinition> properties_;
    std::vector<MethodDefinition> methods_;
    std::vector<EventDefinition> events_;
    std::vector<ConstantDefinition> constants_;
    ClassDefinition record_{};
    int32_t count_ = 0;
    bool isCounted_ = false;
};

void UseObject(Class* cls) {
    const ObjectRef object = host::Create(cls);
    for (const auto& property : cls->properties) {
        const Value value = GetProperty(object, property->name);
        SetProperty(object, property->name, value);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool isStarted = [] {
        RegisterFramework();
        return true;
    }();
    static_cast<void>(isStarted);
    Records records({reinterpret_cast<const char*>(data), size});
    try {
        Class* cls = RegisterClass(records.Get());
        if (cls->objectSize < (1 << 20)) UseObject(cls);
        Require(RemoveClass(cls), "the class goes again");
    } catch (const DefinitionError& error) {
        Require(*error.what() != '\0', "a fault has a text");
    } catch (const ProgramException&) {
    }
    return 0;
}
