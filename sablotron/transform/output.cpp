// The text of a result, by the settings of xsl:output and of the processor.
#include "sablotron/transform/output.h"

#include "sablotron/transform/encoding.h"
#include "sablotron/tree/tree.h"

#include <libxml/HTMLtree.h>
#include <libxml/xmlsave.h>
#include <libxslt/imports.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>

#include <algorithm>
#include <memory>
#include <utility>

namespace sablot {
namespace {

// The character at that place of a UTF-8 text.
std::string_view CharacterAt(std::string_view text, size_t at) {
    size_t length = 1;
    while (at + length < text.size() && (static_cast<unsigned char>(text[at + length]) & 0xC0U) == 0x80U) ++length;
    return text.substr(at, length);
}

std::string MissingCharacter(std::string_view text, const std::string& encoding) {
    return "The encoding '" + encoding + "' lacks the character '" + std::string(CharacterAt(text, 0)) + "'";
}

struct OutputDeleter {
    void operator()(xmlOutputBuffer* output) const { xmlOutputBufferClose(output); }
};

// The value of an xsl:output attribute: that of the importing module before that of the imported one.
template <typename Value>
Value OutputValue(xsltStylesheet* stylesheet, Value xsltStylesheet::*member, Value missing) {
    for (xsltStylesheet* level = stylesheet; level; level = xsltNextImport(level))
        if (level->*member != missing) return level->*member;
    return missing;
}

int Append(void* text, const char* bytes, int length) {
    static_cast<std::string*>(text)->append(bytes, static_cast<size_t>(length));
    return length;
}

// Sets what says how to write in the compiled stylesheet, for as long as it lives, and in the result. libxml2 writes
// UTF-8; naming the encoding keeps it from replacing characters beyond ASCII.
class OutputSettings {
public:
    OutputSettings(xsltStylesheet* stylesheet, xmlDoc* result, const std::string& encoding, bool isHtml)
        : stylesheet_(stylesheet),
          result_(result),
          doctype_(result->intSubset),
          encoding_(std::exchange(stylesheet->encoding, xmlStrdup(Chars(encoding.c_str())))),
          omitDeclaration_(std::exchange(stylesheet->omitXmlDeclaration, 1)) {
        xmlFree(const_cast<xmlChar*>(result->encoding));
        result->encoding = xmlStrdup(Chars(encoding.c_str()));
        // libxml2 would look there for XHTML, and add to it. It is written as the node that it also is.
        if (!isHtml) result->intSubset = nullptr;
    }
    OutputSettings(const OutputSettings&) = delete;
    OutputSettings& operator=(const OutputSettings&) = delete;
    ~OutputSettings() {
        result_->intSubset = doctype_;
        xmlFree(stylesheet_->encoding);
        stylesheet_->encoding = encoding_;
        stylesheet_->omitXmlDeclaration = omitDeclaration_;
    }

private:
    xsltStylesheet* stylesheet_;
    xmlDoc* result_;
    xmlDtd* doctype_;
    xmlChar* encoding_;
    int omitDeclaration_;
};

std::string Declaration(const xmlDoc* result, xsltStylesheet* stylesheet, const std::string& encoding) {
    std::string text = "<?xml version=\"";
    text.append(result->version != nullptr ? View(result->version) : "1.0")
        .append("\" encoding=\"")
        .append(encoding)
        .append("\"");
    const int standalone = OutputValue(stylesheet, &xsltStylesheet::standalone, -1);
    if (standalone >= 0) text.append(standalone == 1 ? " standalone=\"yes\"" : " standalone=\"no\"");
    return text.append(OutputValue(stylesheet, &xsltStylesheet::indent, -1) == 1 ? "?>\n" : "?>");
}

// Makes of a result what an encoding can hold: a character that it lacks can be a reference in text and in the values
// of attributes only (XSLT 1.0, 16).
class Fitting {
public:
    Fitting(const std::string& encoding, bool isHtml) : encoding_(encoding), repertoire_(encoding), isHtml_(isHtml) {}

    // False when a character cannot be written; Failure() tells it.
    bool Fit(xmlDoc* result) {
        if (repertoire_.HasAll()) return true;
        for (xmlNode* node = result->children; node != nullptr && failure_.empty(); node = After(node)) Fit(*node);
        return failure_.empty();
    }
    const std::string& Failure() const { return failure_; }

private:
    static xmlNode* After(xmlNode* node) {
        if ((node->children != nullptr) && IsElement(node)) return node->children;
        while (node->next == nullptr) {
            node = node->parent;
            if (!IsElement(node)) return nullptr;
        }
        return node->next;
    }

