#ifndef CSOURCE_HOLDER_H
#define CSOURCE_HOLDER_H

#include "TTMLExport.h"

namespace TTML {

class ITTMLSource;

// Holds the process's current source for the client: what one part of it stores another fetches. The
// library itself neither sets nor reads it, and does not own what it holds: reset it before the source is
// destroyed. Any thread.
class TTML_EXPORT CSourceHolder
{
public:
    CSourceHolder();
    virtual ~CSourceHolder();

    static ITTMLSource* GetSource();
    static void SetSource(ITTMLSource* pSource);

    // What GetSource() and SetSource() reach safely from several threads; itself a plain pointer.
    static ITTMLSource* s_Source;
};

} // namespace TTML

#endif
