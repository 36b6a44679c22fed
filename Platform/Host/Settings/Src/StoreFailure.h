#ifndef TTML_HOST_STORE_FAILURE_H
#define TTML_HOST_STORE_FAILURE_H

#include <string>

namespace TTMLHost {

// What was being done when the database failed.
enum class StoreStep
{
    Open,
    Read,
    Write
};

// Why it failed.
struct StoreFailure
{
    enum class Kind
    {
        None,
        Database,     // `code` says it
        ReadOnly,     // it can be read and not be written
        OtherProgram, // a database, and not of settings
        NewerVersion  // of settings, in a form that is not known
    };

    Kind kind = Kind::None;
    StoreStep step = StoreStep::Open;
    int code = 0;        // SQLite's result
    int systemError = 0; // the errno behind it; 0 for none
};

// One line each that says what failed, where, why, what to do, and what becomes of the settings.
std::string DescribeFailure(const std::string& file, const StoreFailure& failure);
std::string DescribeNoHome();
std::string DescribeNoFolder(const std::string& folder, int systemError);

} // namespace TTMLHost

#endif
