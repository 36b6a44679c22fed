#ifndef SHARED_SUBSCRIPTION_H
#define SHARED_SUBSCRIPTION_H

#include <memory>
#include <string>
#include <vector>

#include "CallbackSlot.h"

namespace TTMLTest {

// Subscriptions to one thing that are taken back by a name or a callback alone: while one is left, every user
// data that was given may be called. Not thread-safe.
struct SharedSubscription
{
    struct User
    {
        void* userData;
        std::shared_ptr<CallbackSlot> slot;
    };

    void Add(const std::string& name, void* userData);
    // Takes one back. Returns those whose calls have to end, once nothing is locked.
    std::vector<User> Remove();

    unsigned int count = 0;
    bool givenUp = false; // the test made a removal fail
    std::vector<User> users;
};

void EndCalls(const std::vector<SharedSubscription::User>& users);

} // namespace TTMLTest

#endif
