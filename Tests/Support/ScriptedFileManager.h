#ifndef SCRIPTED_FILE_MANAGER_H
#define SCRIPTED_FILE_MANAGER_H

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace TTMLTest {

// What one fetch answers.
struct FetchAnswer
{
    static FetchAnswer Document(std::string text);
    static FetchAnswer Failure() { return {}; }
    // A length that is not that of the text, for callers that must not look at it.
    FetchAnswer WithLength(unsigned long length) const;
    // Run on the fetching thread before the fetch returns; it may block.
    FetchAnswer During(std::function<void()> action) const;

    std::optional<std::string> text;
    unsigned long length = 0;
    std::function<void()> action;
};

// The scripted file manager. The journal shows fetchers by the number of their creation in the test:
//     IFileUtil::Create() = #1
//     #1.SetRequestHeader("DNT: 1")
//     #1.Fetch("http://a/b.ttml", "agent", 0) = "<tt/>"          (or null)
//     #1.ReleaseText("<tt/>")
//     #1.Destroy()
//     ConvertTimeExpressionToMS("10s", 0, 0) = 10000
//     TTMLGetTimeofDay() = 42
// Calls without an answer fail the test, and so do answers that nobody asked for, fetchers and texts that
// were not released, wrong texts given back and fetchers used after their release.
class ScriptedFileManager
{
public:
    // The next fetch, whose URL must be this one. Each fetch gives leave for one fetcher.
    static void ExpectFetch(const std::string& url, const FetchAnswer& answer);
    // Fetches of this URL that are not expected otherwise, however many there are.
    static void Serve(const std::string& url, const FetchAnswer& answer);
    // The next fetcher cannot be created.
    static void ExpectCreateFailure();
    // The value of a time expression, however often it is asked for.
    static void SetTimeExpression(const std::string& expression, long long milliseconds);
    static void SetTimeOfDay(std::uint32_t milliseconds);

    static void Reset();
    static void Verify();
};

} // namespace TTMLTest

#endif
