// The table of named services.
#include "host/runtime/services.h"

#include "host/runtime/array.h"
#include "host/runtime/class.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/guarded.h"
#include "host/runtime/log.h"
#include "host/runtime/module.h"
#include "host/runtime/object.h"
#include "host/runtime/property.h"
#include "host/runtime/registration.h"
#include "host/runtime/string.h"

#include <algorithm>
#include <array>
#include <optional>
#include <unordered_map>
#include <utility>

namespace host {

namespace {

constexpr double HOST_VERSION = 1.0;

int32_t announcedVersion = 0;

std::vector<std::string>& RegistrationErrors() {
    static auto& errors = *new std::vector<std::string>;
    return errors;
}

template <typename Action>
void Register(Action action) {
    try {
        action();
    } catch (const std::exception& error) {
        RegistrationErrors().emplace_back(error.what());
    }
}

// Declarations that plug-ins ask for, parsed once; nothing for those that are malformed.
const Signature* KnownSignature(const char* declaration) {
    static auto& signatures = *new std::unordered_map<std::string, std::optional<Signature>>;
    if (declaration == nullptr) return nullptr;
    auto entry = signatures.find(declaration);
    if (entry == signatures.end()) {
        std::optional<Signature> signature;
        try {
            signature = ParseSignature(declaration);
        } catch (const DefinitionError&) {
            signature.reset();
        }
        entry = signatures.emplace(declaration, std::move(signature)).first;
    }
    return entry->second ? &*entry->second : nullptr;
}

void RegisterPluginVersion(int32_t version) { announcedVersion = version; }

void PluginRegisterClass(ClassDefinition* record) {
    Register([record] {
        if (record == nullptr) throw DefinitionError("class without record");
        RegisterClass(*record);
    });
}

void PluginRegisterModule(const ModuleDefinition* record) {
    Register([record] {
        if (record == nullptr) throw DefinitionError("module without record");
        RegisterModule(*record);
    });
}

Object* PluginNewInstance(void* reference) {
    if (reference == nullptr) return nullptr;
    if (IsClassReference(reference)) return NewObject(static_cast<Class*>(reference));
    return NewObject(static_cast<const char*>(reference));
}

void KOVALockString(String* string) noexcept { LockString(string); }
void KOVAUnlockString(String* string) noexcept { UnlockString(string); }

uint32_t KOVAGetStringEncoding(String* string) noexcept {
    return string != nullptr ? string->encoding : ENCODING_UNKNOWN;
}

void KOVASetStringEncoding(String* string, uint32_t encoding) noexcept {
    if (string != nullptr) string->encoding = encoding;
}

void KOVALockObject(Object* object) noexcept { LockObject(object); }
void KOVAUnlockObject(Object* object) { UnlockObject(object); }

void* GetEventInstance(const Object* object, const Event* event) noexcept {
    if ((object == nullptr) || (event == nullptr) || IsExceptionPending()) return nullptr;
    return EventHandlerOf(object, event);
}

int32_t RuntimeUBound(Object* array) { return UpperBound(AsArray(array)); }

String* RuntimeDirectReadStringArray(Object* object, int32_t index) {
    Array* array = AsArray(object);
    if ((array == nullptr) || array->element != Kind::STRING || index < 0 || index >= array->count) {
        RaiseNew("OutOfBoundsException", 0, "There is no element " + std::to_string(index) + " in the array.");
        return nullptr;
    }
    return array->Strings()[index];
}

// Results of property access are C's int, so that callers find a whole word.
int32_t KOVAGetPropValueInt(Object* object, const char* name, int32_t* value) {
    return (name != nullptr) && (value != nullptr) && GetIntegerProperty(object, name, *value) ? 1 : 0;
}

int32_t KOVASetPropValueInt(Object* object, const char* name, int32_t value) {
    return (name != nullptr) && SetIntegerProperty(object, name, value) ? 1 : 0;
}

int32_t KOVASetPropValueString(Object* object, const char* name, String* value) {
    return (name != nullptr) && SetStringProperty(object, name, value) ? 1 : 0;
}

void* KOVALoadObjectMethod(Object* object, const char* declaration) {
    const Signature* signature = KnownSignature(declaration);
    Method* method = (object != nullptr) && (signature != nullptr) ? object->cls->FindMethod(*signature) : nullptr;
    return method != nullptr ? method->NativeFunction() : nullptr;
}

void* KOVALoadGlobalMethod(Object*, const char* declaration) {
    const Signature* signature = KnownSignature(declaration);
    Method* function = signature != nullptr ? FindGlobalFunction(*signature) : nullptr;
    return function != nullptr ? function->NativeFunction() : nullptr;
}

double KOVAGetKVVersion() { return HOST_VERSION; }

template <auto FUNCTION>
Service Entry(const char* name) {
    return {name, Native<FUNCTION>()};
}

const std::array SERVICES = {
    Entry<RegisterPluginVersion>("RegisterPluginVersion"),
    Entry<PluginRegisterClass>("PluginRegisterClass"),
    Entry<PluginRegisterModule>("PluginRegisterModule"),
    Entry<PluginNewInstance>("PluginNewInstance"),
    Entry<KOVALockObject>("KOVALockObject"),
    Entry<KOVAUnlockObject>("KOVAUnlockObject"),
    Entry<BuildBytes>("KOVABuildString"),
    Entry<KOVALockString>("KOVALockString"),
    Entry<KOVAUnlockString>("KOVAUnlockString"),
    Entry<CString>("StringGetCString"),
    Entry<KOVAGetStringEncoding>("KOVAGetStringEncoding"),
    Entry<KOVASetStringEncoding>("KOVASetStringEncoding"),
    Entry<ConvertStringPooled>("KOVAConvertString"),
    Entry<AddStrings>("RuntimeAddString"),
    Entry<CompareStrings>("RuntimeStringCompare"),
    Entry<GetEventInstance>("GetEventInstance"),
    Entry<Raise>("RuntimeRaiseException"),
    Entry<RuntimeUBound>("RuntimeUBound"),
    Entry<RuntimeDirectReadStringArray>("RuntimeDirectReadStringArray"),
    Entry<KOVAGetPropValueInt>("KOVAGetPropValueInt"),
    Entry<KOVASetPropValueInt>("KOVASetPropValueInt"),
    Entry<KOVASetPropValueString>("KOVASetPropValueString"),
    Entry<KOVALoadObjectMethod>("KOVALoadObjectMethod"),
    Entry<KOVALoadGlobalMethod>("KOVALoadGlobalMethod"),
    Entry<KOVAGetKVVersion>("KOVAGetKVVersion"),
    Entry<LogMessage>("RuntimeLogMessage"),
};

std::array<bool, SERVICES.size()> isDisabled{};

std::optional<size_t> FindService(std::string_view name) {
    for (size_t i = 0; i < SERVICES.size(); ++i) {
        if (name == SERVICES[i].name) return i;
    }
    return std::nullopt;
}

} // namespace

std::span<const Service> Services() { return SERVICES; }

extern "C" void* ResolveService(const char* name) {
    if (name == nullptr) return nullptr;
    std::optional<size_t> index = FindService(name);
    return index && !isDisabled[*index] ? SERVICES[*index].function : nullptr;
}

bool SetServiceEnabled(std::string_view name, bool enabled) {
    std::optional<size_t> index = FindService(name);
    if (index) isDisabled[*index] = !enabled;
    return index.has_value();
}

std::vector<std::string> TakeRegistrationErrors() { return std::exchange(RegistrationErrors(), {}); }

int32_t TakeAnnouncedVersion() { return std::exchange(announcedVersion, 0); }

} // namespace host
