// Resolves the name at a place of a text, with what is known there.
#include "host/language/inspector.h"

#include "host/language/expression_checker.h"
#include "host/syntax/lexer.h"
#include "host/syntax/names.h"
#include "host/syntax/parser.h"

#include <algorithm>

namespace host {

using namespace language;

size_t StartOfExpression(std::string_view text) {
    int depth = 0;
    size_t start = text.size();
    for (; start > 0; --start) {
        char c = text[start - 1];
        if (c == '\n') break;
        if (c == ')' || c == ']') ++depth;
        if ((c == '(' || c == '[') && depth-- == 0) break;
        if (depth == 0 && !IsNamePart(c) && c != '.' && c != '"' && c != '(' && c != '[') break;
    }
    return start;
}

namespace {

class Inspector {
public:
    Inspector(Program& program, const std::string& text, size_t offset)
        : environment_(program.GetEnvironment()),
          text_(text),
          files_{std::make_shared<const SourceFile>("", text)},
          diagnostics_(files_),
          unit_(Parse(files_, 0, diagnostics_, {})),
          begin_(std::min(offset, text.size())) {
        end_ = begin_;
        while (begin_ > 0 && IsNamePart(text_[begin_ - 1])) --begin_;
        while (end_ < text_.size() && IsNamePart(text_[end_])) ++end_;
        Enter();
    }

    std::optional<NamedThing> Find() {
        std::string name(text_.substr(begin_, end_ - begin_));
        if (name.empty()) return std::nullopt;
        if (begin_ > 0 && text_[begin_ - 1] == '.') return FindMember(name);
        if (VariableSymbol* local = Checker().FindLocal(name)) return Describe(*local, Path());
        if (context_.cls != nullptr) {
            if (auto member = MemberOf(context_.cls, name)) return member;
        }
        if (context_.module != nullptr) {
            if (auto member = MemberOf(*context_.module, name)) return member;
        }
        if (VariableSymbol* variable = environment_.FindVariable(name))
            return Describe(*variable, FileOf(variable->span));
        if (ConstantSymbol* constant = environment_.FindConstant(name)) return Describe(*constant);
        auto functions = environment_.FindFunctions(name);
        if (!functions.empty()) return Describe(*functions[0]);
        if (ClassSymbol* cls = environment_.FindClass(name)) return Describe(*cls);
        if (ModuleSymbol* module = environment_.FindModule(name)) {
            NamedThing thing{"Module " + module->name, module->name, "", {}};
            if (module->definition != nullptr) thing.definition = {FileOf(module->span), module->span};
            return thing;
        }
        return std::nullopt;
    }

    std::vector<std::string> Complete() {
        std::string_view prefix = std::string_view(text_).substr(begin_, end_ - begin_);
        std::vector<std::string> names;
        if (begin_ > 0 && text_[begin_ - 1] == '.') {
            names = MemberNames();
        } else {
            names = environment_.GlobalNames();
            for (const VariableSymbol* variable : context_.scopes[0]) names.push_back(variable->name);
            auto add = [&names](const std::vector<std::string>& more) {
                names.insert(names.end(), more.begin(), more.end());
            };
            if (context_.cls != nullptr) add(environment_.MemberNames(context_.cls));
            if (context_.module != nullptr) add(environment_.MemberNames(*context_.module));
            add(environment_.ClassNames());
            for (std::string_view keyword : KeywordNames()) names.emplace_back(keyword);
        }
        std::erase_if(names, [prefix](const std::string& name) {
            return name.size() < prefix.size() || !SameName(std::string_view(name).substr(0, prefix.size()), prefix);
        });
        std::sort(names.begin(), names.end());
        names.erase(std::unique(names.begin(), names.end()), names.end());
        return names;
    }

private:
    ExpressionChecker Checker() { return {environment_, diagnostics_, context_}; }

