// BinaryStream, TextInputStream and TextOutputStream.
#include "host/framework/encodings.h"
#include "host/framework/files.h"
#include "host/framework/stream_file.h"
#include "host/framework/tables.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/registration.h"
#include "host/runtime/string.h"

#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>

namespace host {

namespace {

struct StreamData {
    StreamFile file;
    uint32_t encoding = ENCODING_UTF8; // of the text read
};

struct BinaryData : StreamData {
    static ClassDefinition& Record();
};

struct InputData : StreamData {
    static ClassDefinition& Record();
};

struct OutputData : StreamData {
    static ClassDefinition& Record();
};

// A stream whose file `open` opens; nil if that fails.
template <typename Data, typename Open>
ObjectRef NewStream(Open open) {
    ObjectRef stream = NewInstance(Data::Record());
    if (stream && !open(DataOf<Data>(stream.Get()).file)) return {};
    return stream;
}

template <typename Data>
StreamFile& FileOf(Object* self) {
    return DataOf<Data>(self).file;
}

template <typename Data>
void Close(Object* self) {
    FileOf<Data>(self).Close();
}

template <typename Data>
int32_t GetEof(Object* self, int32_t) {
    std::FILE* file = FileOf<Data>(self).Get();
    if (file == nullptr) return 1;
    int next = std::getc(file);
    if (next != EOF) std::ungetc(next, file);
    return next == EOF ? 1 : 0;
}

template <typename Data>
void Write(Object* self, String* text) {
    FileOf<Data>(self).Write(StringView(text));
}

template <typename Data>
void Flush(Object* self) {
    FileOf<Data>(self).Flush();
}

String* ReadBinary(Object* self, int32_t count, Object* encoding) {
    if (count < 0) {
        RaiseNew("IllegalArgumentException", 0, "Read: negative count " + std::to_string(count));
        return nullptr;
    }
    return FileOf<BinaryData>(self).Read(static_cast<size_t>(count), EncodingValue(encoding, ENCODING_UNKNOWN));
}

int64_t GetLength(Object* self, int32_t) { return FileOf<BinaryData>(self).Length(); }

void SetLength(Object* self, int32_t, int64_t length) {
    StreamFile& stream = FileOf<BinaryData>(self);
    if (std::FILE* file = stream.Get()) stream.RaiseIf(std::fflush(file) != 0 || ftruncate(fileno(file), length) != 0);
}

int64_t GetPosition(Object* self, int32_t) {
    std::FILE* file = FileOf<BinaryData>(self).Get();
    return file != nullptr ? int64_t{ftello(file)} : 0;
}

void SetPosition(Object* self, int32_t, int64_t position) {
    StreamFile& stream = FileOf<BinaryData>(self);
    if (std::FILE* file = stream.Get()) stream.RaiseIf(fseeko(file, position, SEEK_SET) != 0);
}

// A line ends with LF, CR LF or at the end of the file.
String* ReadLine(Object* self) {
    InputData& data = DataOf<InputData>(self);
    std::FILE* file = data.file.Get();
    if (file == nullptr) return nullptr;
    char* line = nullptr;
    size_t capacity = 0;
    ssize_t length = getline(&line, &capacity, file);
    std::unique_ptr<char, decltype(&std::free)> owner(line, std::free);
    if (length < 0 && errno == ENOMEM && std::feof(file) == 0) {
        RaiseOutOfMemory();
        return nullptr;
    }
    data.file.RaiseIf(std::ferror(file) != 0);
    std::string_view text(line != nullptr ? line : "", length > 0 ? static_cast<size_t>(length) : 0);
    if (text.ends_with('\n')) text.remove_suffix(1);
    if (text.ends_with('\r')) text.remove_suffix(1);
    return BuildString(text, data.encoding);
}

String* ReadAll(Object* self) {
    InputData& data = DataOf<InputData>(self);
    return data.file.ReadRest(data.encoding);
}

Object* GetEncoding(Object* self, int32_t) { return TextEncodingObject(DataOf<InputData>(self).encoding).Detach(); }

void SetEncoding(Object* self, int32_t, Object* encoding) {
    DataOf<InputData>(self).encoding = EncodingValue(encoding, ENCODING_UNKNOWN);
}

void WriteLine(Object* self, String* text) {
    StreamFile& file = FileOf<OutputData>(self);
    file.Write(StringView(text));
    if (file.IsOpen()) file.Write("\n");
}

const PropertyDefinition BINARY_PROPERTIES[] = {
    ReadWrite("length", "Int64", Native<GetLength>(), Native<SetLength>()),
    ReadWrite("Position", "Int64", Native<GetPosition>(), Native<SetPosition>()),
    ReadOnly("EOF", "Boolean", Native<GetEof<BinaryData>>()),
};

const MethodDefinition BINARY_METHODS[] = {
    Member("Read(Count as Integer, enc as TextEncoding = nil) as String", Native<ReadBinary>()),
    Member("Write(data as String)", Native<Write<BinaryData>>()),
    Member("Flush()", Native<Flush<BinaryData>>()),
    Member("Close()", Native<Close<BinaryData>>()),
};

const PropertyDefinition INPUT_PROPERTIES[] = {
    ReadOnly("EOF", "Boolean", Native<GetEof<InputData>>()),
    ReadWrite("Encoding", "TextEncoding", Native<GetEncoding>(), Native<SetEncoding>()),
};

const MethodDefinition INPUT_METHODS[] = {
    Member("ReadLine() as String", Native<ReadLine>()),
    Member("ReadAll() as String", Native<ReadAll>()),
    Member("Close()", Native<Close<InputData>>()),
};

const MethodDefinition OUTPUT_METHODS[] = {
    Member("Write(text as String)", Native<Write<OutputData>>()),
    Member("WriteLine(text as String = \"\")", Native<WriteLine>()),
    Member("Flush()", Native<Flush<OutputData>>()),
    Member("Close()", Native<Close<OutputData>>()),
};

ClassDefinition& BinaryData::Record() {
    static ClassDefinition record = ClassRecordOf<BinaryData>("BinaryStream", BINARY_PROPERTIES, BINARY_METHODS);
    return record;
}

ClassDefinition& InputData::Record() {
    static ClassDefinition record = ClassRecordOf<InputData>("TextInputStream", INPUT_PROPERTIES, INPUT_METHODS);
    return record;
}

ClassDefinition& OutputData::Record() {
    static ClassDefinition record = ClassRecordOf<OutputData>("TextOutputStream", {}, OUTPUT_METHODS);
    return record;
}

} // namespace

ObjectRef OpenBinaryStream(const std::string& path, const char* mode) {
    return NewStream<BinaryData>([&](StreamFile& file) { return file.Open(path, mode); });
}

ObjectRef CreateBinaryStream(const std::filesystem::path& path) {
    return NewStream<BinaryData>([&](StreamFile& file) { return file.Create(path, true); });
}

ObjectRef OpenTextInput(const std::string& path) {
    return NewStream<InputData>([&](StreamFile& file) { return file.Open(path, "re"); });
}

ObjectRef AppendTextOutput(const std::string& path) {
    return NewStream<OutputData>([&](StreamFile& file) { return file.Open(path, "ae"); });
}

ObjectRef CreateTextOutput(const std::filesystem::path& path) {
    return NewStream<OutputData>([&](StreamFile& file) { return file.Create(path, false); });
}

void RegisterStreams() {
    RegisterClass(BinaryData::Record());
    RegisterClass(InputData::Record());
    RegisterClass(OutputData::Record());
}

} // namespace host
