#ifndef TEMPORARY_FOLDER_H
#define TEMPORARY_FOLDER_H

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include <gtest/gtest.h>

namespace TTMLTest {

// A folder of a test's own, removed with what is in it.
class TemporaryFolder
{
public:
    TemporaryFolder()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "ttmlsrc-test-XXXXXX").string();
        if (mkdtemp(pattern.data()) == nullptr) {
            ADD_FAILURE() << "no temporary folder at " << pattern;
        }
        m_path = pattern;
    }
    ~TemporaryFolder()
    {
        std::error_code error;
        std::filesystem::remove_all(m_path, error);
    }
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    std::string Path(const std::string& name) const { return (m_path / name).string(); }

    std::string Content(const std::string& name) const
    {
        std::ifstream file(m_path / name, std::ios::binary);
        EXPECT_TRUE(file.good()) << name;
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    void Write(const std::string& name, const std::string& content) const
    {
        std::ofstream(m_path / name, std::ios::binary) << content;
    }

private:
    std::filesystem::path m_path;
};

} // namespace TTMLTest

#endif
