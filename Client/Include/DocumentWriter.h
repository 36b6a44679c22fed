#ifndef TTMLSRC_DOCUMENT_WRITER_H
#define TTMLSRC_DOCUMENT_WRITER_H

#include <string>

#include "TTMLRawDataInfo.h"

namespace TTMLClient {

// Writes what is delivered into a folder, byte for byte: 0001.ttml, 0002.ttml, ... and beside a document
// that comes with an image 0002.png. Existing files of these names are replaced. Calls come one at a time.
class DocumentWriter
{
public:
    explicit DocumentWriter(std::string folder);

    // Creates the folder, with those above it. False on failure; Error() says why.
    bool Prepare();

    // Writes one delivery. False on failure; Error() says why.
    bool Write(const TTML::TTMLRawDataInfo& data);

    // What failed, where, why and what to do, in one line.
    const std::string& Error() const;

private:
    bool WriteFile(const std::string& name, const std::string& bytes);

    std::string m_folder;
    unsigned long m_count = 0;
    std::string m_error;
};

} // namespace TTMLClient

#endif
