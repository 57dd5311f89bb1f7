#include "sablotron/output.h"

#include "sablotron/tree.h"

#include <libxml/HTMLtree.h>
#include <libxml/encoding.h>
#include <libxml/xmlsave.h>
#include <libxslt/imports.h>
#include <libxslt/xslt.h>
#include <libxslt/xsltutils.h>
#include <memory>
#include <utility>

namespace sablot {
namespace {

struct HandlerDeleter {
    void operator()(xmlCharEncodingHandler* handler) const { xmlCharEncCloseFunc(handler); }
};
using Handler = std::unique_ptr<xmlCharEncodingHandler, HandlerDeleter>;

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
    static_cast<std::string*>(text)->append(bytes, static_cast<std::size_t>(length));
    return length;
}

// Sets fields of the compiled stylesheet that say how to write, for as long as it lives.
class OutputSettings {
public:
    OutputSettings(xsltStylesheet* stylesheet, const std::string& encoding)
        : stylesheet_(stylesheet),
          encoding_(std::exchange(stylesheet->encoding, xmlStrdup(Chars(encoding.c_str())))),
          omitDeclaration_(std::exchange(stylesheet->omitXmlDeclaration, 1)) {}
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
    text.append(result->version ? View(result->version) : "1.0").append("\" encoding=\"").append(encoding).append("\"");
    const int standalone = OutputValue(stylesheet, &xsltStylesheet::standalone, -1);
    if (standalone >= 0) text.append(standalone == 1 ? " standalone=\"yes\"" : " standalone=\"no\"");
    return text.append("?>");
}

} // namespace

std::string OutputEncoding(const SablotProcessorRecord& processor, xsltStylesheet* stylesheet) {
    if (!processor.encoding.empty()) return processor.encoding;
    const xmlChar* encoding = OutputValue<xmlChar*>(stylesheet, &xsltStylesheet::encoding, nullptr);
    return encoding && *encoding ? Chars(encoding) : "UTF-8";
}

bool IsWritable(const std::string& encoding) {
    const Handler handler(xmlFindCharEncodingHandler(encoding.c_str()));
    if (!handler) return false;
    std::string text;
    {
        const std::unique_ptr<xmlOutputBuffer, OutputDeleter> output(
            xmlOutputBufferCreateIO(Append, nullptr, &text, xmlFindCharEncodingHandler(encoding.c_str())));
        if (!output || xmlOutputBufferWriteString(output.get(), "<a/>") < 0 || xmlOutputBufferFlush(output.get()) < 0)
            return false;
    }
    return !text.empty() && text.find('\0') == std::string::npos;
}

std::optional<std::string> ResultText(xmlDoc* result, xsltStylesheet* stylesheet, const std::string& encoding) {
    const std::string_view method = View(OutputValue<xmlChar*>(stylesheet, &xsltStylesheet::method, nullptr));
    const bool isText = method == "text";
    const bool isHtml = method == "html" || (method.empty() && result->type == XML_HTML_DOCUMENT_NODE);
    const bool declares = !isText && !isHtml && OutputValue(stylesheet, &xsltStylesheet::omitXmlDeclaration, -1) != 1;
    std::string text;
    {
        const std::unique_ptr<xmlOutputBuffer, OutputDeleter> output(
            xmlOutputBufferCreateIO(Append, nullptr, &text, xmlFindCharEncodingHandler(encoding.c_str())));
        if (!output) return std::nullopt;
        if (declares) xmlOutputBufferWriteString(output.get(), Declaration(result, stylesheet, encoding).c_str());
        const OutputSettings settings(stylesheet, encoding);
        if (xsltSaveResultTo(output.get(), result, stylesheet) < 0) return std::nullopt;
        const bool endsLine = OutputValue(stylesheet, &xsltStylesheet::indent, -1) != 0 && result->children;
        if (!isText && !isHtml && !endsLine) xmlOutputBufferWriteString(output.get(), "\n");
        if (xmlOutputBufferFlush(output.get()) < 0 || output->error != 0) return std::nullopt;
    }
    return text;
}

} // namespace sablot
