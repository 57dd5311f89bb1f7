// The C interface of the library: situations, documents, processors, transformations, messages.
//
// Everything is single-threaded per situation. Text is NUL-terminated UTF-8 unless said otherwise. Functions that
// return an int return 0 on success, else the number of the failure as listed at SablotMessageHandler; the same number
// goes to the message handler of the processor.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// What one program thread works in: the recorded exception code of the SDOM_ calls and the processor made for it.
typedef struct SablotSituationRecord* SablotSituation;
// A processor: handlers, named arguments, output encoding, results of the last run.
typedef struct SablotProcessorRecord* SablotHandle;
// A document. It is a node as well: its handle may be cast to SDOM_Node wherever a node is asked for.
typedef struct SDOM_DocumentRecord* SDOM_Document;

// ---- Situations -----------------------------------------------------------------------------------------------------

// Makes a situation. The caller destroys it after its processor and its documents.
int SablotCreateSituation(SablotSituation* situation);
// Destroys a situation and every document that is still in it. Handles of its nodes end here; a null is ignored.
int SablotDestroySituation(SablotSituation situation);

// ---- Documents ------------------------------------------------------------------------------------------------------

// Makes an empty document, whose root binds the prefix xml only. Released by SablotDestroyDocument.
int SablotCreateDocument(SablotSituation situation, SDOM_Document* document);
// A text to parse.
typedef struct SablotSource {
    const char* text;
    size_t length;        // in bytes
    const char* baseUri;  // the URI of the file it came from, or null
    const char* encoding; // wins over what the text declares; null: as the text says
} SablotSource;

int SablotParseSource(SablotSituation situation, const SablotSource* source, SDOM_Document* document);
int SablotParseStylesheetSource(SablotSituation situation, const SablotSource* source, SDOM_Document* document);
// Parses a NUL-terminated buffer. Its encoding is found from its XML declaration or byte order mark. A text that is not
// well-formed, or not namespace-well-formed, gives 2 after one message; *document then is a valid empty document.
// Nothing outside the buffer is read. *document is released by SablotDestroyDocument.
int SablotParseBuffer(SablotSituation situation, const char* buffer, SDOM_Document* document);
// As SablotParseBuffer, and compiles the document as an XSLT stylesheet: one that is faulty fails here.
int SablotParseStylesheetBuffer(SablotSituation situation, const char* buffer, SDOM_Document* document);
// Frees a document with every node ever made in it. Handles of its nodes are inert from here on: they answer code 8.
// In the middle of a run that reads the document the tree itself lives on until the run is over.
int SablotDestroyDocument(SablotSituation situation, SDOM_Document document);

// ---- Processors -----------------------------------------------------------------------------------------------------

// Makes a processor and makes it the one whose message handler receives the situation's parse messages.
int SablotCreateProcessorForSituation(SablotSituation situation, SablotHandle* processor);
int SablotDestroyProcessor(SablotHandle processor);
// Sets the output encoding of later runs; it wins over xsl:output. A null or an empty name leaves the choice to
// xsl:output.
int SablotSetEncoding(SablotHandle processor, const char* encoding);

// Binds the named argument to a copy of a text or to a tree, which stays the caller's. A second binding of the same
// name replaces the first; bindings stay for later runs.
int SablotAddArgBuffer(SablotSituation situation, SablotHandle processor, const char* name, const char* text);
int SablotAddArgTree(SablotSituation situation, SablotHandle processor, const char* name, SDOM_Document document);
// Transforms: each URI is "arg:/name" of an argument; the result is kept under the name of `result`.
int SablotRunProcessorGen(SablotSituation situation, SablotHandle processor, const char* stylesheet, const char* input,
                          const char* result);
// Hands out a copy of a result, to be released with free(); null when the last run failed or made none.
int SablotGetResultArg(SablotHandle processor, const char* uri, char** text);

// Releases what SDOM_docToString and SDOM_nodeToString handed out. A null is ignored.
void SablotFree(char* text);

// ---- Handlers -------------------------------------------------------------------------------------------------------

enum SablotHandlerType { SABLOT_HANDLER_MESSAGE = 0, SABLOT_HANDLER_OUTPUT = 2 };

enum SablotMessageLevel {
    SABLOT_LEVEL_DEBUG = 0,
    SABLOT_LEVEL_INFO = 1,
    SABLOT_LEVEL_WARNING = 2,
    SABLOT_LEVEL_ERROR = 3,
    SABLOT_LEVEL_CRITICAL = 4
};

// Codes of messages and results: 1 any other failure, 2 not well-formed, 7 unknown XSLT instruction, 18 XPath does not
// parse, 24 unbound prefix, 46 undeclared variable, 51 unknown function, 52 unknown template, 60 xsl:message terminate,
// 65 document not found or not allowed, 69 unknown output encoding, 89 xsl:message.
//
// makeCode gives the number that the other two receive as `code`; severity is 1 for errors, else 0; facility is 2.
// `fields` is a NULL-terminated array of "name:value" strings, those that apply of: msgtype, code, module, URI, line,
// node, msg, in this order. It is valid during the call only. Results of log and error are ignored.
typedef struct SablotMessageHandler {
    int (*makeCode)(void* userData, SablotHandle processor, int severity, unsigned short facility, unsigned short code);
    int (*log)(void* userData, SablotHandle processor, int code, int level, char** fields);
    int (*error)(void* userData, SablotHandle processor, int code, int level, char** fields);
} SablotMessageHandler;

// The result of a run as events. Strings are valid during the call only; `attributes` alternates name and value and
// ends with a null; `text` of characters has `length` bytes and no NUL. Any entry may be null.
typedef struct SablotOutputHandler {
    int (*startDocument)(void* userData, SablotHandle processor);
    int (*startElement)(void* userData, SablotHandle processor, const char* name, const char** attributes);
    int (*endElement)(void* userData, SablotHandle processor, const char* name);
    int (*startNamespace)(void* userData, SablotHandle processor, const char* prefix, const char* uri);
    int (*endNamespace)(void* userData, SablotHandle processor, const char* prefix);
    int (*comment)(void* userData, SablotHandle processor, const char* text);
    int (*processingInstruction)(void* userData, SablotHandle processor, const char* target, const char* data);
    int (*characters)(void* userData, SablotHandle processor, const char* text, int length);
    int (*endDocument)(void* userData, SablotHandle processor);
} SablotOutputHandler;

// Installs a handler record of one of the types above, which must stay valid until it is removed or the processor is
// destroyed. A second record of the same type replaces the first. An unknown type gives 1.
int SablotRegHandler(SablotHandle processor, int type, void* handler, void* userData);
// Removes the handler of that type, whatever the other arguments say.
int SablotUnregHandler(SablotHandle processor, int type, void* handler, void* userData);

#ifdef __cplusplus
}
#endif
