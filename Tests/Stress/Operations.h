#ifndef OPERATIONS_H
#define OPERATIONS_H

// Everything that a client may call.

#include <cstddef>

#include "Dice.h"
#include "Viewer.h"

namespace TTMLTest {

enum class Operation
{
    REGISTER,
    UNREGISTER,
    TIME,
    MODE,
    INITIALIZE,
    PLAY_INBAND,
    PLAY_URL,
    STOP_TRACK,
    PAUSE_TRACK,
    RESUME_TRACK,
    INVALIDATE,
    SEEK_START,
    SEEK_COMPLETED,
    SAMPLE,
    RECORD,
    DNT_OPTION,
    FONTS_ERROR,
    START,
    STOP,
    SHOW,
    HIDE,
    SEND_EVENT,
    HOLDER,
    RENEW, // destroyed, and a new one created; not for Perform()
    COUNT
};
constexpr std::size_t kOperations = static_cast<std::size_t>(Operation::COUNT);

constexpr const char* kAgents[] = {"an agent whose name is kept on the heap",
                                   "another agent whose name is kept on the heap, and longer"};
constexpr const char* kDescriptors[] = {"a descriptor that is kept on the heap",
                                        "another descriptor that is kept on the heap, and longer"};
constexpr char kGoodUrl[] = "http://host/document.ttml";
constexpr char kBadUrl[] = "http://host/nothing.ttml";
constexpr const char* kTimeExpressions[] = {"1s", "00:00:02.500"};

const char* NameOf(Operation operation);
// What may be called inside a callback of the client.
bool IsForCallbacks(Operation operation);

Operation Draw(Dice& dice);
void Perform(Operation operation, Viewer& viewer, TTML::CTTMLSource& source, unsigned int argument);

} // namespace TTMLTest

#endif
