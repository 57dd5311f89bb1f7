// `kova lsp`: a server of the Language Server Protocol over standard input and output.
#include "host/cli/commands.h"
#include "host/cli/files.h"
#include "host/cli/reference.h"
#include "host/cli/session.h"
#include "host/language/inspector.h"
#include "host/syntax/formatter.h"
#include "host/syntax/names.h"

#include <strings.h>

#include <cstdio>
#include <iostream>
#include <map>
#include <nlohmann/json.hpp>
#include <set>
#include <stdexcept>
#include <string>

namespace host {

namespace {

using Json = nlohmann::json;

constexpr size_t MAX_MESSAGE = size_t{64} << 20;
constexpr const char* SCHEME = "file://";

std::string PathOf(const std::string& uri) {
    std::string path;
    std::string_view rest = std::string_view(uri).substr(uri.starts_with(SCHEME) ? 7 : 0);
    for (size_t i = 0; i < rest.size(); ++i) {
        bool isCode = rest[i] == '%' && i + 2 < rest.size();
        path += isCode ? static_cast<char>(std::stoi(std::string(rest.substr(i + 1, 2)), nullptr, 16)) : rest[i];
        if (isCode) i += 2;
    }
    return path;
}

std::string UriOf(const std::string& path) {
    std::string uri = SCHEME;
    for (char c : path) uri += c == ' ' ? "%20" : c == '%' ? "%25" : std::string(1, c);
    return uri;
}

// Columns of the protocol count UTF-16 units.
size_t Units(char c) {
    auto byte = static_cast<unsigned char>(c);
    return (byte & 0xC0) == 0x80 ? 0 : byte >= 0xF0 ? 2 : 1;
}

size_t OffsetOf(const std::string& text, const Json& position) {
    auto line = position.at("line").get<size_t>();
    auto column = position.at("character").get<size_t>();
    size_t offset = 0;
    for (; line > 0 && offset < text.size(); ++offset) line -= text[offset] == '\n' ? 1 : 0;
    for (size_t units = 0; offset < text.size() && text[offset] != '\n'; ++offset) {
        if (units >= column && Units(text[offset]) > 0) break;
        units += Units(text[offset]);
    }
    return offset;
}

Json PositionOf(std::string_view text, size_t offset) {
    size_t line = 0;
    size_t column = 0;
    for (char c : text.substr(0, offset)) {
        column = c == '\n' ? 0 : column + Units(c);
        line += c == '\n' ? 1 : 0;
    }
    return {{"line", line}, {"character", column}};
}

Json RangeOf(std::string_view text, size_t offset, size_t length) {
    return {{"start", PositionOf(text, offset)}, {"end", PositionOf(text, offset + length)}};
}

// Columns of a diagnostic count characters.
Json RangeOf(const Diagnostic& diagnostic) {
    size_t column = 0;
    size_t first = 0;
    size_t last = 0;
    size_t character = 0;
    for (char c : diagnostic.sourceLine) {
        if (Units(c) > 0) {
            ++character;
            if (character == diagnostic.column) first = column;
            if (character == diagnostic.column + diagnostic.length) last = column;
        }
        column += Units(c);
    }
    if (diagnostic.column > character) first = column;
    if (last <= first) last = column;
    const size_t line = diagnostic.line - 1;
    return {{"start", {{"line", line}, {"character", first}}}, {"end", {{"line", line}, {"character", last}}}};
}

class Server {
public:
    int Run() {
        std::string body;
        while (!hasEnded_ && Receive(body)) {
            Json message = Json::parse(body, nullptr, false);
            if (message.is_discarded())
                Send({{"id", nullptr}, {"error", {{"code", -32700}, {"message", "no JSON"}}}});
            else if (message.is_object() && message.contains("method") && message["method"].is_string())
                Handle(message);
        }
        return hasShutDown_ ? EXIT_OK : EXIT_FAILED;
    }

private:
    struct Document {
        std::string text;
        std::string sound;            // the last text that could be compiled
        std::set<std::string> told{}; // other files that have diagnostics because of it
    };

