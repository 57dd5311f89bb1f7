// `kova transform`: the document classes, used through the runtime as a program uses them.
#include "host/cli/event_text.h"
#include "host/cli/files.h"
#include "host/cli/session.h"
#include "host/cli/terminal.h"
#include "host/cli/xml_input.h"
#include "host/framework/files.h"
#include "host/runtime/dynamic.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

namespace host {

namespace {

namespace fs = std::filesystem;

// XmlException gives its parts as the library names them: "line:12", "msg:text".
std::string WithoutName(std::string text, std::string_view name) {
    return text.starts_with(name) ? text.substr(name.size()) : text;
}

// A fault in another file than the one at work, a module or a document that the run read, begins with the name of that
// file and the line.
void MoveToItsFile(Diagnostic& fault) {
    const std::string line = ", line " + std::to_string(fault.line) + ": ";
    const size_t end = fault.message.find(line);
    std::error_code error;
    if (end == std::string::npos || !fs::is_regular_file(fault.message.substr(0, end), error)) return;
    fault.file = fault.message.substr(0, end);
    fault.message.erase(0, end + line.size());
    fault.sourceLine = xml::LineOf(ReadInput(fault.file).text, fault.line);
}

// The classes tell the line of a fault; the caret stands under what begins it.
Diagnostic Locate(const Input& input, const ProgramException& error) {
    Diagnostic fault;
    fault.file = input.name;
    fault.message = error.message.empty() ? error.what() : WithoutName(error.message, "msg:");
    if (error.className != "XmlException") return fault;
    std::string line = WithoutName(GetProperty(error.exception, "Line").Text(), "line:");
    fault.line = std::max(1U, static_cast<uint32_t>(std::strtoul(line.c_str(), nullptr, 10)));
    fault.sourceLine = xml::LineOf(input.text, fault.line);
    MoveToItsFile(fault);
    fault.column = xml::FirstColumn(fault.sourceLine);
    return fault;
}

// A document of the classes with the text it was made from, for messages.
struct Loaded {
    Input input;
    ObjectRef document;
};

// Whitespace is kept, as XSLT wants it; so the lines of errors are those of the file.
Loaded Load(const std::string& path, std::string_view className) {
    Loaded loaded{ReadInput(path), Create(className, {}, "Constructor()")};
    SetProperty(loaded.document, "PreserveWhitespace", true);
    try {
        if (path == "-")
            Call(loaded.document, "LoadXml(doc as String)", {StringRef::Adopt(BuildString(loaded.input.text))});
        else
            Call(loaded.document, "LoadXml(fItem as FolderItem)", {NewFolderItem(path)});
    } catch (const ProgramException& error) {
        // The same parser knows the column too.
        std::vector<Diagnostic> warnings;
        xml::Parse(loaded.input, xml::References::KEEP, warnings);
        throw xml::TextError({Locate(loaded.input, error)});
    }
    return loaded;
}

// An XPath 1.0 string has no escapes: one with both kinds of quotes is put together.
std::string StringLiteral(const std::string& text) {
    if (text.find('\'') == std::string::npos) return "'" + text + "'";
    std::string parts = "concat('";
    for (char c : text) parts += c == '\'' ? "', \"'\", '" : std::string(1, c);
    return parts + "')";
}

std::string EscapeAttribute(const std::string& text) {
    std::string result;
    for (char c : text) {
        bool isPlain =
            static_cast<unsigned char>(c) >= ' ' && std::string_view("<&\"").find(c) == std::string_view::npos;
        if (isPlain)
            result += c;
        else
            result += "&#" + std::to_string(static_cast<unsigned char>(c)) + ";";
    }
    return result;
}

std::string FileUri(const fs::path& path) {
    const fs::path absolute = fs::absolute(path).lexically_normal();
    std::string uri = "file://";
    for (char c : absolute.native()) {
        bool isPlain = std::isalnum(static_cast<unsigned char>(c)) != 0
                       || std::string_view("/-._~").find(c) != std::string_view::npos;
        std::array<char, 4> escape{c, 0};
        if (!isPlain) std::snprintf(escape.data(), escape.size(), "%%%02X", static_cast<unsigned char>(c));
        uri += escape.data();
    }
    return uri;
}

// A stylesheet that imports the one given: what it defines itself comes before what is imported (XSLT 1.0, 2.6.2), in
// whichever module the parameter is declared.
Loaded LoadWithParameters(const TransformCommandOptions& options) {
    if (options.stylesheet == "-") throw UsageError("--param needs a stylesheet in a file");
    Load(options.stylesheet, "XmlStyleSheet"); // tells its faults
    std::string text =
        R"(<xsl:stylesheet version="1.0" xmlns:xsl="http://www.w3.org/1999/XSL/Transform"><xsl:import href=")"
        + EscapeAttribute(FileUri(options.stylesheet)) + "\"/>";
    for (const auto& [name, value] : options.parameters)
        text += "<xsl:param name=\"" + EscapeAttribute(name) + "\" select=\"" + EscapeAttribute(StringLiteral(value))
                + "\"/>";
    text += "</xsl:stylesheet>";
    Loaded loaded{{options.stylesheet, text}, Create("XmlStyleSheet", {}, "Constructor()")};
    try {
        Call(loaded.document, "LoadXml(doc as String)", {text});
    } catch (const ProgramException& error) {
        if (error.className != "XmlException") throw;
        throw UsageError("--param: " + WithoutName(error.message, "msg:"));
    }
    return loaded;
}

// Where the result of an input goes: "out/*.html" has the input's name for the asterisk.
std::optional<fs::path> OutputFor(const std::string& pattern, const std::string& file) {
    if (pattern.empty()) return std::nullopt;
    std::string path = pattern;
    if (size_t star = path.find('*'); star != std::string::npos)
        path.replace(star, 1, file == "-" ? "stdin" : fs::path(file).stem().native());
    return path;
}

class EventPrinter {
public:
    EventPrinter() : handler_("XmlXsltHandler") {
        for (const auto& event : FindClass("XmlXsltHandler")->events)
            handler_.On(event->signature.name, [found = event.get()](const ObjectRef&, Arguments arguments) {
                Print(*found, arguments);
                return Value();
            });
        object_ = handler_.Create();
    }

