#include "StorePlace.h"

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

#include <sys/stat.h>

#include "StoreFailure.h"

namespace TTMLHost {

namespace {

constexpr const char* kStateVariable = "XDG_STATE_HOME";
constexpr const char* kHomeVariable = "HOME";
constexpr const char* kStateBelowHome = ".local/state";
constexpr const char* kFolderName = "ttmlsrc";
constexpr const char* kFileName = "settings.db";
constexpr mode_t kUserOnly = 0700;

std::filesystem::path Variable(const char* name)
{
    const char* text = std::getenv(name);
    return text == nullptr ? "" : text;
}

// The user's folder for state; empty when the environment names none.
std::filesystem::path StateFolder()
{
    // The XDG base directory specification has relative paths ignored.
    std::filesystem::path state = Variable(kStateVariable);
    if (state.is_absolute()) {
        return state;
    }
    const std::filesystem::path home = Variable(kHomeVariable);
    return home.is_absolute() ? home / kStateBelowHome : std::filesystem::path();
}

// Makes a folder and those above it, for the user alone; those that exist stay as they are. Returns 0 or the
// system's error.
int MakeFolders(const std::filesystem::path& folder)
{
    std::filesystem::path made;
    for (const std::filesystem::path& part : folder) {
        made /= part;
        if (mkdir(made.c_str(), kUserOnly) != 0 && errno != EEXIST) {
            // One that cannot be written, and a root, say something else although they exist.
            const int error = errno;
            struct stat status = {};
            if (stat(made.c_str(), &status) != 0 || !S_ISDIR(status.st_mode)) {
                return error;
            }
        }
    }
    return 0;
}

} // namespace

StorePlace FindStorePlace()
{
    const std::filesystem::path named = Variable(kSettingsVariable);
    if (!named.empty()) {
        // A later change of the working directory must not move the store.
        std::error_code error;
        const std::filesystem::path file = std::filesystem::absolute(named, error);
        return {error ? named.string() : file.string(), ""};
    }
    const std::filesystem::path state = StateFolder();
    if (state.empty()) {
        return {"", DescribeNoHome()};
    }
    const std::filesystem::path folder = state / kFolderName;
    const int error = MakeFolders(folder);
    if (error != 0) {
        return {"", DescribeNoFolder(folder.string(), error)};
    }
    return {(folder / kFileName).string(), ""};
}

} // namespace TTMLHost
