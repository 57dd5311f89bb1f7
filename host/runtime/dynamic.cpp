// Calls by name: choice of the overload and conversion of the arguments.
#include "host/runtime/dynamic.h"

#include "host/runtime/class_program.h"
#include "host/runtime/module.h"
#include "host/runtime/property.h"
#include "host/runtime/variant.h"

#include <algorithm>
#include <functional>
#include <map>
#include <optional>

namespace host {

namespace {

// The value in the form a parameter, property or result of this type takes; nothing if it does not fit.
std::optional<Value> Coerce(const Value& value, const Type& type) {
    const Kind from = value.GetKind();
    switch (type.kind) {
    case Kind::INTEGER:
    case Kind::BOOLEAN:
        if (from == Kind::INTEGER || from == Kind::BOOLEAN) return value;
        return std::nullopt;
    case Kind::DOUBLE:
        if (from == Kind::INTEGER) return Value(static_cast<double>(value.Integer()));
        break;
    case Kind::INT64:
        if (from == Kind::INTEGER) return Value(int64_t{value.Integer()});
        break;
    case Kind::OBJECT:
        if (Class* cls = FindClass(type.className);
            from == Kind::OBJECT && (value.Get().object != nullptr) && (cls != nullptr)) {
            if (!value.Get().object->cls->IsA(cls)) return std::nullopt;
        }
        break;
    case Kind::VARIANT: return Value::Adopt(Kind::VARIANT, {.object = Box(from, value.Get())});
    case Kind::ARRAY:
        if (Array* array = AsArray(value.GetObject().Get()); (array != nullptr) && array->element != type.element)
            return std::nullopt;
        break;
    case Kind::NOTHING: return Value();
    default: break;
    }
    if (from == type.kind) return value;
    bool isNil = from == Kind::NOTHING && !IsWide(type.kind);
    return isNil ? std::optional(Value::Adopt(type.kind, {})) : std::nullopt;
}

// A result or argument as a value; what a Variant boxes is taken out.
Value FromSlot(Kind kind, Slot slot) {
    if (kind == Kind::NOTHING) return {};
    Value value = Value::Adopt(kind, slot);
    if (kind != Kind::VARIANT) return value;
    const Kind held = VariantKind(slot.object);
    return Value::Share(held == Kind::NOTHING ? Kind::OBJECT : held, Unbox(slot.object));
}

Value DefaultOf(const FormalParameter& parameter) {
    Value value = std::visit(
        [](const auto& constant) -> Value {
            if constexpr (std::is_same_v<std::decay_t<decltype(constant)>, std::monostate>) {
                return {};
            } else {
                return Value(constant);
            }
        },
        *parameter.defaultValue);
    return Coerce(value, parameter.type).value_or(Value());
}

// The arguments as the signature takes them; nothing if they do not fit.
std::optional<std::vector<Value>> Fit(const Signature& signature, Arguments arguments) {
    if (arguments.size() > signature.parameters.size()) return std::nullopt;
    std::vector<Value> fitted;
    for (size_t i = 0; i < signature.parameters.size(); ++i) {
        const FormalParameter& parameter = signature.parameters[i];
        if (parameter.byRef) return std::nullopt;
        if (i >= arguments.size()) {
            if (!parameter.defaultValue) return std::nullopt;
            fitted.push_back(DefaultOf(parameter));
            continue;
        }
        std::optional<Value> value = Coerce(arguments[i], parameter.type);
        if (!value) return std::nullopt;
        fitted.push_back(std::move(*value));
    }
    return fitted;
}

size_t ExactMatches(const Signature& signature, Arguments arguments) {
    size_t exact = 0;
    for (size_t i = 0; i < arguments.size(); ++i)
        exact += static_cast<unsigned int>(arguments[i].GetKind() == signature.parameters[i].type.kind);
    return exact;
}

// Declarations are few, and the same come again and again.
const Signature& SignatureOf(std::string_view declaration) {
    thread_local std::map<std::string, Signature, std::less<>> known;
    auto found = known.find(declaration);
    if (found == known.end()) found = known.emplace(declaration, ParseSignature(declaration)).first;
    return found->second;
}

struct Chosen {
    Method* method = nullptr;
    std::vector<Value> arguments;
};

// The method that the declaration names, or of those called `member` the one whose parameters fit best; of two that fit
// alike the one with a result.
Chosen Choose(const std::vector<Method*>& overloads, std::string_view member, Arguments arguments) {
    const Signature* wanted = member.find('(') != std::string_view::npos ? &SignatureOf(member) : nullptr;
    Chosen chosen;
    size_t best = 0;
    for (Method* method : overloads) {
        if (wanted != nullptr && !method->signature.Matches(*wanted)) continue;
        std::optional<std::vector<Value>> fitted = Fit(method->signature, arguments);
        if (!fitted) continue;
        size_t rank = 2 * ExactMatches(method->signature, arguments)
                      + static_cast<unsigned int>(method->signature.result.kind != Kind::NOTHING);
        if ((chosen.method != nullptr) && rank <= best) continue;
        best = rank;
        chosen = {method, std::move(*fitted)};
    }
    if (chosen.method == nullptr)
        throw DefinitionError("there is no " + std::string(member) + " that takes these arguments");
    return chosen;
}

std::string MemberName(std::string_view member) {
    return member.find('(') == std::string_view::npos ? std::string(member) : SignatureOf(member).name;
}

Value Invoke(Object* object, const Chosen& chosen) {
    Method& method = *chosen.method;
    std::vector<Slot> slots;
    if (method.owner != nullptr) slots.push_back({.object = object});
    for (const Value& argument : chosen.arguments) slots.push_back(argument.Get());
    Slot result{};
    CallNative(method.shape, method.NativeFunction(), slots.data(), &result);
    Value value = FromSlot(method.signature.result.kind, result);
    ThrowPending();
    return value;
}

Object* NotNil(const ObjectRef& object) {
    if (!object) throw DefinitionError("the object is nil");
    return object.Get();
}

Property& PropertyOf(const ObjectRef& object, std::string_view name) {
    Property* property = NotNil(object)->cls->FindProperty(name);
    if (property == nullptr) throw DefinitionError(object.Get()->cls->name + " has no property " + std::string(name));
    return *property;
}

// Handlers of classes that could not be removed.
std::vector<std::shared_ptr<void>>& OutlivedBindings() {
    static auto& bindings = *new std::vector<std::shared_ptr<void>>;
    return bindings;
}

std::string Describe(Object* exception) {
    int32_t number = 0;
    StringRef message;
    GetIntegerProperty(exception, "ErrorNumber", number);
    GetStringProperty(exception, "Message", message);
    std::string text = exception->cls->name + " " + std::to_string(number);
    if (!message.View().empty()) text += ": " + std::string(message.View());
    return text;
}

} // namespace

ProgramException::ProgramException(ObjectRef raised)
    : std::runtime_error(Describe(raised.Get())), exception(raised), className(raised.Get()->cls->name), number(0) {
    GetIntegerProperty(exception.Get(), "ErrorNumber", number);
    StringRef text;
    GetStringProperty(exception.Get(), "Message", text);
    message = text.View();
}

void ThrowPending() {
    if (IsExceptionPending()) throw ProgramException(TakePendingException());
}

Value Call(const ObjectRef& object, std::string_view member, Arguments arguments) {
    const ObjectRef self = ObjectRef::Share(object.Get()); // the call must not lose it
    return Invoke(NotNil(self), Choose(self.Get()->cls->FindMethods(MemberName(member)), member, arguments));
}

Value Call(const ObjectRef& object, std::string_view member, std::initializer_list<Value> arguments) {
    return Call(object, member, Arguments(arguments.begin(), arguments.size()));
}

Value CallGlobal(std::string_view function, std::initializer_list<Value> arguments) {
    Module* globals = FindModule("");
    std::vector<Method*> overloads =
        globals != nullptr ? globals->FindFunctions(MemberName(function)) : std::vector<Method*>();
    return Invoke(nullptr, Choose(overloads, function, Arguments(arguments.begin(), arguments.size())));
}

void Assign(const ObjectRef& object, std::string_view member, std::initializer_list<Value> arguments, Value value) {
    const ObjectRef self = ObjectRef::Share(object.Get());
    Chosen chosen = Choose(NotNil(self)->cls->FindMethods(MemberName(member)), member,
                           Arguments(arguments.begin(), arguments.size()));
    Method& method = *chosen.method;
    std::optional<Value> assigned = Coerce(value, method.signature.result);
    if ((method.setter == nullptr) || !assigned)
        throw DefinitionError(method.signature.Text() + " cannot be assigned this value");
    std::vector<Slot> slots{{.object = self.Get()}};
    for (const Value& argument : chosen.arguments) slots.push_back(argument.Get());
    slots.push_back(assigned->Get());
    CallNative(method.setterShape, method.setter, slots.data(), nullptr);
    ThrowPending();
}

ObjectRef Create(Class* cls) {
    ObjectRef object = ObjectRef::Adopt(NewObject(cls));
    ThrowPending();
    return object;
}

ObjectRef Create(std::string_view className) {
    Class* cls = FindClass(className);
    if (cls == nullptr) throw DefinitionError("there is no class " + std::string(className));
    return Create(cls);
}

ObjectRef Create(std::string_view className, std::initializer_list<Value> arguments, std::string_view constructor) {
    ObjectRef object = Create(className);
    Call(object, constructor, arguments);
    return object;
}

Value GetProperty(const ObjectRef& object, std::string_view name) {
    const Property& property = PropertyOf(object, name);
    if (property.read == Access::NONE) throw DefinitionError("property " + property.name + " cannot be read");
    const ObjectRef self = ObjectRef::Share(object.Get());
    Value value = FromSlot(property.type.kind, ReadProperty(self.Get(), property));
    ThrowPending();
    return value;
}

void SetProperty(const ObjectRef& object, std::string_view name, Value value) {
    const Property& property = PropertyOf(object, name);
    std::optional<Value> assigned = Coerce(value, property.type);
    if (property.write == Access::NONE || !assigned) {
        throw DefinitionError("property " + property.name + " cannot be assigned this value");
    }
    const ObjectRef self = ObjectRef::Share(object.Get());
    WriteProperty(self.Get(), property, assigned->Get());
    ThrowPending();
}

HandlerClass::HandlerClass(std::string_view superName, std::string_view name) {
    static int count = 0;
    ClassDescription description;
    description.super = FindClass(superName);
    if (description.super == nullptr) throw DefinitionError("there is no class " + std::string(superName));
    description.name = name.empty() ? description.super->name + "Handler" + std::to_string(++count) : std::string(name);
    cls_ = DefineClass(description);
}

HandlerClass::~HandlerClass() {
    if (RemoveClass(cls_)) return;
    // Objects that outlive this one go on being served.
    for (auto& binding : bindings_) OutlivedBindings().push_back(std::move(binding));
}

HandlerClass& HandlerClass::On(std::string_view event, Handler handler) {
    const Event* found = cls_->FindEvent(event);
    if (found == nullptr) throw DefinitionError(cls_->super->name + " has no event " + std::string(event));
    bindings_.push_back(std::make_unique<Binding>(Binding{found, std::move(handler)}));
    SetEventHandler(cls_, found, Enter, bindings_.back().get());
    return *this;
}

ObjectRef HandlerClass::Create(std::initializer_list<Value> arguments, std::string_view constructor) const {
    ObjectRef object = host::Create(cls_);
    if (arguments.size() > 0 || !constructor.empty()) {
        Call(object, constructor.empty() ? "Constructor" : constructor, arguments);
    }
    return object;
}

void HandlerClass::Enter(void* context, const Slot* arguments, Slot* result) {
    const auto* binding = static_cast<const Binding*>(context);
    const Signature& signature = binding->event->signature;
    try {
        std::vector<Value> values;
        for (size_t i = 0; i < signature.parameters.size(); ++i) {
            Kind kind = signature.parameters[i].type.kind;
            Value shared = Value::Share(kind, arguments[i + 1]);
            values.push_back(FromSlot(kind, shared.Detach()));
        }
        Value answer = binding->handler(ObjectRef::Share(arguments[0].object), values);
        std::optional<Value> coerced = Coerce(answer, signature.result);
        if (!coerced) throw DefinitionError("the handler of " + signature.Text() + " answers another type");
        if (signature.result.kind != Kind::NOTHING) *result = coerced->Detach();
    } catch (const ProgramException& exception) {
        Raise(ObjectRef(exception.exception).Detach());
    } catch (const std::exception& error) {
        RaiseNew("RuntimeException", 0, error.what());
    }
}

} // namespace host
