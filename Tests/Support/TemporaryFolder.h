#ifndef TEMPORARY_FOLDER_H
#define TEMPORARY_FOLDER_H

#include <string>

namespace TTMLTest {

// An empty folder of the test's own, removed with what is in it when the object goes.
class TemporaryFolder
{
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& Path() const { return m_path; }
    std::string Path(const std::string& name) const { return m_path + "/" + name; }

    // Writes a file and returns its path.
    std::string Write(const std::string& name, const std::string& content) const;

    // The content of a file; the test fails when there is none.
    std::string Content(const std::string& name) const;

private:
    std::string m_path;
};

} // namespace TTMLTest

#endif
