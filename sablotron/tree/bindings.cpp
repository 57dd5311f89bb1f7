// Which bindings are in scope, and the namespace fix-up of nodes that have moved.
#include "sablotron/tree/bindings.h"

#include "sablotron/tree/scope.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string>
#include <unordered_set>
#include <utility>

namespace sablot {

namespace {

struct NamespaceDeleter {
    void operator()(xmlNs* declaration) const { xmlFreeNs(declaration); }
};
using NamespacePointer = std::unique_ptr<xmlNs, NamespaceDeleter>;

// Calls visit(ns) for the namespace of each name in the subtree that has one.
template <typename Visit>
void ForEachName(xmlNode* subtree, Visit visit) {
    for (xmlNode* node : Walk(subtree)) {
        if (!IsElement(node)) continue;
        if (node->ns != nullptr) visit(node->ns);
        for (xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            if (attribute->ns != nullptr) visit(attribute->ns);
    }
}

bool IsInTree(const xmlNode* node) {
    while (node->parent != nullptr) node = node->parent;
    return IsDocument(node);
}

bool IsSamePrefix(const xmlChar* left, const xmlChar* right) { return View(left) == View(right); }

// Goes through a subtree and gives each name a declaration that its element can see.
class NamespaceFixUp {
public:
    NamespaceFixUp(Document& document, xmlNode* root) : document_(document), root_(root) {}

    void Run() {
        auto enter = [this](xmlNode* node) {
            if (!IsElement(node)) return;
            scope_.Enter(node);
            Visit(node);
        };
        WalkTree(root_, enter, [this](xmlNode* node) { scope_.Leave(node); });
    }

private:
    void Visit(xmlNode* element) {
        if (element->ns != nullptr) element->ns = Resolve(element, element->ns);
        for (xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
            if (attribute->ns != nullptr) attribute->ns = Resolve(element, attribute->ns);
    }

    xmlNs* Resolve(xmlNode* element, xmlNs* ns) {
        if (IsSamePrefix(ns->prefix, Chars("xml"))) return document_.XmlBinding();
        xmlNs* seen = scope_.Find(View(ns->prefix));
        bool isInside = seen != nullptr;
        if (seen == nullptr) seen = FindOutside(ns->prefix);
        if ((seen != nullptr) && xmlStrEqual(seen->href, ns->href)) {
            if (!isInside) usedFromOutside_.insert(View(ns->prefix));
            return seen;
        }
        // Outside the tree an unattached namespace may wait for its place.
        if (document_.IsUnattached(ns) && !RootIsInTree()) return ns;
        // One declaration on the root serves the whole subtree, unless something in between or the root itself has
        // another use for the prefix.
        bool rootIsFree = !isInside && !usedFromOutside_.contains(View(ns->prefix))
                          && ((ns->prefix != nullptr) || (root_->ns != nullptr));
        xmlNs* made = nullptr;
        if (rootIsFree) made = DeclareOn(root_, ns, true);
        if (made == nullptr) made = DeclareOn(element, ns, element == root_);
        return made != nullptr ? made : document_.UnattachedNamespace(ns->prefix, ns->href);
    }

    xmlNs* DeclareOn(xmlNode* element, const xmlNs* ns, bool atBase) {
        xmlNs* made = Declare(element, ns->prefix, ns->href);
        if (made != nullptr) atBase ? scope_.AddAtBase(made) : scope_.Add(element, made);
        return made;
    }

    bool RootIsInTree() {
        if (!isInTree_) isInTree_ = IsInTree(root_);
        return *isInTree_;
    }

    xmlNs* FindOutside(const xmlChar* prefix) {
        if ((root_->parent == nullptr) || !IsElement(root_->parent)) return nullptr;
        auto [place, isNew] = outside_.try_emplace(View(prefix), nullptr);
        if (isNew) place->second = FindBinding(document_, root_->parent, prefix).declaration;
        return place->second;
    }

    Document& document_;
    xmlNode* root_;
    Scope scope_;
    std::optional<bool> isInTree_;
    std::unordered_map<std::string_view, xmlNs*> outside_;
    std::unordered_set<std::string_view> usedFromOutside_;
};

} // namespace

std::vector<Binding> BindingsInScope(Document& document, xmlNode* element) {
    std::vector<Binding> bindings;
    auto isBound = [&](const xmlChar* prefix) {
        return std::any_of(bindings.begin(), bindings.end(),
                           [&](const Binding& binding) { return IsSamePrefix(binding.declaration->prefix, prefix); });
    };
    xmlNode* node = element;
    for (; (node != nullptr) && IsElement(node); node = node->parent) {
        size_t inherited = bindings.size();
        bool isRoot = (node->parent != nullptr) && !IsElement(node->parent);
        bool declaresDefault = false;
        for (xmlNs* declaration = node->nsDef; declaration != nullptr; declaration = declaration->next) {
            declaresDefault |= declaration->prefix == nullptr;
            if (!isBound(declaration->prefix)) bindings.push_back({declaration, node});
        }
        std::reverse(bindings.begin() + static_cast<ptrdiff_t>(inherited), bindings.end());
        if (isRoot && document.MadeBy() == Document::Origin::PARSED && !declaresDefault && !isBound(nullptr))
            bindings.insert(bindings.begin() + static_cast<ptrdiff_t>(inherited), {document.EmptyBinding(), nullptr});
    }
    const xmlNode* top = element;
    while (top->parent != nullptr && IsElement(top->parent)) top = top->parent;
    if (node != nullptr || (top->extra & LISTS_XML) != 0) bindings.push_back({document.XmlBinding(), nullptr});
    return bindings;
}

std::vector<Binding> BindingsInScope(xmlNode* element, const std::vector<Binding>& ofParent) {
    std::vector<Binding> bindings;
    for (xmlNs* declaration = element->nsDef; declaration != nullptr; declaration = declaration->next)
        bindings.push_back({declaration, element});
    std::reverse(bindings.begin(), bindings.end());
    std::copy_if(ofParent.begin(), ofParent.end(), std::back_inserter(bindings), [&](const Binding& binding) {
        const xmlNs* own = element->nsDef;
        while (own != nullptr && !IsSamePrefix(own->prefix, binding.declaration->prefix)) own = own->next;
        return own == nullptr;
    });
    return bindings;
}

void KeepBindings(Document& document, xmlNode* element, const std::vector<Binding>& inScope) {
    std::vector<NamespacePointer> copies;
    std::vector<xmlNs*> declarations;
    for (const Binding& binding : inScope) {
        xmlNs* declaration = binding.declaration;
        if (declaration == document.XmlBinding()) continue;
        if (binding.owner != element) {
            copies.emplace_back(NewNamespace(declaration->prefix, declaration->href));
            declaration = copies.back().get();
            SetKept(declaration, document.Tree());
        }
        declarations.push_back(declaration);
    }
    if (!inScope.empty() && inScope.back().declaration == document.XmlBinding()) element->extra |= LISTS_XML;
    for (NamespacePointer& copy : copies) static_cast<void>(copy.release());
    element->nsDef = nullptr; // the list is the other way round
    for (xmlNs* declaration : declarations) declaration->next = std::exchange(element->nsDef, declaration);
}

void DropKeptBindings(Document& document, xmlNode* element) {
    element->extra &= static_cast<unsigned short>(~LISTS_XML);
    const xmlNs* kept = element->nsDef;
    while (kept != nullptr && !IsKept(kept)) kept = kept->next;
    if (kept == nullptr) return;
    ForEachName(element, [](xmlNs* ns) { SetKept(ns, nullptr); });
    for (xmlNs** place = &element->nsDef; *place != nullptr;) {
        xmlNs* declaration = *place;
        if (!IsKept(declaration)) {
            place = &declaration->next;
            continue;
        }
        *place = std::exchange(declaration->next, nullptr);
        SetKept(declaration, nullptr);
        if (declaration->_private != nullptr)
            document.AddDetached(document.HandleOf(declaration, nullptr)); // a program may hold it
        else
            xmlFreeNs(declaration);
    }
}

Binding FindBinding(Document& document, xmlNode* element, const xmlChar* prefix) {
    if (View(prefix) == "xml") return {document.XmlBinding(), nullptr};
    for (xmlNode* node = element; (node != nullptr) && IsElement(node); node = node->parent)
        for (xmlNs* declaration = node->nsDef; declaration != nullptr; declaration = declaration->next)
            if (IsSamePrefix(declaration->prefix, prefix)) return {declaration, node};
    return {nullptr, nullptr};
}

xmlNs* BindingForName(Document& document, xmlNode* element, std::string_view prefix) {
    if ((element->ns != nullptr) && View(element->ns->prefix) == prefix) return element->ns;
    // In the tree names mean what is in scope.
    if (document.HasUnattachedNamespaces() && !IsInTree(element))
        for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
            if ((attribute->ns != nullptr) && View(attribute->ns->prefix) == prefix) return attribute->ns;
    return FindBinding(document, element, Chars(std::string(prefix).c_str())).declaration;
}

bool IsAllowedBinding(std::string_view prefix, std::string_view uri) {
    if (!prefix.empty() && uri.empty()) return false;
    return (prefix == "xml") == (uri == XML_URI) && (prefix == "xmlns") == (uri == XMLNS_URI);
}

bool UsesPrefixOtherwise(const xmlNode* element, std::string_view prefix, std::string_view uri) {
    auto differs = [&](const xmlNs* ns) { return View(ns->prefix) == prefix && View(ns->href) != uri; };
    const bool usesNone = prefix.empty() && !uri.empty() && !AdoptsDefault(element);
    if (element->ns != nullptr ? differs(element->ns) : usesNone) return true;
    for (const xmlAttr* attribute = element->properties; attribute != nullptr; attribute = attribute->next)
        if ((attribute->ns != nullptr) && differs(attribute->ns)) return true;
    return false;
}

xmlNs* BindForAttribute(Document& document, xmlNode* element, const xmlChar* prefix, const xmlChar* uri) {
    std::string chosen;
    if (View(prefix).empty()) {
        std::vector<Binding> bindings = BindingsInScope(document, element);
        for (const Binding& binding : bindings)
            if ((binding.declaration->prefix != nullptr) && View(binding.declaration->href) == View(uri))
                return binding.declaration;
        for (int number = 1;
             chosen.empty() || (FindBinding(document, element, Chars(chosen.c_str())).declaration != nullptr); ++number)
            chosen = "ns" + std::to_string(number);
        prefix = Chars(chosen.c_str());
    }
    xmlNs* seen = BindingForName(document, element, View(prefix));
    if ((seen != nullptr) && View(seen->href) == View(uri)) return seen;
    if (UsesPrefixOtherwise(element, View(prefix), View(uri))) return nullptr;
    xmlNs* made = Declare(element, prefix, uri);
    if ((made != nullptr) && (seen != nullptr))
        FixUpNamespaces(document, element); // names below may have used the binding that is hidden now
    return made;
}

void FixUpNamespaces(Document& document, xmlNode* subtree) {
    if (!IsElement(subtree)) return;
    if ((subtree->children == nullptr) && (subtree->nsDef == nullptr) && (subtree->properties == nullptr)) {
        if (subtree->ns == nullptr) return;
        // What the parent's name can say, a child's can.
        const xmlNode* parent = subtree->parent;
        if ((parent != nullptr) && IsElement(parent) && (parent->ns != nullptr)
            && View(parent->ns->prefix) == View(subtree->ns->prefix)
            && View(parent->ns->href) == View(subtree->ns->href)) {
            subtree->ns = parent->ns;
            return;
        }
    }
    NamespaceFixUp(document, subtree).Run();
}

void ReleaseNames(Document& document, xmlNode* owner, const xmlNs* declaration) {
    xmlNs* unattached = nullptr;
    ForEachName(owner, [&](xmlNs*& ns) {
        if (ns != declaration) return;
        if (unattached == nullptr) unattached = document.UnattachedNamespace(declaration->prefix, declaration->href);
        ns = unattached;
    });
}

bool IsInUse(const xmlNs* declaration, xmlNode* owner) {
    for (const xmlNode* node : Walk(owner)) {
        if (!IsElement(node)) continue;
        if (node->ns == declaration) return true;
        for (const xmlAttr* attribute = node->properties; attribute != nullptr; attribute = attribute->next)
            if (attribute->ns == declaration) return true;
    }
    return false;
}

} // namespace sablot
