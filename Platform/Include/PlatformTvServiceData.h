#ifndef TTML_PLATFORM_TV_SERVICE_DATA_H
#define TTML_PLATFORM_TV_SERVICE_DATA_H

// Platform service: the TV service client library, its values and records. PlatformTvService.h has the
// operations.

#include <cstdint>
#include <map>
#include <string>
#include <vector>

// Which screen or output a call is about. The source layer works on the main one.
enum EProfile : int
{
    PROFILE_MAIN = 1
};

// Signals that the source layer looks at; others may come.
enum ESignalType : int
{
    SIGNAL_TUNE_START = 59,      // a tune to another service has begun
    SIGNAL_TUNE_SUCCESS = 60,    // the tuned service is there
    SIGNAL_SERVICE_LOCKED = 62,  // the tuned service is locked for the viewer
    SIGNAL_TVS_ACTIVATE = 75,    // the TV service has the screen
    SIGNAL_TVS_DEACTIVATE = 76,  // another application has the screen
    SIGNAL_PES_CHANGED = 85,     // the subtitle PES of the service changed
    SIGNAL_ATSC3_SIGNALING = 178 // service signalling of an ATSC 3.0 service; the first word says which
};

// What comes with a signal; the meaning of the words depends on the signal.
struct TSSignalData
{
    struct
    {
        std::int32_t l[8];
    } data;
};

// Attributes of a service that the source layer asks for.
#define SERVICE_ATTRIBUTE_ID 12     // the service id, in `number`
#define SERVICE_ATTRIBUTE_LOCK 22   // `integer`: not 0 when the viewer has locked the service
#define SERVICE_ATTRIBUTE_ATSC3 156 // `integer`: not 0 for an ATSC 3.0 service

// The value of one attribute.
struct TCServiceValue
{
    std::int32_t integer = 0;
    std::uint64_t number = 0;
};

// What is known of a service: the attributes that were asked for, as far as it has them.
struct TCServiceData
{
    bool hasAttributes = false;               // false: there is no set of attributes at all
    std::map<int, TCServiceValue> attributes; // by attribute

    // The attribute's value, valid as long as the record is not changed; null when there is none.
    const TCServiceValue* Find(int attribute) const
    {
        const auto found = hasAttributes ? attributes.find(attribute) : attributes.end();
        return found == attributes.end() ? nullptr : &found->second;
    }
};

// Values of TSPESData::dataType.
#define PES_DATA_TYPE_TTML 4

// One PES packet of the subscribed stream.
struct TSPESData
{
    int dataType = 0;
    struct
    {
        int pid = 0;
        unsigned long pts = 0; // 90 kHz; for the log
    } pesData;
    std::vector<unsigned char> data; // the whole packet as broadcast, header included
};

// Values of TSHybridSBT::sbtType.
#define HYBRID_SBT_TYPE_TTML 2

// Bits of TSHybridSBT::profile: the dvb_ttml_profiles of the stream (ETSI EN 303 560).
#define HYBRID_SBT_PROFILE_IMSC1 0x03 // either bit: IMSC1 Text
#define HYBRID_SBT_PROFILE_EBU_TT_D 0x04

// One subtitle stream of a service.
struct TSHybridSBT
{
    int sbtType = 0;
    unsigned char profile = 0;
};

// Type of a caption that the source layer takes.
#define CLOSED_CAPTION_TYPE_ATSC3 3

// One ATSC 3.0 caption. Times in nanoseconds.
struct TSCaption
{
    int type = 0;
    std::vector<unsigned char> data; // a TTML document; images may follow it
    std::int64_t referenceTime = 0;  // wall-clock instant at which it is to be presented
    std::int64_t offset = 0;         // to be taken from the reference time
};

// The caption track that is presented.
struct TCCaption
{
    std::string id;
    std::int32_t languageCode = 0; // three letters of ISO 639, one a byte
    unsigned char role = 0;
    unsigned char aspect = 0;
    unsigned char easyReader = 0;
    unsigned char profile = 0; // 0 text, 1 image; others are not known yet
    unsigned char is3D = 0;
};

#endif
