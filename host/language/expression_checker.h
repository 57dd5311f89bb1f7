// Checks expressions: resolves names, chooses overloads, inserts conversions.
#pragma once

#include "host/language/environment.h"
#include "host/language/node.h"
#include "host/language/suggestion.h"

#include <functional>
#include <string>
#include <vector>

namespace host::language {

// The function that an expression stands in, and what is visible there.
struct FunctionContext {
    ClassSymbol* cls = nullptr; // of a method or event handler
    ModuleSymbol* module = nullptr;
    FunctionSymbol* function = nullptr;                       // null: the program's statements
    bool isTopLevel = false;                                  // statements outside of functions
    std::vector<std::vector<VariableSymbol*>> scopes;         // innermost last
    std::vector<std::vector<ConstantSymbol*>> constantScopes; // of the same blocks
};

// How the value of an expression is used.
enum class Use { VALUE, STATEMENT };

class ExpressionChecker {
public:
    ExpressionChecker(Environment& environment, DiagnosticList& diagnostics, FunctionContext& context)
        : environment_(environment), diagnostics_(diagnostics), context_(context) {}

    // Never null; INVALID after an error. A VALUE has a type other than NOTHING.
    NodePtr Check(const ast::Expression& expression, Use use = Use::VALUE);
    // The expression converted to a type, as for an assignment; `what` is named in the error: "cannot assign …".
    NodePtr CheckAs(const ast::Expression& expression, const ValueType& type);
    NodePtr CheckCondition(const ast::Expression& expression);
    // What assigns `value` to `target`: a VARIABLE, FIELD, PROPERTY or ELEMENT node for the place, with the value to
    // store in `converted`; or a CALL of a setter with the value as last argument and `converted` null.
    NodePtr CheckTarget(const ast::Expression& target, const ast::Expression& value, NodePtr& converted);
    // A target without a value yet, such as the variable of a For.
    NodePtr CheckVariable(const std::string& name, const Span& span);
    NodePtr Convert(NodePtr node, const ValueType& type);
    NodePtr Binary(ast::Operation operation, NodePtr left, NodePtr right, const Span& span);
    // Computes the value of a program's constant; reports when it is not constant.
    bool Evaluate(ConstantSymbol& constant);
    // What a method call on a node would be; null when there is no such method. For For Each over lists.
    NodePtr CallMember(NodePtr object, const std::string& name, std::vector<NodePtr> arguments, const Span& span);

    ValueType ResolveType(const TypeName& type);
    // Of a variable; an unknown class of `As New C` is left to the check of its value.
    ValueType ResolveType(const ast::Variable& variable);
    VariableSymbol* FindLocal(std::string_view name);
    NodePtr Constant(ConstantValue value, const Span& span);
    NodePtr Invalid(const Span& span);
    void Error(const Span& span, std::string message) { diagnostics_.Error(span, std::move(message)); }

private:
    NodePtr Make(NodeKind kind, const ValueType& type, const Span& span);
    NodePtr CheckConstant(const ast::Expression& expression);
    NodePtr CheckName(const ast::Expression& expression, Use use);
    NodePtr CheckMember(const ast::Expression& expression, Use use);
    NodePtr CheckCall(const ast::Expression& expression, Use use);
    NodePtr CheckNew(const ast::Expression& expression);
    NodePtr CheckUnary(const ast::Expression& expression);
    NodePtr CheckIsA(const ast::Expression& expression);
    NodePtr CheckSelf(const ast::Expression& expression);

    // What a name means as it stands, without a call: a value, or nothing (null, nothing reported).
    NodePtr ResolveValue(std::string_view name, const Span& span);
    NodePtr VariableNode(VariableSymbol* variable, const Span& span);
    bool IsBeforeDeclaration(const VariableSymbol& variable) const;
    NodePtr PropertyNode(NodePtr object, PropertySymbol* property, const Span& span);
    NodePtr ConstantNode(ConstantSymbol& constant, const Span& span);
    NodePtr SelfNode(const Span& span);
    // The functions a bare name can call, and the object for them (Self, or null).
    std::vector<FunctionSymbol*> ResolveFunctions(std::string_view name, bool& onSelf);
    NodePtr UnknownName(const ast::Expression& expression);
    NodePtr UnknownMember(const ValueType& type, const ast::Expression& expression);

    NodePtr CheckModuleMember(ModuleSymbol& module, const ast::Expression& member, const ast::Expression* call,
                              Use use);
    NodePtr CheckClassMember(ClassSymbol& cls, const ast::Expression& member);
    NodePtr CheckSuperCall(const ast::Expression& member, const ast::Expression& call, Use use);
    NodePtr CheckArrayMember(NodePtr array, const ast::Expression& member, const ast::Expression* call);
    NodePtr CheckMemberCall(const ast::Expression& member, const ast::Expression* call, Use use);
    NodePtr CheckCast(const ValueType& type, const ast::Expression& call);
    NodePtr Index(NodePtr array, const ast::Expression& call);
    std::vector<NodePtr> CheckArguments(const ast::Expression& call);

    // Chooses among the overloads and makes the call; `value` is what is assigned to the call, if it is.
    NodePtr Call(NodePtr object, const std::vector<FunctionSymbol*>& overloads, std::vector<NodePtr> arguments,
                 const Span& span, const Span& nameSpan, Use use, NodePtr assigned = nullptr);
    FunctionSymbol* Choose(const std::vector<FunctionSymbol*>& overloads, const std::vector<NodePtr>& arguments,
                           const Span& nameSpan, Use use, const Node* assigned);
    void ReportNoOverload(const std::vector<FunctionSymbol*>& overloads, const std::vector<NodePtr>& arguments,
                          const Span& nameSpan);
    NodePtr AssignToCall(const ast::Expression& target, const ast::Expression& value);

    // The cost of passing a value where a type is wanted: 0 exact, negative impossible.
    int ConversionCost(const Node& node, const ValueType& type) const;
    bool IsInstanceName(const ast::Expression& expression);
    ModuleSymbol* QualifyingModule(const ast::Expression& expression);
    ClassSymbol* QualifyingClass(const ast::Expression& expression);

    Environment& environment_;
    DiagnosticList& diagnostics_;
    FunctionContext& context_;
};

} // namespace host::language
