#include "Output.h"

#include <cstdio>
#include <iostream>

#include <sys/ioctl.h>
#include <unistd.h>

#include "CommonOptions.h"
#include "JsonPrinter.h"
#include "TextPrinter.h"

namespace TTMLClient {

namespace {

TextLayout LayoutOfStandardOutput()
{
    TextLayout layout;
    layout.colours = isatty(STDOUT_FILENO) != 0;
    winsize size{};
    if (layout.colours && ioctl(STDOUT_FILENO, TIOCGWINSZ, &size) == 0) {
        layout.columns = size.ws_col;
    }
    return layout;
}

} // namespace

Output::Output(const CommonOptions& options)
{
    if (options.json) {
        m_printer = std::make_unique<JsonPrinter>(std::cout);
    } else {
        m_printer = std::make_unique<TextPrinter>(std::cout, LayoutOfStandardOutput());
    }
    if (!options.outFolder.empty()) {
        m_writer = std::make_unique<DocumentWriter>(options.outFolder);
    }
}

bool Output::Prepare()
{
    return !m_writer || m_writer->Prepare();
}

std::string Output::Error() const
{
    return m_writer ? m_writer->Error() : std::string();
}

EventPrinter& Output::Printer()
{
    return *m_printer;
}

DocumentWriter* Output::Writer()
{
    return m_writer.get();
}

void PrintMessage(const std::string& message)
{
    // In one piece: the log writes to the same place from other threads.
    const std::string line = "ttmlsrc: " + message + "\n";
    (void)std::fwrite(line.data(), 1, line.size(), stderr);
}

} // namespace TTMLClient
