#ifndef CBB_SOURCE_H
#define CBB_SOURCE_H

#include "CTTMLSource.h"

struct player_s;

namespace TTML {

// The source for content that the platform's media player plays from the network. Its subtitles are a
// document at a URL or samples that the player pushes; its clock is the player's.
class TTML_EXPORT CBBSource : public CTTMLSource
{
public:
    // A new source beside `pMMPlayer`, whose requests carry `pUserAgent` (copied); released with
    // Destroy(). Null when either argument is null or there is no memory. The player stays the caller's
    // and must outlive the source.
    static CBBSource* Create(player_s* pMMPlayer, const char* pUserAgent);

    // For Create(), which also hands over the user agent.
    explicit CBBSource(player_s* pMMPlayer);
    ~CBBSource() override;

    // The player's position in milliseconds, for a live DASH stream relative to the stream's base time
    // (and so possibly negative). Returns 0 on success and 1 on failure, a null pointer among them; when a
    // later query of the player fails, the position itself stays in the value.
    int GetVideoCurrentTime(long long* pTimeInMS) override;
    int GetSubtitleMode() override;

private:
    player_s* m_pPlayer; // not owned
};

} // namespace TTML

#endif
