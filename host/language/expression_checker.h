// Checks expressions: resolves names, chooses overloads, inserts conversions.
#pragma once

#include "host/language/environment.h"
#include "host/language/node.h"
#include "host/language/suggestion.h"

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
    Names<std::vector<VariableSymbol*>> locals;               // those of the scopes, innermost last
    std::vector<std::vector<ConstantSymbol*>> constantScopes; // of the same blocks
    std::vector<std::pair<uint16_t, ValueType>> withObjects;  // registers of what With blocks name, innermost last

    void AddLocal(VariableSymbol& variable);
    void CloseScope();
};

// What an expression is checked for: its value, its effect, or being assigned to.
enum class Use : uint8_t { VALUE, STATEMENT, TARGET };

class ExpressionChecker {
public:
    ExpressionChecker(Environment& environment, DiagnosticList& diagnostics, FunctionContext& context)
        : environment_(environment), diagnostics_(diagnostics), context_(context) {}

    // Never null; INVALID after an error. A VALUE has a type other than NOTHING.
    NodePtr Check(const ast::Expression& expression, Use use = Use::VALUE);
    // The expression converted to a type, as for an assignment.
    NodePtr CheckAs(const ast::Expression& expression, const ValueType& type);
    NodePtr CheckCondition(const ast::Expression& expression);
    NodePtr Convert(NodePtr node, const ValueType& type);
    NodePtr Binary(ast::Operation operation, NodePtr left, NodePtr right, const Span& span);

    // Where an assignment stores: a VARIABLE, FIELD, PROPERTY or ELEMENT, or the CALL of a method with a setter.
    NodePtr CheckPlace(const ast::Expression& target);
    // The value of `place operation value`, for += and the like.
    NodePtr CheckCompound(const ast::Statement& statement, const Node& place, NodePtr value);
    // Whether the value can be stored there, and is converted for it. A CALL takes it as its last argument; `value` is
    // null then, and the call stores.
    bool CheckStore(const ast::Expression& target, Node& place, NodePtr& value);
    // The variable of a For; null when there is none of the name.
    NodePtr CheckVariable(const std::string& name, const Span& span);

    // Computes the value of a program's constant; reports when it is not constant.
    bool Evaluate(ConstantSymbol& constant);

    // The call without arguments with which a constructor begins that calls none itself; null where there is none.
    NodePtr InheritedConstructor(const FunctionSymbol& constructor);
    // The call that sets the initial values of inherited properties; null where there are none.
    NodePtr InheritedInitializer(const ClassSymbol& cls);
    // A property of the object itself, or of `object`; null for a module's.
    NodePtr PropertyNode(NodePtr object, PropertySymbol* property, const Span& span);
    NodePtr SelfNode(const Span& span);
    // What For Each takes from a list in a register: the number of items (null for arrays) and the one of the index in
    // another. Both are null after an error.
    struct Items {
        NodePtr count;
        NodePtr item;
    };
    Items CheckItems(const Node& list, uint16_t listRegister, uint16_t index);
    // What AddHandler or RemoveHandler does.
    NodePtr CheckHandler(const ast::Statement& statement);
    bool IsException(const ValueType& type);
    ValueType CaughtType(const ast::Branch& branch);

    ValueType ResolveType(const TypeName& type);
    // Of a variable; an unknown class of `As New C` is left to the check of its value.
    ValueType ResolveType(const ast::Variable& variable);
    VariableSymbol* FindLocal(std::string_view name);

private:
    void Error(const Span& span, std::string message) { diagnostics_.Error(span, std::move(message)); }

    NodePtr CheckName(const ast::Expression& expression, Use use);
    NodePtr CheckCall(const ast::Expression& expression, Use use);
    NodePtr CheckNew(const ast::Expression& expression);
    NodePtr CheckUnary(const ast::Expression& expression);
    NodePtr CheckConditional(const ast::Expression& expression);
    NodePtr CheckIsA(const ast::Expression& expression);
    NodePtr CheckSelf(const ast::Expression& expression);
    NodePtr CheckRaise(const ast::Expression& expression, Use use);
    // Super.Event(…)
    NodePtr CheckInheritedHandler(EventSymbol& event, std::vector<NodePtr> arguments, const ast::Expression& member,
                                  const Span& span, Use use);
    NodePtr CheckAddress(const ast::Expression& expression);
    NodePtr BindAddress(NodePtr address, const ValueType& type);
    NodePtr CallDelegate(NodePtr delegate, const ast::Expression& call, Use use);

