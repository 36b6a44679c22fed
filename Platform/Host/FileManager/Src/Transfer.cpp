#include "Transfer.h"

#include <algorithm>
#include <limits>

namespace TTMLHost {

namespace {

// How long one wait may last. Events and an abort end it at once; this is for what brings no event.
constexpr int kLongestWaitMs = 1000;

constexpr const char* kProtocols = "http,https,file";
constexpr const char* kRedirectProtocols = "http,https";

// Before the first handle, and not by it: that would not be safe with several threads everywhere.
bool LibraryReady()
{
    static const bool ready = curl_global_init(CURL_GLOBAL_DEFAULT) == CURLE_OK;
    return ready;
}

} // namespace

Transfer::Transfer(const char* url, const char* userAgent, const char* header, const FetchLimits& limits,
                   FetchControl& control)
    : m_url(url)
    , m_userAgent(userAgent)
    , m_header(header)
    , m_limits(limits)
    , m_control(control)
{
    m_errorText[0] = '\0';
    if (LibraryReady()) {
        m_multi.reset(curl_multi_init());
        m_easy.reset(curl_easy_init());
    }
}

Transfer::~Transfer()
{
    if (m_multi != nullptr && m_easy != nullptr) {
        (void)curl_multi_remove_handle(m_multi.get(), m_easy.get());
    }
}

FetchOutcome Transfer::Run(DocumentBuffer* document)
{
    FetchOutcome outcome;
    if (m_multi == nullptr || m_easy == nullptr) {
        outcome.kind = FetchOutcome::Kind::NoMemory;
        return outcome;
    }
    const FetchControl::Running running(m_control, m_multi.get());
    m_running = &running;
    m_document = document;
    outcome.code = m_SetUp();
    if (outcome.code == CURLE_OK && curl_multi_add_handle(m_multi.get(), m_easy.get()) != CURLM_OK) {
        outcome.code = CURLE_OUT_OF_MEMORY;
    }
    if (outcome.code == CURLE_OK) {
        m_Drive(running, &outcome);
    } else {
        outcome.kind = FetchOutcome::Kind::TransferFailed;
    }
    m_Describe(&outcome);
    m_running = nullptr;
    return outcome;
}

template <typename Value>
void Transfer::m_Set(CURLoption option, Value value)
{
    if (m_setUpResult == CURLE_OK) {
        m_setUpResult = curl_easy_setopt(m_easy.get(), option, value);
    }
}

CURLcode Transfer::m_SetUp()
{
    m_Set(CURLOPT_URL, m_url);
    m_Set(CURLOPT_PROTOCOLS_STR, kProtocols);
    m_Set(CURLOPT_REDIR_PROTOCOLS_STR, kRedirectProtocols);
    m_Set(CURLOPT_FOLLOWLOCATION, 1L);
    m_Set(CURLOPT_MAXREDIRS, m_limits.maxRedirects);
    m_Set(CURLOPT_FAILONERROR, 1L);
    m_Set(CURLOPT_ACCEPT_ENCODING, ""); // whatever the library can decode
    m_Set(CURLOPT_SSL_VERIFYPEER, 1L);
    m_Set(CURLOPT_SSL_VERIFYHOST, 2L);
    if (!m_limits.caFile.empty()) {
        m_Set(CURLOPT_CAINFO, m_limits.caFile.c_str());
        // Else the system's folder of certificates would be trusted beside the file.
        m_Set(CURLOPT_CAPATH, static_cast<char*>(nullptr));
    }
    m_Set(CURLOPT_CONNECTTIMEOUT_MS, std::max(m_limits.connectTimeoutMs, 0L));
    m_Set(CURLOPT_MAXFILESIZE_LARGE, static_cast<curl_off_t>(std::min<unsigned long long>(
                                         m_limits.maxBytes, std::numeric_limits<curl_off_t>::max())));
    // Signals belong to the process this library is loaded into.
    m_Set(CURLOPT_NOSIGNAL, 1L);
    // A thread that still waits for the name server is left behind, so that an abort need not wait for it.
    m_Set(CURLOPT_QUICK_EXIT, 1L);
    m_Set(CURLOPT_ERRORBUFFER, m_errorText);

    m_Set(CURLOPT_HEADERFUNCTION, &Transfer::t_OnHeader);
    m_Set(CURLOPT_HEADERDATA, this);
    m_Set(CURLOPT_WRITEFUNCTION, &Transfer::t_OnBody);
    m_Set(CURLOPT_WRITEDATA, this);
    m_Set(CURLOPT_PREREQFUNCTION, &Transfer::t_OnRequest);
    m_Set(CURLOPT_PREREQDATA, this);

    if (m_userAgent != nullptr && *m_userAgent != '\0') {
        m_Set(CURLOPT_USERAGENT, m_userAgent);
    }
    if (m_header != nullptr && *m_header != '\0') {
        m_headers.reset(curl_slist_append(nullptr, m_header));
        if (m_headers == nullptr) {
            return CURLE_OUT_OF_MEMORY;
        }
        m_Set(CURLOPT_HTTPHEADER, m_headers.get());
    }
    return m_setUpResult;
}

void Transfer::m_Drive(const FetchControl::Running& running, FetchOutcome* outcome)
{
    const bool limited = m_limits.stallTimeoutS > 0;
    const auto stallLimit = std::chrono::seconds(m_limits.stallTimeoutS);
    Clock::time_point lastProgress = Clock::now();
    int active = 1;
    while (active > 0) {
        if (running.Aborted()) {
            outcome->kind = FetchOutcome::Kind::Aborted;
            return;
        }
        CURLMcode result = curl_multi_perform(m_multi.get(), &active);
        const Clock::time_point now = Clock::now();
        // Until the connection stands, its own time-out runs.
        if (m_Progressed() || !m_Connected()) {
            lastProgress = now;
        }
        int waitMs = kLongestWaitMs;
        if (limited && active > 0) {
            const auto left =
                std::chrono::duration_cast<std::chrono::milliseconds>(stallLimit - (now - lastProgress));
            if (left.count() <= 0) {
                outcome->kind = FetchOutcome::Kind::Stalled;
                return;
            }
            waitMs = static_cast<int>(std::min<long long>(left.count(), kLongestWaitMs));
        }
        if (result == CURLM_OK && active > 0) {
            result = curl_multi_poll(m_multi.get(), nullptr, 0, waitMs, nullptr);
        }
        if (result != CURLM_OK) {
            outcome->kind = result == CURLM_OUT_OF_MEMORY ? FetchOutcome::Kind::NoMemory
                                                          : FetchOutcome::Kind::TransferFailed;
            outcome->detail = curl_multi_strerror(result);
            return;
        }
    }

    if (running.Aborted()) {
        // Complete or not: who aborts counts on no document after that.
        outcome->kind = FetchOutcome::Kind::Aborted;
        return;
    }
    int left = 0;
    const CURLMsg* message = curl_multi_info_read(m_multi.get(), &left);
    outcome->code = message == nullptr ? CURLE_OUT_OF_MEMORY : message->data.result;
    if (outcome->code != CURLE_OK) {
        outcome->kind = FetchOutcome::Kind::TransferFailed;
    }
}

bool Transfer::m_Connected() const
{
    // Each redirect connects anew and sends a request of its own.
    long redirects = 0;
    (void)curl_easy_getinfo(m_easy.get(), CURLINFO_REDIRECT_COUNT, &redirects);
    return m_requests > redirects;
}

bool Transfer::m_Progressed()
{
    // Bytes as they came, not as they were decoded: a decoder may swallow many before it gives one.
    curl_off_t bodyBytes = 0;
    (void)curl_easy_getinfo(m_easy.get(), CURLINFO_SIZE_DOWNLOAD_T, &bodyBytes);
    const curl_off_t all = bodyBytes + m_headerBytes + m_requests;
    const bool progressed = all != m_seen;
    m_seen = all;
    return progressed;
}

void Transfer::m_Describe(FetchOutcome* outcome) const
{
    (void)curl_easy_getinfo(m_easy.get(), CURLINFO_RESPONSE_CODE, &outcome->status);
    (void)curl_easy_getinfo(m_easy.get(), CURLINFO_OS_ERRNO, &outcome->systemError);
    const char* effectiveUrl = nullptr;
    (void)curl_easy_getinfo(m_easy.get(), CURLINFO_EFFECTIVE_URL, &effectiveUrl);
    long redirects = 0;
    (void)curl_easy_getinfo(m_easy.get(), CURLINFO_REDIRECT_COUNT, &redirects);
    if (redirects > 0 && effectiveUrl != nullptr) {
        outcome->effectiveUrl = effectiveUrl;
    }
    if (outcome->kind != FetchOutcome::Kind::TransferFailed) {
        return;
    }
    if (m_bodyFailure != FetchOutcome::Kind::Fetched) {
        outcome->kind = m_bodyFailure;
    } else if (outcome->code == CURLE_OUT_OF_MEMORY) {
        outcome->kind = FetchOutcome::Kind::NoMemory;
    } else if (outcome->code == CURLE_FILESIZE_EXCEEDED) {
        outcome->kind = FetchOutcome::Kind::TooLarge;
    } else if (outcome->code != CURLE_HTTP_RETURNED_ERROR && outcome->detail.empty()) {
        outcome->detail = m_errorText[0] != '\0' ? m_errorText : curl_easy_strerror(outcome->code);
    }
}

std::size_t Transfer::t_OnHeader(char* /*data*/, std::size_t size, std::size_t count, void* self)
{
    static_cast<Transfer*>(self)->m_headerBytes += static_cast<curl_off_t>(size * count);
    return size * count;
}

std::size_t Transfer::t_OnBody(char* data, std::size_t size, std::size_t count, void* self)
{
    auto* transfer = static_cast<Transfer*>(self);
    const std::size_t bytes = size * count;
    if (transfer->m_running->Aborted()) {
        // A local file arrives without a wait in between.
        transfer->m_bodyFailure = FetchOutcome::Kind::Aborted;
    } else if (bytes > transfer->m_limits.maxBytes - transfer->m_document->Size()) {
        transfer->m_bodyFailure = FetchOutcome::Kind::TooLarge;
    } else if (!transfer->m_document->Append(data, bytes)) {
        transfer->m_bodyFailure = FetchOutcome::Kind::NoMemory;
    } else {
        return bytes;
    }
    // A number that is not the given one ends the transfer, also where no byte was given.
    return bytes == 0 ? 1 : 0;
}

int Transfer::t_OnRequest(void* self, char* /*remoteIp*/, char* /*localIp*/, int /*remotePort*/,
                          int /*localPort*/)
{
    ++static_cast<Transfer*>(self)->m_requests;
    return CURL_PREREQFUNC_OK;
}

} // namespace TTMLHost
