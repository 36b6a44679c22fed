#include "CommaLocale.h"

#include <clocale>
#include <cstdlib>
#include <string>

namespace TTMLTest {

namespace {

bool UsesComma(const char* name)
{
    return std::setlocale(LC_ALL, name) != nullptr && std::string(std::localeconv()->decimal_point) == ",";
}

} // namespace

CommaLocale::CommaLocale()
    : m_isThere(Make())
{
    if (!m_isThere) {
        std::setlocale(LC_ALL, "C");
    }
}

CommaLocale::~CommaLocale()
{
    std::setlocale(LC_ALL, "C");
}

bool CommaLocale::Make() const
{
    for (const char* name : {"de_DE.UTF-8", "de_DE.utf8", "fr_FR.UTF-8", "de_DE", "fr_FR"}) {
        if (UsesComma(name)) {
            return true;
        }
    }
    if (std::system(
            ("localedef -i de_DE -f ISO-8859-1 '" + m_folder.Path("de_DE") + "' >/dev/null 2>&1").c_str()) !=
        0) {
        return false;
    }
    (void)setenv("LOCPATH", m_folder.Path().c_str(), 1);
    const bool uses = UsesComma("de_DE");
    (void)unsetenv("LOCPATH");
    return uses;
}

} // namespace TTMLTest
