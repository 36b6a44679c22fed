#ifndef VIEWER_H
#define VIEWER_H

#include <array>
#include <atomic>
#include <iosfwd>
#include <mutex>
#include <shared_mutex>

#include "CTTMLSource.h"

namespace TTMLTest {

enum class Kind
{
    BROADBAND,
    DVB,
    ATSC
};
const char* NameOf(Kind kind);
// For the names of tests.
void PrintTo(Kind kind, std::ostream* out);

// A client with its source, which many threads use at once and which is destroyed and created anew while they
// do. No call is made once the destruction has begun: that the client must see to.
class Viewer
{
public:
    explicit Viewer(Kind kind)
        : m_kind(kind)
    {}
    ~Viewer();
    Viewer(const Viewer&) = delete;
    Viewer& operator=(const Viewer&) = delete;

    // Creates the source, and destroys it. A call that has begun is waited for.
    void Open();
    void Close();
    // The same in one, when nobody is inside. Whether it was done. `prepare` has the source before all
    // others.
    template <class Prepare>
    bool TryRenew(const Prepare& prepare)
    {
        const std::unique_lock<std::shared_mutex> use(m_use, std::try_to_lock);
        if (!use.owns_lock()) {
            return false;
        }
        Destroy();
        Create();
        prepare(*m_source);
        return true;
    }

    // Calls `body` with the source, unless that is about to go, or not there. Never waits. Whether it did.
    template <class Body>
    bool Use(const Body& body)
    {
        if (s_used == this) {
            // A callback inside an operation of this thread's.
            body(*m_source);
            return true;
        }
        const std::shared_lock<std::shared_mutex> use(m_use, std::try_to_lock);
        if (!use.owns_lock() || m_source == nullptr) {
            return false;
        }
        const Viewer* const before = s_used;
        s_used = this;
        body(*m_source);
        s_used = before;
        return true;
    }

    // One of two callbacks, each with its own user data, which must not be mixed up.
    void Register(TTML::CTTMLSource& source, bool second);
    // Has the source thread count.
    void Post(TTML::CTTMLSource& source);
    unsigned long long Handled() const { return m_handled; }

    unsigned long long Callbacks() const { return m_callbacks; }
    unsigned long long Created() const { return m_created; }

    // Where a source was created lately; it may be gone.
    static void* AnAddress(unsigned int number);

private:
    struct Side
    {
        Viewer* viewer;
        bool second;
    };

    template <bool kSecond>
    static void Callback(int code, void* data);
    static void Handle(int code, void* data);
    void Take(int code);
    void React(int code, unsigned long long number);

    void Create();
    void Destroy();

    static thread_local const Viewer* s_used;

    const Kind m_kind;
    std::shared_mutex m_use;
    TTML::CTTMLSource* m_source = nullptr; // guarded by m_use
    std::array<Side, 2> m_sides = {{{this, false}, {this, true}}};
    std::atomic<bool> m_mayCall{false};
    std::atomic<unsigned long long> m_callbacks{0};
    std::atomic<unsigned long long> m_handled{0};
    std::atomic<unsigned long long> m_created{0};
};

} // namespace TTMLTest

#endif
