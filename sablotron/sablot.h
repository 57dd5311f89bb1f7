// The C interface of the library: situations, documents, processors, transformations, messages.
//
// One thread at a time may be inside the library, in the whole process and whatever its situations: what libxml2 and
// libxslt load from, and the caches of queries, belong to the process. Handlers are called on the thread of the call
// that they belong to, and may call the library.
//
// Text is NUL-terminated UTF-8 unless said otherwise, and copied when it is kept. Functions that return an int return 0
// on success, else the number of the failure as listed at SablotMessageHandler; where that went to the message handler
// of a processor the function says so. Null handles that may not be null, and memory that runs out, give 1. The places
// for results (`situation`, `document`, `processor`, `text` with one more asterisk) must not be null; after a failure
// they hold null unless said otherwise.
//
// Order of calls: a situation first; in it a processor, which receives the messages of parses, and documents; arguments
// and handlers before the run that they are for; the result after it. To end, documents and the processor in any order,
// the situation last.
#pragma once

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

// What a program works in: the recorded exception code of the SDOM_ calls and the processor made for it.
typedef struct SablotSituationRecord* SablotSituation;
// A processor: handlers, named arguments, output encoding, results of the last run.
typedef struct SablotProcessorRecord* SablotHandle;
// A document. It is a node as well: its handle may be cast to SDOM_Node wherever a node is asked for.
typedef struct SDOM_DocumentRecord* SDOM_Document;

// ---- Situations -----------------------------------------------------------------------------------------------------

// Makes a situation. The caller destroys it after its processor and its documents.
int SablotCreateSituation(SablotSituation* situation);
// Destroys a situation and every document that is still in it, with all handles of their nodes: these may not be used
// any more. A null is ignored. Always 0.
int SablotDestroySituation(SablotSituation situation);

// ---- Documents ------------------------------------------------------------------------------------------------------

// Makes an empty document, whose root binds the prefix xml only. Released by SablotDestroyDocument.
int SablotCreateDocument(SablotSituation situation, SDOM_Document* document);

// A text to parse. It is needed during the call only.
typedef struct SablotSource {
    const char* text;     // null only for a length of 0
    size_t length;        // in bytes
    const char* baseUri;  // the URI of the file it came from, or null; nothing is read from there
    const char* encoding; // the name of the encoding, whatever the text declares; null: as the text says
} SablotSource;

// Parses a text. Without `encoding` that is found from the byte order mark or the XML declaration, so that UTF-16 and
// UTF-32 need no help. A text that is not well-formed, or not namespace-well-formed, gives 2 after one message to the
// situation's processor; *document then is a valid empty document. Nothing outside the text is read. *document is
// released by SablotDestroyDocument.
int SablotParseSource(SablotSituation situation, const SablotSource* source, SDOM_Document* document);
// As SablotParseSource, and compiles the document as an XSLT stylesheet: one that is faulty fails here, with one
// message to the situation's processor and its number; *document then is the document as parsed.
int SablotParseStylesheetSource(SablotSituation situation, const SablotSource* source, SDOM_Document* document);
// The same for NUL-terminated text without base URI, in the encoding that it declares. A null counts as "".
int SablotParseBuffer(SablotSituation situation, const char* buffer, SDOM_Document* document);
int SablotParseStylesheetBuffer(SablotSituation situation, const char* buffer, SDOM_Document* document);

// Frees a document with every node ever made in it. Handles of its nodes are inert from here on: they answer code 8.
// May be called in a handler, also of a run that has the document as an argument. A null is ignored. Always 0.
int SablotDestroyDocument(SablotSituation situation, SDOM_Document document);

// ---- Processors -----------------------------------------------------------------------------------------------------

// Makes a processor and makes it the one whose message handler receives the situation's parse messages. Released by
// SablotDestroyProcessor.
int SablotCreateProcessorForSituation(SablotSituation situation, SablotHandle* processor);
// Destroys a processor with its arguments and results. It calls no handler from here on; called in one of them, it goes
// when the call that the handler belongs to is over. A null is ignored. Always 0.
int SablotDestroyProcessor(SablotHandle processor);
// Sets the output encoding of later runs; it wins over xsl:output. A null or an empty name leaves the choice to
// xsl:output. Whether it can be written is found by the run (69).
int SablotSetEncoding(SablotHandle processor, const char* encoding);

