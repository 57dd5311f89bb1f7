// BinaryStream, TextInputStream and TextOutputStream.
#include "host/framework/encodings.h"
#include "host/framework/files.h"
#include "host/framework/tables.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/registration.h"
#include "host/runtime/string.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <string>

namespace host {

namespace {

// An open file of one of the stream classes. Operations on a closed stream raise IOException.
struct StreamData {
    std::FILE* file = nullptr;
    std::string path;
    uint32_t encoding = ENCODING_UTF8; // of the text read

    ~StreamData() {
        if (file != nullptr) std::fclose(file);
    }

    // The open file; nullptr with the exception raised.
    std::FILE* File() const {
        if (file == nullptr) RaiseFileError(path, EBADF);
        return file;
    }

    void RaiseIfFailed(bool failed) const {
        if (!failed) return;
        RaiseFileError(path, errno);
        std::clearerr(file);
    }
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

template <typename Data>
ObjectRef OpenStream(const std::filesystem::path& path, const char* mode) {
    std::FILE* file = std::fopen(path.c_str(), mode);
    struct stat status;
    // A folder can be opened for reading, but not read.
    if (file && fstat(fileno(file), &status) == 0 && S_ISDIR(status.st_mode)) {
        std::fclose(file);
        file = nullptr;
        errno = EISDIR;
    }
    if (!file) {
        RaiseFileError(path, errno);
        return {};
    }
    ObjectRef stream = NewInstance(Data::Record());
    if (!stream) {
        std::fclose(file);
        return stream;
    }
    Data& data = DataOf<Data>(stream.Get());
    data.file = file;
    data.path = path.native();
    return stream;
}

template <typename Data>
void Close(Object* self) {
    Data& data = DataOf<Data>(self);
    if (!data.file) return;
    std::FILE* file = std::exchange(data.file, nullptr);
    if (std::fclose(file) != 0) RaiseFileError(data.path, errno);
}

template <typename Data>
int32_t GetEof(Object* self, int32_t) {
    std::FILE* file = DataOf<Data>(self).File();
    if (!file) return 1;
    int next = std::getc(file);
    if (next != EOF) std::ungetc(next, file);
    return next == EOF;
}

template <typename Data>
void Write(Object* self, String* text) {
    Data& data = DataOf<Data>(self);
    std::FILE* file = data.File();
    if (!file || !text) return;
    data.RaiseIfFailed(std::fwrite(text->bytes, 1, text->length, file) != text->length);
}

template <typename Data>
void Flush(Object* self) {
    Data& data = DataOf<Data>(self);
    if (std::FILE* file = data.File()) data.RaiseIfFailed(std::fflush(file) != 0);
}

// The bytes from the present position to the end; 0 for what has no length, such as a pipe.
off_t Remaining(std::FILE* file) {
    struct stat status;
    off_t position = ftello(file);
    if (position < 0 || fstat(fileno(file), &status) != 0 || !S_ISREG(status.st_mode)) return 0;
    return std::max<off_t>(status.st_size - position, 0);
}

// Up to `count` bytes as one string, in one allocation; all of a file that knows its length needs one read.
String* ReadBytes(StreamData& data, size_t count, uint32_t encoding) {
    std::FILE* file = data.File();
    if (file == nullptr) return nullptr;
    if (off_t rest = Remaining(file); rest > 0 && rest < static_cast<off_t>(count)) count = static_cast<size_t>(rest);
    StringRef text = StringRef::Adopt(AllocateString(static_cast<uint32_t>(count), encoding));
    if (!text) return nullptr;
    size_t length = count ? std::fread(text.Get()->bytes, 1, count, file) : 0;
    data.RaiseIfFailed(std::ferror(file) != 0);
    if (length == count) return text.Detach();
    return BuildString(text.View().substr(0, length), encoding);
}

// A stream without length is read until its end.
String* ReadRest(StreamData& data) {
    std::FILE* file = data.File();
    if (file == nullptr) return nullptr;
    if (off_t rest = Remaining(file); rest > 0 && rest <= INT32_MAX)
        return ReadBytes(data, static_cast<size_t>(rest), data.encoding);
    std::string text;
    char buffer[65536];
    for (size_t length; (length = std::fread(buffer, 1, sizeof buffer, file)) > 0;) text.append(buffer, length);
    data.RaiseIfFailed(std::ferror(file) != 0);
    return BuildString(text, data.encoding);
}

String* ReadBinary(Object* self, int32_t count, Object* encoding) {
    if (count < 0) {
        RaiseNew("IllegalArgumentException", 0, "Read: negative count " + std::to_string(count));
        return nullptr;
    }
    return ReadBytes(DataOf<BinaryData>(self), static_cast<size_t>(count), EncodingValue(encoding, ENCODING_UNKNOWN));
}

int32_t GetLength(Object* self, int32_t) {
    std::FILE* file = DataOf<BinaryData>(self).File();
    struct stat status;
    if ((file == nullptr) || std::fflush(file) != 0 || fstat(fileno(file), &status) != 0) return 0;
    return static_cast<int32_t>(std::min<off_t>(status.st_size, INT32_MAX));
}

void SetLength(Object* self, int32_t, int32_t length) {
    BinaryData& data = DataOf<BinaryData>(self);
    if (std::FILE* file = data.File())
        data.RaiseIfFailed(std::fflush(file) != 0 || ftruncate(fileno(file), length) != 0);
}

int32_t GetPosition(Object* self, int32_t) {
    std::FILE* file = DataOf<BinaryData>(self).File();
    return file != nullptr ? static_cast<int32_t>(ftello(file)) : 0;
}

void SetPosition(Object* self, int32_t, int32_t position) {
    BinaryData& data = DataOf<BinaryData>(self);
    if (std::FILE* file = data.File()) data.RaiseIfFailed(fseeko(file, position, SEEK_SET) != 0);
}

// A line ends with LF, CR LF or at the end of the file.
String* ReadLine(Object* self) {
    InputData& data = DataOf<InputData>(self);
    std::FILE* file = data.File();
    if (file == nullptr) return nullptr;
    char* line = nullptr;
    size_t capacity = 0;
    ssize_t length = getline(&line, &capacity, file);
    data.RaiseIfFailed(std::ferror(file) != 0);
    std::string_view text(line != nullptr ? line : "", length > 0 ? static_cast<size_t>(length) : 0);
    if (text.ends_with('\n')) text.remove_suffix(1);
    if (text.ends_with('\r')) text.remove_suffix(1);
    String* result = BuildString(text, data.encoding);
    std::free(line);
    return result;
}

String* ReadAll(Object* self) { return ReadRest(DataOf<InputData>(self)); }

Object* GetEncoding(Object* self, int32_t) { return TextEncodingObject(DataOf<InputData>(self).encoding).Detach(); }

void SetEncoding(Object* self, int32_t, Object* encoding) {
    DataOf<InputData>(self).encoding = EncodingValue(encoding, ENCODING_UNKNOWN);
}

void WriteLine(Object* self, String* text) {
    Write<OutputData>(self, text);
    OutputData& data = DataOf<OutputData>(self);
    if (data.file != nullptr) data.RaiseIfFailed(std::putc('\n', data.file) == EOF);
}

const PropertyDefinition BINARY_PROPERTIES[] = {
    ReadWrite("length", "Integer", Native(GetLength), Native(SetLength)),
    ReadWrite("Position", "Integer", Native(GetPosition), Native(SetPosition)),
    ReadOnly("EOF", "Boolean", Native(GetEof<BinaryData>)),
};

const MethodDefinition BINARY_METHODS[] = {
    Member("Read(Count as Integer, enc as TextEncoding = nil) as String", Native(ReadBinary)),
    Member("Write(data as String)", Native(Write<BinaryData>)),
    Member("Flush()", Native(Flush<BinaryData>)),
    Member("Close()", Native(Close<BinaryData>)),
};

const PropertyDefinition INPUT_PROPERTIES[] = {
    ReadOnly("EOF", "Boolean", Native(GetEof<InputData>)),
    ReadWrite("Encoding", "TextEncoding", Native(GetEncoding), Native(SetEncoding)),
};

const MethodDefinition INPUT_METHODS[] = {
    Member("ReadLine() as String", Native(ReadLine)),
    Member("ReadAll() as String", Native(ReadAll)),
    Member("Close()", Native(Close<InputData>)),
};

const MethodDefinition OUTPUT_METHODS[] = {
    Member("Write(text as String)", Native(Write<OutputData>)),
    Member("WriteLine(text as String = \"\")", Native(WriteLine)),
    Member("Flush()", Native(Flush<OutputData>)),
    Member("Close()", Native(Close<OutputData>)),
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

ObjectRef OpenBinaryStream(const std::filesystem::path& path, const char* mode) {
    return OpenStream<BinaryData>(path, mode);
}

ObjectRef OpenTextInput(const std::filesystem::path& path) { return OpenStream<InputData>(path, "re"); }

ObjectRef OpenTextOutput(const std::filesystem::path& path, const char* mode) {
    return OpenStream<OutputData>(path, mode);
}

void RegisterStreams() {
    RegisterClass(BinaryData::Record());
    RegisterClass(InputData::Record());
    RegisterClass(OutputData::Record());
}

} // namespace host
