// Whole files, read and written by the commands. All throw std::runtime_error "PATH: REASON".
#pragma once

#include "host/cli/libxml2/input.h"

#include <filesystem>
#include <string>
#include <string_view>
#include <vector>

namespace host {

std::string ReadFile(const std::filesystem::path& path);
void WriteFile(const std::filesystem::path& path, std::string_view text);

// Writes a file whole or not at all: what was there stays until the new text is complete on the disk, and so do its
// permissions. Links are followed; what is no regular file is written to directly.
void ReplaceFile(const std::filesystem::path& path, std::string_view text);

// A file, or standard input for "-".
Input ReadInput(const std::string& path);

// Without any file named, standard input is meant; throws UsageError when that is a terminal.
std::vector<std::string> FilesOrInput(const std::vector<std::string>& files);

// For those who are used to write what stands last here before the files: if the first file looks like it and the last
// argument does not, the first one is taken from the files and the last one is one of them.
void TakeFirstForLast(std::vector<std::string>& files, std::string& last, bool (*isLast)(const std::string&));

} // namespace host
