#include "TemporaryFolder.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>

#include <stdlib.h>

#include <gtest/gtest.h>

namespace TTMLTest {

TemporaryFolder::TemporaryFolder()
{
    m_path = (std::filesystem::temp_directory_path() / "ttml-test-XXXXXX").string();
    EXPECT_NE(mkdtemp(m_path.data()), nullptr) << m_path;
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
    EXPECT_FALSE(error) << m_path << ": " << error.message();
}

std::string TemporaryFolder::Write(const std::string& name, const std::string& content) const
{
    std::ofstream file(Path(name), std::ios::binary);
    file << content;
    file.close();
    EXPECT_TRUE(file) << Path(name);
    return Path(name);
}

std::string TemporaryFolder::Content(const std::string& name) const
{
    std::ifstream file(Path(name), std::ios::binary);
    EXPECT_TRUE(file) << Path(name);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace TTMLTest