    static bool Receive(std::string& body) {
        size_t length = 0;
        for (std::string line; std::getline(std::cin, line) && line != "\r" && !line.empty();) {
            constexpr std::string_view LENGTH = "Content-Length:";
            if (strncasecmp(line.c_str(), LENGTH.data(), LENGTH.size()) == 0)
                length = std::strtoul(line.c_str() + LENGTH.size(), nullptr, 10);
        }
        if (!std::cin || length > MAX_MESSAGE) return false;
        body.resize(length);
        return static_cast<bool>(std::cin.read(body.data(), static_cast<std::streamsize>(length)));
    }

    static void Send(Json message) {
        message["jsonrpc"] = "2.0";
        std::string body = message.dump(-1, ' ', false, Json::error_handler_t::replace);
        std::printf("Content-Length: %zu\r\n\r\n", body.size());
        std::fwrite(body.data(), 1, body.size(), stdout);
        std::fflush(stdout);
    }

    void Handle(const Json& message) {
        const auto method = message["method"].get<std::string>();
        const Json parameters = message.value("params", Json::object());
        const bool isRequest = message.contains("id");
        try {
            Json result = Answer(method, parameters);
            if (isRequest && result.is_discarded())
                Send({{"id", message["id"]}, {"error", {{"code", -32601}, {"message", "no method " + method}}}});
            else if (isRequest)
                Send({{"id", message["id"]}, {"result", result}});
        } catch (const std::exception& error) {
            if (isRequest) Send({{"id", message["id"]}, {"error", {{"code", -32602}, {"message", error.what()}}}});
        }
    }

    Json Answer(const std::string& method, const Json& parameters) {
        if (method == "initialize") return Capabilities();
        if (method == "shutdown") hasShutDown_ = true;
        if (method == "exit") hasEnded_ = true;
        if (method == "shutdown" || method == "exit" || method == "initialized") return nullptr;
        if (!method.starts_with("textDocument/")) return Json(Json::value_t::discarded);
        const Json& document = parameters.at("textDocument");
        const auto uri = document.at("uri").get<std::string>();
        if (method == "textDocument/didOpen") return Change(uri, document.at("text").get<std::string>());
        if (method == "textDocument/didChange") {
            const Json& changes = parameters.at("contentChanges");
            return changes.empty() ? nullptr : Change(uri, changes.back().at("text").get<std::string>());
        }
        if (method == "textDocument/didClose") {
            documents_.erase(uri);
            return nullptr;
        }
        if (method == "textDocument/formatting") return Formatting(documents_[uri].text);
        if (method == "textDocument/completion") return Completion(uri, parameters.at("position"));
        if (method == "textDocument/hover") return Hover(uri, parameters.at("position"));
        if (method == "textDocument/rename")
            return Rename(uri, parameters.at("position"), parameters.at("newName").get<std::string>());
        if (method == "textDocument/definition") return Definition(uri, parameters.at("position"));
        return Json(Json::value_t::discarded);
    }

    static Json Capabilities() {
        return {{"capabilities",
                 {{"textDocumentSync", 1},
                  {"completionProvider", {{"triggerCharacters", Json::array({"."})}}},
                  {"hoverProvider", true},
                  {"definitionProvider", true},
                  {"renameProvider", true},
                  {"documentFormattingProvider", true}}},
                {"serverInfo", {{"name", "kova"}}}};
    }

