// The main function of every GoogleTest executable: each test runs in an empty folder of its own, which is also its
// folder for temporary files, so that tests can run side by side and write under fixed names.
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <stdlib.h>

#include <filesystem>
#include <string>

namespace {

namespace fs = std::filesystem;

class FolderOfItsOwn : public testing::EmptyTestEventListener {
    void OnTestStart(const testing::TestInfo&) override {
        std::string pattern = (outer_ / "kova-test-XXXXXX").native();
        if (mkdtemp(pattern.data()) == nullptr) throw fs::filesystem_error("mkdtemp", pattern, LastError());
        folder_ = pattern;
        fs::current_path(folder_);
        setenv("TMPDIR", folder_.c_str(), 1);
    }

    void OnTestEnd(const testing::TestInfo&) override {
        fs::current_path(outer_);
        setenv("TMPDIR", outer_.c_str(), 1);
        fs::remove_all(folder_);
    }

    static std::error_code LastError() { return {errno, std::generic_category()}; }

    fs::path outer_ = fs::temp_directory_path();
    fs::path folder_;
};

} // namespace

int main(int count, char** arguments) {
    testing::InitGoogleMock(&count, arguments);
    testing::UnitTest::GetInstance()->listeners().Append(new FolderOfItsOwn);
    return RUN_ALL_TESTS();
}
