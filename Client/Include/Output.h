#ifndef TTMLSRC_OUTPUT_H
#define TTMLSRC_OUTPUT_H

#include <memory>
#include <string>

#include "DocumentWriter.h"
#include "Event.h"

namespace TTMLClient {

struct CommonOptions;

// The printer and the writer that the options ask for, on standard output and in the folder named.
class Output
{
public:
    explicit Output(const CommonOptions& options);

    // False when the folder cannot be made; Error() says why.
    bool Prepare();
    std::string Error() const;

    EventPrinter& Printer();
    DocumentWriter* Writer(); // null when documents are not kept

private:
    std::unique_ptr<EventPrinter> m_printer;
    std::unique_ptr<DocumentWriter> m_writer;
};

// One line on standard error: "ttmlsrc: message".
void PrintMessage(const std::string& message);

} // namespace TTMLClient

#endif
