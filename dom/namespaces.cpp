// The members of `XmlNamespaces`.
#include "dom/namespaces.h"

#include "dom/classes.h"
#include "dom/exceptions.h"
#include "dom/members.h"
#include "glue/objects.h"
#include "glue/strings.h"
#include "sablotron/sdom.h"

#include <algorithm>
#include <cstring>

namespace kova {

namespace {

constexpr int32_t ABSENT = -1;

int32_t IndexOf(const NamespacesData& map, KOVAString prefix) {
    const auto entries = map.InUse();
    const char* wanted = CStringOrEmpty(EnsureUTF8(prefix));
    for (size_t index = 0; index < entries.size(); ++index) {
        if (std::strcmp(wanted, CStringOrEmpty(entries[index].prefix)) == 0) return static_cast<int32_t>(index);
    }
    return ABSENT;
}

} // namespace

std::span<const NamespaceEntry> NamespacesData::InUse() const {
    return {entries, static_cast<size_t>(std::clamp(count, 0, CAPACITY))};
}

NamespacesData* NamespacesOf(KOVAObject namespaces) {
    return namespaces != nullptr ? InstanceData<NamespacesData>(namespaces, xmlNamespacesClass) : nullptr;
}

void XmlNamespaces_Initialize(KOVAObject self) { *NamespacesOf(self) = NamespacesData{}; }

void XmlNamespaces_Finalize(KOVAObject self) { XmlNamespaces_Clear(self); }

KOVAString XmlNamespaces_Uri(KOVAObject self, KOVAString prefix) {
    const NamespacesData& map = *NamespacesOf(self);
    const int32_t index = IndexOf(map, prefix);
    if (index == ABSENT) return nullptr;
    return LockedString(map.entries[index].uri);
}

void XmlNamespaces_SetUri(KOVAObject self, KOVAString prefix, KOVAString value) {
    NamespacesData& map = *NamespacesOf(self);
    const KOVAString prefixUtf8 = EnsureUTF8(prefix);
    const KOVAString valueUtf8 = EnsureUTF8(value);
    int32_t index = IndexOf(map, prefixUtf8);
    if (index == ABSENT) {
        index = static_cast<int32_t>(map.InUse().size());
        if (index == NamespacesData::CAPACITY) {
            RaiseDomException(SDOM_INDEX_SIZE_ERR, "XmlNamespaces holds at most 16 prefixes");
            return;
        }
        map.count = index + 1;
    }
    // An entry beyond a count that the program lowered still holds its strings.
    ReplaceString(map.entries[index].prefix, LockedString(prefixUtf8));
    ReplaceString(map.entries[index].uri, LockedString(valueUtf8));
}

// Deliberate: answers the entry's index, or -1, and the host takes any word but 0 for True. So a prefix is "absent"
// only when it stands first.
KOVABoolean XmlNamespaces_HasPrefix(KOVAObject self, KOVAString prefix) { return IndexOf(*NamespacesOf(self), prefix); }

// Deliberately releases the entries in use only: those beyond a count that the program lowered stay.
void XmlNamespaces_Clear(KOVAObject self) {
    NamespacesData& map = *NamespacesOf(self);
    for (size_t index = 0; index < map.InUse().size(); ++index) {
        ReplaceString(map.entries[index].prefix, nullptr);
        ReplaceString(map.entries[index].uri, nullptr);
    }
    map.count = 0;
}

} // namespace kova
