// XmlContentModel: one node of an element type's content model.
#pragma once

#include "glue/host_types.h"
#include "reader/classes.h"

struct XML_cp; // a node of Expat's content models, XML_Content

namespace kova {

struct XmlContentModelData {
    KOVAObject owner;
    XML_cp* model;              // none for a view whose tree is gone, and for an object that the program made itself
    XmlContentModelData* newer; // links of the list of live content models
    XmlContentModelData* older;
    uint32_t reserved;
    uint32_t ownsModel;
};
static_assert(sizeof(XmlContentModelData) == 24 && offsetof(XmlContentModelData, model) == 4
              && offsetof(XmlContentModelData, newer) == 8 && offsetof(XmlContentModelData, older) == 12
              && offsetof(XmlContentModelData, reserved) == 16 && offsetof(XmlContentModelData, ownsModel) == 20);

// A new object that owns the parser's tree and frees it when its last reference goes. Nil for no tree, and when the
// host makes no instance; the tree is freed then.
KOVAObject NewContentModel(XML_cp* tree);

} // namespace kova