// Binds the named argument to a copy of a text or to a tree, which stays the caller's: once its document is destroyed
// the argument is not found any more (65). A second binding of the same name replaces the first; bindings stay for
// later runs. The situation is not used.
int SablotAddArgBuffer(SablotSituation situation, SablotHandle processor, const char* name, const char* text);
int SablotAddArgTree(SablotSituation situation, SablotHandle processor, const char* name, SDOM_Document document);
// Transforms: each URI is "arg:/name" of an argument; the result is kept under the name of `result` until the next run
// for that name. Documents are not changed. A failure gives its number after one message to the processor and leaves no
// result. Messages, then output events are sent when the transformation itself is over. The situation is not used.
int SablotRunProcessorGen(SablotSituation situation, SablotHandle processor, const char* stylesheet, const char* input,
                          const char* result);
// Hands out a copy of a result, to be released with free(); null and 0 when the last run for that URI failed or there
// was none.
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
// Any entry may be null. `userData` is what the handler was registered with.
typedef struct SablotMessageHandler {
    // Asked first: its result is what the other two receive as `code` (without it, the code itself). `severity` is 1
    // for errors, else 0; `facility` is 2.
    int (*makeCode)(void* userData, SablotHandle processor, int severity, unsigned short facility, unsigned short code);
    // A message of a level below SABLOT_LEVEL_ERROR, as by xsl:message. `fields` is a NULL-terminated array of
    // "name:value" strings, those that apply of: msgtype, code, module, URI, line, node, msg, in this order. It is
    // valid during the call only. The result is ignored.
    int (*log)(void* userData, SablotHandle processor, int code, int level, char** fields);
    // A failure, one message for each; otherwise as log.
    int (*error)(void* userData, SablotHandle processor, int code, int level, char** fields);
} SablotMessageHandler;

// The result of a run as events, in document order. Strings belong to the library and are valid during the call only;
// results are ignored. Any entry may be null: its events are left out. A run without failure sends startDocument first
// and endDocument last, each once; a failed run sends nothing. When the handler is removed or replaced in one of its
// events, that was the last one.
typedef struct SablotOutputHandler {
    int (*startDocument)(void* userData, SablotHandle processor);
    // After the startNamespace events of its bindings. `name` is the qualified name; `attributes` alternates qualified
    // name and value and ends with a null; namespace declarations are not in it.
    int (*startElement)(void* userData, SablotHandle processor, const char* name, const char** attributes);
    // After what is in the element and before the endNamespace events of its bindings.
    int (*endElement)(void* userData, SablotHandle processor, const char* name);
    // A binding that starts at the element whose startElement follows, in order of declaration. `prefix` is "" for the
    // default namespace; `uri` is "" where that is undone. An element in no namespace at the top starts with "" and "".
    int (*startNamespace)(void* userData, SablotHandle processor, const char* prefix, const char* uri);
    // The end of a binding, in the reverse order of their starts.
    int (*endNamespace)(void* userData, SablotHandle processor, const char* prefix);
    int (*comment)(void* userData, SablotHandle processor, const char* text);
    // `data` is "" when there is none.
    int (*processingInstruction)(void* userData, SablotHandle processor, const char* target, const char* data);
    // Adjacent text is one event; `text` is unescaped and has `length` bytes. It never is empty. With output method
    // text all text of the result is one event, and there are no others between startDocument and endDocument.
    int (*characters)(void* userData, SablotHandle processor, const char* text, int length);
    int (*endDocument)(void* userData, SablotHandle processor);
} SablotOutputHandler;

// Installs a handler record of one of the types above, which must stay valid until it is removed or the processor is
// destroyed. A second record of the same type replaces the first. An unknown type gives 1.
int SablotRegHandler(SablotHandle processor, int type, void* handler, void* userData);
// Removes the handler of that type, whatever the other arguments say. An unknown type gives 1.
int SablotUnregHandler(SablotHandle processor, int type, void* handler, void* userData);

#ifdef __cplusplus
}
#endif
