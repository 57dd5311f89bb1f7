// Which names and which text XML can carry (XML 1.0 fifth edition, Namespaces in XML 1.0).
#pragma once

#include <string>
#include <string_view>

namespace sablot {

// White space (production 3).
constexpr std::string_view BLANKS = " \t\r\n";

// With the line ends that a parser would make of those in comments and instructions (XML 1.0, 2.11).
std::string WithLineFeeds(std::string_view text);

// The same without the white space at the beginning, which belongs to the markup of an instruction.
std::string AsInstructionData(std::string_view text);

// Valid UTF-8 of XML characters only (production 2).
bool IsXmlText(std::string_view text);
// XML text without "--" and not ending in "-" (production 15).
bool IsCommentText(std::string_view text);
// XML text without "?>" (production 16).
bool IsInstructionData(std::string_view text);
// A name without colon that is not "xml" in any case.
bool IsInstructionTarget(std::string_view name);

// A name of Namespaces in XML: at most one colon, both parts names.
struct QName {
    std::string_view prefix; // empty when there is none
    std::string_view localName;
    bool isValid = false;

    explicit QName(std::string_view name);
};

} // namespace sablot
