// Validation by libxml2. All its reports arrive at the collector of the text in question.
#include "host/cli/libxml2/validation.h"

#include "host/cli/libxml2/parsing.h"
#include "host/cli/libxml2/tree.h"

#include <libxml/relaxng.h>
#include <libxml/uri.h>
#include <libxml/valid.h>
#include <libxml/xmlschemas.h>
#include <strings.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <new>
#include <system_error>

namespace host::xml {

namespace {

// Owns what libxml2 made, and gives it back by its function.
template <auto FREE>
struct Free {
    template <typename T>
    void operator()(T* made) const {
        FREE(made);
    }
};
void FreeText(char* text) { xmlFree(text); }

namespace fs = std::filesystem;

ErrorCollector* validating; // of the document that is validated

using Dtd = std::unique_ptr<xmlDtd, Free<xmlFreeDtd>>;
using Schema = std::unique_ptr<xmlSchema, Free<xmlSchemaFree>>;
using RelaxNg = std::unique_ptr<xmlRelaxNG, Free<xmlRelaxNGFree>>;

// Reads one file of rules, if there is one; `read(path)` answers null when it is wrong.
template <typename Owner, typename Read>
Owner ReadRules(const Input& input, Read read) {
    if (input.name.empty()) return nullptr;
    ErrorCollector errors(input);
    errors.validates = true;
    Owner made(read(input.name.c_str()));
    std::erase_if(errors.found, [](const Diagnostic& found) { return found.severity == Severity::WARNING; });
    if (made == nullptr && errors.found.empty()) errors.Add(Severity::ERROR, 1, 0, "these rules cannot be read");
    if (made == nullptr) throw TextError(errors.found);
    return made;
}

Schema ReadSchema(const Input& input) {
    return ReadRules<Schema>(input, [](const char* name) {
        std::unique_ptr<xmlSchemaParserCtxt, Free<xmlSchemaFreeParserCtxt>> parser(xmlSchemaNewParserCtxt(name));
        return parser != nullptr ? xmlSchemaParse(parser.get()) : nullptr;
    });
}

RelaxNg ReadRelaxNg(const Input& input) {
    return ReadRules<RelaxNg>(input, [](const char* name) {
        std::unique_ptr<xmlRelaxNGParserCtxt, Free<xmlRelaxNGFreeParserCtxt>> parser(xmlRelaxNGNewParserCtxt(name));
        return parser != nullptr ? xmlRelaxNGParse(parser.get()) : nullptr;
    });
}

Dtd ReadDtd(const Input& input) {
    return ReadRules<Dtd>(input, [](const char* name) { return xmlParseDTD(nullptr, Text(name)); });
}

// Whether a document may have a file read: a device or a pipe may have no end, and there may be a folder outside of
// which nothing is to be read.
bool IsReadable(const fs::path& path) {
    std::error_code error;
    if (!fs::exists(path, error)) return true; // libxml2 says so
    const char* folder = std::getenv("KOVA_READ_BELOW");
    if (!fs::is_regular_file(path, error) || folder == nullptr) return fs::is_regular_file(path, error);
    const fs::path below = fs::canonical(folder, error);
    const fs::path real = error ? fs::path() : fs::canonical(path, error);
    return !error && std::mismatch(below.begin(), below.end(), real.begin(), real.end()).first == below.end();
}

// Loads what a document names, by one of the names that libxml2 would try.
xmlParserInputPtr LoadFile(const char* uri, const char* id, xmlParserCtxtPtr parser) {
    std::string path = uri != nullptr ? uri : "";
    for (const std::string_view scheme : {"file://localhost", "file://", "file:"})
        if (strncasecmp(path.c_str(), scheme.data(), scheme.size()) == 0) path.erase(0, scheme.size());
    const std::unique_ptr<char, Free<FreeText>> unescaped(xmlURIUnescapeString(path.c_str(), 0, nullptr));
    if (IsReadable(path) && (unescaped == nullptr || IsReadable(unescaped.get())))
        return xmlNoNetExternalEntityLoader(uri, id, parser);
    validating->Add(Severity::ERROR, parser->input != nullptr ? parser->input->line : 1, 0,
                    "'" + path + "' is not read");
    return nullptr;
}

void CheckDtd(xmlDtdPtr dtd, xmlDocPtr document) {
    std::unique_ptr<xmlValidCtxt, Free<xmlFreeValidCtxt>> validator(xmlNewValidCtxt());
    if (validator == nullptr) throw std::bad_alloc();
    xmlValidateDtd(validator.get(), document, dtd);
}

void CheckSchema(xmlSchemaPtr schema, xmlDocPtr document) {
    std::unique_ptr<xmlSchemaValidCtxt, Free<xmlSchemaFreeValidCtxt>> validator(xmlSchemaNewValidCtxt(schema));
    if (validator == nullptr) throw std::bad_alloc();
    xmlSchemaValidateDoc(validator.get(), document);
}

void CheckRelaxNg(xmlRelaxNGPtr grammar, xmlDocPtr document) {
    std::unique_ptr<xmlRelaxNGValidCtxt, Free<xmlRelaxNGFreeValidCtxt>> validator(xmlRelaxNGNewValidCtxt(grammar));
    if (validator == nullptr) throw std::bad_alloc();
    xmlRelaxNGValidateDoc(validator.get(), document);
}

} // namespace

struct Validator::Compiled {
    EntityLoader localFilesOnly{xmlNoNetExternalEntityLoader};
    bool ownDocumentType = false;
    Dtd dtd;
    Schema schema;
    RelaxNg relaxNg;
};

Validator::Validator(const Rules& rules) : compiled_(std::make_unique<Compiled>()) {
    compiled_->ownDocumentType = rules.ownDocumentType;
    compiled_->dtd = ReadDtd(rules.dtd);
    compiled_->schema = ReadSchema(rules.schema);
    compiled_->relaxNg = ReadRelaxNg(rules.relaxNg);
}

Validator::~Validator() = default;

std::vector<Diagnostic> Validator::Check(const Input& input) const {
    const Compiled& rules = *compiled_;
    std::vector<Diagnostic> warnings;
    Document document;
    if (!rules.ownDocumentType) document = Parse(input, References::REPLACE, warnings);
    ErrorCollector errors(input);
    errors.validates = true;
    if (rules.ownDocumentType) {
        const EntityLoader loader(LoadFile);
        validating = &errors;
        Parser parser = NewParser();
        document = ReadText(parser.get(), input, XML_PARSE_NOENT | XML_PARSE_DTDVALID);
        if (document == nullptr) throw TextError(errors.found);
    }
    if (rules.dtd != nullptr || rules.schema != nullptr || rules.relaxNg != nullptr)
        CheckDepth(document.get(), input.name);
    if (rules.dtd != nullptr) CheckDtd(rules.dtd.get(), document.get());
    if (rules.schema != nullptr) CheckSchema(rules.schema.get(), document.get());
    if (rules.relaxNg != nullptr) CheckRelaxNg(rules.relaxNg.get(), document.get());
    warnings.insert(warnings.end(), errors.found.begin(), errors.found.end());
    return warnings;
}

} // namespace host::xml
