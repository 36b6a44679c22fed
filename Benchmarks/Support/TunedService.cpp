#include "TunedService.h"

#include <iostream>
#include <stdexcept>

#include "StreamMaker.h"

namespace TTMLBench {

namespace {

// The tables come after the first picture's clock reference; the second one's ends the tune.
constexpr std::size_t kStreamBytes = 8 * StreamMaker::kPictureBytes;

} // namespace

TunedService::TunedService()
    : m_stream(kStreamBytes)
{
    TTMLHost::TvOptions options;
    options.input = m_stream.Path();
    std::string error;
    m_tuned.Expect(1);
    if (!TTMLHost::TvOpen(options, this, &error)) {
        throw std::runtime_error(error);
    }
    TTMLHost::TvStart();
    m_tuned.Wait();
}

TunedService::~TunedService()
{
    TTMLHost::TvClose();
}

void TunedService::OnSignal(ESignalType signal)
{
    if (signal == SIGNAL_TUNE_SUCCESS) {
        m_tuned.Done();
    }
}

void TunedService::OnWarning(const std::string& line)
{
    std::cerr << "benchmarks: " << line << '\n';
}

void TunedService::OnEnd(const std::string& error)
{
    if (!error.empty()) {
        OnWarning(error);
    }
}

} // namespace TTMLBench
