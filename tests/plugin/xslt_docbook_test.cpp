// A real book through real stylesheets of many modules: by a host program, by the command, and by xsltproc.
#include <gtest/gtest.h>
#include <sys/wait.h>

#include <cstdio>
#include <map>
#include <memory>
#include <regex>
#include <string>

namespace {

const std::string DATA = std::string(KOVA_SYSROOT) + "/usr/share";
const std::string PROGRAMS = std::string(KOVA_SOURCE_DIR) + "/tests/programs/xslt/";

std::string OutputOf(const std::string& command) {
    std::unique_ptr<FILE, int (*)(FILE*)> pipe(popen(command.c_str(), "r"), nullptr);
    std::string output;
    char buffer[65536];
    while (const size_t count = std::fread(buffer, 1, sizeof buffer, pipe.get())) output.append(buffer, count);
    const int status = pclose(pipe.release());
    EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << command;
    return output;
}

// generate-id() answers what it likes: the ids are numbered in the order of their first use.
std::string WithNumberedIds(const std::string& page) {
    static const std::regex ID("id[mp]?[0-9]+");
    std::map<std::string, std::string> numbers;
    std::string result;
    auto rest = page.begin();
    for (std::sregex_iterator match(page.begin(), page.end(), ID), end; match != end; ++match) {
        const std::string& number =
            numbers.try_emplace(match->str(), "id" + std::to_string(numbers.size())).first->second;
        result.append(rest, page.begin() + match->position()).append(number);
        rest = page.begin() + match->position() + match->length();
    }
    return result.append(rest, page.end());
}

TEST(DocBook, PageIsTheOneOfXsltproc) {
    if (std::system("command -v xsltproc >/dev/null") != 0) GTEST_SKIP() << "xsltproc is not installed";
    const std::string book = std::string(KOVA_SOURCE_DIR) + "/examples/data/manual/book.xml";
    const std::string sheet = DATA + "/xml/docbook/stylesheet/docbook-xsl/html/docbook.xsl";
    const std::string expected =
        WithNumberedIds(OutputOf("xsltproc --nonet --novalid " + sheet + " " + book + " 2>/dev/null"));
    EXPECT_GT(expected.size(), 5000u);
    for (const std::string& command :
         {"KOVA_DATA=" + DATA + " " KOVA_COMMAND " run " + PROGRAMS + "docbook.kova page 2>/dev/null",
          KOVA_COMMAND " transform " + book + " " + sheet + " 2>/dev/null"})
        EXPECT_EQ(WithNumberedIds(OutputOf(command)), expected) << command;
}

} // namespace
