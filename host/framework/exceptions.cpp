// RuntimeException, its subclasses of the framework, and EndException.
#include "host/framework/framework.h"
#include "host/framework/tables.h"
#include "host/runtime/array.h"
#include "host/runtime/string.h"

#include <array>

namespace host {

namespace {

// The instance data of RuntimeException and of EndException.
struct ExceptionData {
    int32_t number = 0;
    StringRef message;
    ObjectRef stack; // String(): "file:line: method", innermost first

    static ClassDefinition& Record();
};

int32_t GetNumber(Object* self, int32_t) { return DataOf<ExceptionData>(self).number; }

void SetNumber(Object* self, int32_t, int32_t number) { DataOf<ExceptionData>(self).number = number; }

String* GetMessage(Object* self, int32_t) { return StringRef(DataOf<ExceptionData>(self).message).Detach(); }

void SetMessage(Object* self, int32_t, String* message) {
    DataOf<ExceptionData>(self).message = StringRef::Share(message);
}

void ConstructEmpty(Object*) {}

void Construct(Object* self, String* message, int32_t number) {
    SetMessage(self, 0, message);
    SetNumber(self, 0, number);
}

Array* Stack(Object* self) {
    ObjectRef stack = DataOf<ExceptionData>(self).stack;
    if (!stack) return NewArray(TypeNamed("String"));
    return AsArray(stack.Detach());
}

void SetStack(Object* self, Array* stack) { DataOf<ExceptionData>(self).stack = ObjectRef::Share(stack); }

const PropertyDefinition PROPERTIES[] = {
    ReadWrite("ErrorNumber", "Integer", Native<GetNumber>(), Native<SetNumber>()),
    ReadWrite("Message", "String", Native<GetMessage>(), Native<SetMessage>()),
};

const MethodDefinition METHODS[] = {
    Member("Constructor()", Native<ConstructEmpty>()),
    Member("Constructor(message as String, errorNumber as Integer = 0)", Native<Construct>()),
    Member("Stack() as String()", Native<Stack>(), Native<SetStack>()),
};

// Constructors are not inherited: each subclass lists them again.
constexpr size_t CONSTRUCTORS = 2;

ClassDefinition& ExceptionData::Record() {
    static ClassDefinition record = ClassRecordOf<ExceptionData>("RuntimeException", PROPERTIES, METHODS);
    return record;
}

constexpr const char* SUBCLASSES[] = {
    "NilObjectException",       "OutOfBoundsException",    "TypeMismatchException", "IllegalCastException",
    "IllegalArgumentException", "DivisionByZeroException", "KeyNotFoundException",  "IOException",
    "StackOverflowException",   "OutOfMemoryException",    "JsonException",         "OverflowException",
};

struct EndData {
    int32_t code = 0;

    static ClassDefinition& Record();
};

int32_t GetCode(Object* self, int32_t) { return DataOf<EndData>(self).code; }

void SetCode(Object* self, int32_t, int32_t code) { DataOf<EndData>(self).code = code; }

const PropertyDefinition END_PROPERTIES[] = {
    ReadWrite("ErrorNumber", "Integer", Native<GetCode>(), Native<SetCode>()),
};

ClassDefinition& EndData::Record() {
    static ClassDefinition record = ClassRecordOf<EndData>(END_EXCEPTION, END_PROPERTIES, {});
    return record;
}

} // namespace

void RegisterExceptions() {
    RegisterClass(ExceptionData::Record());
    static std::array<ClassDefinition, std::size(SUBCLASSES)> records;
    for (size_t i = 0; i < records.size(); ++i) {
        records[i] = ClassRecord(
            {.name = SUBCLASSES[i], .super = "RuntimeException", .methods = std::span(METHODS).first(CONSTRUCTORS)});
        RegisterClass(records[i]);
    }
    RegisterClass(EndData::Record());
    PrepareOutOfMemory();
}

} // namespace host
