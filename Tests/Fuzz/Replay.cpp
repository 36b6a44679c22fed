// The plain driver: runs a target on the files that it is given, and on those in the folders.

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "FuzzTarget.h"

namespace {

namespace fs = std::filesystem;

std::vector<fs::path> FilesOf(const fs::path& path)
{
    std::vector<fs::path> files;
    if (!fs::is_directory(path)) {
        files.push_back(path);
        return files;
    }
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(path)) {
        if (entry.is_regular_file()) {
            files.push_back(entry.path());
        }
    }
    std::sort(files.begin(), files.end());
    return files;
}

bool Run(const fs::path& file)
{
    std::ifstream stream(file, std::ios::binary);
    const std::string bytes((std::istreambuf_iterator<char>(stream)), std::istreambuf_iterator<char>());
    if (!stream.is_open() || stream.bad()) {
        static_cast<void>(std::fprintf(stderr, "replay: cannot read '%s'\n", file.c_str()));
        return false;
    }
    // A copy of the exact size on the heap, where a sanitizer sees a step over its end. The name first: what
    // ends the process does not come back.
    const std::vector<unsigned char> input(bytes.begin(), bytes.end());
    static_cast<void>(std::fprintf(stderr, "%s\n", file.c_str()));
    LLVMFuzzerTestOneInput(input.data(), input.size());
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    std::size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const fs::path& file : FilesOf(argv[i])) {
            if (!Run(file)) {
                return 1;
            }
            ++count;
        }
    }
    static_cast<void>(std::printf("%zu inputs\n", count));
    // A corpus that is not found must not look like one that passes.
    return count > 0 ? 0 : 1;
}
