#include "TemporaryFolder.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace TTMLBench {

std::string TemporaryPlace()
{
    const char* const place = std::getenv("TMPDIR");
    return place != nullptr && *place != '\0' ? place : "/tmp";
}

TemporaryFolder::TemporaryFolder()
    : m_path(TemporaryPlace() + "/ttml-bench-XXXXXX")
{
    if (mkdtemp(m_path.data()) == nullptr) {
        throw std::system_error(errno, std::generic_category(), "making the folder " + m_path);
    }
}

TemporaryFolder::~TemporaryFolder()
{
    std::error_code error;
    std::filesystem::remove_all(m_path, error);
}

} // namespace TTMLBench
