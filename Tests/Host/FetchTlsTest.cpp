// https, with certificates that are made for the tests.

#include <memory>
#include <string>

#include <gtest/gtest.h>

#include "ChildProcess.h"
#include "FetchFixture.h"
#include "TemporaryFolder.h"

using namespace TTMLTest;

namespace {

// A certificate that vouches for itself, as PEM files. `name` is its subject's alternative name.
struct Certificate
{
    Certificate(const TemporaryFolder& folder, const std::string& stem, const std::string& name)
        : file(folder.Path(stem + ".crt"))
        , key(folder.Path(stem + ".key"))
    {
        const ChildResult result =
            RunChild({TTML_TEST_OPENSSL, "req", "-x509", "-newkey", "ec", "-pkeyopt",
                      "ec_paramgen_curve:prime256v1", "-nodes", "-days", "2", "-subj", "/CN=" + stem,
                      "-addext", "subjectAltName=" + name, "-keyout", key, "-out", file});
        EXPECT_EQ(result.status, 0) << result.error;
    }

    std::string file;
    std::string key;
};

class FetchTlsTest : public FetchFixture
{
protected:
    FetchTlsTest()
        : m_certificate(m_folder, "server", "IP:127.0.0.1")
        , m_other(m_folder, "other", "DNS:example.org")
    {}

    void Serve(const Certificate& certificate)
    {
        HttpServer::Options options;
        options.certificate = certificate.file;
        options.key = certificate.key;
        m_server = std::make_unique<HttpServer>(options);
    }

    static void Trust(const std::string& file)
    {
        TTMLHost::FetchLimits limits;
        limits.caFile = file;
        TTMLHost::SetFetchLimits(limits);
    }

    void ExpectUntrusted()
    {
        const std::string url = m_server->Url("/document");
        ExpectFailure(url,
                      "Could not fetch '" + url +
                          "': the server's certificate is not trusted (*); check the "
                          "certificate's names and dates, this machine's clock and its trusted certificates");
        EXPECT_EQ(m_server->CountLines("GET /document"), 0U);
    }

    TemporaryFolder m_folder;
    Certificate m_certificate;
    Certificate m_other;
    std::unique_ptr<HttpServer> m_server;
};

} // namespace

TEST_F(FetchTlsTest, BringsADocumentFromATrustedServer)
{
    Serve(m_certificate);
    Trust(m_certificate.file);
    EXPECT_EQ(Fetch(m_server->Url("/document")).text, kDocument);
    EXPECT_EQ(Fetch(m_server->Url("/bytes/3000000")).text, Pattern(3000000));
    EXPECT_EQ(Fetch(m_server->Url("/redirect/2")).text, kDocument);
}

TEST_F(FetchTlsTest, RefusesACertificateThatNobodyVouchesFor)
{
    Serve(m_certificate);
    ExpectUntrusted();
}

TEST_F(FetchTlsTest, RefusesACertificateOtherThanTheTrustedOnes)
{
    Serve(m_certificate);
    Trust(m_other.file);
    ExpectUntrusted();
}

TEST_F(FetchTlsTest, RefusesACertificateOfAnotherName)
{
    Serve(m_other);
    Trust(m_other.file);
    ExpectUntrusted();
}

TEST_F(FetchTlsTest, SaysWhenTheTrustedCertificatesCannotBeRead)
{
    Serve(m_certificate);
    Trust(m_folder.Path("missing.crt"));
    const std::string url = m_server->Url("/document");
    ExpectFailure(url, "Could not fetch '" + url +
                           "': the trusted certificates cannot be read (*); check the file of "
                           "trusted certificates");
}

TEST_F(FetchTlsTest, SaysWhenThePortSpeaksPlainHttp)
{
    const std::string url = "https://127.0.0.1:" + std::to_string(Server().Port()) + "/document";
    ExpectFailure(url, "Could not fetch '" + url +
                           "': the TLS handshake failed (*); check that this port speaks https");
}

TEST_F(FetchTlsTest, AServerThatClosesMidwayFails)
{
    Serve(m_certificate);
    Trust(m_certificate.file);
    const CaptureStderr log;
    EXPECT_FALSE(Fetch(m_server->Url("/close/midway")).done);
    EXPECT_NE(TTMLHost::LastFetchError().find(", HTTP status 200;"), std::string::npos)
        << TTMLHost::LastFetchError();
}
