// The Xql methods of `XmlNode`.
#include "dom/exceptions.h"
#include "dom/members.h"
#include "dom/namespaces.h"
#include "dom/node.h"
#include "dom/node_list.h"
#include "glue/exceptions.h"
#include "glue/strings.h"

#include <cstdlib>

namespace kova {

namespace {

// Prefix and URI in turn, ended by a null, as the library takes them.
class NamespaceArray {
public:
    // The block is deliberately never freed.
    explicit NamespaceArray(size_t pairs)
        : strings_(static_cast<const char**>(std::malloc((pairs * 2 + 1) * sizeof(const char*)))) {}

    void Add(KOVAString prefix, KOVAString uri) {
        if (strings_ == nullptr) return;
        strings_[length_++] = CStringOrEmpty(prefix);
        strings_[length_++] = CStringOrEmpty(uri);
    }

    // Null when memory is short.
    const char** Finish() {
        if (strings_ != nullptr) strings_[length_] = nullptr;
        return strings_;
    }

private:
    const char** strings_;
    size_t length_ = 0;
};

// Raises, unlike the form without a map.
KOVAObject QueryWithMap(NodeData& wrapper, KOVAString query, const char** namespaces) {
    if (namespaces == nullptr) {
        RaiseOutOfMemoryException();
        return nullptr;
    }
    const SablotSituation situation = XmlOf(wrapper.xml)->situation;
    SDOM_NodeList list = nullptr;
    SDOM_xql_ns(situation, CStringOrEmpty(EnsureUTF8(query)), wrapper.node, namespaces, &list);
    wrapper.lastError = SDOM_getExceptionCode(situation);
    if (list == nullptr && wrapper.lastError != 0) RaiseLastError(wrapper);
    return WrapNodeList(wrapper.xml, list);
}

} // namespace

KOVAObject XmlNode_Xql(KOVAObject self, KOVAString query) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const SablotSituation situation = XmlOf(wrapper.xml)->situation;
    SDOM_NodeList list = nullptr;
    SDOM_xql(situation, CStringOrEmpty(EnsureUTF8(query)), wrapper.node, &list);
    wrapper.lastError = Checked(SDOM_getExceptionCode(situation));
    return WrapNodeList(wrapper.xml, list);
}

KOVAObject XmlNode_XqlNamespaces(KOVAObject self, KOVAString query, KOVAObject map) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const NamespacesData* data = NamespacesOf(map);
    if (data == nullptr) {
        RaiseNilObjectException();
        return nullptr;
    }
    const auto entries = data->InUse();
    NamespaceArray namespaces(entries.size());
    for (const NamespaceEntry& entry : entries) namespaces.Add(entry.prefix, entry.uri);
    return QueryWithMap(wrapper, query, namespaces.Finish());
}

KOVAObject XmlNode_XqlArray(KOVAObject self, KOVAString query, KOVAArray map) {
    NodeData& wrapper = *NodeOf(self);
    if (CheckDocument(wrapper)) return nullptr;
    const int32_t pairs = map != nullptr ? (RuntimeUBound(map) + 1) / 2 : 0; // an odd last element is ignored
    NamespaceArray namespaces(static_cast<size_t>(pairs));
    for (int32_t pair = 0; pair < pairs; ++pair)
        namespaces.Add(RuntimeDirectReadStringArray(map, pair * 2), RuntimeDirectReadStringArray(map, pair * 2 + 1));
    return QueryWithMap(wrapper, query, namespaces.Finish());
}

} // namespace kova
