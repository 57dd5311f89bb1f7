// What the files and streams of the framework share.
#pragma once

#include "host/runtime/object.h"

#include <filesystem>
#include <string_view>

namespace host {

// A new FolderItem for a path; a relative path begins at the current folder of the process.
ObjectRef NewFolderItem(const std::filesystem::path& path);

// Raises IOException "PATH: REASON" with the system's error number.
void RaiseFileError(const std::filesystem::path& path, int error);

// New streams over an opened file, which they take over. `path` is for messages. nil, with IOException raised, when the
// file could not be opened with this mode of fopen.
ObjectRef OpenBinaryStream(const std::filesystem::path& path, const char* mode);
ObjectRef OpenTextInput(const std::filesystem::path& path);
ObjectRef OpenTextOutput(const std::filesystem::path& path, const char* mode);

// Register the classes of the streams; RegisterFiles does.
void RegisterStreams();

} // namespace host
