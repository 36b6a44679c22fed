#include "FetchError.h"

#include <cerrno>

#include "OneLine.h"

namespace TTMLHost {

namespace {

struct Words
{
    std::string cause;
    const char* hint;
};

Words StatusWords(const FetchOutcome& outcome)
{
    const char* hint = "see the server's log";
    if (outcome.status == 401 || outcome.status == 403) {
        hint = "the server wants other credentials, another user agent or another network";
    } else if (outcome.status == 404 || outcome.status == 410) {
        hint = "check the path of the URL";
    } else if (outcome.status == 429 || outcome.status == 503) {
        hint = "the server is busy; try again later";
    }
    return {"the server refused it", hint};
}

Words ConnectWords(const FetchOutcome& outcome)
{
    if (outcome.systemError == ECONNREFUSED) {
        return {"connection refused", "check that the server runs and listens on this port"};
    }
    return {"no connection to the server", "check the host, the port and the network"};
}

Words TransferWords(const FetchOutcome& outcome, const FetchLimits& limits)
{
    switch (outcome.code) {
    case CURLE_HTTP_RETURNED_ERROR:
        return StatusWords(outcome);
    case CURLE_COULDNT_RESOLVE_HOST:
        return {"the host name has no address", "check the name and the network's name server"};
    case CURLE_COULDNT_RESOLVE_PROXY:
        return {"the proxy's name has no address", "check the proxy settings of the environment"};
    case CURLE_COULDNT_CONNECT:
        return ConnectWords(outcome);
    case CURLE_OPERATION_TIMEDOUT:
        return {"no connection within " + std::to_string(limits.connectTimeoutMs) + " ms",
                "check the host, the port and any firewall between"};
    case CURLE_PEER_FAILED_VERIFICATION:
        return {"the server's certificate is not trusted",
                "check the certificate's names and dates, this machine's clock and its trusted certificates"};
    case CURLE_SSL_CACERT_BADFILE:
        return {"the trusted certificates cannot be read", "check the file of trusted certificates"};
    case CURLE_SSL_CONNECT_ERROR:
        return {"the TLS handshake failed", "check that this port speaks https"};
    case CURLE_TOO_MANY_REDIRECTS:
        return {"more than " + std::to_string(limits.maxRedirects) + " redirects",
                "check the server's redirects for a loop"};
    case CURLE_UNSUPPORTED_PROTOCOL:
        return {"redirected to something other than http or https", "check where the server redirects to"};
    case CURLE_URL_MALFORMAT:
        return {"the URL is malformed", "check its host, port and path"};
    case CURLE_PARTIAL_FILE:
        return {"the server closed the connection before the document was complete", "try again"};
    case CURLE_GOT_NOTHING:
        return {"the server closed the connection without an answer",
                "check that this port speaks http and not https"};
    case CURLE_BAD_CONTENT_ENCODING:
        return {"the document's content encoding is damaged", "check the server's compression"};
    case CURLE_FILE_COULDNT_READ_FILE:
        return {"the file cannot be read", "check the path and its permissions"};
    default:
        return {"the transfer failed", "check the server and the network"};
    }
}

Words OutcomeWords(const FetchOutcome& outcome, const FetchLimits& limits)
{
    switch (outcome.kind) {
    case FetchOutcome::Kind::Fetched:
        break;
    case FetchOutcome::Kind::Aborted:
        return {"aborted", "fetches are allowed again after the client says so"};
    case FetchOutcome::Kind::Stalled:
        return {"the server sent nothing for " + std::to_string(limits.stallTimeoutS) + " s",
                "check the server's load and the network"};
    case FetchOutcome::Kind::TooLarge:
        return {"the document is larger than " + std::to_string(limits.maxBytes) + " bytes",
                "check that the URL names a subtitle document"};
    case FetchOutcome::Kind::NoMemory:
        return {"out of memory", "free memory or fetch a smaller document"};
    case FetchOutcome::Kind::BadUrl:
        return {"no URL that can be fetched", "use http://, https:// or file:///absolute/path"};
    case FetchOutcome::Kind::BadFile:
        return {"the file cannot be read", "check the path and its permissions"};
    case FetchOutcome::Kind::BadUtf16:
        return {"the document begins with a UTF-16 mark and goes on with something else",
                "check the document's encoding"};
    case FetchOutcome::Kind::NoConverter:
        return {"the document is UTF-16 and this machine has no converter for it",
                "install the C library's character sets or serve the document as UTF-8"};
    case FetchOutcome::Kind::TransferFailed:
        return TransferWords(outcome, limits);
    }
    return {"not failed", "nothing to do"};
}

} // namespace

std::string DescribeFailure(const char* url, const FetchOutcome& outcome, const FetchLimits& limits)
{
    const Words words = OutcomeWords(outcome, limits);
    std::string line = "Could not fetch '";
    line += url == nullptr ? "" : url;
    line += "': ";
    line += words.cause;
    if (!outcome.detail.empty()) {
        line += " (" + outcome.detail + ")";
    }
    if (outcome.status != 0) {
        line += ", HTTP status " + std::to_string(outcome.status);
    }
    if (url != nullptr && !outcome.effectiveUrl.empty() && outcome.effectiveUrl != url) {
        line += ", redirected to '" + outcome.effectiveUrl + "'";
    }
    line += "; ";
    line += words.hint;
    return OneLine(std::move(line));
}

} // namespace TTMLHost