    Json Change(const std::string& uri, const std::string& text) {
        Document& document = documents_[uri];
        document.text = text;
        Compilation compilation = CompileText(uri, text);
        if (compilation.program != nullptr) document.sound = text;
        // Each file is told what is wrong in it, and those that were told before that nothing is.
        std::map<std::string, Json> found{{uri, Json::array()}};
        for (const std::string& told : document.told) found[told] = Json::array();
        document.told.clear();
        for (const Diagnostic& diagnostic : compilation.diagnostics) {
            const std::string file = UriFor(diagnostic.file);
            if (file != uri) document.told.insert(file);
            found.try_emplace(file, Json::array());
            found[file].push_back({{"range", RangeOf(diagnostic)},
                                   {"severity", diagnostic.severity == Severity::ERROR ? 1 : 2},
                                   {"source", "kova"},
                                   {"message", diagnostic.message}});
        }
        for (const auto& [file, diagnostics] : found) {
            Send({{"method", "textDocument/publishDiagnostics"},
                  {"params", {{"uri", file}, {"diagnostics", diagnostics}}}});
        }
        return nullptr;
    }

    // The name by which the editor knows a file, if it has opened it.
    std::string UriFor(const std::string& path) const {
        for (const auto& [uri, document] : documents_)
            if (PathOf(uri) == path) return uri;
        return UriOf(path);
    }

    // The texts as the editor has them, or as they are given.
    EditorView View(bool notesUses, std::map<std::string, std::string> texts = {}) const {
        for (const auto& [uri, document] : documents_) texts.emplace(PathOf(uri), document.text);
        return {std::move(texts), notesUses};
    }

    // One program is known at a time.
    Compilation CompileText(const std::string& uri, const std::string& text, bool notesUses = false) const {
        const std::string path = PathOf(uri);
        return Compile({Source{path, text, path}}, View(notesUses));
    }

    static Json Formatting(const std::string& text) {
        SourceFiles files{std::make_shared<const SourceFile>("", text)};
        DiagnosticList diagnostics(files);
        std::string formatted = FormatProgram(files, 0, diagnostics);
        if (diagnostics.HasErrors() || formatted == text) return Json::array();
        return Json::array({{{"range", RangeOf(text, 0, text.size())}, {"newText", formatted}}});
    }

    // The text as it is if it can be compiled, else as it was when it could.
    Compilation Known(const std::string& uri) {
        Compilation compilation = CompileText(uri, documents_[uri].text);
        if (compilation.program == nullptr) compilation = CompileText(uri, documents_[uri].sound);
        return compilation;
    }

    Json Completion(const std::string& uri, const Json& position) {
        Json items = Json::array();
        const std::string& text = documents_[uri].text;
        if (Compilation known = Known(uri); known.program != nullptr) {
            for (const std::string& name : CompleteName(*known.program, text, OffsetOf(text, position))) {
                items.push_back({{"label", name}});
            }
        }
        return items;
    }

    std::optional<NamedThing> ThingAt(const std::string& uri, const Json& position) {
        const std::string& text = documents_[uri].text;
        Compilation known = Known(uri);
        if (known.program == nullptr) return std::nullopt;
        return FindNamedThing(*known.program, text, OffsetOf(text, position));
    }

    Json Hover(const std::string& uri, const Json& position) {
        std::optional<NamedThing> thing = ThingAt(uri, position);
        if (!thing) return nullptr;
        std::string text = "```kova\n" + thing->declaration + "\n```";
        std::string_view said = thing->heading.empty() ? reference::Introduction(thing->page)
                                                       : reference::MemberText(thing->page, thing->heading);
        if (!said.empty()) text += "\n" + std::string(said);
        return {{"contents", {{"kind", "markdown"}, {"value", text}}}};
    }

    Json Definition(const std::string& uri, const Json& position) {
        std::optional<NamedThing> thing = ThingAt(uri, position);
        if (!thing || !thing->definition) return nullptr;
        const auto& [path, span] = *thing->definition;
        return {{"uri", UriFor(path)}, {"range", RangeOf(TextOf(path), span.offset, span.length)}};
    }

    std::string TextOf(const std::string& path) {
        auto found = documents_.find(UriFor(path));
        return found != documents_.end() ? found->second.text : ReadFile(path);
    }

    // All names for what stands at the place, in every program that the editor has open. Throws what the user should
    // read.
    struct Renaming {
        NamePlace declaration;
        std::set<NamePlace> places;
        size_t ownCount = 0; // of places in the program at hand
    };