    const ObjectRef& Object() const { return object_; }

private:
    static void Print(const Event& event, Arguments arguments) {
        std::string line = event.signature.name;
        for (size_t i = 0; i < arguments.size(); ++i) {
            line += " " + event.signature.parameters[i].name + "=";
            if (ObjectRef list = arguments[i].GetObject())
                AppendAttributes(line, list);
            else
                AppendQuoted(line, arguments[i].Text());
        }
        std::puts(line.c_str());
    }

    HandlerClass handler_;
    ObjectRef object_;
};

void TransformFile(const std::string& file, const TransformCommandOptions& options, const Loaded& style) {
    Progress progress(file);
    Loaded source = Load(file, "XmlDocument");
    try {
        if (options.events) {
            EventPrinter events;
            Call(source.document, "Transform(xsl as XmlStylesheet, saxHandler as XmlXsltHandler) as String",
                 {style.document, events.Object()});
            return;
        }
        Value result = Call(source.document, "Transform(xsl as XmlStylesheet) as String", {style.document});
        std::string_view text = result.GetString().View();
        if (std::optional<fs::path> output = OutputFor(options.output, file))
            ReplaceFile(*output, text);
        else
            std::fwrite(text.data(), 1, text.size(), stdout);
        bool needsLineEnd = options.files.size() > 1 && options.output.empty() && !text.ends_with('\n');
        if (needsLineEnd) std::fputc('\n', stdout);
    } catch (const ProgramException& error) {
        throw xml::TextError({Locate(style.input, error)});
    }
}

bool IsStylesheetName(const std::string& path) {
    const std::string extension = fs::path(path).extension();
    return extension == ".xsl" || extension == ".xslt";
}

} // namespace

int Transform(const HostOptions& host, TransformCommandOptions options) {
    TakeFirstForLast(options.files, options.stylesheet, IsStylesheetName); // as with xsltproc
    std::vector<std::string> files = FilesOrInput(options.files);
    bool hasOneOutput = !options.output.empty() && options.output.find('*') == std::string::npos;
    if (files.size() > 1 && hasOneOutput)
        throw UsageError("--output: many inputs need a name with * for the name of each, as in 'out/*.html'");
    StartHost(host);
    std::optional<Loaded> style;
    bool isGood = ForEachFile({options.stylesheet}, [&](const std::string& file) {
        style = options.parameters.empty() ? Load(file, "XmlStyleSheet") : LoadWithParameters(options);
    });
    if (!isGood) return EXIT_FAILED;
    isGood = ForEachFile(files, [&](const std::string& file) { TransformFile(file, options, *style); });
    return isGood ? EXIT_OK : EXIT_FAILED;
}

} // namespace host
