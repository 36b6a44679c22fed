#ifndef TTMLSRC_JSON_PRINTER_H
#define TTMLSRC_JSON_PRINTER_H

#include <ostream>

#include "Event.h"

namespace TTMLClient {

// Events as JSON, an object a line, flushed line by line. Fields stand in a fixed order; bytes that are
// not UTF-8 are replaced.
class JsonPrinter : public EventPrinter
{
public:
    // `out` stays the caller's and must outlive the printer.
    explicit JsonPrinter(std::ostream& out);

    bool Print(const Event& event) override;

private:
    std::ostream& m_out;
};

} // namespace TTMLClient

#endif
