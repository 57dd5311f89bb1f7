// The text of a result, by the settings of xsl:output and of the processor.
#include "sablotron/transform/output.h"

#include "sablotron/transform/encoding.h"
#include "sablotron/tree/tree.h"

#include <libxml/HTMLtree.h>
#include <libxml/xmlsave.h>
#include <libxslt/imports.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>

#include <memory>
#include <utility>

namespace sablot {
namespace {

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
    OutputSettings(xsltStylesheet* stylesheet, xmlDoc* result, const std::string& encoding)
        : stylesheet_(stylesheet),
          encoding_(std::exchange(stylesheet->encoding, xmlStrdup(Chars(encoding.c_str())))),
          omitDeclaration_(std::exchange(stylesheet->omitXmlDeclaration, 1)) {
        xmlFree(const_cast<xmlChar*>(result->encoding));
        result->encoding = xmlStrdup(Chars(encoding.c_str()));
    }
    OutputSettings(const OutputSettings&) = delete;
    OutputSettings& operator=(const OutputSettings&) = delete;
    ~OutputSettings() {
        xmlFree(stylesheet_->encoding);
        stylesheet_->encoding = encoding_;
        stylesheet_->omitXmlDeclaration = omitDeclaration_;
    }

private:
    xsltStylesheet* stylesheet_;
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
    return text.append("?>");
}

} // namespace

std::string OutputEncoding(const SablotProcessorRecord& processor, xsltStylesheet* stylesheet) {
    if (!processor.encoding.empty()) return processor.encoding;
    const xmlChar* encoding = OutputValue<xmlChar*>(stylesheet, &xsltStylesheet::encoding, nullptr);
    return (encoding != nullptr) && *encoding ? Chars(encoding) : "UTF-8";
}

std::optional<std::string> ResultText(xmlDoc* result, xsltStylesheet* stylesheet, const std::string& encoding) {
    const std::string_view method = View(OutputValue<xmlChar*>(stylesheet, &xsltStylesheet::method, nullptr));
    const bool isText = method == "text";
    const bool isHtml = method == "html" || (method.empty() && result->type == XML_HTML_DOCUMENT_NODE);
    std::string text;
    if (!isText && !isHtml && OutputValue(stylesheet, &xsltStylesheet::omitXmlDeclaration, -1) != 1)
        text = Declaration(result, stylesheet, encoding);
    {
        const std::unique_ptr<xmlOutputBuffer, OutputDeleter> output(
            xmlOutputBufferCreateIO(Append, nullptr, &text, nullptr));
        if (!output) return std::nullopt;
        const OutputSettings settings(stylesheet, result, encoding);
        if (xsltSaveResultTo(output.get(), result, stylesheet) < 0) return std::nullopt;
    }
    if (!isText && !isHtml && !text.ends_with('\n')) text += '\n';
    return Encode(std::move(text), encoding);
}

} // namespace sablot
