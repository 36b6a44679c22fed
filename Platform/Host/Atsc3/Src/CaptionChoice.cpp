#include "CaptionChoice.h"

#include <algorithm>
#include <set>

#include "InputError.h"
#include "Language.h"

namespace TTMLHost {

void SettleCaptions(Mpd* mpd, const std::function<bool(const CaptionSet&)>& holdsTtml)
{
    for (MpdPeriod& period : mpd->periods) {
        std::vector<CaptionSet> settled;
        for (CaptionSet& set : period.captions) {
            if (set.certain || holdsTtml(set)) {
                set.certain = true;
                settled.push_back(std::move(set));
            }
        }
        period.captions = std::move(settled);
    }
}

const CaptionSet* ChooseCaptions(const MpdPeriod& period, const std::string& language)
{
    const std::string wanted = LanguageOf(language);
    const auto found =
        std::find_if(period.captions.begin(), period.captions.end(), [&](const CaptionSet& set) {
            return language.empty() || (!wanted.empty() && LanguageOf(set.language) == wanted);
        });
    return found == period.captions.end() ? nullptr : &*found;
}

bool HasCaptions(const Mpd& mpd, const std::string& language, const std::string& input, std::string* error)
{
    std::set<std::string> languages;
    bool hasAny = false;
    for (const MpdPeriod& period : mpd.periods) {
        if (ChooseCaptions(period, language) != nullptr) {
            return true;
        }
        for (const CaptionSet& set : period.captions) {
            hasAny = true;
            languages.insert(set.language.empty() ? "one that is not told" : set.language);
        }
    }
    if (!hasAny) {
        *error =
            DescribeInputFailure("play", input, "it has no captions (an adaptation set with codecs stpp)",
                                 "give the MPD of a service with TTML captions");
        return false;
    }
    std::string list;
    for (const std::string& one : languages) {
        list += (list.empty() ? "" : ", ") + one;
    }
    *error = DescribeInputFailure("play", input, "it has no captions in '" + language + "'",
                                  "its languages are: " + list);
    return false;
}

} // namespace TTMLHost
