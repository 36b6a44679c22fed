#ifndef SUBJECTS_H
#define SUBJECTS_H

#include <cstddef>

#include "Results.h"
#include "Table.h"

namespace TTMLBench {

// One subject of the benchmarks, in a file of its own.
struct Subject
{
    // Registers the benchmarks, each under a name that begins with the subject's.
    void (*registerBenchmarks)();
    // Turns their results into lines of the table.
    void (*report)(const Results& results, Table& table);
    // Name of a piece of work whose log lines are counted, and what does it `count` times; null for none.
    const char* workload;
    void (*work)(std::size_t count);
};

extern const Subject kTaskSubject;
extern const Subject kWakeupSubject;
extern const Subject kMutexSubject;
extern const Subject kLogSubject;
extern const Subject kInbandSubject;
extern const Subject kFetchSubject;
extern const Subject kPesParserSubject;
extern const Subject kPesDeliverySubject;
extern const Subject kStreamSubject;
extern const Subject kCaptionSubject;
extern const Subject kCaptionRepeatSubject;
extern const Subject kMpdSubject;
extern const Subject kBroadbandTimeSubject;
extern const Subject kDvbTimeSubject;
extern const Subject kAtscTimeSubject;
extern const Subject kMemorySubject;

} // namespace TTMLBench

#endif
