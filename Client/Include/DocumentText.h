#ifndef TTMLSRC_DOCUMENT_TEXT_H
#define TTMLSRC_DOCUMENT_TEXT_H

#include <string>

namespace TTMLClient {

// What a viewer would read first in a TTML document: the text of the first paragraph that has any, tags
// stripped, entities resolved, blanks collapsed, line breaks as blanks. Without paragraphs, the text of the
// body or of the whole; long texts are cut. Empty when there is none. Takes any bytes: what is not XML
// reads as text.
std::string FirstText(const std::string& document);

} // namespace TTMLClient

#endif
