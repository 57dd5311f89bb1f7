// Making, releasing and reading content models.
#include "reader/content_model.h"

#include "glue/exceptions.h"
#include "glue/objects.h"
#include "glue/strings.h"
#include "reader/members.h"

#include <expat.h>

#include <cstdlib>
#include <new>
#include <set>
#include <utility>

namespace kova {

namespace {

static_assert(sizeof(XML_Content) == 20);

constexpr KOVAInteger NO_MODEL = -50;

// Head of the list of live content models.
XmlContentModelData* newestModel = nullptr;

XmlContentModelData& Data(KOVAObject self) { return *InstanceData<XmlContentModelData>(self, xmlContentModelClass); }

// The live objects that Child made, ordered by the node that they show, so that those of a tree stand together.
using View = std::pair<const XML_Content*, XmlContentModelData*>;
std::set<View>& Views() {
    static std::set<View> views;
    return views;
}

// How many nodes the tree has. Expat lays all nodes of a tree side by side in one block, a parent before its
// children, so that the children counted so far always stand within the nodes known so far.
size_t NodeCount(const XML_Content* tree) {
    size_t count = 1;
    for (size_t i = 0; i < count; ++i) count += tree[i].numchildren;
    return count;
}

// Objects that Child made do not keep the tree alive; those that outlive it go empty.
void DetachViews(const XML_Content* tree) {
    std::set<View>& views = Views();
    auto view = views.lower_bound({tree, nullptr});
    if (view == views.end()) return;
    for (const XML_Content* end = tree + NodeCount(tree); view != views.end() && view->first < end;) {
        view->second->model = nullptr;
        view = views.erase(view);
    }
}

} // namespace

KOVAObject NewContentModel(XML_Content* tree) {
    if (tree == nullptr) return nullptr;
    KOVAObject object = PluginNewInstance(xmlContentModelClass.name);
    if (object == nullptr) {
        std::free(tree);
        return nullptr;
    }
    Data(object).model = tree;
    Data(object).ownsModel = 1;
    return object;
}

void XmlContentModel_Initialize(KOVAObject self) {
    XmlContentModelData& data = Data(self);
    data.owner = self;
    data.reserved = 0;
    data.ownsModel = 0;
    if (newestModel != nullptr) {
        data.older = newestModel;
        newestModel->newer = &data;
    }
    newestModel = &data;
}

void XmlContentModel_Finalize(KOVAObject self) {
    XmlContentModelData& data = Data(self);
    if (data.older != nullptr) data.older->newer = data.newer;
    (data.newer != nullptr ? data.newer->older : newestModel) = data.older;
    if (data.ownsModel == 0) {
        Views().erase({data.model, &data});
        return;
    }
    DetachViews(data.model);
    std::free(data.model);
}

KOVAInteger XmlContentModel_GetType(KOVAObject self, uint32_t) {
    const XML_Content* model = Data(self).model;
    return model != nullptr ? static_cast<KOVAInteger>(model->type) : NO_MODEL;
}

KOVAInteger XmlContentModel_GetQuant(KOVAObject self, uint32_t) {
    const XML_Content* model = Data(self).model;
    return model != nullptr ? static_cast<KOVAInteger>(model->quant) : NO_MODEL;
}

KOVAString XmlContentModel_GetName(KOVAObject self, uint32_t) {
    const XML_Content* model = Data(self).model;
    return model != nullptr ? BuildUTF8String(model->name) : nullptr;
}

KOVAInteger XmlContentModel_GetNumChildren(KOVAObject self, uint32_t) {
    const XML_Content* model = Data(self).model;
    return model != nullptr ? static_cast<KOVAInteger>(model->numchildren) : 0;
}

KOVAObject XmlContentModel_Child(KOVAObject self, KOVAInteger index) {
    const XML_Content* model = Data(self).model;
    if (model == nullptr || index < 0 || static_cast<unsigned>(index) >= model->numchildren
        || model->children == nullptr)
        return nullptr;
    OwnedObject child(PluginNewInstance(xmlContentModelClass.name));
    if (child.Get() == nullptr) return nullptr;
    XmlContentModelData& view = Data(child.Get());
    try {
        Views().emplace(&model->children[index], &view);
    } catch (const std::bad_alloc&) {
        RaiseOutOfMemoryException();
        return nullptr;
    }
    view.model = &model->children[index];
    return child.Release();
}

} // namespace kova
