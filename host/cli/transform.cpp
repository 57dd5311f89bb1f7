// `kova transform`: the document classes, used through the runtime as a program uses them.
#include "host/cli/files.h"
#include "host/cli/session.h"
#include "host/framework/files.h"
#include "host/runtime/dynamic.h"

#include <cerrno>
#include <cstdio>
#include <string>
#include <string_view>

namespace host {

namespace {

namespace fs = std::filesystem;

// Fails early, with the path as the user wrote it.
ObjectRef FileToRead(const fs::path& path) {
    std::FILE* file = std::fopen(path.c_str(), "re");
    if (file == nullptr) throw fs::filesystem_error("", path, std::error_code(errno, std::generic_category()));
    std::fclose(file);
    return NewFolderItem(path);
}

// XmlException gives its parts as the library names them: "line:12", "msg:text".
std::string WithoutName(std::string text, std::string_view name) {
    return text.starts_with(name) ? text.substr(name.size()) : text;
}

// "FILE:LINE: message" for what the parser found, "FILE: message" without a line.
int ReportException(const fs::path& path, const ProgramException& error) {
    std::string place = path.native();
    if (error.className == "XmlException")
        if (std::string line = GetProperty(error.exception, "Line").Text(); !line.empty())
            place += ":" + WithoutName(line, "line:");
    std::string message = error.message.empty() ? error.what() : WithoutName(error.message, "msg:");
    std::fflush(stdout);
    std::fprintf(stderr, "%s: %s\n", place.c_str(), message.c_str());
    return EXIT_FAILED;
}

// Whitespace is kept: lines of errors are those of the file.
ObjectRef LoadDocument(const fs::path& path, std::string_view className) {
    ObjectRef file = FileToRead(path);
    ObjectRef document = Create(className, {}, "Constructor()");
    SetProperty(document, "PreserveWhitespace", true);
    Call(document, "LoadXml(fItem as FolderItem)", {file});
    return document;
}

} // namespace

int Transform(const HostOptions& host, const TransformCommandOptions& options) {
    StartHost(host);
    const fs::path* current = &options.file;
    try {
        ObjectRef document = LoadDocument(options.file, "XmlDocument");
        current = &options.stylesheet;
        ObjectRef style = LoadDocument(options.stylesheet, "XmlStyleSheet");
        fs::path output = options.output.empty() ? fs::path() : fs::absolute(options.output);
        // What the stylesheet includes or reads lies beside it.
        fs::path folder = fs::absolute(options.stylesheet).parent_path();
        fs::current_path(folder);
        Value result = Call(document, "Transform(xsl as XmlStylesheet) as String", {style});
        std::string_view text = result.GetString().View();
        if (!output.empty())
            WriteFile(output, text);
        else
            std::fwrite(text.data(), 1, text.size(), stdout);
        return EXIT_OK;
    } catch (const ProgramException& error) {
        return ReportException(*current, error);
    }
}

} // namespace host