    void Fit(xmlNode& node) {
        switch (node.type) {
        case XML_ELEMENT_NODE:
            Check(node.name, "a name");
            for (const xmlAttr* attribute = node.properties; attribute != nullptr; attribute = attribute->next)
                Check(attribute->name, "a name");
            break;
        case XML_COMMENT_NODE: Check(node.content, "a comment"); break;
        case XML_PI_NODE:
            Check(node.name, "a name");
            Check(node.content, "a processing instruction");
            break;
        case XML_TEXT_NODE:
            if (isHtml_ && IsScript(*node.parent)) Check(node.content, "a script or style sheet");
            break;
        case XML_CDATA_SECTION_NODE: Split(node); break;
        default: break;
        }
    }

    static bool IsScript(const xmlNode& element) {
        return IsElement(&element)
               && (xmlStrcasecmp(element.name, Chars("script")) == 0
                   || xmlStrcasecmp(element.name, Chars("style")) == 0);
    }

    void Check(const xmlChar* text, const char* where) {
        const size_t missing = repertoire_.FindMissing(View(text));
        if (missing == std::string_view::npos || !failure_.empty()) return;
        failure_ = MissingCharacter(View(text).substr(missing), encoding_) + " in " + where;
    }

    // The characters become text between two sections; the node itself is the first part.
    void Split(xmlNode& section) {
        const std::string content(View(section.content));
        size_t begin = repertoire_.FindMissing(content);
        if (begin == std::string::npos) return;
        xmlNode* place = &section;
        const auto add = [&place](xmlNode* part) { place = xmlAddNextSibling(place, part); };
        xmlNodeSetContent(&section, Chars(content.substr(0, begin).c_str()));
        while (begin < content.size()) {
            const std::string character(CharacterAt(content, begin));
            add(Checked(xmlNewDocText(section.doc, Chars(character.c_str())), character));
            begin += character.size();
            const size_t end = std::min(repertoire_.FindMissing(content, begin), content.size());
            if (end > begin) add(Section(section, content.substr(begin, end - begin)));
            begin = end;
        }
        if (View(section.content).empty()) section.type = XML_TEXT_NODE; // nothing is left of it
    }

    static xmlNode* Section(const xmlNode& original, const std::string& text) {
        return Checked(xmlNewCDataBlock(original.doc, Chars(text.c_str()), static_cast<int>(text.size())), text);
    }

    const std::string& encoding_;
    const Repertoire repertoire_;
    const bool isHtml_;
    std::string failure_;
};

} // namespace

std::string OutputEncoding(const SablotProcessorRecord& processor, xsltStylesheet* stylesheet) {
    if (!processor.encoding.empty()) return processor.encoding;
    const xmlChar* encoding = OutputValue<xmlChar*>(stylesheet, &xsltStylesheet::encoding, nullptr);
    return (encoding != nullptr) && *encoding ? Chars(encoding) : "UTF-8";
}

std::optional<std::string> ResultText(xmlDoc* result, xsltStylesheet* stylesheet, const std::string& encoding,
                                      std::string& failure) {
    const std::string_view method = View(OutputValue<xmlChar*>(stylesheet, &xsltStylesheet::method, nullptr));
    const bool isText = method == "text";
    const bool isHtml = method == "html" || (method.empty() && result->type == XML_HTML_DOCUMENT_NODE);
    if (Fitting fitting(encoding, isHtml); !isText && !fitting.Fit(result)) {
        failure = fitting.Failure();
        return std::nullopt;
    }
    std::string text;
    if (!isText && !isHtml && OutputValue(stylesheet, &xsltStylesheet::omitXmlDeclaration, -1) != 1)
        text = Declaration(result, stylesheet, encoding);
    {
        const std::unique_ptr<xmlOutputBuffer, OutputDeleter> output(
            xmlOutputBufferCreateIO(Append, nullptr, &text, nullptr));
        if (!output) return std::nullopt;
        const OutputSettings settings(stylesheet, result, encoding, isHtml);
        if (xsltSaveResultTo(output.get(), result, stylesheet) < 0) return std::nullopt;
    }
    if (isText) {
        const size_t missing = Repertoire(encoding).FindMissing(text);
        if (missing != std::string::npos) {
            failure = MissingCharacter(std::string_view(text).substr(missing), encoding);
            return std::nullopt;
        }
    } else if (!isHtml && !text.ends_with('\n')) {
        text += '\n';
    }
    return Encode(std::move(text), encoding, isText ? Missing::FAIL : Missing::REFERENCE);
}

} // namespace sablot