    // What a name means as it stands, without a call: a value, or nothing (null, nothing reported).
    NodePtr ResolveValue(std::string_view name, const Span& span);
    NodePtr UseVariable(VariableSymbol* variable, const Span& span);
    bool IsBeforeDeclaration(const VariableSymbol& variable) const;
    NodePtr SymbolValue(ConstantSymbol& constant, const Span& span);
    // The functions a bare name can call, and the object for them (Self, or null).
    std::vector<FunctionSymbol*> ResolveFunctions(std::string_view name, bool& onSelf);
    // `hint` is told when nothing else comes to mind.
    NodePtr UnknownName(const ast::Expression& expression, const std::string& hint = {});
    NodePtr UnknownMember(const ValueType& type, const ast::Expression& expression);

    NodePtr SharedValue(PropertySymbol& property, const ast::Expression& member, Use use);
    NodePtr CheckModuleMember(ModuleSymbol& module, const ast::Expression& member, const ast::Expression* call,
                              Use use);
    NodePtr CheckClassMember(ClassSymbol& cls, const ast::Expression& member, const ast::Expression* call, Use use);
    // The class whose members are known here, in its methods and in its shared ones; may be null.
    ClassSymbol* Here() const;
    // Whether a member of the class or module may be used here; reports when it may not.
    bool CheckAccess(const std::string& name, ast::Visibility visibility, const ClassSymbol* owner,
                     const ModuleSymbol* module, const Span& span);
    bool CheckAccess(const FunctionSymbol& function, const Span& span);
    NodePtr CheckSuperCall(const ast::Expression& member, const ast::Expression& call, Use use);
    NodePtr CheckArrayMember(NodePtr array, const ast::Expression& member, const ast::Expression* call);
    NodePtr CheckSort(NodePtr array, std::vector<NodePtr> arguments, const Span& span, const Span& nameSpan);
    NodePtr CheckMemberCall(const ast::Expression& member, const ast::Expression* call, Use use);
    // A call of a function that extends the object's type with a method of the name; null when there is none.
    NodePtr ExtensionCall(NodePtr& object, const ast::Expression& member, const ast::Expression* call, Use use);
    // What a method call on a node would be; null when there is no such method.
    NodePtr CallMember(NodePtr object, const std::string& name, std::vector<NodePtr> arguments, const Span& span);
    NodePtr ConvertElements(NodePtr array, const ValueType& type);
    NodePtr CheckCast(const ValueType& type, const ast::Expression& call);
    // What `value(arguments)` is: an element of an array, or a call of a delegate.
    NodePtr Index(NodePtr array, const ast::Expression& call, Use use = Use::VALUE);
    NodePtr Element(NodePtr array, NodePtr index, const Span& span);
    std::string ItemHint(const ValueType& type);
    NodePtr UpperBound(NodePtr array, const Span& span);
    NodePtr ArrayOf(std::vector<NodePtr> elements, const Span& span);
    std::vector<NodePtr> CheckArguments(const ast::Expression& call);

    // Chooses among the overloads and makes the call.
    NodePtr Call(NodePtr object, const std::vector<FunctionSymbol*>& overloads, std::vector<NodePtr> arguments,
                 const Span& span, const Span& nameSpan, Use use);
    FunctionSymbol* Choose(const std::vector<FunctionSymbol*>& overloads, const std::vector<NodePtr>& arguments,
                           const Span& nameSpan, Use use);
    void ReportNoOverload(const std::vector<FunctionSymbol*>& overloads, const std::vector<NodePtr>& arguments,
                          const Span& nameSpan);

    // The places that a target of each kind stands for; null where a call may have a setter.
    NodePtr NamePlace(const ast::Expression& target);
    NodePtr MemberPlace(const ast::Expression& target);
    NodePtr ElementPlace(const ast::Expression& target);
    NodePtr CallPlace(const ast::Expression& target);

    // The cost of passing a value where a type is wanted: 0 exact, negative impossible.
    static int ConversionCost(const ValueType& from, const ValueType& type);
    // A Double as it is written may stand for a Currency.
    static int ConversionCost(const Node& value, const ValueType& type);
    // The more general of the two types.
    static ValueType CommonType(const Node& left, const Node& right);
    // A number as one of another type; a constant at once.
    NodePtr NumberNode(NodePtr node, const ValueType& type);
    bool IsInstanceName(const ast::Expression& expression);
    void NoteType(const std::string& name, const Span& span);
    ModuleSymbol* QualifyingModule(const ast::Expression& expression);
    ClassSymbol* QualifyingClass(const ast::Expression& expression);

    Environment& environment_;
    DiagnosticList& diagnostics_;
    FunctionContext& context_;
};

} // namespace host::language
