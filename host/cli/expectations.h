// What a test program says about itself, in comments:
//
//   Print node.Name            ' expect: chapter          one line of output; expected lines are compared with
//                                                         the output in the order they stand in the program
//   Dim a As Strin             ' expect error: TEXT       a compile error on this line, with this message
//   ' expect error 12:7: TEXT                             … on line 12, in column 7 (the column may be left out)
//   Dim b As Integer           ' expect warning: TEXT     the same for warnings
//   node.AppendChild(Nil)      ' expect exception XmlDomException 8: TEXT
//                                                         ends the program here, uncaught (number and text may be left
//                                                         out)
//   ' leaks reader-encoding: 1 String, 2 XmlNode          left alive on purpose; the name is an entry of the list
//   ' arguments: books.xml 3                              the program's arguments
//   ' input: TEXT                                         one line of standard input
//   ' program: ../../examples/tour.kova                   run that program instead of this file
//
// A message that ends in "..." matches any message that begins so. Longer output stands in NAME.expected
// beside NAME.kova, instead of comments.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace host {

struct ExpectedLine {
    int line; // where the comment stands
    std::string text;
};

struct ExpectedMessage {
    int line;
    std::optional<int> column;
    std::string text;
};

struct ExpectedException {
    // Absent when the comment stands on a line of its own: then the exception may come from anywhere.
    std::optional<int> line;
    std::string className;
    std::optional<int> number;
    std::optional<std::string> text;
};

struct DeclaredLeak {
    int line;
    std::string name;
    std::map<std::string, int> counts; // by class; "String" for strings
};

struct Expectations {
    std::vector<ExpectedLine> output;
    std::vector<ExpectedMessage> errors;
    std::vector<ExpectedMessage> warnings;
    std::optional<ExpectedException> exception;
    std::vector<DeclaredLeak> leaks;
    std::vector<std::string> arguments;
    std::string input;
    std::optional<std::filesystem::path> program;
    // Comments that begin like an expectation and are none.
    std::vector<ExpectedLine> mistakes;
};

Expectations ReadExpectations(std::string_view source);

bool MatchesMessage(std::string_view got, std::string_view expected);

// The differences between two lists of lines as the shortest edit: each entry is a pair of indices,
// of which one is absent where a line has no partner.
struct Difference {
    std::optional<size_t> expected;
    std::optional<size_t> got;
};
std::vector<Difference> CompareLines(const std::vector<std::string>& expected, const std::vector<std::string>& got);

std::vector<std::string> SplitLines(std::string_view text);

} // namespace host
