// The open file of a stream. One that is created is written beside the file that it is to replace, and takes its place
// when it is closed: so a file is there whole or not at all.
#pragma once

#include "host/runtime/string.h"

#include <sys/stat.h>

#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <string>

namespace host {

class StreamFile {
public:
    StreamFile() = default;
    // Without Close: what was written counts, unless the program is failing.
    ~StreamFile();
    StreamFile(const StreamFile&) = delete;
    StreamFile& operator=(const StreamFile&) = delete;

    // All raise IOException with the path and the system's error number when they cannot do their work.

    // Opens a file in place, with a mode of fopen.
    bool Open(const std::string& path, const char* mode);
    // Opens a new file for writing, or for reading too.
    bool Create(const std::filesystem::path& path, bool isReadable);
    // After a failed write the file that was there stays, and the error is raised again.
    void Close();

    // nullptr, with the exception raised, when it is closed.
    std::FILE* Get() const;
    bool IsOpen() const { return file_ != nullptr; }

    void Write(std::string_view bytes);
    void Flush();
    void RaiseIf(bool failed);

    // The length of the whole file. One that has no length, such as a pipe, is read to its end for that.
    int64_t Length();
    // The bytes from the present position to the end; 0 if that is not known.
    int64_t Remaining() const;
    // Up to `count` bytes, as many as there are, in one allocation if the file knows its length.
    String* Read(size_t count, uint32_t encoding);
    String* ReadRest(uint32_t encoding);

private:
    bool OpenBeside(const std::filesystem::path& target, const struct stat* old, bool isReadable);
    int Replace();
    void Discard();
    bool ReadAhead();

    std::FILE* file_ = nullptr;
    bool isRegular_ = false;          // opened in place, and no device or pipe
    std::string path_;                // as given, for messages
    std::filesystem::path target_;    // to be replaced; empty when the file is written in place
    std::filesystem::path temporary_; // the new file's name, if it has one yet
    int error_ = 0;                   // of a write that failed
    std::string ahead_;               // what was read of a pipe, from which `file_` reads then
    bool isAhead_ = false;
};

} // namespace host
