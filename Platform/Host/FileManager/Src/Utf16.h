#ifndef TTML_HOST_UTF16_H
#define TTML_HOST_UTF16_H

#include "DocumentBuffer.h"

namespace TTMLHost {

enum class TextConversion
{
    NotNeeded,   // no UTF-16 byte-order mark; the document is unchanged
    Done,        // the document is UTF-8 now, without a byte-order mark
    Invalid,     // the bytes after the mark are not UTF-16
    NoMemory,    //
    Unavailable, // the machine has no converter
};

// Turns a document that begins with a UTF-16 byte-order mark, of either byte order, into UTF-8. Text
// crosses the platform boundary zero-terminated, which UTF-16 cannot be.
TextConversion ConvertUtf16(DocumentBuffer* document) noexcept;

} // namespace TTMLHost

#endif
