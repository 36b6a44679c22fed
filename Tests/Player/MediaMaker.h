#ifndef MEDIA_MAKER_H
#define MEDIA_MAKER_H

#include <string>
#include <vector>

namespace TTMLTest {

// The path of a file in the repository's folder of samples.
std::string SamplePath(const std::string& name);

// A fragmented MP4 file made by the samples' own script with these options, as `path`.
void MakeFile(const std::string& path, const std::vector<std::string>& options = {});
// A DASH presentation made by it in the folder `path`.
void MakeDash(const std::string& path, const std::vector<std::string>& options = {});
// A live presentation in the folder `path` with all its segments there, on a timeline that began long ago.
// Returns its manifest.
std::string MakeLiveDash(const std::string& path);

std::string ReadFile(const std::string& path);
// The text with every `from` in it replaced; one must be there.
std::string Replaced(const std::string& text, const std::string& from, const std::string& to);

} // namespace TTMLTest

#endif
