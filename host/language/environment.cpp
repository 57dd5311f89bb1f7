// Looks symbols up, and makes those of registered classes and modules.
#include "host/language/environment.h"

#include "host/language/attachments.h"
#include "host/language/delegate.h"
#include "host/runtime/array.h"
#include "host/runtime/encoding.h"
#include "host/runtime/module.h"

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <new>

namespace host::language {

namespace {

template <typename Symbol>
auto* Find(const Names<std::unique_ptr<Symbol>>& names, std::string_view name) {
    auto found = names.find(FoldName(name));
    return found == names.end() ? nullptr : found->second.get();
}

void AddUnlessHidden(std::vector<FunctionSymbol*>& functions, FunctionSymbol* function) {
    bool isHidden = std::any_of(functions.begin(), functions.end(), [function](const FunctionSymbol* other) {
        return SameParameters(*other, *function) && other->HasResult() == function->HasResult();
    });
    if (!isHidden) functions.push_back(function);
}

std::unique_ptr<ConstantSymbol> ImportConstant(const Constant& constant) {
    auto symbol = std::make_unique<ConstantSymbol>();
    symbol->name = constant.name;
    symbol->value = constant.value;
    symbol->type = TypeOf(constant.value);
    return symbol;
}

} // namespace

void DescribeParameters(const FunctionSymbol& function, Code& code) {
    code.resultKind = KindOf(function.result.kind);
    code.result = StorageOf(function.result);
    if (function.owner != nullptr) {
        code.parameters.push_back(Storage::OBJECT);
        code.parameterKinds.push_back(Kind::OBJECT);
        code.parameterNames.emplace_back();
    }
    for (const ParameterSymbol& parameter : function.parameters) {
        code.parameters.push_back(parameter.isByRef ? Storage::PLAIN : StorageOf(parameter.type));
        code.parameterKinds.push_back(KindOf(parameter.type.kind));
        code.parameterNames.push_back(parameter.isByRef ? "" : parameter.name);
    }
}

Environment::Environment() : globals(static_cast<Slot*>(std::calloc(MAX_GLOBALS, sizeof(Slot)))) {
    if (globals == nullptr) throw std::bad_alloc();
}

Environment::~Environment() {
    ReleaseGlobals();
    RemoveStandIns();
    // Subclasses go before their superclasses.
    for (auto cls = classOrder.rbegin(); cls != classOrder.rend(); ++cls) {
        if ((*cls)->native != nullptr) RemoveClass((*cls)->native);
    }
    for (String* string : tables.strings) UnlockString(string);
    std::free(globals);
}

void Environment::ReleaseGlobals() {
    for (size_t i = std::min<size_t>(globalStorages.size(), MAX_GLOBALS); i-- > 0;) {
        ReleaseGlobal(static_cast<uint32_t>(i));
    }
}

void Environment::ReleaseGlobal(uint32_t slot) {
    Slot released = std::exchange(globals[slot], Slot{});
    if (globalStorages[slot] == Storage::STRING) UnlockString(released.string);
    if (globalStorages[slot] == Storage::OBJECT) UnlockObject(released.object);
}

bool Environment::RemoveProgramClass(const std::string& key) {
    auto found = classes.find(key);
    if (found == classes.end()) return true;
    ClassSymbol* cls = found->second.get();
    RemoveStandIns();
    if (cls->native != nullptr && !RemoveClass(cls->native)) return false;
    cls->native = nullptr;
    // What came last goes first, as a rule.
    auto ordered = std::find(classOrder.rbegin(), classOrder.rend(), cls);
    if (ordered != classOrder.rend()) classOrder.erase(std::next(ordered).base());
    replacedClasses.push_back(std::move(found->second));
    classes.erase(found);
    return true;
}

ValueType Environment::TypeNamed(std::string_view name, bool isArray) {
    const Type builtIn = host::TypeNamed(name);
    ValueType type;
    if (builtIn.kind != Kind::OBJECT) {
        type = FromRuntime(builtIn);
    } else {
        const ModuleSymbol* module = Find(modules, name);
        bool isEnum = module != nullptr && module->definition->isEnum;
        ClassSymbol* cls = isEnum ? nullptr : FindClass(name);
        if (cls == nullptr && !isEnum) return INVALID_TYPE;
        type = isEnum ? INTEGER_TYPE : ValueType{TypeKind::OBJECT, TypeKind::INVALID, cls};
    }
    return isArray ? type.ArrayOf() : type;
}

ValueType Environment::FromRuntime(const Type& type) {
    switch (type.kind) {
    case Kind::NOTHING: return NO_TYPE;
    case Kind::INTEGER: return INTEGER_TYPE;
    case Kind::BOOLEAN: return BOOLEAN_TYPE;
    case Kind::DOUBLE: return DOUBLE_TYPE;
    case Kind::STRING: return STRING_TYPE;
    case Kind::VARIANT: return VARIANT_TYPE;
    case Kind::INT64: return INT64_TYPE;
    case Kind::CURRENCY: return CURRENCY_TYPE;
    case Kind::OBJECT: return TypeNamed(type.className, false);
    case Kind::ARRAY: break;
    }
    Type element;
    element.kind = type.element;
    element.className = type.className;
    ValueType elementType = FromRuntime(element);
    return elementType.Is(TypeKind::INVALID) ? INVALID_TYPE : elementType.ArrayOf();
}

ClassSymbol* Environment::FindClass(std::string_view name) {
    if (ClassSymbol* cls = Find(classes, name)) return cls;
    Class* native = host::FindClass(name);
    return native == nullptr || native->program != nullptr ? nullptr : Import(native);
}

ClassSymbol* Environment::Import(Class* native) {
    auto& symbol = imported_[native];
    if (symbol == nullptr) {
        symbol = std::make_unique<ClassSymbol>();
        ClassSymbol* cls = symbol.get();
        cls->name = native->name;
        cls->native = native;
        if (native->super != nullptr) cls->super = Import(native->super);
        return cls;
    }
    return symbol.get();
}

std::unique_ptr<FunctionSymbol> Environment::ImportMethod(Method& method) {
    auto function = std::make_unique<FunctionSymbol>();
    function->name = method.signature.name;
    function->native = &method;
    function->result = FromRuntime(method.signature.result);
    for (const FormalParameter& parameter : method.signature.parameters) {
        function->parameters.push_back(
            {parameter.name, FromRuntime(parameter.type), parameter.byRef, parameter.defaultValue, {}});
    }
    return function;
}

std::unique_ptr<PropertySymbol> Environment::ImportProperty(const Property& property) {
    auto symbol = std::make_unique<PropertySymbol>();
    symbol->name = property.name;
    symbol->type = FromRuntime(property.type);
    symbol->native = &property;
    symbol->isReadable = property.read != Access::NONE;
    symbol->isWritable = property.write != Access::NONE;
    bool isDirect = property.read != Access::FUNCTION && property.write != Access::FUNCTION;
    symbol->isField = isDirect && property.offset >= 0 && property.offset <= UINT16_MAX;
    symbol->offset = static_cast<uint32_t>(property.offset);
    return symbol;
}

void Environment::ImportMembers(ClassSymbol& cls) {
    if (cls.isImported || cls.IsProgram() || cls.native == nullptr) return;
    cls.isImported = true;
    for (const auto& property : cls.native->properties) {
        auto symbol = ImportProperty(*property);
        symbol->owner = &cls;
        cls.properties.emplace(FoldName(property->name), std::move(symbol));
    }
    for (const auto& method : cls.native->methods) {
        auto symbol = ImportMethod(*method);
        symbol->owner = &cls;
        cls.methods[FoldName(symbol->name)].push_back(std::move(symbol));
    }
    for (const auto& event : cls.native->events) {
        auto symbol = std::make_unique<EventSymbol>();
        symbol->name = event->signature.name;
        symbol->native = event.get();
        symbol->signature.name = symbol->name;
        symbol->signature.owner = &cls;
        symbol->signature.result = FromRuntime(event->signature.result);
        for (const FormalParameter& parameter : event->signature.parameters) {
            symbol->signature.parameters.push_back(
                {parameter.name, FromRuntime(parameter.type), parameter.byRef, {}, {}});
        }
        cls.events.emplace(FoldName(symbol->name), std::move(symbol));
    }
    for (const Constant& constant : cls.native->constants) {
        cls.constants.emplace(FoldName(constant.name), ImportConstant(constant));
    }
}

ModuleSymbol* Environment::FindModule(std::string_view name) {
    if (ModuleSymbol* module = Find(modules, name)) return module;
    Module* native = name.empty() ? nullptr : host::FindModule(name);
    if (native == nullptr) return nullptr;
    auto& symbol = importedModules_[FoldName(name)];
    if (symbol != nullptr) return symbol.get();
    symbol = std::make_unique<ModuleSymbol>();
    symbol->name = native->name;
    for (const Constant& constant : native->constants) {
        symbol->constants.emplace(FoldName(constant.name), ImportConstant(constant));
    }
    for (const auto& property : native->properties) {
        symbol->properties.emplace(FoldName(property->name), ImportProperty(*property));
    }
    for (const auto& method : native->functions) {
        auto function = ImportMethod(*method);
        function->module = symbol.get();
        symbol->functions[FoldName(function->name)].push_back(std::move(function));
    }
    return symbol.get();
}

std::vector<FunctionSymbol*> Environment::FindFunctions(std::string_view name) {
    std::string key = FoldName(name);
    std::vector<FunctionSymbol*> result;
    if (auto found = functions.find(key); found != functions.end()) {
        for (const auto& function : found->second) result.push_back(function.get());
    }
    auto& imported = importedFunctions_[key];
    if (Module* module = host::FindModule(""); module != nullptr && imported.empty()) {
        for (Method* method : module->FindFunctions(name)) imported.push_back(ImportMethod(*method));
    }
    for (const auto& function : imported) AddUnlessHidden(result, function.get());
    return result;
}

std::vector<FunctionSymbol*> Environment::FindExtensions(std::string_view name) {
    std::string key = FoldName(name);
    std::vector<FunctionSymbol*> result;
    auto add = [&](const auto& known) {
        auto found = known.find(key);
        if (found == known.end()) return;
        for (const auto& function : found->second) {
            if (function->IsExtension()) result.push_back(function.get());
        }
    };
    add(functions);
    for (const auto& [moduleKey, module] : modules) add(module->functions);
    return result;
}

VariableSymbol* Environment::FindVariable(std::string_view name) { return Find(variables, name); }

ConstantSymbol* Environment::FindConstant(std::string_view name) { return Find(constants, name); }

PropertySymbol* Environment::FindProperty(ClassSymbol* cls, std::string_view name) {
    for (; cls != nullptr; cls = cls->super) {
        ImportMembers(*cls);
        if (PropertySymbol* property = Find(cls->properties, name)) return property;
    }
    return nullptr;
}

ConstantSymbol* Environment::FindConstant(ClassSymbol* cls, std::string_view name) {
    for (; cls != nullptr; cls = cls->super) {
        ImportMembers(*cls);
        if (ConstantSymbol* constant = Find(cls->constants, name)) return constant;
    }
    return nullptr;
}

EventSymbol* Environment::FindEvent(ClassSymbol* cls, std::string_view name) {
    for (; cls != nullptr; cls = cls->super) {
        ImportMembers(*cls);
        if (EventSymbol* event = Find(cls->events, name)) return event;
    }
    return nullptr;
}

VariableSymbol* Environment::FindShared(const ClassSymbol* cls, std::string_view name) {
    for (; cls != nullptr; cls = cls->super) {
        VariableSymbol* variable = cls->shared != nullptr ? Find(cls->shared->variables, name) : nullptr;
        if (variable != nullptr) return variable;
    }
    return nullptr;
}

void Environment::NoteUse(const Span& place, std::string_view name, const Span& declaration) {
    const auto length = static_cast<uint32_t>(name.size());
    if (!editor.notesUses || declaration.length == 0 || place.length < length) return;
    const Span word{place.file, place.offset + place.length - length, length};
    // An expression may stand for a name that is not written there.
    if (SameName(files[word.file]->Text(word), name)) uses[{word.file, word.offset}] = declaration;
}

PropertySymbol* Environment::FindSharedProperty(const ClassSymbol* cls, std::string_view name) {
    for (; cls != nullptr; cls = cls->super) {
        PropertySymbol* property = cls->shared != nullptr ? Find(cls->shared->properties, name) : nullptr;
        if (property != nullptr) return property;
    }
    return nullptr;
}

std::vector<FunctionSymbol*> Environment::FindSharedFunctions(const ClassSymbol* cls, std::string_view name) {
    std::vector<FunctionSymbol*> result;
    std::string key = FoldName(name);
    for (; cls != nullptr; cls = cls->super) {
        if (cls->shared == nullptr) continue;
        auto found = cls->shared->functions.find(key);
        if (found == cls->shared->functions.end()) continue;
        for (const auto& function : found->second) AddUnlessHidden(result, function.get());
    }
    return result;
}

std::vector<FunctionSymbol*> Environment::FindMethods(ClassSymbol* cls, std::string_view name) {
    std::vector<FunctionSymbol*> result;
    std::string key = FoldName(name);
    for (; cls != nullptr; cls = cls->super) {
        ImportMembers(*cls);
        auto found = cls->methods.find(key);
        if (found == cls->methods.end()) continue;
        for (const auto& method : found->second) AddUnlessHidden(result, method.get());
    }
    return result;
}

std::vector<FunctionSymbol*> Environment::FindConstructors(ClassSymbol* cls) {
    std::vector<FunctionSymbol*> result;
    for (; cls != nullptr && result.empty(); cls = cls->super) {
        ImportMembers(*cls);
        auto found = cls->methods.find("constructor");
        if (found == cls->methods.end()) continue;
        for (const auto& method : found->second) result.push_back(method.get());
    }
    return result;
}

std::vector<std::string> Environment::MemberNames(ClassSymbol* cls) {
    std::vector<std::string> names;
    for (; cls != nullptr; cls = cls->super) {
        ImportMembers(*cls);
        for (const auto& [key, property] : cls->properties) names.push_back(property->name);
        for (const auto& [key, constant] : cls->constants) names.push_back(constant->name);
        for (const auto& [key, methods] : cls->methods) {
            bool isCallable = key != "constructor" && key != "destructor";
            if (isCallable) names.push_back(methods[0]->name);
        }
        if (cls->shared == nullptr) continue;
        for (std::string& name : MemberNames(*cls->shared)) names.push_back(std::move(name));
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

std::vector<std::string> Environment::MemberNames(const ModuleSymbol& module) {
    std::vector<std::string> names;
    for (const auto& [key, symbol] : module.properties) names.push_back(symbol->name);
    for (const auto& [key, symbol] : module.variables) names.push_back(symbol->name);
    for (const auto& [key, symbol] : module.constants) names.push_back(symbol->name);
    for (const auto& [key, overloads] : module.functions) names.push_back(overloads[0]->name);
    std::sort(names.begin(), names.end());
    return names;
}

std::vector<std::string> Environment::EventNames(ClassSymbol* cls) {
    std::vector<std::string> names;
    for (; cls != nullptr; cls = cls->super) {
        ImportMembers(*cls);
        for (const auto& [key, event] : cls->events) names.push_back(event->name);
    }
    return names;
}

std::vector<std::string> Environment::ClassNames() {
    std::vector<std::string> names;
    for (const auto& [key, cls] : classes) names.push_back(cls->name);
    for (Class* native : AllClasses()) names.push_back(native->name);
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

std::vector<std::string> Environment::GlobalNames() {
    std::vector<std::string> names;
    for (const auto& [key, overloads] : functions) names.push_back(overloads[0]->name);
    for (const auto& [key, variable] : variables) names.push_back(variable->name);
    for (const auto& [key, constant] : constants) names.push_back(constant->name);
    for (const auto& [key, module] : modules) names.push_back(module->name);
    for (Module* native : AllModules()) {
        if (!native->name.empty()) names.push_back(native->name);
    }
    if (Module* global = host::FindModule("")) {
        for (const auto& function : global->functions) names.push_back(function->signature.name);
    }
    std::sort(names.begin(), names.end());
    names.erase(std::unique(names.begin(), names.end()), names.end());
    return names;
}

uint32_t Environment::StringIndex(const std::string& text) {
    auto [entry, isNew] = stringIndices_.emplace(text, static_cast<uint32_t>(tables.strings.size()));
    if (isNew) tables.strings.push_back(BuildString(text, ENCODING_UTF8));
    return entry->second;
}

uint32_t Environment::DoubleIndex(double value) {
    auto [entry, isNew] =
        doubleIndices_.emplace(std::bit_cast<uint64_t>(value), static_cast<uint32_t>(tables.doubles.size()));
    if (isNew) tables.doubles.push_back(value);
    return entry->second;
}

uint32_t Environment::WideIndex(int64_t value) {
    auto [entry, isNew] = wideIndices_.emplace(value, static_cast<uint32_t>(tables.wides.size()));
    if (isNew) tables.wides.push_back(value);
    return entry->second;
}

uint32_t Environment::NativeIndex(const Method& method, bool isSetter, bool hasObject) {
    auto [entry, isNew] =
        nativeIndices_.emplace(std::pair(&method, isSetter), static_cast<uint32_t>(tables.natives.size()));
    if (!isNew) return entry->second;
    Kind result = isSetter ? Kind::NOTHING : method.signature.result.kind;
    std::string name = (method.owner != nullptr ? method.owner->name + "." : "") + method.signature.name;
    tables.natives.push_back({isSetter ? method.setterShape : method.shape,
                              isSetter ? method.setter : method.function,
                              hasObject,
                              result,
                              std::move(name),
                              {}});
    for (const FormalParameter& parameter : method.signature.parameters) {
        tables.natives.back().parameters.push_back(parameter.byRef ? Kind::NOTHING : parameter.type.kind);
    }
    return entry->second;
}

uint32_t Environment::PropertyIndex(const Property* property) {
    auto [entry, isNew] = propertyIndices_.emplace(property, static_cast<uint32_t>(tables.properties.size()));
    if (isNew) tables.properties.push_back(property);
    return entry->second;
}

uint32_t Environment::EventIndex(const Event* event) {
    auto [entry, isNew] = eventIndices_.emplace(event, static_cast<uint32_t>(tables.events.size()));
    if (isNew) tables.events.push_back(event);
    return entry->second;
}

uint32_t Environment::PlainEntry(FunctionSymbol& function) {
    if (function.plainEntry) return *function.plainEntry;
    function.plainEntry = NewCode();
    Code& code = *tables.codes[*function.plainEntry];
    DescribeParameters(function, code);
    code.parameters.insert(code.parameters.begin(), Storage::OBJECT);
    code.parameterKinds.insert(code.parameterKinds.begin(), Kind::OBJECT);
    code.name = function.QualifiedName();
    code.file = function.file;
    code.isHidden = true;
    code.frameSize = static_cast<uint16_t>(function.parameters.size() + 2);
    // The arguments lie where the function wants them already.
    Instruction call{.opcode = Opcode::CALL, .a = 1, .i = static_cast<int32_t>(function.index)};
    Instruction back{.opcode = function.HasResult() ? Opcode::RETURN_VALUE : Opcode::RETURN, .a = 1, .i = 0};
    code.instructions = {call, back};
    code.offsets.assign(2, function.definition->span.offset);
    return *function.plainEntry;
}

ClassSymbol* Environment::DelegateFor(EventSymbol& event) {
    auto& cls = eventDelegates_[&event];
    if (cls == nullptr) {
        cls = std::make_unique<ClassSymbol>();
        cls->name = "handler of " + event.Text();
        DefineDelegate(*cls, std::make_unique<FunctionSymbol>());
        cls->delegate->name = event.name;
        cls->delegate->parameters = event.signature.parameters;
        cls->delegate->result = event.signature.result;
    }
    return cls.get();
}

ClassSymbol* Environment::DelegateOf(const FunctionSymbol& signature) {
    std::string key = signature.result.Text();
    for (const ParameterSymbol& parameter : signature.parameters) {
        key += "," + parameter.type.Text() + std::to_string(std::bit_cast<uintptr_t>(parameter.type.cls));
    }
    auto& cls = delegates_[key];
    if (cls == nullptr) {
        cls = std::make_unique<ClassSymbol>();
        cls->name = signature.name;
        DefineDelegate(*cls, std::make_unique<FunctionSymbol>());
        cls->delegate->name = signature.name;
        cls->delegate->parameters = signature.parameters;
        cls->delegate->result = signature.result;
    }
    return cls.get();
}

void Environment::DefineDelegate(ClassSymbol& cls, std::unique_ptr<FunctionSymbol> signature) {
    cls.delegate = std::move(signature);
    cls.delegate->owner = &cls;
    cls.native = DelegateClass(cls.name);
    classOrder.push_back(&cls);
}

uint32_t Environment::ClassIndex(ClassSymbol* cls) {
    auto [entry, isNew] = classIndices_.emplace(cls, static_cast<uint32_t>(tables.classes.size()));
    if (isNew) tables.classes.push_back(cls->native);
    return entry->second;
}

uint32_t Environment::ArrayClassIndex(const ValueType& elementType) {
    Class* cls = ArrayClass(RuntimeType(elementType));
    auto [entry, isNew] = arrayIndices_.emplace(cls, static_cast<uint32_t>(tables.arrayClasses.size()));
    if (isNew) tables.arrayClasses.push_back(cls);
    return entry->second;
}

uint32_t Environment::NewCode() {
    tables.codes.push_back(std::make_unique<Code>());
    return static_cast<uint32_t>(tables.codes.size() - 1);
}

uint32_t Environment::NewGlobal(Storage storage) {
    globalStorages.push_back(storage);
    return static_cast<uint32_t>(globalStorages.size() - 1);
}

} // namespace host::language
