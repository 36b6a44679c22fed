#ifndef TTML_SOAK_ROUND_H
#define TTML_SOAK_ROUND_H

#include <chrono>
#include <memory>
#include <string>

#include "ProcessUsage.h"

namespace TTMLSoak {

// What all rounds play.
struct Inputs
{
    std::string server;             // of the samples: "http://127.0.0.1:PORT/files"
    std::string transport;          // a transport stream like the sample, long enough for a round
    std::chrono::milliseconds step; // between two changes
};

// What a round did.
struct RoundResult
{
    int delivered = 0;    // documents
    int tunes = 0;        // or, for a player, tracks and seeks
    std::string failure;  // empty when all went well
    ProcessUsage playing; // shortly before the end
};

// Plays one kind of source from its creation to its destruction, at ten times real time, with something
// changed about ten times. When Play() has returned nothing of it is left.
class Round
{
public:
    virtual ~Round() = default;
    virtual RoundResult Play() = 0;
};

// "broadband", "dvb" or "atsc3"; null for anything else.
std::unique_ptr<Round> MakeRound(const std::string& kind, const Inputs& inputs);

} // namespace TTMLSoak

#endif
