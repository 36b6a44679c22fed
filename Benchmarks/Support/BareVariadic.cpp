#include "BareVariadic.h"

namespace TTMLBench {

int BareVariadic(int /*bufferId*/, int /*level*/, const char* /*tag*/, const char* /*format*/, ...)
{
    return 0;
}

} // namespace TTMLBench