    // Makes known what is known at the place: the function's class or module, its parameters and variables.
    void Enter() {
        context_.scopes.emplace_back();
        context_.constantScopes.emplace_back();
        context_.isTopLevel = true;
        for (const auto& cls : unit_->classes) {
            auto enter = [&](const auto& function) {
                if (function != nullptr && EnterFunction(*function)) context_.cls = environment_.FindClass(cls->name);
            };
            for (const auto& function : cls->functions) enter(function);
            for (const auto& property : cls->computed) {
                enter(property->getter);
                enter(property->setter);
            }
        }
        for (const auto& module : unit_->modules) {
            auto enter = [&](const auto& function) {
                if (function != nullptr && EnterFunction(*function))
                    context_.module = environment_.FindModule(module->name);
            };
            for (const auto& function : module->functions) enter(function);
            for (const auto& property : module->computed) {
                enter(property->getter);
                enter(property->setter);
            }
        }
        for (const auto& function : unit_->functions) EnterFunction(*function);
        if (context_.isTopLevel) AddVariables(unit_->statements);
    }

    bool EnterFunction(const ast::Function& function) {
        if (begin_ < function.span.offset || begin_ > function.endSpan.offset) return false;
        context_.isTopLevel = false;
        for (const Parameter& parameter : function.declaration.parameters) {
            AddVariable(parameter.name, parameter.span, parameter.type);
        }
        AddVariables(function.body);
        return true;
    }

    void AddVariables(const ast::Block& block) {
        for (const auto& statement : block) {
            for (const ast::Variable& variable : statement->variables) {
                AddVariable(variable.name, variable.span, variable.type);
            }
            if (!statement->type.name.empty()) AddVariable(statement->name, statement->nameSpan, statement->type);
            const bool isWith = statement->kind == ast::StatementKind::WITH && statement->span.offset < begin_
                                && begin_ <= statement->endSpan.offset;
            if (isWith) context_.withObjects.emplace_back(uint16_t{0}, Checker().Check(*statement->value)->type);
            AddVariables(statement->body);
            AddVariables(statement->elseBody);
            for (const ast::Branch& branch : statement->branches) {
                if (!branch.name.empty()) AddVariable(branch.name, branch.nameSpan, branch.type);
                AddVariables(branch.body);
            }
        }
    }

    void AddVariable(const std::string& name, const Span& span, const TypeName& type) {
        if (span.offset > begin_) return;
        auto variable = std::make_unique<VariableSymbol>();
        variable->name = name;
        variable->span = span;
        variable->type = environment_.TypeNamed(type.name, type.isArray);
        context_.AddLocal(*variable);
        variables_.push_back(std::move(variable));
    }

    // The type of what stands before the dot.
    ValueType TypeBeforeDot(std::string& object) {
        std::string_view before = std::string_view(text_).substr(0, begin_ - 1);
        object = before.substr(StartOfExpression(before));
        if (object.empty()) return context_.withObjects.empty() ? INVALID_TYPE : context_.withObjects.back().second;
        SourceFiles files{std::make_shared<const SourceFile>("", object)};
        DiagnosticList diagnostics(files);
        ast::ExpressionPtr expression = ParseExpression(files, 0, diagnostics);
        if (expression == nullptr) return INVALID_TYPE;
        return ExpressionChecker(environment_, diagnostics, context_).Check(*expression)->type;
    }

    std::vector<std::string> MemberNames() {
        std::string object;
        const ValueType type = TypeBeforeDot(object);
        if (type.Is(TypeKind::OBJECT)) return environment_.MemberNames(type.cls);
        if (type.Is(TypeKind::ARRAY)) return {"Append", "IndexOf", "Insert", "Pop", "Remove", "Sort", "Ubound"};
        if (ModuleSymbol* module = environment_.FindModule(object)) return environment_.MemberNames(*module);
        ClassSymbol* cls = environment_.FindClass(object);
        std::vector<std::string> names;
        for (; cls != nullptr; cls = cls->super) {
            for (const auto& [key, constant] : cls->constants) names.push_back(constant->name);
            if (cls->shared == nullptr) continue;
            for (std::string& name : environment_.MemberNames(*cls->shared)) names.push_back(std::move(name));
        }
        return names;
    }

    std::optional<NamedThing> FindMember(const std::string& name) {
        std::string object;
        const ValueType type = TypeBeforeDot(object);
        if (type.Is(TypeKind::OBJECT)) return MemberOf(type.cls, name);
        if (ModuleSymbol* module = environment_.FindModule(object)) return MemberOf(*module, name);
        if (ClassSymbol* cls = environment_.FindClass(object)) return MemberOf(cls, name);
        return std::nullopt;
    }

