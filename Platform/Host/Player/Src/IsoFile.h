#ifndef ISO_FILE_H
#define ISO_FILE_H

#include <string>

namespace TTMLHost {

// Whether the file begins like an ISO base media file (ISO/IEC 14496-12) and its last box is longer than
// what is there of it. False for files of other kinds, and when the file cannot be read.
bool EndsInsideBox(const std::string& path);

} // namespace TTMLHost

#endif
