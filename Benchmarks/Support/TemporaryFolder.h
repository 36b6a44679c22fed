#ifndef TEMPORARY_FOLDER_H
#define TEMPORARY_FOLDER_H

#include <string>

namespace TTMLBench {

// Where temporary files go: TMPDIR, else /tmp.
std::string TemporaryPlace();

// A new folder there, which goes with the object and with all that is in it.
class TemporaryFolder
{
public:
    // Throws std::system_error when it cannot be made.
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return m_path; }

private:
    std::string m_path;
};

} // namespace TTMLBench

#endif
