#include "CaptureStderr.h"

#include <cstdlib>

#include <sys/mman.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace TTMLTest {

namespace {

// Before the first line of this process is logged: whoever runs the tests may have another threshold.
[[maybe_unused]] const int g_threshold = setenv("TTML_LOG", "warning", 1);

} // namespace

CaptureStderr::CaptureStderr()
    : m_file(memfd_create("stderr", MFD_CLOEXEC))
    , m_saved(dup(STDERR_FILENO))
{
    EXPECT_GE(m_file, 0);
    EXPECT_GE(m_saved, 0);
    EXPECT_EQ(dup2(m_file, STDERR_FILENO), STDERR_FILENO);
}

CaptureStderr::~CaptureStderr()
{
    EXPECT_EQ(dup2(m_saved, STDERR_FILENO), STDERR_FILENO);
    (void)close(m_saved);
    (void)close(m_file);
}

std::string CaptureStderr::Text() const
{
    std::string text;
    char block[4096];
    ssize_t n = 0;
    while ((n = pread(m_file, block, sizeof block, static_cast<off_t>(text.size()))) > 0) {
        text.append(block, static_cast<std::size_t>(n));
    }
    return text;
}

std::vector<std::string> CaptureStderr::LogLines() const
{
    std::vector<std::string> lines;
    for (const std::string& line : SplitLines(Text())) {
        lines.push_back(WithoutTime(line));
    }
    return lines;
}

std::string WithoutTime(const std::string& line)
{
    // 0 stands for any digit.
    const std::string form = "0000-00-00 00:00:00.000 ";
    if (line.size() < form.size()) {
        ADD_FAILURE() << "no log line: '" << line << "'";
        return line;
    }
    for (std::size_t i = 0; i < form.size(); ++i) {
        const bool fits = form[i] == '0' ? line[i] >= '0' && line[i] <= '9' : line[i] == form[i];
        if (!fits) {
            ADD_FAILURE() << "no log line: '" << line << "'";
            return line;
        }
    }
    return line.substr(form.size());
}

std::vector<std::string> SplitLines(const std::string& text)
{
    std::vector<std::string> lines;
    std::size_t begin = 0;
    while (begin < text.size()) {
        const std::size_t end = text.find('\n', begin);
        if (end == std::string::npos) {
            ADD_FAILURE() << "no line end after '" << text.substr(begin) << "'";
            lines.push_back(text.substr(begin));
            break;
        }
        lines.push_back(text.substr(begin, end - begin));
        begin = end + 1;
    }
    return lines;
}

} // namespace TTMLTest
