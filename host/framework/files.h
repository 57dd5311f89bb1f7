// What the files and streams of the framework share.
#pragma once

#include "host/runtime/object.h"

#include <filesystem>
#include <string_view>
#include <system_error>
#include <vector>

namespace host {

// A new FolderItem for a path; a relative path begins at the current folder of the process.
ObjectRef NewFolderItem(const std::filesystem::path& path);

// Raises IOException "PATH: REASON" with the system's error number.
void RaiseFileError(const std::filesystem::path& path, int error);

// The names of what stands in a folder, in order.
std::vector<std::filesystem::path> NamesIn(const std::filesystem::path& folder, std::error_code& error);

// New streams over a file, opened with a mode of fopen or created. nil, with IOException raised, when that cannot be
// done.
ObjectRef OpenBinaryStream(const std::filesystem::path& path, const char* mode);
ObjectRef CreateBinaryStream(const std::filesystem::path& path);
ObjectRef OpenTextInput(const std::filesystem::path& path);
ObjectRef AppendTextOutput(const std::filesystem::path& path);
ObjectRef CreateTextOutput(const std::filesystem::path& path);

// Register the classes of the streams; RegisterFiles does.
void RegisterStreams();

} // namespace host
