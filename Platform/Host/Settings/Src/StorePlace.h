#ifndef TTML_HOST_STORE_PLACE_H
#define TTML_HOST_STORE_PLACE_H

#include <string>

namespace TTMLHost {

// Environment variable that names another file than the user's.
constexpr const char* kSettingsVariable = "TTML_SETTINGS";

struct StorePlace
{
    std::string file;    // absolute; empty when there is none
    std::string problem; // why there is none, in one line
};

// Where this process's settings store is: the file that TTML_SETTINGS names, else "ttmlsrc/settings.db" in
// the user's folder for state ($XDG_STATE_HOME, else ~/.local/state). The folders of the latter are made, for
// the user alone, where they are missing.
StorePlace FindStorePlace();

} // namespace TTMLHost

#endif
