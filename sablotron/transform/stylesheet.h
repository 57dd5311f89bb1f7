// Compiled stylesheets: how they are made, kept and kept up to date.
#pragma once

#include "sablotron/transform/instructions.h"
#include "sablotron/transform/processor.h"
#include "sablotron/transform/sandbox.h"
#include "sablotron/tree/document.h"

namespace sablot {

class Stylesheet : public DocumentExtra {
public:
    // Compiles a tree, which is used up. Null after a reported failure.
    static std::shared_ptr<Stylesheet> Compile(TreePointer tree, Sandbox& sandbox, ErrorCollector& errors);
    ~Stylesheet() override;

    xsltStylesheet* Get() const { return stylesheet_; }
    // Whether it strips whitespace from source trees.
    bool StripsSpace() const;
    // Whether everything that it was made from is still as it was.
    bool IsCurrent(SablotHandle processor) const;
    const Instructions& GetInstructions() const { return instructions_; }
    // The xsl:output with that value of the attribute; null when there is none.
    const xmlNode* FindOutput(const char* attribute, const std::string& value) const;
    // Makes its modules known for messages.
    void AddModules(ErrorCollector& errors) const;

private:
    explicit Stylesheet(xsltStylesheet* stylesheet);

    xsltStylesheet* stylesheet_;
    Instructions instructions_;
    std::vector<Dependency> dependencies_;
    std::shared_ptr<ErrorCollector::Lines> lines_;
};

// The compiled stylesheet of an argument, a text or a live tree; compiled when it is not at hand. Null after a reported
// failure.
std::shared_ptr<Stylesheet> CompiledArgument(SablotHandle processor, const Argument& argument, ErrorCollector& errors);

// Compiles the stylesheet in a document and keeps the result with it. A failure sends its message to the situation's
// processor and gives its code.
int CompileDocument(Document& document);

} // namespace sablot
