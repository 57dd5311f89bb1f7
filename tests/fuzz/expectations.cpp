// What `kova test` reads in a program's comments, and the comparison of outputs.
#include "host/cli/expectations.h"

#include "tests/fuzz/input.h"

using namespace host;

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    const Input input(data, size);
    const Expectations expectations = ReadExpectations(input.texts[0]);
    for (const ExpectedMessage& message : expectations.errors) MatchesMessage(input.texts.back(), message.text);
    const std::vector<std::string> got = SplitLines(input.texts.back());
    std::vector<std::string> expected;
    for (const ExpectedLine& line : expectations.output) expected.push_back(line.text);
    for (const Difference& difference : CompareLines(expected, got))
        Require((difference.expected ? *difference.expected < expected.size() : difference.got.has_value())
                    && (!difference.got || *difference.got < got.size()),
                "differences name lines");
    return 0;
}
