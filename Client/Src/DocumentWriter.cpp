#include "DocumentWriter.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>
#include <utility>

namespace TTMLClient {

namespace {

std::string FileName(unsigned long number, const char* ending)
{
    std::array<char, 40> name{};
    (void)std::snprintf(name.data(), name.size(), "%04lu.%s", number, ending);
    return name.data();
}

} // namespace

DocumentWriter::DocumentWriter(std::string folder)
    : m_folder(std::move(folder))
{}

bool DocumentWriter::Prepare()
{
    std::error_code error;
    std::filesystem::create_directories(m_folder, error);
    if (!error && !std::filesystem::is_directory(m_folder, error) && !error) {
        error = std::make_error_code(std::errc::not_a_directory);
    }
    if (error) {
        m_error = "creating the folder '" + m_folder + "' for --out failed: " + error.message() +
                  "; name a folder that can be written";
        return false;
    }
    return true;
}

bool DocumentWriter::Write(const TTML::TTMLRawDataInfo& data)
{
    ++m_count;
    return WriteFile(FileName(m_count, "ttml"), data.data) &&
           (data.secondaryData.empty() || WriteFile(FileName(m_count, "png"), data.secondaryData));
}

const std::string& DocumentWriter::Error() const
{
    return m_error;
}

bool DocumentWriter::WriteFile(const std::string& name, const std::string& bytes)
{
    const std::string path = (std::filesystem::path(m_folder) / name).string();
    errno = 0;
    std::FILE* file = std::fopen(path.c_str(), "wb");
    bool good = file != nullptr;
    int cause = errno;
    if (good) {
        good = std::fwrite(bytes.data(), 1, bytes.size(), file) == bytes.size();
        cause = errno;
        // What was buffered is written here, so this can fail as well.
        if (std::fclose(file) != 0 && good) {
            good = false;
            cause = errno;
        }
    }
    if (!good) {
        m_error = "writing '" + path + "' failed: " + std::generic_category().message(cause) +
                  "; make room or name another folder with --out";
    }
    return good;
}

} // namespace TTMLClient
