// The check of the stack and xsl:message, put in the place of libxslt's functions.
#include "sablotron/transform/instructions.h"

#include "sablotron/transform/expression_wrapping.h"
#include "sablotron/transform/keys.h"
#include "sablotron/transform/modules.h"
#include "sablotron/transform/numbering.h"
#include "sablotron/transform/set_functions.h"
#include "sablotron/tree/element_numbers.h"
#include "sablotron/tree/node_union.h"
#include "sablotron/tree/number_text.h"
#include "sablotron/tree/xpath.h"
#include "sablotron/tree/xpath_rewrite.h"

#include <libexslt/exslt.h>
#include <libxml/xpathInternals.h>
#include <libxslt/extensions.h>
#include <libxslt/functions.h>
#include <libxslt/pattern.h>
#include <libxslt/templates.h>
#include <libxslt/transform.h>
#include <libxslt/variables.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <utility>

namespace sablot {
namespace {

// The fragment that a value is; null for another value.
xmlDoc* FragmentOf(const xmlXPathObject* value) {
    if ((value == nullptr) || (value->type != XPATH_XSLT_TREE && value->type != XPATH_NODESET)) return nullptr;
    const xmlNodeSet* nodes = value->nodesetval;
    return (nodes != nullptr) && nodes->nodeNr > 0 && IsFragment(nodes->nodeTab[0]) ? nodes->nodeTab[0]->doc : nullptr;
}

// Registers the depth of a tree that the run may walk.
bool RegisterDepth(xsltTransformContext* context, size_t depth) {
    RunOf(context).guard.Register(depth);
    return CheckStack(context, true);
}

// Copies of copies can be deeper than any tree before them, so each fragment is registered when it is used first. Its
// first node, which is not kept beyond it, is marked.
void RegisterFragment(xsltTransformContext* context, xmlDoc* fragment) {
    static char isRegistered;
    if (fragment->children == nullptr || fragment->children->_private == &isRegistered) return;
    fragment->children->_private = &isRegistered;
    RegisterDepth(context, MeasureTree(fragment, [](const xmlNode*) {}).depth);
}

bool FailForMemory(const xsltTransformContext* context) {
    RunOf(context).errors.Fail({.code = CODE_OTHER, .text = "The run takes too much memory"});
    return false;
}

// Ends the run with a failure when it holds too much.
bool CheckMemory(const xsltTransformContext* context) {
    return !RunOf(context).memory.IsExceeded() || FailForMemory(context);
}

// What makes texts.
constexpr std::string_view TEXT_MAKERS[] = {"concat",          "normalize-space",  "string",   "substring",
                                            "substring-after", "substring-before", "translate"};

template <size_t INDEX>
void MakeText(xmlXPathParserContext* parser, int argumentCount) {
    static const xmlXPathFunction MAKE = FindStringFunction(TEXT_MAKERS[INDEX]);
    const xsltTransformContext* context = xsltXPathGetTransformContext(parser);
    bool hasMemory = CheckMemory(context);
    if (hasMemory) {
        MAKE(parser, argumentCount);
        // libxml2 goes on with a text that there was no memory for.
        const xmlXPathObject* made = parser->error == 0 ? parser->value : nullptr;
        const bool isLost = made != nullptr && made->type == XPATH_STRING && made->stringval == nullptr;
        hasMemory = !isLost || FailForMemory(context);
    }
    if (!hasMemory) parser->error = XPATH_STACK_ERROR;
}

template <size_t... INDEX>
xmlXPathFunction FindTextMaker(std::string_view name, std::index_sequence<INDEX...>) {
    xmlXPathFunction found = nullptr;
    ((found = TEXT_MAKERS[INDEX] == name ? MakeText<INDEX> : found), ...);
    return found;
}

// A variable; a result tree fragment is a node set of its root.
xmlXPathObject* LookUpVariable(void* data, const xmlChar* name, const xmlChar* uri) {
    auto* context = static_cast<xsltTransformContext*>(data);
    if (!CheckMemory(context)) return nullptr;
    xmlXPathObject* value = xsltXPathVariableLookup(data, name, uri);
    if (xmlDoc* fragment = FragmentOf(value)) RegisterFragment(context, fragment);
    if ((value != nullptr) && value->type == XPATH_XSLT_TREE) value->type = XPATH_NODESET;
    return value;
}

void RunMessage(xsltTransformContext* context, xmlNode* node, xmlNode* instruction, xsltElemPreComp*) {
    Run& run = RunOf(context);
    xmlChar* terminate = xmlGetNoNsProp(instruction, Chars("terminate"));
    const bool isLast = View(terminate) == "yes";
    xmlFree(terminate);
    if (!CheckStack(context, false)) return;
    xmlChar* content = xsltEvalTemplateString(context, node, instruction);
    const std::string text = "xsl:message (" + std::string(View(content)) + ")";
    xmlFree(content);
    if (context->state == XSLT_STATE_STOPPED) return;
    if (isLast) {
        run.errors.Fail({.code = CODE_TERMINATED, .text = text + " - terminating"});
        return;
    }
    Message message = run.errors.At(instruction);
    message.uri = run.errors.UriForPrograms(message.uri);
    message.code = CODE_XSL_MESSAGE;
    message.level = SABLOT_LEVEL_WARNING;
    message.text = text;
    run.messages.push_back(std::move(message));
}

// Numbers become text as XPath wants it, other values stay what they are.
void AsText(xmlXPathParserContext* parser, int) {
    xmlXPathObject* value = valuePop(parser);
    valuePush(parser, (value != nullptr) && value->type == XPATH_NUMBER ? NumberAsString(value) : value);
}

// Stands for an expression that does not parse.
void Refuse(xmlXPathParserContext* parser, int) {
    const XPathPointer<xmlXPathObject> expression(valuePop(parser));
    if (xsltTransformContext* context = xsltXPathGetTransformContext(parser); (context != nullptr) && expression)
        RunOf(context).errors.Fail(
            {.code = CODE_XPATH_SYNTAX,
             .text = "Invalid expression: '" + RefusedExpression(std::string(View(expression->stringval))) + "'"});
    parser->error = XPATH_EXPR_ERROR;
}

// The argument of functions that evaluate a text, as expressions of the stylesheet are compiled.
void PrepareExpression(xmlXPathObject* value) {
    if (value == nullptr || value->type != XPATH_STRING) return;
    const std::string expression(View(value->stringval));
    const std::string prepared = Prepared(expression, ExpressionUse::VALUE);
    if (prepared == expression) return;
    xmlFree(value->stringval);
    value->stringval = xmlStrdup(Chars(prepared.c_str()));
}

// Runs an extension function. One that returns a fragment registers it.
void CallFunction(xmlXPathParserContext* parser, int argumentCount) {
    xsltTransformContext* const context = xsltXPathGetTransformContext(parser);
    const xmlXPathFunction function =
        xsltXPathFunctionLookup(parser->context, parser->context->function, parser->context->functionURI);
    if ((context == nullptr) || (function == nullptr) || !CheckStack(context, false)) {
        parser->error = XPATH_STACK_ERROR;
        return;
    }
    const std::string_view uri = View(parser->context->functionURI);
    if (uri == Chars(EXSLT_STRINGS_NAMESPACE)) NumbersToStrings(parser, argumentCount);
    if (uri == Chars(EXSLT_DYNAMIC_NAMESPACE) || uri == Chars(SAXON_NAMESPACE)) PrepareExpression(parser->value);
    // What this one is asked is what it is for.
    if (View(parser->context->function) == "object-type" && FragmentOf(parser->value) != nullptr)
        parser->value->type = XPATH_XSLT_TREE;
    if (uri != Chars(EXSLT_SETS_NAMESPACE) || !RunSetFunction(parser, argumentCount, View(parser->context->function)))
        function(parser, argumentCount);
    if (parser->error != 0) return;
    if (xmlDoc* fragment = FragmentOf(parser->value)) RegisterFragment(context, fragment);
    SortValue(parser); // what follows the call takes them as they are
}

void Count(xmlXPathParserContext* parser, int argumentCount) {
    static const xmlXPathFunction COUNT = FindNodeFunction("count");
    const bool isOne = (argumentCount == 1 || argumentCount == 2) && parser->valueNr >= argumentCount;
    const xmlXPathObject* first = isOne ? parser->valueTab[parser->valueNr - argumentCount] : nullptr;
    if (first == nullptr || first->type != XPATH_STRING || !View(first->stringval).starts_with(SIBLINGS_MARK))
        return COUNT(parser, argumentCount);
    try {
        CountSiblings(parser, argumentCount, RunOf(xsltXPathGetTransformContext(parser)).siblings);
    } catch (const std::bad_alloc&) {
        xmlXPathErr(parser, XPATH_MEMORY_ERROR);
    }
}

// What takes the place of a core function, or is one here. Looked up when an expression calls it first: registering
// all of them for each run took a tenth of a small one.
xmlXPathFunction FindCoreFunction(std::string_view name) {
    if (name == TEXT_FUNCTION) return AsText;
    if (name == REFUSED_FUNCTION) return Refuse;
    if (name == "count") return Count;
    if (name == "key") return FindByKey;
    if (name == FIRST_KEY_FUNCTION) return FindFirstByKey;
    if (name == SAME_FUNCTION) return HaveSameId;
    if (name == AMONG_FUNCTION) return IsAmong;
    if (const auto maker = FindTextMaker(name, std::make_index_sequence<std::size(TEXT_MAKERS)>())) return maker;
    const xmlXPathFunction function = FindNodeFunction(name);
    return function != nullptr ? function : FindStringFunction(name);
}

xmlXPathFunction LookUpFunction(void* xpathContext, const xmlChar* name, const xmlChar* uri) {
    if (uri == nullptr) return FindCoreFunction(View(name));
    return xsltXPathFunctionLookup(xpathContext, name, uri) != nullptr ? CallFunction : nullptr;
}

// Puts a space where a comment may not have two hyphens (7.4).
void MendComment(xmlNode* comment) {
    const std::string_view content = View(comment->content);
    if (content.find("--") == std::string_view::npos && !content.ends_with('-')) return;
    std::string mended;
    for (const char c : content) {
        if (c == '-' && mended.ends_with('-')) mended += ' ';
        mended += c;
    }
    if (mended.ends_with('-')) mended += ' ';
    xmlNodeSetContent(comment, nullptr);
    xmlNodeAddContent(comment, Chars(mended.c_str()));
}

// What libxslt leaves to be seen to after an instruction.
void Complete(xsltTransformContext* context, int type) {
    Run& run = RunOf(context);
    xmlNode* last = context->insert != nullptr ? context->insert->last : nullptr;
    if (type == XSLT_FUNC_NUMBER) {
        run.errors.FailOnXPathError();
    } else if (type == XSLT_FUNC_COMMENT && (last != nullptr) && last->type == XML_COMMENT_NODE) {
        MendComment(last);
    } else if (type == XSLT_FUNC_PI && (last != nullptr) && last->type == XML_PI_NODE) {
        if (xmlValidateNCName(last->name, 0) == 0 && xmlStrcasecmp(last->name, Chars("xml")) != 0) return;
        run.errors.Fail({.code = CODE_OTHER,
                         .text = "'" + std::string(View(last->name)) + "' is no name of a processing instruction"});
    }
}

// Stands for the function of every compiled instruction.
void RunInstruction(xsltTransformContext* context, xmlNode* node, xmlNode* instruction, xsltElemPreComp* compiled) {
    Run& run = RunOf(context);
    run.errors.Forget();
    const bool walks = compiled->type == XSLT_FUNC_COPYOF || compiled->type == XSLT_FUNC_APPLYTEMPLATES
                       || compiled->type == XSLT_FUNC_APPLYIMPORTS;
    if (context->state == XSLT_STATE_STOPPED || !CheckStack(context, walks)) return;
    if (!CheckMemory(context)) return;
    // libxml2's limit is one for each instruction.
    run.steps += std::exchange(context->xpathCtxt->opCount, 0);
    if (run.steps > run.maxSteps) {
        run.errors.Fail({.code = CODE_OTHER, .text = "The run takes too many steps"});
        return;
    }
    if (compiled->type != XSLT_FUNC_NUMBER || !WriteNumber(context, node, compiled))
        run.instructions.FunctionOf(compiled)(context, node, instruction, compiled);
    if (context->state != XSLT_STATE_STOPPED) Complete(context, compiled->type);
}

xsltStylePreComp NewInstruction(xsltTransformFunction function) {
    xsltStylePreComp compiled;
    std::memset(&compiled, 0, sizeof compiled);
    compiled.type = XSLT_FUNC_EXTENSION;
    compiled.func = function;
    return compiled;
}

// For each element that it makes libxslt looks for namespaces in all elements around it: deep results take ages.
constexpr int MAX_RESULT_DEPTH = 8'000;

bool IsTooDeep(const xmlNode* place) {
    int depth = 0;
    for (; place != nullptr && depth <= MAX_RESULT_DEPTH; place = place->parent) ++depth;
    return depth > MAX_RESULT_DEPTH;
}

} // namespace

Instructions::Instructions(xsltStylesheet* stylesheet) {
    for (xsltStylesheet* level = stylesheet; level != nullptr; level = xsltNextImport(level)) {
        for (xsltElemPreComp* compiled = level->preComps; compiled != nullptr; compiled = compiled->next) {
            if (compiled->func == nullptr) continue;
            if (compiled->type < XSLT_FUNC_EXTENSION)
                functions_[compiled->type] = compiled->func;
            else
                extensions_.emplace(compiled, compiled->func);
            compiled->func = RunInstruction;
            if (compiled->type != XSLT_FUNC_NUMBER) continue;
            const xmlChar* value = reinterpret_cast<const xsltStylePreComp*>(compiled)->numdata.value;
            if (value != nullptr) numberValues_.emplace(compiled, xmlXPathCompile(value));
        }
    }
    // These two are not compiled by libxslt. xsl:fallback does nothing when it is instantiated itself (15).
    static xsltStylePreComp message = NewInstruction(RunMessage);
    static xsltStylePreComp fallback =
        NewInstruction([](xsltTransformContext*, xmlNode*, xmlNode*, xsltElemPreComp*) {});
    ForEachModule(stylesheet, [](xmlDoc* module) {
        for (xmlNode* node : Walk(AsNode(module))) {
            if (!IsElement(node)) continue;
            const std::string_view name = View(node->name);
            const bool isMessage = name == "message";
            if ((isMessage || name == "fallback") && IsXslt(node)) node->psvi = isMessage ? &message : &fallback;
        }
    });
}

xsltTransformFunction Instructions::FunctionOf(const xsltElemPreComp* instruction) const {
    if (instruction->type < XSLT_FUNC_EXTENSION) return functions_[instruction->type];
    return extensions_.find(instruction)->second;
}

xmlXPathCompExpr* Instructions::NumberValue(const xsltElemPreComp* instruction) const {
    const auto found = numberValues_.find(instruction);
    return found != numberValues_.end() ? found->second.get() : nullptr;
}

bool CheckStack(xsltTransformContext* context, bool walks) {
    Run& run = RunOf(context);
    const bool hasRoom = run.guard.HasRoom(walks);
    if (hasRoom && !(run.guard.HasGrown() && IsTooDeep(context->insert))) return true;
    run.errors.Fail(
        {.code = CODE_OTHER,
         .text = hasRoom ? "The result is nested deeper than 8,000 elements" : "The recursion is too deep"});
    return false;
}

bool RegisterDocument(xsltTransformContext* context, xmlDoc* tree) {
    const TreeSize size = MeasureTree(tree, [](const xmlNode*) {});
    ExtendLimits(context, size);
    return RegisterDepth(context, size.depth);
}

void ExtendLimits(xsltTransformContext* context, const TreeSize& size) {
    constexpr uint64_t INSTRUCTIONS_OF_NODE = 10'000;
    const uint64_t stepsOfNode = maxXPathOperations / 4'000;
    constexpr uint64_t MAX_INSTRUCTIONS = 1'000'000'000; // some minutes
    context->opLimit =
        static_cast<unsigned long>(std::min(context->opLimit + size.nodes * INSTRUCTIONS_OF_NODE, MAX_INSTRUCTIONS));
    RunOf(context).maxSteps += size.nodes * stepsOfNode;
}

void GuardFunctions(xsltTransformContext* context) {
    xmlXPathRegisterVariableLookup(context->xpathCtxt, LookUpVariable, context);
    xmlXPathRegisterFuncLookup(context->xpathCtxt, LookUpFunction, context->xpathCtxt);
}

} // namespace sablot
