// A client in as few lines as possible, built against the installed library as C++11.

#include <cstdio>

#include <CBBSource.h>
#include <CSourceHolder.h>
#include <TTMLRawDataInfo.h>

// The client side of a platform's player handle; the library never looks inside.
struct player_s
{};

int main()
{
    player_s player;
    TTML::CBBSource* const source = TTML::CBBSource::Create(&player, "consumer");
    if (source == nullptr) {
        std::puts("no source");
        return 1;
    }
    TTML::CSourceHolder::SetSource(source);
    std::printf("subtitle mode %d\n", TTML::CSourceHolder::GetSource()->GetSubtitleMode());
    TTML::CSourceHolder::SetSource(nullptr);
    source->Destroy();
    return 0;
}
