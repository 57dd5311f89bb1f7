// Compiled stylesheets: how they are made, kept and kept up to date.
#pragma once

#include "sablotron/transform/processor.h"
#include "sablotron/transform/sandbox.h"
#include "sablotron/tree/document.h"

#include <array>
#include <unordered_map>

namespace sablot {

class Stylesheet : public CompiledStylesheet {
public:
    // Compiles a tree, which is used up. Null after a reported failure.
    static std::shared_ptr<Stylesheet> Compile(TreePointer tree, Sandbox& sandbox, ErrorCollector& errors);
    ~Stylesheet() override;

    xsltStylesheet* Get() const { return stylesheet_; }
    // Whether it strips whitespace from source trees.
    bool StripsSpace() const;
    // Whether everything that it was made from is still as it was.
    bool IsCurrent(SablotHandle processor) const;
    // What libxslt does for an instruction.
    xsltTransformFunction FunctionOf(const xsltElemPreComp* instruction) const;
    // Makes its modules known for messages.
    void AddModules(ErrorCollector& errors) const;

private:
    explicit Stylesheet(xsltStylesheet* stylesheet);
    void Instrument();

    xsltStylesheet* stylesheet_;
    std::vector<Dependency> dependencies_;
    std::shared_ptr<ErrorCollector::Lines> lines_;
    // libxslt has one function for each of its own instructions; extensions have theirs.
    std::array<xsltTransformFunction, XSLT_FUNC_EXTENSION> functions_{};
    std::unordered_map<const xsltElemPreComp*, xsltTransformFunction> extensions_;
};

// The compiled stylesheet of an argument, a text or a live tree; compiled when it is not at hand. Null after a reported
// failure.
std::shared_ptr<Stylesheet> CompiledArgument(SablotHandle processor, const Argument& argument, ErrorCollector& errors);

// Compiles the stylesheet in a document and keeps the result with it. A failure sends its message to the situation's
// processor and gives its code.
int CompileDocument(Document& document);

} // namespace sablot
