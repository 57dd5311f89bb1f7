// Where nodes stand, as expressions that find them again.
#pragma once

#include <map>
#include <string>
#include <utility>

struct _xmlNode;

namespace host::xml {

// "/b:shop[1]/book[2]/@price", with the document's prefixes and "_" for a default namespace. Paths of many nodes in
// document order take time in proportion to the document.
class NodePaths {
public:
    std::string Of(const _xmlNode* node);

private:
    size_t Position(const _xmlNode* node, const std::string& name);

    // The child seen last, and its position among those of the same name.
    std::map<std::pair<const _xmlNode*, std::string>, std::pair<const _xmlNode*, size_t>> last_;
};

} // namespace host::xml