    std::optional<NamedThing> MemberOf(ClassSymbol* cls, const std::string& name) {
        if (PropertySymbol* property = environment_.FindProperty(cls, name)) return Describe(*property);
        auto methods = environment_.FindMethods(cls, name);
        if (methods.empty()) methods = environment_.FindSharedFunctions(cls, name);
        if (!methods.empty()) return Describe(*methods[0]);
        if (ConstantSymbol* constant = environment_.FindConstant(cls, name)) return Describe(*constant);
        if (VariableSymbol* shared = environment_.FindShared(cls, name)) return Describe(*shared, FileOf(shared->span));
        if (PropertySymbol* shared = environment_.FindSharedProperty(cls, name)) return Describe(*shared);
        EventSymbol* event = environment_.FindEvent(cls, name);
        if (event == nullptr) return std::nullopt;
        return NamedThing{"Event " + event->Text(), event->signature.owner->name, event->Text(), {}};
    }

    std::optional<NamedThing> MemberOf(ModuleSymbol& module, const std::string& name) {
        std::string key = FoldName(name);
        if (auto found = module.functions.find(key); found != module.functions.end())
            return Describe(*found->second[0]);
        if (auto found = module.variables.find(key); found != module.variables.end()) {
            return Describe(*found->second, FileOf(found->second->span));
        }
        if (auto found = module.constants.find(key); found != module.constants.end()) return Describe(*found->second);
        auto found = module.properties.find(key);
        if (found == module.properties.end()) return std::nullopt;
        NamedThing thing = Describe(*found->second);
        thing.page = module.name;
        return thing;
    }

    static NamedThing Describe(const VariableSymbol& variable, const std::string& path) {
        return {variable.name + " As " + variable.type.Text(), "", "", {{path, variable.span}}};
    }

    NamedThing Describe(const ConstantSymbol& constant) {
        NamedThing thing{"Const " + constant.name + " = " + FormatConstant(constant.value), "", "", {}};
        if (constant.span.length > 0) thing.definition = {FileOf(constant.span), constant.span};
        return thing;
    }

    NamedThing Describe(const PropertySymbol& property) {
        std::string text = property.name + " As " + property.type.Text();
        NamedThing thing{text, property.owner != nullptr ? property.owner->name : "", text, {}};
        if (property.definition != nullptr)
            thing.definition = {FileOf(property.definition->span), property.definition->span};
        return thing;
    }

    NamedThing Describe(const FunctionSymbol& function) {
        NamedThing thing{function.Text(), "Functions", function.Text(), {}};
        if (function.owner != nullptr) thing.page = function.owner->name;
        if (function.module != nullptr) thing.page = function.module->name;
        if (function.definition != nullptr) {
            const Span& span = function.definition->declaration.span;
            thing.definition = {FileOf(span), span};
        }
        return thing;
    }

    NamedThing Describe(const ClassSymbol& cls) {
        NamedThing thing{"Class " + cls.name, cls.name, "", {}};
        if (cls.super != nullptr) thing.declaration += " (Inherits " + cls.super->name + ")";
        if (cls.definition != nullptr) thing.definition = {FileOf(cls.definition->span), cls.definition->span};
        return thing;
    }

    // The program itself comes first.
    std::string Path() { return environment_.files.empty() ? "" : environment_.files[0]->Path(); }
    std::string FileOf(const Span& span) { return environment_.files[span.file]->Path(); }

    Environment& environment_;
    const std::string& text_;
    SourceFiles files_;
    DiagnosticList diagnostics_;
    std::unique_ptr<ast::Unit> unit_;
    size_t begin_;
    size_t end_ = 0;
    FunctionContext context_;
    std::vector<std::unique_ptr<VariableSymbol>> variables_;
};

} // namespace

std::optional<NamedThing> FindNamedThing(Program& program, const std::string& text, size_t offset) {
    return Inspector(program, text, offset).Find();
}

std::vector<std::string> CompleteName(Program& program, const std::string& text, size_t offset) {
    return Inspector(program, text, offset).Complete();
}

} // namespace host
