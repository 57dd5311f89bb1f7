#include "host/language/expression_checker.h"

#include "host/language/folding.h"

#include <algorithm>

namespace host::language {

using ast::Expression;
using ast::ExpressionKind;
using ast::Operation;

namespace {

bool IsReserved(std::string_view member) {
    return EqualNames(member, "Constructor") || EqualNames(member, "Destructor");
}

// How to get from one type to another that it is not converted to by itself.
std::string ConversionHint(const ValueType& from, const ValueType& to) {
    if (to.Is(TypeKind::INTEGER) && from.Is(TypeKind::DOUBLE)) return " (Integer(…) cuts off the fraction)";
    if (to.Is(TypeKind::INTEGER) && from.Is(TypeKind::BOOLEAN)) return " (use Integer(…))";
    if (to.Is(TypeKind::BOOLEAN) && from.Is(TypeKind::INTEGER)) return " (compare it with 0)";
    if (to.Is(TypeKind::STRING) && (from.IsNumber() || from.Is(TypeKind::BOOLEAN))) return " (use Str(…))";
    if (to.Is(TypeKind::INTEGER) && from.Is(TypeKind::STRING)) return " (use Integer(Val(…)))";
    if (to.Is(TypeKind::DOUBLE) && from.Is(TypeKind::STRING)) return " (use Val(…))";
    bool isDowncast = to.Is(TypeKind::OBJECT) && from.Is(TypeKind::OBJECT) && to.cls->IsA(from.cls);
    if (isDowncast) return " (use " + to.cls->name + "(…))";
    return {};
}

std::string Plural(size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace

NodePtr ExpressionChecker::Make(NodeKind kind, const ValueType& type, const Span& span) {
    auto node = std::make_unique<Node>();
    node->kind = kind;
    node->type = type;
    node->span = span;
    return node;
}

NodePtr ExpressionChecker::Invalid(const Span& span) { return Make(NodeKind::INVALID, INVALID_TYPE, span); }

NodePtr ExpressionChecker::Constant(ConstantValue value, const Span& span) {
    auto node = Make(NodeKind::CONSTANT, TypeOf(value), span);
    node->constant = std::move(value);
    return node;
}

NodePtr ExpressionChecker::Check(const Expression& expression, Use use) {
    NodePtr node;
    switch (expression.kind) {
    case ExpressionKind::INVALID: return Invalid(expression.span);
    case ExpressionKind::CONSTANT: node = Constant(expression.constant, expression.span); break;
    case ExpressionKind::NAME: node = CheckName(expression, use); break;
    case ExpressionKind::MEMBER: node = CheckMemberCall(expression, nullptr, use); break;
    case ExpressionKind::CALL: node = CheckCall(expression, use); break;
    case ExpressionKind::NEW: node = CheckNew(expression); break;
    case ExpressionKind::NEGATE:
    case ExpressionKind::NOT: node = CheckUnary(expression); break;
    case ExpressionKind::BINARY:
        node = Check(*expression.left);
        node = Binary(expression.operation, std::move(node), Check(*expression.right), expression.nameSpan);
        node->span = expression.span;
        break;
    case ExpressionKind::IS_A: node = CheckIsA(expression); break;
    case ExpressionKind::SELF: node = CheckSelf(expression); break;
    case ExpressionKind::SUPER:
        Error(expression.span, "\"Super\" must be followed by a member");
        return Invalid(expression.span);
    }
    if (use == Use::VALUE && node->type.Is(TypeKind::NOTHING)) {
        Error(expression.span,
              (node->function != nullptr ? node->function->QualifiedName() : "this call") + " has no result");
        return Invalid(expression.span);
    }
    return node;
}

NodePtr ExpressionChecker::CheckAs(const Expression& expression, const ValueType& type) {
    return Convert(Check(expression), type);
}

NodePtr ExpressionChecker::CheckCondition(const Expression& expression) { return CheckAs(expression, BOOLEAN_TYPE); }

// Conversions

int ExpressionChecker::ConversionCost(const Node& node, const ValueType& type) const {
    const ValueType& from = node.type;
    if (from == type || from.Is(TypeKind::INVALID) || type.Is(TypeKind::INVALID)) return 0;
    if (from.Is(TypeKind::NOTHING) || type.Is(TypeKind::NOTHING)) return -1;
    if (from.Is(TypeKind::NIL)) {
        if (type.Is(TypeKind::OBJECT) || type.Is(TypeKind::ARRAY)) return 1;
        return type.Is(TypeKind::VARIANT) ? 2 : -1;
    }
    if (type.Is(TypeKind::VARIANT)) return 100;
    if (from.Is(TypeKind::VARIANT)) return 120;
    if (from.Is(TypeKind::INTEGER) && type.Is(TypeKind::DOUBLE)) return 50;
    if (from.Is(TypeKind::OBJECT) && type.Is(TypeKind::OBJECT)) return from.cls->DistanceTo(type.cls);
    return -1;
}

NodePtr ExpressionChecker::Convert(NodePtr node, const ValueType& type) {
    if (node->IsInvalid() || type.Is(TypeKind::INVALID)) return Invalid(node->span);
    const ValueType from = node->type;
    if (from == type) return node;
    if (ConversionCost(*node, type) < 0) {
        Error(node->span, "expected " + type.Text() + ", not " + from.Text() + ConversionHint(from, type));
        return Invalid(node->span);
    }
    if (from.Is(TypeKind::NIL)) {
        node->type = type;
        return node;
    }
    if (node->IsConstant() && type.Is(TypeKind::DOUBLE) && from.Is(TypeKind::INTEGER)) {
        return Constant(static_cast<double>(std::get<int32_t>(node->constant)), node->span);
    }
    auto conversion = Make(NodeKind::CONVERT, type, node->span);
    if (type.Is(TypeKind::DOUBLE) && from.Is(TypeKind::INTEGER)) {
        conversion->conversion = Conversion::INTEGER_TO_DOUBLE;
    } else if (type.Is(TypeKind::VARIANT)) {
        conversion->conversion = from.IsReference() ? Conversion::NONE : Conversion::BOX;
    } else if (from.Is(TypeKind::VARIANT)) {
        conversion->conversion = Conversion::UNBOX;
    }
    conversion->left = std::move(node);
    return conversion;
}

NodePtr ExpressionChecker::CheckCast(const ValueType& type, const Expression& call) {
    if (call.arguments.size() != 1) {
        Error(call.span, "a conversion to " + type.Text() + " takes one value");
        return Invalid(call.span);
    }
    NodePtr node = Check(*call.arguments[0]);
    if (node->IsInvalid()) return Invalid(call.span);
    const ValueType from = node->type;
    node->span = call.span;
    Conversion conversion = Conversion::NONE;
    if (type.Is(TypeKind::INTEGER) && from.Is(TypeKind::DOUBLE)) {
        conversion = Conversion::DOUBLE_TO_INTEGER;
    } else if (from.Is(TypeKind::OBJECT) && type.Is(TypeKind::OBJECT) && !from.cls->IsA(type.cls)) {
        if (!type.cls->IsA(from.cls)) {
            Error(call.span, "a value of class " + from.Text() + " is never a " + type.Text());
            return Invalid(call.span);
        }
        conversion = Conversion::CHECK_CLASS;
    } else if (!(type.Is(TypeKind::INTEGER) && from.Is(TypeKind::BOOLEAN))
               && !(type.Is(TypeKind::BOOLEAN) && from.Is(TypeKind::INTEGER))) {
        return Convert(std::move(node), type);
    }
    auto cast = Make(NodeKind::CONVERT, type, call.span);
    cast->conversion = conversion;
    cast->left = std::move(node);
    return cast;
}

// Operators

NodePtr ExpressionChecker::CheckUnary(const Expression& expression) {
    NodePtr operand = Check(*expression.left);
    if (operand->IsInvalid()) return operand;
    ValueType type = operand->type;
    bool isNot = expression.kind == ExpressionKind::NOT;
    if (type.Is(TypeKind::VARIANT)) {
        if (!isNot)
            return Binary(Operation::SUBTRACT, Constant(0, expression.span), std::move(operand), expression.span);
        operand = Convert(std::move(operand), BOOLEAN_TYPE);
        type = BOOLEAN_TYPE;
    }
    bool fits = isNot ? type.Is(TypeKind::BOOLEAN) || type.Is(TypeKind::INTEGER) : type.IsNumber();
    if (!fits) {
        Error(expression.nameSpan,
              std::string("\"") + (isNot ? "Not" : "-") + "\" cannot be applied to " + operand->type.Text());
        return Invalid(expression.span);
    }
    if (operand->IsConstant()) {
        if (type.Is(TypeKind::BOOLEAN)) return Constant(!std::get<bool>(operand->constant), expression.span);
        if (type.Is(TypeKind::DOUBLE)) return Constant(-std::get<double>(operand->constant), expression.span);
        int32_t value = std::get<int32_t>(operand->constant);
        return Constant(isNot ? ~value : WrappingSubtract(0, value), expression.span);
    }
    auto node = Make(isNot ? NodeKind::NOT : NodeKind::NEGATE, type, expression.span);
    node->left = std::move(operand);
    return node;
}

NodePtr ExpressionChecker::CheckIsA(const Expression& expression) {
    NodePtr object = Check(*expression.left);
    ClassSymbol* cls = environment_.FindClass(expression.name);
    if (cls == nullptr) {
        Error(expression.nameSpan,
              "there is no class \"" + expression.name + "\"" + Suggestion(expression.name, environment_.ClassNames()));
    }
    if (object->IsInvalid() || cls == nullptr) return Invalid(expression.span);
    bool isObject = object->type.Is(TypeKind::OBJECT) || object->type.Is(TypeKind::VARIANT);
    if (!isObject) {
        Error(object->span, "\"IsA\" needs an object, not " + object->type.Text());
        return Invalid(expression.span);
    }
    if (object->type.Is(TypeKind::OBJECT) && !object->type.cls->IsA(cls) && !cls->IsA(object->type.cls)) {
        Error(expression.span, "a value of class " + object->type.Text() + " is never a " + cls->name);
        return Invalid(expression.span);
    }
    auto node = Make(NodeKind::IS_A, BOOLEAN_TYPE, expression.span);
    node->cls = cls;
    node->left = std::move(object);
    return node;
}

NodePtr ExpressionChecker::SelfNode(const Span& span) {
    return Make(NodeKind::SELF, {TypeKind::OBJECT, TypeKind::INVALID, context_.cls}, span);
}

NodePtr ExpressionChecker::CheckSelf(const Expression& expression) {
    if (context_.cls != nullptr) return SelfNode(expression.span);
    Error(expression.span, "\"Self\" has a meaning only in a method");
    return Invalid(expression.span);
}

// Names

ValueType ExpressionChecker::ResolveType(const TypeName& type) {
    ValueType resolved = environment_.TypeNamed(type.name, type.isArray);
    if (resolved.Is(TypeKind::INVALID)) {
        std::vector<std::string> names = environment_.ClassNames();
        for (const char* basic : {"Integer", "Double", "Boolean", "String", "Variant"}) names.emplace_back(basic);
        Error(type.span, "there is no type \"" + type.name + "\"" + Suggestion(type.name, names));
    }
    return resolved;
}

ValueType ExpressionChecker::ResolveType(const ast::Variable& variable) {
    bool isNew = variable.value != nullptr && variable.value->nameSpan.offset == variable.type.span.offset;
    return isNew ? environment_.TypeNamed(variable.type.name, variable.type.isArray) : ResolveType(variable.type);
}

VariableSymbol* ExpressionChecker::FindLocal(std::string_view name) {
    for (auto scope = context_.scopes.rbegin(); scope != context_.scopes.rend(); ++scope) {
        for (auto variable = scope->rbegin(); variable != scope->rend(); ++variable) {
            if (EqualNames((*variable)->name, name)) return *variable;
        }
    }
    return nullptr;
}

bool ExpressionChecker::IsBeforeDeclaration(const VariableSymbol& variable) const {
    return context_.isTopLevel && !variable.isDeclared;
}

NodePtr ExpressionChecker::VariableNode(VariableSymbol* variable, const Span& span) {
    if (IsBeforeDeclaration(*variable)) {
        Error(span, "\"" + variable->name + "\" is used before its declaration");
        return Invalid(span);
    }
    // Statements keep their variables in registers unless a function uses them too.
    if (variable->isTopLevel && !context_.isTopLevel && !variable->isGlobal) {
        variable->isGlobal = true;
        variable->slot = environment_.NewGlobal(StorageOf(variable->type));
    }
    variable->isUsed = true;
    auto node = Make(NodeKind::VARIABLE, variable->type, span);
    node->variable = variable;
    return node;
}

NodePtr ExpressionChecker::PropertyNode(NodePtr object, PropertySymbol* property, const Span& span) {
    auto node = Make(property->isField ? NodeKind::FIELD : NodeKind::PROPERTY, property->type, span);
    node->property = property;
    node->left = std::move(object);
    if (property->type.Is(TypeKind::INVALID) && property->native != nullptr) {
        Error(span, "the type \"" + property->native->type.Text() + "\" of \"" + property->name + "\" is unknown");
    }
    return node;
}

NodePtr ExpressionChecker::ConstantNode(ConstantSymbol& constant, const Span& span) {
    if (constant.expression != nullptr && !Evaluate(constant)) return Invalid(span);
    return constant.type.Is(TypeKind::INVALID) ? Invalid(span) : Constant(constant.value, span);
}

bool ExpressionChecker::Evaluate(ConstantSymbol& constant) {
    if (constant.expression == nullptr) return !constant.type.Is(TypeKind::INVALID);
    if (constant.isBeingEvaluated) {
        Error(constant.span, "the constant \"" + constant.name + "\" depends on itself");
        return false;
    }
    constant.isBeingEvaluated = true;
    NodePtr node;
    if (constant.owner != nullptr || constant.module != nullptr) {
        FunctionContext context;
        context.cls = constant.owner;
        context.module = constant.module;
        node = ExpressionChecker(environment_, diagnostics_, context).Check(*constant.expression);
    } else {
        node = Check(*constant.expression);
    }
    constant.isBeingEvaluated = false;
    constant.expression = nullptr;
    constant.type = INVALID_TYPE;
    if (node->IsInvalid()) return false;
    if (!node->IsConstant() || node->type.Is(TypeKind::NIL)) {
        Error(node->span, "the value of a constant must be constant");
        return false;
    }
    constant.type = node->type;
    constant.value = node->constant;
    return true;
}

NodePtr ExpressionChecker::ResolveValue(std::string_view name, const Span& span) {
    if (VariableSymbol* variable = FindLocal(name)) return VariableNode(variable, span);
    for (auto scope = context_.constantScopes.rbegin(); scope != context_.constantScopes.rend(); ++scope) {
        for (ConstantSymbol* constant : *scope) {
            if (EqualNames(constant->name, name)) return ConstantNode(*constant, span);
        }
    }
    if (context_.cls != nullptr) {
        if (PropertySymbol* property = environment_.FindProperty(context_.cls, name)) {
            return PropertyNode(SelfNode(span), property, span);
        }
        if (ConstantSymbol* constant = environment_.FindConstant(context_.cls, name)) {
            return ConstantNode(*constant, span);
        }
    }
    std::string key = LowerCase(name);
    if (context_.module != nullptr) {
        auto variable = context_.module->variables.find(key);
        if (variable != context_.module->variables.end()) return VariableNode(variable->second.get(), span);
        auto constant = context_.module->constants.find(key);
        if (constant != context_.module->constants.end()) return ConstantNode(*constant->second, span);
    }
    VariableSymbol* variable = environment_.FindVariable(name);
    // A name may be that of a class or function until a variable of that name is declared.
    bool isOther = variable != nullptr && IsBeforeDeclaration(*variable)
                   && (environment_.FindClass(name) != nullptr || environment_.FindModule(name) != nullptr
                       || !environment_.FindFunctions(name).empty());
    if (variable != nullptr && !isOther) return VariableNode(variable, span);
    if (ConstantSymbol* constant = environment_.FindConstant(name)) return ConstantNode(*constant, span);
    return nullptr;
}

std::vector<FunctionSymbol*> ExpressionChecker::ResolveFunctions(std::string_view name, bool& onSelf) {
    onSelf = false;
    // A constructor may call another of its class.
    bool inConstructor = context_.function != nullptr && EqualNames(context_.function->name, "Constructor");
    bool isCallable = !IsReserved(name) || (inConstructor && EqualNames(name, "Constructor"));
    if (context_.cls != nullptr && isCallable) {
        auto methods = IsReserved(name) ? environment_.FindConstructors(context_.cls)
                                        : environment_.FindMethods(context_.cls, name);
        if (!methods.empty()) {
            onSelf = true;
            return methods;
        }
    }
    if (context_.module != nullptr) {
        auto found = context_.module->functions.find(LowerCase(name));
        if (found != context_.module->functions.end()) {
            std::vector<FunctionSymbol*> functions;
            for (const auto& function : found->second) functions.push_back(function.get());
            return functions;
        }
    }
    return environment_.FindFunctions(name);
}

NodePtr ExpressionChecker::UnknownName(const Expression& expression) {
    const std::string& name = expression.name;
    const Span& span = expression.nameSpan;
    if (environment_.FindClass(name) != nullptr) {
        Error(span, "\"" + name + "\" is a class (use \"New " + name + "\" to make an object)");
    } else if (environment_.FindModule(name) != nullptr) {
        Error(span, "\"" + name + "\" is a module");
    } else {
        std::vector<std::string> names = environment_.GlobalNames();
        for (const auto& scope : context_.scopes) {
            for (const VariableSymbol* variable : scope) names.push_back(variable->name);
        }
        if (context_.cls != nullptr) {
            for (std::string& member : environment_.MemberNames(context_.cls)) names.push_back(std::move(member));
        }
        if (context_.module != nullptr) {
            for (std::string& member : environment_.MemberNames(*context_.module)) names.push_back(std::move(member));
        }
        for (std::string& cls : environment_.ClassNames()) names.push_back(std::move(cls));
        Error(span, "unknown name \"" + name + "\"" + Suggestion(name, names));
    }
    return Invalid(expression.span);
}

NodePtr ExpressionChecker::CheckName(const Expression& expression, Use use) {
    if (NodePtr value = ResolveValue(expression.name, expression.span)) {
        bool isWriteOnly = value->property != nullptr && !value->property->isReadable;
        if (!isWriteOnly) return value;
        Error(expression.span, "\"" + expression.name + "\" can only be set");
        return Invalid(expression.span);
    }
    bool onSelf = false;
    auto functions = ResolveFunctions(expression.name, onSelf);
    if (functions.empty()) return UnknownName(expression);
    return Call(onSelf ? SelfNode(expression.span) : nullptr, functions, {}, expression.span, expression.nameSpan, use);
}

// Members

ModuleSymbol* ExpressionChecker::QualifyingModule(const Expression& expression) {
    if (expression.kind != ExpressionKind::NAME || IsInstanceName(expression)) return nullptr;
    return environment_.FindModule(expression.name);
}

ClassSymbol* ExpressionChecker::QualifyingClass(const Expression& expression) {
    if (expression.kind != ExpressionKind::NAME || IsInstanceName(expression)) return nullptr;
    return environment_.FindClass(expression.name);
}

bool ExpressionChecker::IsInstanceName(const Expression& expression) {
    std::string_view name = expression.name;
    if (FindLocal(name) != nullptr) return true;
    const VariableSymbol* variable = environment_.FindVariable(name);
    if (variable != nullptr && !IsBeforeDeclaration(*variable)) return true;
    if (context_.cls != nullptr && environment_.FindProperty(context_.cls, name) != nullptr) return true;
    if (context_.module != nullptr && context_.module->variables.contains(LowerCase(name))) return true;
    return false;
}

NodePtr ExpressionChecker::UnknownMember(const ValueType& type, const Expression& member) {
    if (IsReserved(member.name)) {
        Error(member.nameSpan, "\"" + member.name + "\" can only be called as \"Super." + member.name + "\"");
        return Invalid(member.span);
    }
    Error(member.nameSpan, type.Text() + " has no member \"" + member.name + "\""
                               + Suggestion(member.name, environment_.MemberNames(type.cls)));
    return Invalid(member.span);
}

NodePtr ExpressionChecker::CheckModuleMember(ModuleSymbol& module, const Expression& member, const Expression* call,
                                             Use use) {
    std::string key = LowerCase(member.name);
    const Span& span = call != nullptr ? call->span : member.span;
    NodePtr value;
    if (auto variable = module.variables.find(key); variable != module.variables.end()) {
        value = VariableNode(variable->second.get(), member.span);
    } else if (auto property = module.properties.find(key); property != module.properties.end()) {
        value = PropertyNode(nullptr, property->second.get(), member.span);
    } else if (auto constant = module.constants.find(key); constant != module.constants.end()) {
        value = ConstantNode(*constant->second, member.span);
    }
    if (value != nullptr) return call == nullptr ? std::move(value) : Index(std::move(value), *call);
    auto found = module.functions.find(key);
    if (found == module.functions.end()) {
        Error(member.nameSpan, module.name + " has no member \"" + member.name + "\""
                                   + Suggestion(member.name, environment_.MemberNames(module)));
        if (call != nullptr) CheckArguments(*call);
        return Invalid(span);
    }
    std::vector<FunctionSymbol*> functions;
    for (const auto& function : found->second) functions.push_back(function.get());
    auto arguments = call != nullptr ? CheckArguments(*call) : std::vector<NodePtr>();
    return Call(nullptr, functions, std::move(arguments), span, member.nameSpan, use);
}

NodePtr ExpressionChecker::CheckClassMember(ClassSymbol& cls, const Expression& member) {
    if (ConstantSymbol* constant = environment_.FindConstant(&cls, member.name)) {
        return ConstantNode(*constant, member.span);
    }
    ValueType type{TypeKind::OBJECT, TypeKind::INVALID, &cls};
    bool isMember =
        environment_.FindProperty(&cls, member.name) != nullptr || !environment_.FindMethods(&cls, member.name).empty();
    if (!isMember) return UnknownMember(type, member);
    Error(member.nameSpan, "\"" + member.name + "\" needs an object of class " + cls.name);
    return Invalid(member.span);
}

NodePtr ExpressionChecker::CheckSuperCall(const Expression& member, const Expression& call, Use use) {
    auto arguments = &call == &member ? std::vector<NodePtr>() : CheckArguments(call);
    if (context_.cls == nullptr || context_.cls->super == nullptr) {
        Error(member.left->span, context_.cls == nullptr ? "\"Super\" has a meaning only in a method"
                                                         : "class " + context_.cls->name + " has no superclass");
        return Invalid(call.span);
    }
    ClassSymbol* super = context_.cls->super;
    bool isConstructor = EqualNames(member.name, "Constructor");
    auto methods = isConstructor ? environment_.FindConstructors(super) : environment_.FindMethods(super, member.name);
    if (isConstructor && methods.empty()) {
        if (!arguments.empty()) Error(call.span, "the constructor of " + super->name + " takes no arguments");
        auto nothing = Make(NodeKind::CONSTANT, NO_TYPE, call.span);
        return nothing;
    }
    if (methods.empty()) {
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
            NodePtr value = CheckClassMember(*cls, member);
            if (call == nullptr || value->IsInvalid()) return value;
            return Index(std::move(value), *call);
        }
    }

    NodePtr object = Check(*member.left);
    const ValueType type = object->type;
    if (object->IsInvalid()) {
        if (call != nullptr) CheckArguments(*call);
        return Invalid(whole.span);
    }
    if (type.Is(TypeKind::ARRAY)) return CheckArrayMember(std::move(object), member, call);
    if (!type.Is(TypeKind::OBJECT)) {
        std::string hint = type.Is(TypeKind::VARIANT) ? " (cast it to its class first)" : "";
        Error(member.nameSpan, type.Text() + " has no members" + hint);
        if (call != nullptr) CheckArguments(*call);
        return Invalid(whole.span);
    }
    auto methods =
        IsReserved(member.name) ? std::vector<FunctionSymbol*>() : environment_.FindMethods(type.cls, member.name);
    PropertySymbol* property = environment_.FindProperty(type.cls, member.name);
    if (property != nullptr && (call == nullptr || methods.empty())) {
        if (!property->isReadable) {
            Error(member.nameSpan, type.Text() + "." + property->name + " can only be set");
            return Invalid(whole.span);
        }
        NodePtr value = PropertyNode(std::move(object), property, member.span);
        return call == nullptr ? std::move(value) : Index(std::move(value), *call);
    }
    auto arguments = call != nullptr ? CheckArguments(*call) : std::vector<NodePtr>();
    if (!methods.empty()) {
        return Call(std::move(object), methods, std::move(arguments), whole.span, member.nameSpan, use);
    }
    if (ConstantSymbol* constant = environment_.FindConstant(type.cls, member.name);
        (constant != nullptr) && call == nullptr) {
        return ConstantNode(*constant, member.span);
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

// Calls

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
        return Index(std::move(array), expression);
    }

    bool onSelf = false;
    auto functions = ResolveFunctions(callee.name, onSelf);
    NodePtr value = functions.empty() || IsInstanceName(callee) ? ResolveValue(callee.name, callee.span) : nullptr;
    bool isArray = value != nullptr && (value->type.Is(TypeKind::ARRAY) || value->IsInvalid());
    if (isArray) return Index(std::move(value), expression);
    if (functions.empty()) {
        // A variable may have the name of a class; as it cannot be called, the class is meant.
        ValueType type = environment_.TypeNamed(callee.name, false);
        if (!type.Is(TypeKind::INVALID)) return CheckCast(type, expression);
        if (value != nullptr) return Index(std::move(value), expression);
    }
    auto arguments = CheckArguments(expression);
    if (!functions.empty()) {
        NodePtr self = onSelf ? SelfNode(callee.span) : nullptr;
        return Call(std::move(self), functions, std::move(arguments), expression.span, callee.nameSpan, use);
    }
    if (EqualNames(callee.name, "Ubound") && arguments.size() == 1) {
        if (arguments[0]->IsInvalid()) return Invalid(expression.span);
        if (arguments[0]->type.Is(TypeKind::ARRAY)) {
            auto node = Make(NodeKind::ARRAY_CALL, INTEGER_TYPE, expression.span);
            node->arrayOperation = ArrayOperation::UBOUND;
            node->left = std::move(arguments[0]);
            return node;
        }
        Error(arguments[0]->span, "expected an array, not " + arguments[0]->type.Text());
        return Invalid(expression.span);
    }
    if (EqualNames(callee.name, "Array") && !arguments.empty()) {
        ValueType element = arguments[0]->type;
        // Integer and Double values together make an array of Doubles, classes one of the class they share.
        for (NodePtr& argument : arguments) {
            if (argument->IsInvalid()) return Invalid(expression.span);
            bool fits = ConversionCost(*argument, element) >= 0;
            auto probe = Make(NodeKind::REGISTER, element, argument->span);
            if (!fits && ConversionCost(*probe, argument->type) >= 0) element = argument->type;
        }
        if (element.Is(TypeKind::NIL) || element.Is(TypeKind::ARRAY)) {
            Error(expression.span, "an array cannot hold " + element.Text());
            return Invalid(expression.span);
        }
        for (NodePtr& argument : arguments) argument = Convert(std::move(argument), element);
        auto node = Make(NodeKind::ARRAY, element.ArrayOf(), expression.span);
        node->arguments = std::move(arguments);
        return node;
    }
    return UnknownName(callee);
}

NodePtr ExpressionChecker::CheckNew(const Expression& expression) {
    auto arguments = CheckArguments(expression);
    ClassSymbol* cls = environment_.FindClass(expression.name);
    if (cls == nullptr) {
        Error(expression.nameSpan,
              "there is no class \"" + expression.name + "\"" + Suggestion(expression.name, environment_.ClassNames()));
        return Invalid(expression.span);
    }
    auto node = Make(NodeKind::NEW, {TypeKind::OBJECT, TypeKind::INVALID, cls}, expression.span);
    node->cls = cls;
    auto constructors = environment_.FindConstructors(cls);
    if (constructors.empty()) {
        if (!arguments.empty()) Error(expression.span, "the constructor of " + cls->name + " takes no arguments");
        return node;
    }
    NodePtr call =
        Call(nullptr, constructors, std::move(arguments), expression.span, expression.nameSpan, Use::STATEMENT);
    if (call->kind == NodeKind::INVALID) return Invalid(expression.span);
    node->function = call->function;
    node->arguments = std::move(call->arguments);
    return node;
}

NodePtr ExpressionChecker::Index(NodePtr array, const Expression& call) {
    auto arguments = CheckArguments(call);
    if (array->IsInvalid()) return Invalid(call.span);
    if (!array->type.Is(TypeKind::ARRAY)) {
        Error(array->span, "expected an array or a function, not " + array->type.Text());
        return Invalid(call.span);
    }
    if (arguments.size() != 1) {
        Error(call.span, "an array takes one index");
        return Invalid(call.span);
    }
    auto node = Make(NodeKind::ELEMENT, array->type.Element(), call.span);
    node->left = std::move(array);
    node->right = Convert(std::move(arguments[0]), INTEGER_TYPE);
    return node->right->IsInvalid() ? Invalid(call.span) : std::move(node);
}

NodePtr ExpressionChecker::CheckArrayMember(NodePtr array, const Expression& member, const Expression* call) {
    struct Row {
        const char* name;
        ArrayOperation operation;
        const char* parameters; // i an index, e an element
    };
    static constexpr Row ROWS[] = {
        {"Append", ArrayOperation::APPEND, "e"},    {"Insert", ArrayOperation::INSERT, "ie"},
        {"Remove", ArrayOperation::REMOVE, "i"},    {"Ubound", ArrayOperation::UBOUND, ""},
        {"Sort", ArrayOperation::SORT, ""},         {"Pop", ArrayOperation::POP, ""},
        {"IndexOf", ArrayOperation::INDEX_OF, "e"},
    };
    const Span& span = call != nullptr ? call->span : member.span;
    const ValueType element = array->type.Element();
    auto arguments = call != nullptr ? CheckArguments(*call) : std::vector<NodePtr>();
    auto row = std::find_if(std::begin(ROWS), std::end(ROWS),
                            [&member](const Row& candidate) { return EqualNames(candidate.name, member.name); });
    if (row == std::end(ROWS)) {
        std::vector<std::string> names;
        for (const Row& known : ROWS) names.emplace_back(known.name);
        Error(member.nameSpan, "an array has no member \"" + member.name + "\"" + Suggestion(member.name, names));
        return Invalid(span);
    }
    std::string_view parameters = row->parameters;
    if (arguments.size() != parameters.size()) {
        Error(span, std::string(row->name) + " takes " + Plural(parameters.size(), "argument") + ", not "
                        + std::to_string(arguments.size()));
        return Invalid(span);
    }
    bool isSortable = element.IsNumber() || element.Is(TypeKind::STRING);
    if (row->operation == ArrayOperation::SORT && !isSortable) {
        Error(member.nameSpan, "only arrays of Integer, Double and String can be sorted");
        return Invalid(span);
    }
    ValueType result = NO_TYPE;
    if (row->operation == ArrayOperation::UBOUND || row->operation == ArrayOperation::INDEX_OF) result = INTEGER_TYPE;
    if (row->operation == ArrayOperation::POP) result = element;
    auto node = Make(NodeKind::ARRAY_CALL, result, span);
    node->arrayOperation = row->operation;
    node->left = std::move(array);
    for (size_t i = 0; i < arguments.size(); ++i) {
        node->arguments.push_back(Convert(std::move(arguments[i]), parameters[i] == 'i' ? INTEGER_TYPE : element));
        if (node->arguments[i]->IsInvalid()) return Invalid(span);
    }
    return node;
}

NodePtr ExpressionChecker::Call(NodePtr object, const std::vector<FunctionSymbol*>& overloads,
                                std::vector<NodePtr> arguments, const Span& span, const Span& nameSpan, Use use,
                                NodePtr assigned) {
    for (const NodePtr& argument : arguments) {
        if (argument->IsInvalid()) return Invalid(span);
    }
    FunctionSymbol* function = Choose(overloads, arguments, nameSpan, use, assigned.get());
    if (function == nullptr) return Invalid(span);
    auto node = Make(NodeKind::CALL, function->result, span);
    node->function = function;
    node->left = std::move(object);
    for (size_t i = 0; i < function->parameters.size(); ++i) {
        const ParameterSymbol& parameter = function->parameters[i];
        NodePtr argument;
        if (i < arguments.size()) {
            argument = std::move(arguments[i]);
        } else {
            argument = Constant(*parameter.defaultValue, span);
        }
        argument = Convert(std::move(argument), parameter.type);
        if (argument->IsInvalid()) return Invalid(span);
        bool isVariable = argument->kind == NodeKind::VARIABLE || argument->kind == NodeKind::FIELD;
        if (parameter.isByRef && !isVariable) {
            Error(argument->span, "a variable is needed here: \"" + parameter.name + "\" is passed ByRef");
            return Invalid(span);
        }
        node->arguments.push_back(std::move(argument));
    }
    if (assigned != nullptr) {
        node->arguments.push_back(Convert(std::move(assigned), function->result));
        if (node->arguments.back()->IsInvalid()) return Invalid(span);
        node->type = NO_TYPE;
    } else if (function->result.Is(TypeKind::INVALID)) {
        Error(nameSpan, "the type of the result of \"" + function->name + "\" is unknown");
    }
    return node;
}

FunctionSymbol* ExpressionChecker::Choose(const std::vector<FunctionSymbol*>& overloads,
                                          const std::vector<NodePtr>& arguments, const Span& nameSpan, Use use,
                                          const Node* assigned) {
    constexpr int NO_RESULT = 10000; // chosen only when nothing else fits
    FunctionSymbol* best = nullptr;
    FunctionSymbol* rival = nullptr;
    int bestCost = 0;
    for (FunctionSymbol* function : overloads) {
        if (arguments.size() < function->RequiredArguments() || arguments.size() > function->parameters.size())
            continue;
        if (assigned != nullptr && !function->IsAssignable()) continue;
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
        if (assigned != nullptr) {
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
