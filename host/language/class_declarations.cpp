// The part of the program compiler that declares the members of classes.
#include "host/language/hints.h"
#include "host/language/program_compiler.h"

#include <algorithm>
#include <unordered_map>

namespace host::language {

namespace {

bool IsConstructor(const FunctionSymbol& function) { return SameName(function.name, "Constructor"); }
bool IsDestructor(const FunctionSymbol& function) { return SameName(function.name, "Destructor"); }

// Whether the name, in lower case, is that of a property or constant of the class.
bool HasValue(const ClassSymbol& cls, const std::string& key) {
    return cls.properties.contains(key) || cls.constants.contains(key)
           || (cls.shared != nullptr && (cls.shared->variables.contains(key) || cls.shared->properties.contains(key)));
}

} // namespace

// What belongs to the class itself has the form of a module.
ModuleSymbol& ProgramCompiler::SharedPart(ClassSymbol& cls) {
    if (cls.shared == nullptr) {
        cls.shared = std::make_unique<ModuleSymbol>();
        cls.shared->name = cls.name;
        cls.shared->file = cls.file;
        cls.shared->span = cls.definition->span;
        cls.shared->home = &cls;
        modules_.push_back(cls.shared.get());
    }
    return *cls.shared;
}

bool ProgramCompiler::CheckPropertyName(ClassSymbol& cls, const ast::Variable& definition) {
    if (!CheckFree(definition.name, definition.span, HasValue(cls, FoldName(definition.name)))) return false;
    if (cls.super == nullptr || environment_.FindProperty(cls.super, definition.name) == nullptr) return true;
    diagnostics_.Error(definition.span, "a superclass has a property \"" + definition.name + "\" already");
    return false;
}

void ProgramCompiler::DeclareShared(ClassSymbol& cls, const ast::Variable& definition) {
    if (CheckPropertyName(cls, definition)) DeclareModuleVariable(SharedPart(cls), definition);
}

// Of a class, or of a module: the other is null.
std::unique_ptr<PropertySymbol> ProgramCompiler::MakeComputed(const ast::ComputedProperty& definition, ClassSymbol* cls,
                                                              ModuleSymbol* module) {
    const ast::Variable& declared = definition.property;
    auto property = std::make_unique<PropertySymbol>();
    environment_.NoteUse(declared.span, declared.name, declared.span);
    property->name = declared.name;
    property->type = ResolveType(declared);
    property->owner = cls;
    property->module = module;
    property->definition = &declared;
    property->visibility = declared.modifiers.visibility;
    property->isReadable = definition.getter != nullptr;
    property->isWritable = definition.setter != nullptr;
    auto add = [&](const std::unique_ptr<ast::Function>& accessor) -> FunctionSymbol* {
        if (accessor == nullptr) return nullptr;
        auto function = MakeFunction(*accessor, cls != nullptr ? cls->file : module->file, true);
        function->owner = cls;
        function->module = module;
        auto& accessors = cls != nullptr ? cls->accessors : module->accessors;
        return accessors.emplace_back(std::move(function)).get();
    };
    property->getter = add(definition.getter);
    property->setter = add(definition.setter);
    bool isOther = property->setter != nullptr && property->setter->parameters.size() == 1
                   && !(property->setter->parameters[0].type == property->type);
    if (isOther) {
        const Span& span = property->setter->parameters[0].span;
        diagnostics_.Error(span, "the new value is " + property->type.Text() + " as the property is");
    }
    return property;
}

void ProgramCompiler::DeclareComputed(ClassSymbol& cls, const ast::ComputedProperty& definition) {
    const ast::Variable& declared = definition.property;
    ModuleSymbol* shared = declared.modifiers.isShared ? &SharedPart(cls) : nullptr;
    auto property = MakeComputed(definition, shared == nullptr ? &cls : nullptr, shared);
    if (!CheckPropertyName(cls, declared)) return;
    (shared != nullptr ? shared->properties : cls.properties).emplace(FoldName(declared.name), std::move(property));
}

void ProgramCompiler::DeclareProperty(ClassSymbol& cls, const ast::Variable& definition) {
    if (definition.modifiers.isShared) {
        DeclareShared(cls, definition);
        return;
    }
    ValueType type = ResolveType(definition);
    if (!CheckPropertyName(cls, definition)) return;
    auto property = std::make_unique<PropertySymbol>();
    property->name = definition.name;
    property->type = type;
    property->owner = &cls;
    environment_.NoteUse(definition.span, definition.name, definition.span);
    property->definition = &definition;
    property->isField = true;
    property->visibility = definition.modifiers.visibility;
    cls.fields.push_back(property.get());
    cls.properties.emplace(FoldName(definition.name), std::move(property));
}

void ProgramCompiler::DeclareMethod(ClassSymbol& cls, const ast::Function& definition) {
    std::string key = FoldName(definition.declaration.name);
    if (definition.modifiers.isShared) {
        if (IsReserved(key))
            diagnostics_.Error(definition.modifiers.span,
                               "\"" + definition.declaration.name + "\" is called for an object");
        bool isMember = HasValue(cls, key) || cls.methods.contains(key);
        DeclareModuleFunction(SharedPart(cls), definition, isMember);
        return;
    }
    auto method = MakeFunction(definition, cls.file, true);
    method->owner = &cls;
    const Span& span = definition.declaration.span;
    bool isSpecial = IsConstructor(*method) || IsDestructor(*method);
    if (isSpecial && definition.kind != ast::FunctionKind::SUB) {
        diagnostics_.Error(span, "\"" + method->name + "\" must be a Sub");
    }
    if (IsDestructor(*method) && !method->parameters.empty()) {
        diagnostics_.Error(span, "a Destructor has no parameters");
    }
    bool isTaken = HasValue(cls, key) || (cls.shared != nullptr && cls.shared->functions.contains(key));
    auto& overloads = cls.methods[key];
    for (const auto& other : overloads) isTaken |= SameParameters(*other, *method);
    CheckFree(method->name, span, isTaken);
    if (IsDestructor(*method)) cls.destructor = method.get();
    overloads.push_back(std::move(method));
}

void ProgramCompiler::DeclareEvent(ClassSymbol& cls, const Declaration& declaration) {
    if (declaration.name.empty()) return;
    bool isTaken = environment_.FindEvent(&cls, declaration.name) != nullptr;
    if (!CheckFree(declaration.name, declaration.span, isTaken)) return;
    auto event = std::make_unique<EventSymbol>();
    event->name = declaration.name;
    event->signature.name = declaration.name;
    event->signature.owner = &cls;
    event->signature.result = ResolveType(declaration.result);
    for (const Parameter& parameter : declaration.parameters) {
        if (parameter.isByRef || parameter.isExtended || parameter.defaultValue) {
            diagnostics_.Error(parameter.span, "the parameters of an event have a name and a type only");
        }
        event->signature.parameters.push_back({parameter.name, ResolveType(parameter.type), false, {}, parameter.span});
    }
    cls.events.emplace(FoldName(declaration.name), std::move(event));
}

// A handler that stands where its event was to be declared.
std::string ProgramCompiler::EventHint(ClassSymbol& cls, const std::string& name) {
    std::string hint = Suggestion(name, environment_.EventNames(cls.super));
    return hint.empty() ? " (\"Declare Event " + name + "(…)\" declares one)" : hint;
}

void ProgramCompiler::DeclareHandler(ClassSymbol& cls, const ast::Function& definition) {
    auto handler = MakeFunction(definition, cls.file, true);
    handler->owner = &cls;
    const Span& span = definition.declaration.span;
    EventSymbol* event = cls.super != nullptr ? environment_.FindEvent(cls.super, handler->name) : nullptr;
    bool isWellFormed = std::none_of(handler->parameters.begin(), handler->parameters.end(),
                                     [](const auto& parameter) { return parameter.type.Is(TypeKind::INVALID); });
    if (event == nullptr) {
        std::string owner = cls.super != nullptr ? cls.super->name : cls.name;
        diagnostics_.Error(span, owner + " has no event \"" + handler->name + "\"" + EventHint(cls, handler->name));
    } else if (isWellFormed
               && (!SameParameters(event->signature, *handler) || !(event->signature.result == handler->result))) {
        diagnostics_.Error(span, "the event is declared as \"" + event->Text() + "\"");
    } else {
        bool isTaken = std::find(cls.handledEvents.begin(), cls.handledEvents.end(), event) != cls.handledEvents.end();
        if (CheckFree(handler->name, span, isTaken)) cls.handledEvents.push_back(event);
    }
    cls.handlers.push_back(std::move(handler));
}

void ProgramCompiler::DeclareClassMembers(ClassSymbol& cls) {
    const ast::ClassDefinition& definition = *cls.definition;
    for (const ast::ConstantDefinition& constant : definition.constants) {
        std::string key = FoldName(constant.name);
        if (!CheckFree(constant.name, constant.span, cls.constants.contains(key))) continue;
        auto symbol = MakeConstant(constant.name, constant.span, constant.value.get());
        symbol->owner = &cls;
        symbol->visibility = constant.modifiers.visibility;
        if (constant.modifiers.isShared)
            diagnostics_.Error(constant.modifiers.span, "a constant is of the class anyway");
        cls.constants.emplace(key, std::move(symbol));
    }
    for (const ast::Variable& property : definition.properties) DeclareProperty(cls, property);
    for (const auto& property : definition.computed) DeclareComputed(cls, *property);
    for (const Declaration& event : definition.events) DeclareEvent(cls, event);
    for (const auto& function : definition.functions) {
        if (function->declaration.name.empty()) continue;
        if (function->kind == ast::FunctionKind::EVENT)
            DeclareHandler(cls, *function);
        else
            DeclareMethod(cls, *function);
    }
    bool hasInitialValues = std::any_of(cls.fields.begin(), cls.fields.end(), [](const PropertySymbol* field) {
        return field->definition->value != nullptr || field->type.Is(TypeKind::ARRAY);
    });
    if (!hasInitialValues) return;
    cls.initializer = std::make_unique<FunctionSymbol>();
    cls.initializer->name = cls.name;
    cls.initializer->owner = &cls;
    cls.initializer->index = environment_.NewCode();
}

void ProgramCompiler::AssignVirtualSlots(ClassSymbol& cls) {
    bool inherits = cls.super != nullptr && cls.super->IsProgram();
    std::unordered_multimap<std::string, size_t> slots; // of inherited methods, by name
    if (inherits) cls.virtualMethods = cls.super->virtualMethods;
    if (!cls.definition->functions.empty()) {
        for (size_t i = 0; i < cls.virtualMethods.size(); ++i) slots.emplace(FoldName(cls.virtualMethods[i]->name), i);
    }
    for (const auto& definition : cls.definition->functions) {
        auto found = cls.methods.find(FoldName(definition->declaration.name));
        if (found == cls.methods.end()) continue;
        for (const auto& method : found->second) {
            bool isOverridable = !IsReserved(method->name) && method->visibility != ast::Visibility::PRIVATE;
            if (method->definition != definition.get() || !isOverridable) continue;
            auto [first, last] = slots.equal_range(FoldName(method->name));
            auto slot = std::find_if(first, last, [&](const auto& inherited) {
                return SameParameters(*cls.virtualMethods[inherited.second], *method);
            });
            if (slot == last) {
                method->virtualSlot = static_cast<int32_t>(cls.virtualMethods.size());
                cls.virtualMethods.push_back(method.get());
                continue;
            }
            FunctionSymbol*& overridden = cls.virtualMethods[slot->second];
            if (!(overridden->result == method->result)) {
                diagnostics_.Error(definition->declaration.span,
                                   "the method overrides \"" + overridden->Text() + "\" with another result");
            }
            method->virtualSlot = overridden->virtualSlot;
            overridden = method.get();
        }
    }
}

} // namespace host::language
