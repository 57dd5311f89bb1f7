// The innermost declaration of each prefix while going down and up a tree.
#pragma once

#include "sablotron/tree/tree.h"

#include <string_view>
#include <unordered_map>
#include <vector>

namespace sablot {

class Scope {
public:
    // Null when the prefix ("" is the default) is not declared in scope.
    xmlNs* Find(std::string_view prefix) const {
        if (innermost_.empty()) return nullptr;
        auto found = innermost_.find(prefix);
        return found != innermost_.end() && !found->second.empty() ? found->second.back() : nullptr;
    }

    // In scope until the element, which is the one that was entered last, is left.
    void Add(const xmlNode* element, xmlNs* declaration) {
        innermost_[View(declaration->prefix)].push_back(declaration);
        entries_.push_back({element, View(declaration->prefix)});
    }
    // In scope of everything; the prefix must not be in scope now.
    void AddAtBase(xmlNs* declaration) { innermost_[View(declaration->prefix)].push_back(declaration); }

    void Enter(const xmlNode* element) {
        for (xmlNs* declaration = element->nsDef; declaration != nullptr; declaration = declaration->next)
            Add(element, declaration);
    }
    void Leave(const xmlNode* element) {
        for (; !entries_.empty() && entries_.back().element == element; entries_.pop_back())
            innermost_[entries_.back().prefix].pop_back();
    }

private:
    struct Entry {
        const xmlNode* element;
        std::string_view prefix;
    };

    std::unordered_map<std::string_view, std::vector<xmlNs*>> innermost_;
    std::vector<Entry> entries_;
};

} // namespace sablot
