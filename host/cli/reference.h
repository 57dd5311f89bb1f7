// The class reference: the pages of docs/reference, which the build puts into the command.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace host::reference {

// The page of the functions that belong to no class or module.
constexpr std::string_view FUNCTIONS_PAGE = "Functions";

std::vector<std::string_view> Pages();

// What a page, called like its class or module, says before its first section; empty without such a page.
std::string_view Introduction(std::string_view page);
// A section ("What surprises") of a page; empty without one.
std::string_view Section(std::string_view page, std::string_view title);
// What a page says about a member: by its signature as it stands in the heading ("Child(index As Integer) As XmlNode"),
// or by a constant's "NAME = 1". Overloads that share a text give the same view. Empty without one.
std::string_view MemberText(std::string_view page, std::string_view signature);

// A heading of a page: of a section ("Methods") or, within it, of a member.
struct Heading {
    bool isSection;
    std::string_view text;
};
std::vector<Heading> Headings(std::string_view page);

// The first sentence of a text, on one line.
std::string FirstSentence(std::string_view text);
// Text filled to a line length of 100, each line after `indent` blanks; blocks of code and tables as they are.
std::string Filled(std::string_view text, size_t indent);

} // namespace host::reference
