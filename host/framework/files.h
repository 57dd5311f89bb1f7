// What the files and streams of the framework share.
#pragma once

#include "host/runtime/object.h"

#include <filesystem>
#include <string>
#include <system_error>
#include <vector>

namespace host {

// A new FolderItem for a path; a relative path begins at the current folder of the process.
ObjectRef NewFolderItem(const std::filesystem::path& path);

// Raises IOException "PATH: REASON" with the system's error number.
void RaiseFileError(const std::string& path, int error);

// The names of what stands in a folder, in order.
std::vector<std::string> NamesIn(const std::filesystem::path& folder, std::error_code& error);

// New streams over a file, opened with a mode of fopen or created. nil, with IOException raised, when that cannot be
// done.
ObjectRef OpenBinaryStream(const std::string& path, const char* mode);
ObjectRef CreateBinaryStream(const std::filesystem::path& path);
ObjectRef OpenTextInput(const std::string& path);
ObjectRef AppendTextOutput(const std::string& path);
ObjectRef CreateTextOutput(const std::filesystem::path& path);

// Register the classes of the streams; RegisterFiles does.
void RegisterStreams();

} // namespace host
