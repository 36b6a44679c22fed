#ifndef TTML_HOST_TRANSFER_H
#define TTML_HOST_TRANSFER_H

#include <chrono>
#include <cstddef>
#include <memory>
#include <string>

#include <curl/curl.h>

#include "DocumentBuffer.h"
#include "FetchControl.h"
#include "FetchError.h"
#include "HostFileManager.h"

namespace TTMLHost {

// One GET of one document. Used by one thread, for one Run().
class Transfer
{
public:
    // All three texts and the control must outlive the transfer. `userAgent` and `header` are sent as they
    // stand; null or empty sends none.
    Transfer(const char* url, const char* userAgent, const char* header, const FetchLimits& limits,
             FetchControl& control = FetchControl::Instance());
    ~Transfer();
    Transfer(const Transfer&) = delete;
    Transfer& operator=(const Transfer&) = delete;

    // Blocks until the document is complete in `document` or the fetch has failed.
    FetchOutcome Run(DocumentBuffer* document);

private:
    using Clock = std::chrono::steady_clock;

    struct EasyCloser
    {
        void operator()(CURL* handle) const { curl_easy_cleanup(handle); }
    };
    struct MultiCloser
    {
        void operator()(CURLM* handle) const { (void)curl_multi_cleanup(handle); }
    };
    struct ListCloser
    {
        void operator()(curl_slist* list) const { curl_slist_free_all(list); }
    };

    template <typename Value>
    void m_Set(CURLoption option, Value value);
    CURLcode m_SetUp();
    void m_Drive(const FetchControl::Running& running, FetchOutcome* outcome);
    bool m_Connected() const;
    bool m_Progressed();
    void m_Describe(FetchOutcome* outcome) const;

    static std::size_t t_OnHeader(char* data, std::size_t size, std::size_t count, void* self);
    static std::size_t t_OnBody(char* data, std::size_t size, std::size_t count, void* self);
    static int t_OnRequest(void* self, char* remoteIp, char* localIp, int remotePort, int localPort);

    const char* m_url;
    const char* m_userAgent;
    const char* m_header;
    const FetchLimits& m_limits;
    FetchControl& m_control;

    // The easy handle goes before the multi handle that it is in, and after the list that it reads.
    std::unique_ptr<curl_slist, ListCloser> m_headers;
    std::unique_ptr<CURLM, MultiCloser> m_multi;
    std::unique_ptr<CURL, EasyCloser> m_easy;
    CURLcode m_setUpResult = CURLE_OK;
    char m_errorText[CURL_ERROR_SIZE];

    const FetchControl::Running* m_running = nullptr;
    DocumentBuffer* m_document = nullptr;
    FetchOutcome::Kind m_bodyFailure = FetchOutcome::Kind::Fetched;
    curl_off_t m_headerBytes = 0;
    curl_off_t m_requests = 0;
    curl_off_t m_seen = 0; // progress that has been noticed
};

} // namespace TTMLHost

#endif
