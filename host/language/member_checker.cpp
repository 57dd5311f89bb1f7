// Checks what stands behind a dot: members of objects, classes, modules and arrays.
#include "host/language/expression_checker.h"
#include "host/language/hints.h"

#include <algorithm>

namespace host::language {

using ast::Expression;
using ast::ExpressionKind;

namespace {

struct ArrayMember {
    const char* name;
    ArrayOperation operation;
    const char* parameters; // i an index, e an element
};
constexpr ArrayMember ARRAY_MEMBERS[] = {
    {"Append", ArrayOperation::APPEND, "e"},    {"Insert", ArrayOperation::INSERT, "ie"},
    {"Remove", ArrayOperation::REMOVE, "i"},    {"Ubound", ArrayOperation::UBOUND, ""},
    {"Sort", ArrayOperation::SORT, ""},         {"Pop", ArrayOperation::POP, ""},
    {"IndexOf", ArrayOperation::INDEX_OF, "e"},
};

const ArrayMember* FindArrayMember(std::string_view name) {
    const auto* row = std::find_if(std::begin(ARRAY_MEMBERS), std::end(ARRAY_MEMBERS),
                                   [name](const ArrayMember& candidate) { return SameName(candidate.name, name); });
    return row == std::end(ARRAY_MEMBERS) ? nullptr : row;
}

// Whether a function tells an order of such elements: it compares two, or gives the key of one.
bool TellsOrder(const FunctionSymbol& function, const ValueType& element) {
    const size_t count = function.parameters.size();
    bool takesElements =
        std::all_of(function.parameters.begin(), function.parameters.end(), [&](const auto& parameter) {
            bool isWider = element.Is(TypeKind::OBJECT) && parameter.type.Is(TypeKind::OBJECT)
                           && element.cls->IsA(parameter.type.cls);
            return !parameter.isByRef && (parameter.type == element || isWider);
        });
    if (!takesElements || function.native != nullptr) return false;
    return count == 2 ? function.result.Is(TypeKind::INTEGER)
                      : count == 1 && (function.result.IsNumber() || function.result.Is(TypeKind::STRING));
}

} // namespace

ModuleSymbol* ExpressionChecker::QualifyingModule(const Expression& expression) {
    if (expression.kind != ExpressionKind::NAME || IsInstanceName(expression)) return nullptr;
    ModuleSymbol* module = environment_.FindModule(expression.name);
    if (module != nullptr) environment_.NoteUse(expression.span, expression.name, module->span);
    return module;
}

ClassSymbol* ExpressionChecker::QualifyingClass(const Expression& expression) {
    if (expression.kind != ExpressionKind::NAME || IsInstanceName(expression)) return nullptr;
    ClassSymbol* cls = environment_.FindClass(expression.name);
    if (cls != nullptr) NoteType(expression.name, expression.span);
    return cls;
}

NodePtr ExpressionChecker::UnknownMember(const ValueType& type, const Expression& member) {
    if (IsReserved(member.name)) {
        Error(member.nameSpan, "\"" + member.name + "\" can only be called as \"Super." + member.name + "\"");
        return InvalidNode(member.span);
    }
    bool isShared = environment_.FindShared(type.cls, member.name) != nullptr
                    || environment_.FindSharedProperty(type.cls, member.name) != nullptr
                    || !environment_.FindSharedFunctions(type.cls, member.name).empty();
    if (isShared) {
        Error(member.nameSpan, "\"" + member.name + "\" is of the class itself: " + type.Text() + "." + member.name);
        return InvalidNode(member.span);
    }
    std::string hint = MemberHint(type.cls->name, member.name);
    if (hint.empty()) hint = Suggestion(member.name, environment_.MemberNames(type.cls));
    Error(member.nameSpan, type.Text() + " has no member \"" + member.name + "\"" + hint);
    return InvalidNode(member.span);
}

// Of a module, or of a class itself.
NodePtr ExpressionChecker::SharedValue(PropertySymbol& property, const Expression& member, Use use) {
    if (property.isReadable || use == Use::TARGET) return PropertyNode(nullptr, &property, member.span);
    Error(member.nameSpan, "\"" + property.name + "\" can only be set");
    return InvalidNode(member.span);
}

NodePtr ExpressionChecker::CheckModuleMember(ModuleSymbol& module, const Expression& member, const Expression* call,
                                             Use use) {
    std::string key = FoldName(member.name);
    const Span& span = call != nullptr ? call->span : member.span;
    NodePtr value;
    if (auto variable = module.variables.find(key); variable != module.variables.end()) {
        value = UseVariable(variable->second.get(), member.span);
    } else if (auto property = module.properties.find(key); property != module.properties.end()) {
        value = SharedValue(*property->second, member, use);
    } else if (auto constant = module.constants.find(key); constant != module.constants.end()) {
        value = SymbolValue(*constant->second, member.span);
    }
    if (value != nullptr) return call == nullptr ? std::move(value) : Index(std::move(value), *call, use);
    auto found = module.functions.find(key);
    if (found == module.functions.end()) {
        std::string hint = MemberHint(module.name, member.name);
        if (hint.empty()) hint = Suggestion(member.name, environment_.MemberNames(module));
        Error(member.nameSpan, module.name + " has no member \"" + member.name + "\"" + hint);
        if (call != nullptr) CheckArguments(*call);
        return InvalidNode(span);
    }
    std::vector<FunctionSymbol*> functions;
    for (const auto& function : found->second) functions.push_back(function.get());
    auto arguments = call != nullptr ? CheckArguments(*call) : std::vector<NodePtr>();
    return Call(nullptr, functions, std::move(arguments), span, member.nameSpan, use);
}

NodePtr ExpressionChecker::CheckSuperCall(const Expression& member, const Expression& call, Use use) {
    auto arguments = &call == &member ? std::vector<NodePtr>() : CheckArguments(call);
    if (context_.cls == nullptr || context_.cls->super == nullptr) {
        Error(member.left->span, context_.cls == nullptr ? "\"Super\" has a meaning only in a method"
                                                         : "class " + context_.cls->name + " has no superclass");
        return InvalidNode(call.span);
    }
    ClassSymbol* super = context_.cls->super;
    bool isConstructor = SameName(member.name, "Constructor");
    auto methods = isConstructor ? environment_.FindConstructors(super) : environment_.FindMethods(super, member.name);
    if (isConstructor && methods.empty()) {
        if (!arguments.empty()) Error(call.span, "the constructor of " + super->name + " takes no arguments");
        auto nothing = MakeNode(NodeKind::CONSTANT, NO_TYPE, call.span);
        return nothing;
    }
    if (methods.empty()) {
        if (EventSymbol* event = environment_.FindEvent(super, member.name)) {
            return CheckInheritedHandler(*event, std::move(arguments), member, call.span, use);
        }
        if (PropertySymbol* property = environment_.FindProperty(super, member.name);
            (property != nullptr) && &call == &member) {
            return PropertyNode(SelfNode(member.span), property, member.span);
        }
        return UnknownMember({TypeKind::OBJECT, TypeKind::INVALID, super}, member);
    }
    NodePtr node = Call(SelfNode(call.span), methods, std::move(arguments), call.span, member.nameSpan, use);
    node->isSuper = true;
    return node;
}

NodePtr ExpressionChecker::CheckMemberCall(const Expression& member, const Expression* call, Use use) {
    const Expression& whole = call != nullptr ? *call : member;
    if (member.left->kind == ExpressionKind::SUPER) return CheckSuperCall(member, whole, use);
    if (ModuleSymbol* module = QualifyingModule(*member.left)) return CheckModuleMember(*module, member, call, use);
    if (ClassSymbol* cls = QualifyingClass(*member.left)) {
        if (environment_.FindFunctions(member.left->name).empty()) {
            return CheckClassMember(*cls, member, call, use);
        }
    }

    NodePtr object = Check(*member.left);
    const ValueType type = object->type;
    if (object->IsInvalid()) {
        if (call != nullptr) CheckArguments(*call);
        return InvalidNode(whole.span);
    }
    if (type.Is(TypeKind::ARRAY) && FindArrayMember(member.name) != nullptr) {
        return CheckArrayMember(std::move(object), member, call);
    }
    if (!type.Is(TypeKind::OBJECT)) {
        if (NodePtr extension = ExtensionCall(object, member, call, use)) return extension;
        if (type.Is(TypeKind::ARRAY)) return CheckArrayMember(std::move(object), member, call);
        std::string hint = type.Is(TypeKind::VARIANT) ? " (cast it to its class first)" : "";
        if (type.Is(TypeKind::STRING)) hint = MemberHint("String", member.name);
        Error(member.nameSpan, type.Text() + " has no members" + hint);
        if (call != nullptr) CheckArguments(*call);
        return InvalidNode(whole.span);
    }
    auto methods =
        IsReserved(member.name) ? std::vector<FunctionSymbol*>() : environment_.FindMethods(type.cls, member.name);
    PropertySymbol* property = environment_.FindProperty(type.cls, member.name);
    if (property != nullptr && (call == nullptr || methods.empty())) {
        if (!property->isReadable) {
            Error(member.nameSpan, type.Text() + "." + property->name + " can only be set");
            return InvalidNode(whole.span);
        }
        NodePtr value = PropertyNode(std::move(object), property, member.span);
        return call == nullptr ? std::move(value) : Index(std::move(value), *call, use);
    }
    if (methods.empty()) {
        if (NodePtr extension = ExtensionCall(object, member, call, use)) return extension;
    }
    auto arguments = call != nullptr ? CheckArguments(*call) : std::vector<NodePtr>();
    if (!methods.empty()) {
        return Call(std::move(object), methods, std::move(arguments), whole.span, member.nameSpan, use);
    }
    if (ConstantSymbol* constant = environment_.FindConstant(type.cls, member.name);
        (constant != nullptr) && call == nullptr) {
        return SymbolValue(*constant, member.span);
    }
    return UnknownMember(type, member);
}

NodePtr ExpressionChecker::CallMember(NodePtr object, const std::string& name, std::vector<NodePtr> arguments,
                                      const Span& span) {
    ClassSymbol* cls = object->type.cls;
    if (PropertySymbol* property = environment_.FindProperty(cls, name); (property != nullptr) && arguments.empty()) {
        return PropertyNode(std::move(object), property, span);
    }
    auto methods = environment_.FindMethods(cls, name);
    bool fits = std::any_of(methods.begin(), methods.end(), [&arguments](const FunctionSymbol* method) {
        return method->parameters.size() == arguments.size() && method->HasResult();
    });
    if (!fits) return nullptr;
    return Call(std::move(object), methods, std::move(arguments), span, span, Use::VALUE);
}

NodePtr ExpressionChecker::ExtensionCall(NodePtr& object, const Expression& member, const Expression* call, Use use) {
    std::vector<FunctionSymbol*> functions;
    for (FunctionSymbol* function : environment_.FindExtensions(member.name)) {
        bool fits = ConversionCost(object->type, function->parameters[0].type) >= 0;
        if (fits) functions.push_back(function);
    }
    if (functions.empty()) return nullptr;
    std::vector<NodePtr> arguments;
    arguments.push_back(std::move(object));
    if (call != nullptr) {
        for (NodePtr& argument : CheckArguments(*call)) arguments.push_back(std::move(argument));
    }
    return Call(nullptr, functions, std::move(arguments), call != nullptr ? call->span : member.span, member.nameSpan,
                use);
}

// array.Sort, array.Sort(AddressOf function)
NodePtr ExpressionChecker::CheckSort(NodePtr array, std::vector<NodePtr> arguments, const Span& span,
                                     const Span& nameSpan) {
    const ValueType element = array->type.Element();
    auto node = MakeNode(NodeKind::ARRAY_CALL, NO_TYPE, span);
    node->arrayOperation = ArrayOperation::SORT;
    node->left = std::move(array);
    if (arguments.empty()) {
        if (element.IsNumber() || element.Is(TypeKind::STRING)) return node;
        Error(nameSpan, "only arrays of Integer, Double and String can be sorted without a function");
        return InvalidNode(span);
    }
    NodePtr& order = arguments[0];
    if (order->IsInvalid() && order->kind == NodeKind::INVALID) return InvalidNode(span);
    const FunctionSymbol* function = nullptr;
    bool isDelegate = order->type.Is(TypeKind::OBJECT) && order->type.cls->delegate != nullptr;
    if (isDelegate && TellsOrder(*order->type.cls->delegate, element)) function = order->type.cls->delegate.get();
    for (const FunctionSymbol* candidate : order->overloads) {
        if (TellsOrder(*candidate, element)) function = candidate;
    }
    if (function == nullptr || arguments.size() != 1) {
        Error(span, "Sort takes a function that compares two elements, (a As " + element.Text() + ", b As "
                        + element.Text() + ") As Integer, or one that gives the key of an element");
        return InvalidNode(span);
    }
    if (!isDelegate) {
        order = Convert(std::move(order), {TypeKind::OBJECT, TypeKind::INVALID, environment_.DelegateOf(*function)});
        if (order->IsInvalid()) return InvalidNode(span);
    }
    node->arguments.push_back(std::move(order));
    return node;
}

NodePtr ExpressionChecker::CheckArrayMember(NodePtr array, const Expression& member, const Expression* call) {
    const Span& span = call != nullptr ? call->span : member.span;
    const ValueType element = array->type.Element();
    auto arguments = call != nullptr ? CheckArguments(*call) : std::vector<NodePtr>();
    const ArrayMember* row = FindArrayMember(member.name);
    if (row == nullptr) {
        std::vector<std::string> names;
        for (const ArrayMember& known : ARRAY_MEMBERS) names.emplace_back(known.name);
        std::string hint = MemberHint("()", member.name);
        if (hint.empty()) hint = Suggestion(member.name, names);
        Error(member.nameSpan, "an array has no member \"" + member.name + "\"" + hint);
        return InvalidNode(span);
    }
    if (row->operation == ArrayOperation::SORT) {
        return CheckSort(std::move(array), std::move(arguments), span, member.nameSpan);
    }
    std::string_view parameters = row->parameters;
    if (arguments.size() != parameters.size()) {
        Error(span, std::string(row->name) + " takes " + Plural(parameters.size(), "argument") + ", not "
                        + std::to_string(arguments.size()));
        return InvalidNode(span);
    }
    ValueType result = NO_TYPE;
    if (row->operation == ArrayOperation::UBOUND || row->operation == ArrayOperation::INDEX_OF) result = INTEGER_TYPE;
    if (row->operation == ArrayOperation::POP) result = element;
    auto node = MakeNode(NodeKind::ARRAY_CALL, result, span);
    node->arrayOperation = row->operation;
    node->left = std::move(array);
    for (size_t i = 0; i < arguments.size(); ++i) {
        node->arguments.push_back(Convert(std::move(arguments[i]), parameters[i] == 'i' ? INTEGER_TYPE : element));
        if (node->arguments[i]->IsInvalid()) return InvalidNode(span);
    }
    return node;
}

} // namespace host::language