    Renaming PlacesToRename(const std::string& uri, size_t offset) {
        Renaming renaming;
        auto add = [&](const std::string& root, const Compilation& compilation) {
            if (compilation.program == nullptr)
                throw std::runtime_error(PathOf(root) + " has errors, which must be mended first");
            auto found = FindUses(*compilation.program, renaming.declaration);
            renaming.places.insert(found.begin(), found.end());
            if (root == uri) renaming.ownCount = found.size();
        };
        std::string name;
        {
            Compilation compilation = CompileText(uri, documents_[uri].text, true);
            std::optional<NamePlace> found;
            if (compilation.program != nullptr) found = FindDeclaration(*compilation.program, PathOf(uri), offset);
            if (compilation.program != nullptr && !found)
                throw std::runtime_error("only what the program's own files declare can be renamed");
            if (found) renaming.declaration = *found;
            add(uri, compilation);
        }
        const Span& span = renaming.declaration.span;
        name = FoldName(TextOf(renaming.declaration.path).substr(span.offset, span.length));
        for (const auto& [root, document] : documents_) {
            bool isConcerned = root != uri && FoldName(document.text).find(name) != std::string::npos;
            if (isConcerned) add(root, CompileText(root, document.text, true));
        }
        return renaming;
    }

    Json Rename(const std::string& uri, const Json& position, const std::string& name) {
        constexpr const char* LETTERS = "abcdefghijklmnopqrstuvwxyz_";
        bool isName = FoldName(name).find_first_of(LETTERS) == 0
                      && FoldName(name).find_first_not_of(std::string(LETTERS) + "0123456789") == std::string::npos;
        if (!isName) throw std::runtime_error("\"" + name + "\" is no name");
        const Renaming renaming = PlacesToRename(uri, OffsetOf(documents_[uri].text, position));
        std::map<std::string, std::string> texts;
        Json changes = Json::object();
        // From behind, so that what comes before stays where it is.
        for (auto place = renaming.places.rbegin(); place != renaming.places.rend(); ++place) {
            const std::string old = TextOf(place->path);
            texts.try_emplace(place->path, old).first->second.replace(place->span.offset, place->span.length, name);
            changes[UriFor(place->path)].push_back(
                {{"range", RangeOf(old, place->span.offset, place->span.length)}, {"newText", name}});
        }
        CheckRenamed(uri, std::move(texts), renaming, name);
        return {{"changes", changes}};
    }

    // The program must be sound with the new name, and it must stand for the same wherever it stands.
    void CheckRenamed(const std::string& uri, std::map<std::string, std::string> texts, const Renaming& renaming,
                      const std::string& name) {
        NamePlace moved = renaming.declaration;
        for (const NamePlace& place : renaming.places) {
            bool isBefore = place.path == moved.path && place.span.offset < renaming.declaration.span.offset;
            if (isBefore) moved.span.offset += static_cast<uint32_t>(name.size()) - place.span.length;
        }
        const std::string path = PathOf(uri);
        const std::string text = texts.try_emplace(path, documents_[uri].text).first->second;
        Compilation renamed = Compile({Source{path, text, path}}, View(true, std::move(texts)));
        for (const Diagnostic& diagnostic : renamed.diagnostics) {
            if (diagnostic.severity == Severity::ERROR)
                throw std::runtime_error("\"" + name + "\" cannot be its name: " + diagnostic.message);
        }
        if (renamed.program == nullptr || FindUses(*renamed.program, moved).size() != renaming.ownCount)
            throw std::runtime_error("\"" + name + "\" is the name of something else there");
    }

    std::map<std::string, Document> documents_;
    bool hasShutDown_ = false;
    bool hasEnded_ = false;
};

} // namespace

int RunLanguageServer(const HostOptions& host) {
    StartHost(host);
    return Server().Run();
}

} // namespace host
