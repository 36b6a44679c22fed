#ifndef TTMLSRC_TEXT_PRINTER_H
#define TTMLSRC_TEXT_PRINTER_H

#include <cstddef>
#include <ostream>

#include "Event.h"

namespace TTMLClient {

// How a text printer lays its lines out.
struct TextLayout
{
    bool colours = false;
    std::size_t columns = 0; // width of a line; 0 when nothing limits it but good sense
};

// Events as aligned lines for people: wall time, thread, notice, media time, timing, text.
class TextPrinter : public EventPrinter
{
public:
    // `out` stays the caller's and must outlive the printer.
    TextPrinter(std::ostream& out, const TextLayout& layout);

    bool Print(const Event& event) override;

private:
    std::ostream& m_out;
    TextLayout m_layout;
};

} // namespace TTMLClient

#endif
