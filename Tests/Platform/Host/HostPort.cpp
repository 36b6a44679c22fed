// The Linux platform as a port under test. It has every ability.

#include <cstdlib>
#include <deque>

#include <unistd.h>

#include "CaptureStderr.h"
#include "ChildProcess.h"
#include "HostAbilities.h"
#include "HostRecorder.h"
#include "HostSystem.h"
#include "HttpServer.h"
#include "TemporaryFolder.h"

namespace PortTest {

namespace {

using namespace TTMLTest;

// The log is the standard error.
class HostLog : public LogReader
{
public:
    std::vector<std::string> Lines(const std::string& marker) override
    {
        std::vector<std::string> lines;
        for (const std::string& line : m_capture.LogLines()) {
            if (line.find(marker) != std::string::npos) {
                lines.push_back(line);
            }
        }
        return lines;
    }

private:
    const CaptureStderr m_capture;
};

class HostDocuments : public DocumentServer
{
public:
    std::string Publish(const std::string& content) override
    {
        const std::string name = "document" + std::to_string(++m_published) + ".ttml";
        (void)m_folder.Write(name, content);
        return m_server.Url("/files/" + name);
    }
    std::string EchoUrl() override { return m_server.Url("/headers"); }
    std::map<std::string, std::string> BrokenUrls() override
    {
        return {{"not found", m_server.Url("/files/nowhere.ttml")},
                {"an error of the server", m_server.Url("/status/500")},
                {"no answer", m_server.Url("/close/before")},
                {"cut off midway", m_server.Url("/close/midway")},
                {"redirected for ever", m_server.Url("/redirect-loop")},
                {"a damaged content encoding", m_server.Url("/gzip-damaged")},
                // A port that nobody can be given.
                {"nobody listens", "http://127.0.0.1:1/document"}};
    }

private:
    static HttpServer::Options Serving(const TemporaryFolder& folder)
    {
        HttpServer::Options options;
        options.root = folder.Path();
        return options;
    }

    const TemporaryFolder m_folder;
    HttpServer m_server{Serving(m_folder)};
    unsigned int m_published = 0;
};

// A program on the same store.
class SettingsProbe : public OtherProcess
{
public:
    int SetInt(const std::string& key, int value) override
    {
        return Run({"set-int", key, std::to_string(value)}, nullptr);
    }
    int GetInt(const std::string& key, int* value) override { return Run({"get-int", key}, value); }

private:
    static int Run(const std::vector<std::string>& words, int* value)
    {
        std::vector<std::string> arguments = {TTML_TEST_SETTINGS_PROBE};
        arguments.insert(arguments.end(), words.begin(), words.end());
        const ChildResult result = RunChild(arguments);
        if (result.status != 0 || result.out == "failed\n") {
            return -1;
        }
        if (value != nullptr) {
            *value = std::atoi(result.out.c_str());
        }
        return 0;
    }
};

class HostRecorder : public RecorderControl
{
public:
    void Raise(const ps_signal_s& signal) override { TTMLHost::RecorderSignal(signal); }
};

// What takes time to begin begins when a test asks for it.
template <typename Ability>
Ability* Begun(std::unique_ptr<Ability>* ability)
{
    if (*ability == nullptr) {
        *ability = std::make_unique<Ability>();
    }
    return ability->get();
}

class HostPort : public PortUnderTest
{
public:
    HostPort()
    {
        // Before the first setting is asked for; a child process has it too.
        (void)setenv("TTML_SETTINGS", m_folder.Path("settings.db").c_str(), 1);
        TTMLHost::SetPackageName(kPackage);
        TTMLHost::SetSystemFeature(kFeature, true);
    }
    ~HostPort() override { m_Reset(); }
    HostPort(const HostPort&) = delete;
    HostPort& operator=(const HostPort&) = delete;

    std::string Name() const override { return "Linux"; }
    bool IsComplete() const override { return true; }
    void Reset() override { m_Reset(); }

    std::optional<std::string> PackageName() override { return kPackage; }
    // Only this process has one.
    std::optional<int> PidWithoutPackage() override { return getppid(); }
    std::optional<std::pair<std::string, bool>> Feature() override { return {{kFeature, true}}; }

    LogReader* Log() override { return Begun(&m_log); }
    DocumentServer* Documents() override { return Begun(&m_documents); }
    OtherProcess* Settings() override { return &m_settings; }
    RecorderControl* Recorder() override { return &m_recorder; }
    MediaControl* Media() override { return m_media.get(); }
    TelevisionControl* Television() override { return m_television.get(); }

private:
    static constexpr const char* kPackage = "org.example.port-test";
    static constexpr const char* kFeature = "org.example/feature/port-test";

    void m_Reset()
    {
        // Until the next test asks for it, what is written to the standard error is seen.
        m_log.reset();
        m_television->Reset();
        TTMLHost::RecorderClose();
    }

    const TemporaryFolder m_folder;
    std::unique_ptr<HostLog> m_log;
    std::unique_ptr<HostDocuments> m_documents;
    SettingsProbe m_settings;
    HostRecorder m_recorder;
    const std::unique_ptr<MediaControl> m_media = MakeHostMedia();
    const std::unique_ptr<HostTelevision> m_television = MakeHostTelevision();
};

} // namespace

std::unique_ptr<PortUnderTest> CreatePortUnderTest()
{
    return std::make_unique<HostPort>();
}

} // namespace PortTest
