// Loads the library and checks that its global key texts are constructed at loading, in the agreed order.
// Each of them is too long for a string's own storage, so its construction shows as an allocation. Usage:
// key_order_probe LIBRARY

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dlfcn.h>

namespace {

constexpr const char* KEYS[] = {
    "db/menu/subtitle/subtitlelanguage", "availabilityStartTime=\"",
    "suggestedPresentationDelay=\"",     "memory/tv-viewer/infobanner/ttml",
    "db/menu/caption/caption",           "db/menu/caption/captionlanguage",
    "db/menu/broadcasting/atsc3_enable", "com.velmora/featureconf/caption.support_kor",
    "db/menu/broadcasting/channel_lock",
};
constexpr std::size_t KEY_COUNT = sizeof(KEYS) / sizeof(KEYS[0]);

constexpr std::size_t MAX_ALLOCATIONS = 4096;
const char* g_allocations[MAX_ALLOCATIONS];
std::size_t g_sizes[MAX_ALLOCATIONS];
std::size_t g_count = 0;
bool g_recording = false;

} // namespace

void* operator new(std::size_t size)
{
    void* const memory = std::malloc(size);
    if (memory == nullptr) {
        throw std::bad_alloc();
    }
    if (g_recording && g_count < MAX_ALLOCATIONS) {
        g_allocations[g_count] = static_cast<const char*>(memory);
        g_sizes[g_count] = size;
        ++g_count;
    }
    return memory;
}

void operator delete(void* memory) noexcept
{
    // Kept while recording, so that no allocation takes the place of an earlier one.
    if (!g_recording) {
        std::free(memory);
    }
}

void operator delete(void* memory, std::size_t) noexcept
{
    operator delete(memory);
}

int main(int argumentCount, char** arguments)
{
    if (argumentCount != 2) {
        std::fputs("usage: key_order_probe LIBRARY\n", stderr);
        return 2;
    }
    g_recording = true;
    void* const library = dlopen(arguments[1], RTLD_NOW);
    g_recording = false;
    if (library == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        return 1;
    }
    std::size_t met = 0;
    for (std::size_t i = 0; i < g_count; ++i) {
        for (std::size_t key = 0; key < KEY_COUNT; ++key) {
            const std::size_t size = std::strlen(KEYS[key]) + 1;
            if (g_sizes[i] != size || std::memcmp(g_allocations[i], KEYS[key], size) != 0) {
                continue;
            }
            if (key != met) {
                std::fprintf(stderr, "key text %zu is constructed in place %zu\n", key + 1, met + 1);
                return 1;
            }
            ++met;
        }
    }
    std::printf("%zu of %zu key texts in order\n", met, KEY_COUNT);
    return met == KEY_COUNT ? 0 : 1;
}
