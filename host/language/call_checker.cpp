// Checks calls and elements, and chooses among overloads.
#include "host/language/expression_checker.h"
#include "host/language/hints.h"

#include <algorithm>

namespace host::language {

using ast::Expression;
using ast::ExpressionKind;

std::vector<NodePtr> ExpressionChecker::CheckArguments(const Expression& call) {
    std::vector<NodePtr> arguments;
    for (const auto& argument : call.arguments) arguments.push_back(Check(*argument));
    return arguments;
}

NodePtr ExpressionChecker::CheckCall(const Expression& expression, Use use) {
    const Expression& callee = *expression.left;
    if (callee.kind == ExpressionKind::MEMBER) return CheckMemberCall(callee, &expression, use);
    if (callee.kind != ExpressionKind::NAME) {
        NodePtr array = Check(callee);
        return Index(std::move(array), expression, use);
    }

    bool onSelf = false;
    auto functions = ResolveFunctions(callee.name, onSelf);
    NodePtr value = functions.empty() || IsInstanceName(callee) ? ResolveValue(callee.name, callee.span) : nullptr;
    bool isDelegate = value != nullptr && value->type.Is(TypeKind::OBJECT) && value->type.cls->delegate != nullptr;
    bool isArray = value != nullptr && (value->type.Is(TypeKind::ARRAY) || value->IsInvalid());
    if (isArray || isDelegate) return Index(std::move(value), expression, use);
    if (functions.empty()) {
        // A variable may have the name of a class; as it cannot be called, the class is meant.
        ValueType type = environment_.TypeNamed(callee.name, false);
        if (!type.Is(TypeKind::INVALID)) {
            NoteType(callee.name, callee.span);
            return CheckCast(type, expression);
        }
        if (value != nullptr) return Index(std::move(value), expression);
        // Of what follows a word of another language nothing can be said.
        if (!NameHint(callee.name).empty()) return UnknownName(callee);
    }
    auto arguments = CheckArguments(expression);
    if (!functions.empty()) {
        NodePtr self = onSelf ? SelfNode(callee.span) : nullptr;
        return Call(std::move(self), functions, std::move(arguments), expression.span, callee.nameSpan, use);
    }
    if (SameName(callee.name, "Ubound") && arguments.size() == 1) {
        return UpperBound(std::move(arguments[0]), expression.span);
    }
    if (SameName(callee.name, "Array") && !arguments.empty()) {
        return ArrayOf(std::move(arguments), expression.span);
    }
    return UnknownName(callee);
}

NodePtr ExpressionChecker::UpperBound(NodePtr array, const Span& span) {
    if (array->IsInvalid()) return InvalidNode(span);
    if (!array->type.Is(TypeKind::ARRAY)) {
        Error(array->span, "expected an array, not " + array->type.Text());
        return InvalidNode(span);
    }
    auto node = MakeNode(NodeKind::ARRAY_CALL, INTEGER_TYPE, span);
    node->arrayOperation = ArrayOperation::UBOUND;
    node->left = std::move(array);
    return node;
}

NodePtr ExpressionChecker::ArrayOf(std::vector<NodePtr> elements, const Span& span) {
    // An empty one takes the type that is wanted.
    ValueType type = elements.empty() ? NIL_TYPE : elements[0]->type;
    // Numbers make an array of what arithmetic on them is done in, classes one of the class they share.
    for (const NodePtr& element : elements) {
        if (element->IsInvalid()) return InvalidNode(span);
        const ValueType number =
            type.IsNumber() && element->type.IsNumber() ? CommonNumber(type, element->type) : INVALID_TYPE;
        if (number.IsNumber()) type = number;
        bool fits = ConversionCost(element->type, type) >= 0;
        if (!fits && ConversionCost(type, element->type) >= 0) type = element->type;
    }
    if (!elements.empty()
        && (type.Is(TypeKind::NIL) || type.Is(TypeKind::ARRAY) || type.Is(TypeKind::ADDRESS)
            || type.Is(TypeKind::NOTHING))) {
        Error(span, "an array cannot hold " + type.Text());
        return InvalidNode(span);
    }
    for (NodePtr& element : elements) {
        element = Convert(std::move(element), type);
        if (element->IsInvalid()) return InvalidNode(span);
    }
    auto node = MakeNode(NodeKind::ARRAY, type.ArrayOf(), span);
    node->arguments = std::move(elements);
    return node;
}

NodePtr ExpressionChecker::CheckNew(const Expression& expression) {
    auto arguments = CheckArguments(expression);
    ClassSymbol* cls = environment_.FindClass(expression.name);
    if (cls == nullptr) {
        Error(expression.nameSpan,
              "there is no class \"" + expression.name + "\"" + Suggestion(expression.name, environment_.ClassNames()));
        return InvalidNode(expression.span);
    }
    NoteType(expression.name, expression.nameSpan);
    auto node = MakeNode(NodeKind::NEW, {TypeKind::OBJECT, TypeKind::INVALID, cls}, expression.span);
    node->cls = cls;
    auto constructors = environment_.FindConstructors(cls);
    if (constructors.empty()) {
        if (!arguments.empty()) Error(expression.span, "the constructor of " + cls->name + " takes no arguments");
        return node;
    }
    NodePtr call =
        Call(nullptr, constructors, std::move(arguments), expression.span, expression.nameSpan, Use::STATEMENT);
    if (call->kind == NodeKind::INVALID) return InvalidNode(expression.span);
    node->function = call->function;
    node->arguments = std::move(call->arguments);
    return node;
}

NodePtr ExpressionChecker::Index(NodePtr array, const Expression& call, Use use) {
    bool isDelegate = array->type.Is(TypeKind::OBJECT) && array->type.cls->delegate != nullptr;
    if (isDelegate) return CallDelegate(std::move(array), call, use);
    auto arguments = CheckArguments(call);
    if (array->IsInvalid()) return InvalidNode(call.span);
    if (!array->type.Is(TypeKind::ARRAY)) {
        Error(array->span, "expected an array or a function, not " + array->type.Text() + ItemHint(array->type));
        return InvalidNode(call.span);
    }
    if (arguments.size() != 1) {
        Error(call.span, "an array takes one index");
        return InvalidNode(call.span);
    }
    return Element(std::move(array), std::move(arguments[0]), call.span);
}

NodePtr ExpressionChecker::Element(NodePtr array, NodePtr index, const Span& span) {
    auto node = MakeNode(NodeKind::ELEMENT, array->type.Element(), span);
    node->left = std::move(array);
    node->right = Convert(std::move(index), INTEGER_TYPE);
    return node->right->IsInvalid() ? InvalidNode(span) : std::move(node);
}

NodePtr ExpressionChecker::Call(NodePtr object, const std::vector<FunctionSymbol*>& overloads,
                                std::vector<NodePtr> arguments, const Span& span, const Span& nameSpan, Use use) {
    for (const NodePtr& argument : arguments) {
        if (argument->IsInvalid()) return InvalidNode(span);
    }
    // An index behind a function without parameters is one into the array that it gives.
    bool isIndexed = overloads.size() == 1 && overloads[0]->parameters.empty() && arguments.size() == 1
                     && overloads[0]->result.Is(TypeKind::ARRAY) && use == Use::VALUE;
    if (isIndexed) {
        NodePtr array = Call(std::move(object), overloads, {}, nameSpan, nameSpan, use);
        return Element(std::move(array), std::move(arguments[0]), span);
    }
    FunctionSymbol* function = Choose(overloads, arguments, nameSpan, use);
    if (function == nullptr || !CheckAccess(*function, nameSpan)) return InvalidNode(span);
    auto node = MakeNode(NodeKind::CALL, function->result, span);
    node->function = function;
    node->left = std::move(object);
    for (size_t i = 0; i < function->parameters.size(); ++i) {
        const ParameterSymbol& parameter = function->parameters[i];
        NodePtr argument = i < arguments.size() ? std::move(arguments[i]) : ConstantNode(*parameter.defaultValue, span);
        argument = Convert(std::move(argument), parameter.type);
        if (argument->IsInvalid()) return InvalidNode(span);
        bool isVariable = argument->kind == NodeKind::VARIABLE || argument->kind == NodeKind::FIELD;
        if (parameter.isByRef && !isVariable) {
            Error(argument->span, "a variable is needed here: \"" + parameter.name + "\" is passed ByRef");
            return InvalidNode(span);
        }
        node->arguments.push_back(std::move(argument));
    }
    if (use != Use::TARGET && function->result.Is(TypeKind::INVALID)) {
        Error(nameSpan, "the type of the result of \"" + function->name + "\" is unknown");
    }
    return node;
}

// How an element is got of an object that has elements.
std::string ExpressionChecker::ItemHint(const ValueType& type) {
    if (!type.Is(TypeKind::OBJECT)) return {};
    for (const char* name : {"Item", "Value", "Child"}) {
        auto methods = environment_.FindMethods(type.cls, name);
        bool fits = std::any_of(methods.begin(), methods.end(),
                                [](const FunctionSymbol* method) { return method->parameters.size() == 1; });
        if (fits) return std::string(" (use .") + name + "(…))";
    }
    return {};
}

FunctionSymbol* ExpressionChecker::Choose(const std::vector<FunctionSymbol*>& overloads,
                                          const std::vector<NodePtr>& arguments, const Span& nameSpan, Use use) {
    constexpr int NO_RESULT = 10000; // chosen only when nothing else fits
    FunctionSymbol* best = nullptr;
    FunctionSymbol* rival = nullptr;
    int bestCost = 0;
    for (FunctionSymbol* function : overloads) {
        if (arguments.size() < function->RequiredArguments() || arguments.size() > function->parameters.size())
            continue;
        if (use == Use::TARGET && !function->IsAssignable()) continue;
        int cost = 0;
        for (size_t i = 0; i < arguments.size() && cost >= 0; ++i) {
            const ParameterSymbol& parameter = function->parameters[i];
            int step = ConversionCost(*arguments[i], parameter.type);
            if (parameter.isByRef && step > 0) step = -1;
            cost = step < 0 ? -1 : cost + step;
        }
        if (cost < 0) continue;
        if (use == Use::VALUE && !function->HasResult()) cost += NO_RESULT;
        // Of two that differ in their results only, a statement calls the one without.
        cost = cost * 4 + (function->parameters.size() > arguments.size() ? 2 : 0)
               + (use == Use::STATEMENT && function->HasResult() ? 1 : 0);
        if (best == nullptr || cost < bestCost) {
            best = function;
            bestCost = cost;
            rival = nullptr;
        } else if (cost == bestCost) {
            rival = function;
        }
    }
    if (best == nullptr) {
        if (use == Use::TARGET) {
            Error(nameSpan, "\"" + overloads[0]->name + "\" cannot be assigned to");
        } else {
            ReportNoOverload(overloads, arguments, nameSpan);
        }
        return nullptr;
    }
    if (rival != nullptr) {
        Error(nameSpan, "the call fits both " + best->Text() + " and " + rival->Text());
        return nullptr;
    }
    return best;
}

void ExpressionChecker::ReportNoOverload(const std::vector<FunctionSymbol*>& overloads,
                                         const std::vector<NodePtr>& arguments, const Span& nameSpan) {
    // The only one with this number of arguments is the one that was meant.
    std::vector<FunctionSymbol*> sameCount;
    for (FunctionSymbol* function : overloads) {
        bool fits =
            arguments.size() >= function->RequiredArguments() && arguments.size() <= function->parameters.size();
        if (fits) sameCount.push_back(function);
    }
    if (sameCount.size() == 1) {
        FunctionSymbol& function = *sameCount[0];
        for (size_t i = 0; i < arguments.size(); ++i) {
            const ParameterSymbol& parameter = function.parameters[i];
            const ValueType& type = arguments[i]->type;
            bool isWrong =
                ConversionCost(*arguments[i], parameter.type) < 0 || (parameter.isByRef && !(type == parameter.type));
            if (!isWrong) continue;
            Error(arguments[i]->span, "\"" + parameter.name + "\" of " + function.Text() + " must be "
                                          + parameter.type.Text() + ", not " + type.Text()
                                          + (parameter.isByRef ? "" : ConversionHint(type, parameter.type)));
            return;
        }
    }
    if (overloads.size() == 1) {
        const FunctionSymbol& function = *overloads[0];
        size_t required = function.RequiredArguments();
        size_t most = function.parameters.size();
        std::string count = required == most          ? Plural(most, "argument")
                            : arguments.size() > most ? "at most " + Plural(most, "argument")
                                                      : "at least " + Plural(required, "argument");
        Error(nameSpan, function.Text() + " takes " + count + ", not " + std::to_string(arguments.size()));
        return;
    }
    std::string types;
    for (const NodePtr& argument : arguments) types += (types.empty() ? "" : ", ") + argument->type.Text();
    std::string known;
    for (const FunctionSymbol* function : overloads) known += (known.empty() ? "" : "; ") + function->Text();
    Error(nameSpan, "no \"" + overloads[0]->name + "\" takes (" + types + "); there are: " + known);
}

} // namespace host::language
