// The attributes of an element by name, for elements with many.
#pragma once

#include "sablotron/tree/tree.h"

#include <array>
#include <string_view>
#include <unordered_map>

namespace sablot {

class AttributeNames {
public:
    // Calls visit(attribute) for all that can have the qualified name - those of this local name and those that are
    // called so as a whole - and maybe for others. On an element with few attributes these are all, in their order.
    template <typename Visit>
    void ForEach(const xmlNode* element, std::string_view name, Visit visit) {
        size_t count = 0;
        for (const xmlAttr* at = element->properties; at != nullptr && count <= FEW; at = at->next) ++count;
        if (count <= FEW) {
            for (xmlAttr* at = element->properties; at != nullptr; at = at->next) visit(at);
            return;
        }
        const ByName& attributes = Of(element);
        const auto visitAll = [&](std::string_view key) {
            const auto [begin, end] = attributes.equal_range(Hash(key));
            for (auto at = begin; at != end; ++at) visit(at->second);
        };
        visitAll(name);
        if (const size_t colon = name.find(':'); colon != std::string_view::npos) visitAll(name.substr(colon + 1));
    }

    // An attribute was put on the element, or renamed there; one is about to be taken from it, or renamed.
    void Added(const xmlNode* element, xmlAttr* attribute) noexcept;
    void Removing(const xmlNode* element, const xmlAttr* attribute) noexcept;

private:
    static constexpr size_t FEW = 32;
    using ByName = std::unordered_multimap<size_t, xmlAttr*>; // by the hash of the name that the tree has
    struct Entry {
        const xmlNode* element = nullptr;
        ByName attributes;
    };

    static size_t Hash(std::string_view name) { return std::hash<std::string_view>()(name); }
    const ByName& Of(const xmlNode* element);

    // Loops often go over a few elements in turn.
    std::array<Entry, 4> entries_;
    size_t next_ = 0;
};

} // namespace sablot
