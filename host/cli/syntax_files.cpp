// `kova syntax`: files for editors, made of the words that the language and the registered classes have.
#include "host/cli/commands.h"
#include "host/cli/files.h"
#include "host/cli/session.h"
#include "host/runtime/class.h"
#include "host/runtime/module.h"
#include "host/syntax/token.h"

#include <algorithm>
#include <filesystem>
#include <nlohmann/json.hpp>
#include <string>
#include <vector>

namespace host {

namespace {

using OrderedJson = nlohmann::ordered_json;
using Words = std::vector<std::string>;

constexpr const char* VIM_DETECTION = "autocmd BufNewFile,BufRead *.kova setfiletype kova\n";

constexpr const char* VIM_RULES = R"(syn match kovaNumber /\<\d\+\(\.\d\+\)\?\(e[+-]\?\d\+\)\?\>/
syn match kovaNumber /&[hbo]\x\+\>/
syn region kovaString start=/"/ skip=/""/ end=/"/ oneline
syn match kovaComment /'.*$/
syn match kovaComment +//.*$+
syn match kovaComment /\<rem\>.*$/

hi def link kovaKeyword Statement
hi def link kovaConstant Constant
hi def link kovaType Type
hi def link kovaFunction Function
hi def link kovaNumber Number
hi def link kovaString String
hi def link kovaComment Comment

setlocal commentstring='\ %s expandtab shiftwidth=2
let b:current_syntax = "kova"
)";

struct WordList {
    const char* group; // as Vim names it, behind "kova"
    const char* scope; // as VS Code's grammars do
    Words words;
};

Words Sorted(Words words) {
    std::sort(words.begin(), words.end());
    words.erase(std::unique(words.begin(), words.end()), words.end());
    return words;
}

std::vector<WordList> AllWords() {
    const Words constants{"True", "False", "Nil"};
    Words keywords;
    for (std::string_view word : KeywordNames()) {
        bool isConstant = std::find(constants.begin(), constants.end(), word) != constants.end();
        if (!isConstant) keywords.emplace_back(word);
    }
    Words types = BuiltInTypeNames();
    Words functions;
    for (const Class* cls : AllClasses()) types.push_back(cls->name);
    for (const Module* module : AllModules()) {
        if (!module->name.empty()) {
            types.push_back(module->name);
            continue;
        }
        for (const auto& function : module->functions) functions.push_back(function->signature.name);
    }
    return {{"Keyword", "keyword.control.kova", Sorted(keywords)},
            {"Constant", "constant.language.kova", Sorted(constants)},
            {"Type", "support.class.kova", Sorted(types)},
            {"Function", "support.function.kova", Sorted(functions)}};
}

std::string Joined(const Words& words, const char* separator) {
    std::string text;
    for (const std::string& word : words) text += (text.empty() ? "" : separator) + word;
    return text;
}

std::string VimSyntax(const std::vector<WordList>& lists) {
    std::string text = "\" Programs of KOVA XML; written by \"kova syntax\".\n"
                       "if exists(\"b:current_syntax\") | finish | endif\nsyn case ignore\n";
    for (const WordList& list : lists) {
        text += "syn keyword kova" + std::string(list.group) + " " + Joined(list.words, " ") + "\n";
    }
    return text + VIM_RULES;
}

std::string Grammar(const std::vector<WordList>& lists) {
    OrderedJson patterns = OrderedJson::array();
    auto add = [&](const char* scope, const std::string& match) {
        patterns.push_back({{"name", scope}, {"match", match}});
    };
    add("comment.line.kova", "('|//).*$");
    add("comment.line.kova", "(?i)\\brem\\b.*$");
    add("string.quoted.double.kova", "\"([^\"]|\"\")*\"");
    add("constant.numeric.kova", "(?i)\\b\\d+(\\.\\d+)?(e[+-]?\\d+)?\\b|&[hbo][0-9a-f]+\\b");
    for (const WordList& list : lists) add(list.scope, "(?i)(?<!\\.)\\b(" + Joined(list.words, "|") + ")\\b");
    OrderedJson grammar{{"name", "KOVA XML"}, {"scopeName", "source.kova"}, {"patterns", patterns}};
    return grammar.dump(2) + "\n";
}

std::string Extension() {
    OrderedJson language{{"id", "kova"},
                         {"aliases", {"KOVA XML"}},
                         {"extensions", {".kova"}},
                         {"configuration", "./language-configuration.json"}};
    OrderedJson grammar{
        {"language", "kova"}, {"scopeName", "source.kova"}, {"path", "./syntaxes/kova.tmLanguage.json"}};
    OrderedJson extension{
        {"name", "kova-xml"},
        {"displayName", "KOVA XML"},
        {"version", "1.0.0"},
        {"publisher", "kova"},
        {"engines", {{"vscode", "^1.70.0"}}},
        {"contributes", {{"languages", OrderedJson::array({language})}, {"grammars", OrderedJson::array({grammar})}}}};
    return extension.dump(2) + "\n";
}

std::string Configuration() {
    OrderedJson configuration{
        {"comments", {{"lineComment", "'"}}},
        {"brackets", OrderedJson::array({OrderedJson::array({"(", ")"}), OrderedJson::array({"[", "]"})})}};
    return configuration.dump(2) + "\n";
}

} // namespace

int WriteSyntaxFiles(const HostOptions& host, const std::string& folder) {
    StartHost(host);
    const std::vector<WordList> words = AllWords();
    const std::pair<const char*, std::string> files[] = {
        {"vim/ftdetect/kova.vim", VIM_DETECTION},
        {"vim/syntax/kova.vim", VimSyntax(words)},
        {"vscode/package.json", Extension()},
        {"vscode/language-configuration.json", Configuration()},
        {"vscode/syntaxes/kova.tmLanguage.json", Grammar(words)},
    };
    for (const auto& [name, text] : files) {
        std::filesystem::path path = std::filesystem::path(folder) / name;
        std::filesystem::create_directories(path.parent_path());
        WriteFile(path, text);
    }
    return EXIT_OK;
}

} // namespace host
