#ifndef COMMA_LOCALE_H
#define COMMA_LOCALE_H

#include "TemporaryFolder.h"

namespace TTMLTest {

// Gives the process a locale whose decimal point is a comma, the machine's or one that is made for the test,
// until the object goes.
class CommaLocale
{
public:
    CommaLocale();
    ~CommaLocale();
    CommaLocale(const CommaLocale&) = delete;
    CommaLocale& operator=(const CommaLocale&) = delete;

    // False when the machine has none and cannot make one; then the locale is the C locale.
    bool IsThere() const { return m_isThere; }

private:
    bool Make() const;

    const TemporaryFolder m_folder;
    const bool m_isThere;
};

} // namespace TTMLTest

#endif
