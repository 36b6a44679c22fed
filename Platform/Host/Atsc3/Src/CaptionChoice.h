#ifndef CAPTION_CHOICE_H
#define CAPTION_CHOICE_H

#include <functional>
#include <string>

#include "Mpd.h"

namespace TTMLHost {

// Asks `holdsTtml` about each caption set of which only the initialization segment tells, and leaves out
// those that it says no to.
void SettleCaptions(Mpd* mpd, const std::function<bool(const CaptionSet&)>& holdsTtml);

// The captions of a period in a language (a tag; empty for any); null when there are none.
const CaptionSet* ChooseCaptions(const MpdPeriod& period, const std::string& language);

// Whether any period has such captions; if not, one line in `error` that says what there is. `input` is the
// MPD's name.
bool HasCaptions(const Mpd& mpd, const std::string& language, const std::string& input, std::string* error);

} // namespace TTMLHost

#endif
