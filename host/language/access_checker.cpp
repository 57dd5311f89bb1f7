// Checks who may use a member, and the members of classes themselves.
#include "host/language/expression_checker.h"

namespace host::language {

using ast::Expression;
using ast::Visibility;

ClassSymbol* ExpressionChecker::Here() const {
    if (context_.cls != nullptr) return context_.cls;
    return context_.module != nullptr ? context_.module->home : nullptr;
}

bool ExpressionChecker::CheckAccess(const std::string& name, Visibility visibility, const ClassSymbol* owner,
                                    const ModuleSymbol* module, const Span& span) {
    if (visibility == Visibility::PUBLIC) return true;
    const ClassSymbol* home = owner == nullptr && module != nullptr ? module->home : owner;
    const ClassSymbol* here = Here();
    bool isPrivate = visibility == Visibility::PRIVATE;
    bool isInside = home == nullptr ? context_.module == module
                                    : here == home || (!isPrivate && here != nullptr && here->IsA(home));
    if (isInside) return true;
    const std::string& place = home != nullptr ? home->name : module->name;
    // A member's name is the last word of the expression that uses it.
    Span word = span;
    if (word.length > name.size()) {
        word.offset += word.length - static_cast<uint32_t>(name.size());
        word.length = static_cast<uint32_t>(name.size());
    }
    Error(word,
          '"' + name + (isPrivate ? "\" is private to " + place : "\" is for " + place + " and its subclasses only"));
    return false;
}

bool ExpressionChecker::CheckAccess(const FunctionSymbol& function, const Span& span) {
    if (function.definition != nullptr)
        environment_.NoteUse(span, function.name, FirstDeclared(function).definition->declaration.span);
    return CheckAccess(function.name, function.visibility, function.owner, function.module, span);
}

NodePtr ExpressionChecker::CheckClassMember(ClassSymbol& cls, const Expression& member, const Expression* call,
                                            Use use) {
    NodePtr value;
    if (ConstantSymbol* constant = environment_.FindConstant(&cls, member.name)) {
        value = SymbolValue(*constant, member.span);
    } else if (VariableSymbol* variable = environment_.FindShared(&cls, member.name)) {
        value = UseVariable(variable, member.span);
    } else if (PropertySymbol* property = environment_.FindSharedProperty(&cls, member.name)) {
        value = SharedValue(*property, member, use);
    }
    if (value != nullptr) {
        return call == nullptr || value->IsInvalid() ? std::move(value) : Index(std::move(value), *call, use);
    }
    auto arguments = call != nullptr ? CheckArguments(*call) : std::vector<NodePtr>();
    const Span& span = call != nullptr ? call->span : member.span;
    auto functions = environment_.FindSharedFunctions(&cls, member.name);
    if (!functions.empty()) return Call(nullptr, functions, std::move(arguments), span, member.nameSpan, use);
    bool isMember =
        environment_.FindProperty(&cls, member.name) != nullptr || !environment_.FindMethods(&cls, member.name).empty();
    if (!isMember) return UnknownMember({TypeKind::OBJECT, TypeKind::INVALID, &cls}, member);
    Error(member.nameSpan, "\"" + member.name + "\" needs an object of class " + cls.name);
    return InvalidNode(member.span);
}

} // namespace host::language
