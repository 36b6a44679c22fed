#ifndef DOCUMENT_H
#define DOCUMENT_H

#include <cstddef>
#include <string>

namespace TTMLBench {

// A document as a broadcaster's encoder writes one (EBU-TT-D), with as many paragraphs as it takes to make
// it at least `size` bytes long.
std::string MakeDocument(std::size_t size);

// What one sample of a subtitle track usually is.
constexpr std::size_t kUsualDocumentSize = 2048;

} // namespace TTMLBench

#endif
