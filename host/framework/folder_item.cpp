// FolderItem: a file or folder by its path.
#include "host/framework/files.h"
#include "host/framework/framework.h"
#include "host/framework/stream_file.h"
#include "host/framework/tables.h"
#include "host/runtime/encoding.h"
#include "host/runtime/exception.h"
#include "host/runtime/string.h"

#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <memory>
#include <string>
#include <string_view>
#include <system_error>
#include <utility>
#include <vector>

namespace host {

namespace {

namespace fs = std::filesystem;

struct FolderItemData {
    std::string path; // absolute, without "." and ".."
    // The names in the folder, in order, as Count last found them: so Item needs no new reading for each index.
    std::vector<std::string> items;
    bool listed = false;

    static ClassDefinition& Record();
};

fs::path PathOf(String* text) { return std::string(ConvertString(text, ENCODING_UTF8).View()); }

String* BuildPath(const std::string& path) { return BuildString(path, ENCODING_UTF8); }

const std::string& Path(Object* self) { return DataOf<FolderItemData>(self).path; }

bool Succeeded(Object* self, const std::error_code& error) {
    if (error) RaiseFileError(Path(self), error.value());
    return !error;
}

// An object for what has been made absolute and normal.
ObjectRef ItemAt(std::string path) {
    ObjectRef item = NewInstance(FolderItemData::Record());
    if (item) DataOf<FolderItemData>(item.Get()).path = std::move(path);
    return item;
}

String* GetName(Object* self, int32_t) { return BuildPath(fs::path(Path(self)).filename().native()); }

String* GetPath(Object* self, int32_t) { return BuildPath(Path(self)); }

// A method, so that plug-ins can look it up by its declaration.
String* NativePath(Object* self) { return BuildPath(Path(self)); }

int32_t GetExists(Object* self, int32_t) {
    std::error_code error;
    return static_cast<int32_t>(fs::exists(Path(self), error));
}

int32_t GetDirectory(Object* self, int32_t) {
    std::error_code error;
    return static_cast<int32_t>(fs::is_directory(Path(self), error));
}

int64_t GetLength(Object* self, int32_t) {
    std::error_code error;
    uintmax_t size = fs::file_size(Path(self), error);
    return error ? 0 : static_cast<int64_t>(size);
}

Object* GetParent(Object* self, int32_t) {
    const fs::path path = Path(self);
    if (path == path.root_path()) return nullptr;
    return ItemAt(path.parent_path()).Detach();
}

void List(Object* self) {
    FolderItemData& data = DataOf<FolderItemData>(self);
    std::error_code error;
    data.items = NamesIn(data.path, error);
    data.listed = Succeeded(self, error);
}

int32_t GetCount(Object* self, int32_t) {
    List(self);
    return static_cast<int32_t>(DataOf<FolderItemData>(self).items.size());
}

Object* Item(Object* self, int32_t index) {
    FolderItemData& data = DataOf<FolderItemData>(self);
    if (!data.listed) List(self);
    if (!data.listed) return nullptr;
    if (index < 0 || static_cast<size_t>(index) >= data.items.size()) {
        RaiseNew("OutOfBoundsException", 0,
                 "Item " + std::to_string(index) + " of a folder with " + std::to_string(data.items.size()));
        return nullptr;
    }
    const std::string_view separator = data.path.ends_with('/') ? "" : "/";
    return ItemAt(data.path + std::string(separator) + data.items[static_cast<size_t>(index)]).Detach();
}

Object* Child(Object* self, String* name) { return NewFolderItem(fs::path(Path(self)) / PathOf(name)).Detach(); }

Object* OpenAsBinaryFile(Object* self, int32_t write) {
    return OpenBinaryStream(Path(self), write ? "r+e" : "re").Detach();
}

Object* CreateBinaryFile(Object* self) { return CreateBinaryStream(Path(self)).Detach(); }

Object* OpenAsTextFile(Object* self) { return OpenTextInput(Path(self)).Detach(); }

Object* CreateTextFile(Object* self) { return CreateTextOutput(Path(self)).Detach(); }

Object* AppendToTextFile(Object* self) { return AppendTextOutput(Path(self)).Detach(); }

void CreateAsFolder(Object* self) {
    std::error_code error;
    fs::create_directories(Path(self), error);
    Succeeded(self, error);
}

// A folder must be empty.
void Delete(Object* self) {
    std::error_code error;
    if (!fs::remove(Path(self), error) && !error) error.assign(ENOENT, std::generic_category());
    Succeeded(self, error);
}

// The place a file is copied or moved to: in the folder, when the destination is one.
fs::path Destination(Object* self, Object* destination) {
    fs::path path = Path(destination);
    std::error_code error; // what cannot be examined is no folder
    return fs::is_directory(path, error) ? path / fs::path(Path(self)).filename() : path;
}

// The old file at the destination stays until the new one is whole.
void CopyFileTo(Object* self, Object* destination) {
    if (destination == nullptr) return RaiseNew("NilObjectException", 0, "CopyFileTo: no destination");
    std::error_code error;
    const fs::file_status status = fs::status(Path(self), error);
    if (!error && fs::exists(status) && !fs::is_regular_file(status) && !fs::is_directory(status))
        error = std::make_error_code(std::errc::not_supported); // it may have no end
    if (error && fs::exists(status)) return static_cast<void>(Succeeded(self, error));
    const fs::path target = Destination(self, destination);
    const bool isNew = !fs::exists(target, error);
    const FailingProgram discards(true); // what is not closed below
    StreamFile from;
    StreamFile to;
    if (!from.Open(Path(self), "re") || !to.Create(target, false)) return;
    if (isNew) fchmod(fileno(to.Get()), static_cast<mode_t>(status.permissions()));
    char buffer[65536];
    for (size_t length; !IsExceptionPending() && (length = std::fread(buffer, 1, sizeof buffer, from.Get())) > 0;)
        to.Write({buffer, length});
    from.RaiseIf(std::ferror(from.Get()) != 0);
    if (!IsExceptionPending()) to.Close();
}

void MoveFileTo(Object* self, Object* destination) {
    if (destination == nullptr) return RaiseNew("NilObjectException", 0, "MoveFileTo: no destination");
    std::error_code error;
    fs::rename(Path(self), Destination(self, destination), error);
    Succeeded(self, error);
}

const PropertyDefinition PROPERTIES[] = {
    ReadOnly("Name", "String", Native<GetName>()),      ReadOnly("AbsolutePath", "String", Native<GetPath>()),
    ReadOnly("Exists", "Boolean", Native<GetExists>()), ReadOnly("Directory", "Boolean", Native<GetDirectory>()),
    ReadOnly("Length", "Int64", Native<GetLength>()),   ReadOnly("Parent", "FolderItem", Native<GetParent>()),
    ReadOnly("Count", "Integer", Native<GetCount>()),
};

const MethodDefinition METHODS[] = {
    Member("NativePath() As String", Native<NativePath>()),
    Member("Item(index as Integer) as FolderItem", Native<Item>()),
    Member("Child(name as String) as FolderItem", Native<Child>()),
    Member("OpenAsBinaryFile(write as Boolean = False) as BinaryStream", Native<OpenAsBinaryFile>()),
    Member("CreateBinaryFile() as BinaryStream", Native<CreateBinaryFile>()),
    Member("OpenAsTextFile() as TextInputStream", Native<OpenAsTextFile>()),
    Member("CreateTextFile() as TextOutputStream", Native<CreateTextFile>()),
    Member("AppendToTextFile() as TextOutputStream", Native<AppendToTextFile>()),
    Member("CreateAsFolder()", Native<CreateAsFolder>()),
    Member("Delete()", Native<Delete>()),
    Member("CopyFileTo(destination as FolderItem)", Native<CopyFileTo>()),
    Member("MoveFileTo(destination as FolderItem)", Native<MoveFileTo>()),
};

ClassDefinition& FolderItemData::Record() {
    static ClassDefinition record = ClassRecordOf<FolderItemData>("FolderItem", PROPERTIES, METHODS);
    return record;
}

Object* GetFolderItem(String* path) { return NewFolderItem(PathOf(path)).Detach(); }

const GlobalFunction FUNCTIONS[] = {
    {"GetFolderItem(path as String) as FolderItem", Native<GetFolderItem>()},
};

} // namespace

ObjectRef NewFolderItem(const fs::path& path) {
    std::error_code error;
    fs::path absolute = path.is_absolute() ? path : fs::current_path(error) / path;
    absolute = absolute.lexically_normal();
    // "a/b/" means "a/b".
    if (!absolute.has_filename() && absolute != absolute.root_path()) absolute = absolute.parent_path();
    return ItemAt(absolute);
}

// std::filesystem's iterators end the process when they get no memory.
std::vector<std::string> NamesIn(const fs::path& folder, std::error_code& error) {
    struct Close {
        void operator()(DIR* entries) const { closedir(entries); }
    };
    std::vector<std::string> names;
    const std::unique_ptr<DIR, Close> entries(opendir(folder.c_str()));
    if (entries != nullptr) errno = 0;
    while (const dirent* entry = entries != nullptr ? readdir(entries.get()) : nullptr) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") names.emplace_back(name);
        errno = 0;
    }
    error.assign(errno, std::generic_category());
    std::sort(names.begin(), names.end());
    return names;
}

void RaiseFileError(const std::string& path, int error) {
    RaiseNew("IOException", error, path + ": " + std::strerror(error));
}

void RegisterFiles() {
    RegisterClass(FolderItemData::Record());
    RegisterStreams();
    RegisterFunctions(FUNCTIONS);
}

} // namespace host
