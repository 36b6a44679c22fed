#include "SharedSubscription.h"

#include <algorithm>

namespace TTMLTest {

void SharedSubscription::Add(const std::string& name, void* userData)
{
    ++count;
    const bool known =
        std::any_of(users.begin(), users.end(), [&](const User& user) { return user.userData == userData; });
    if (!known) {
        users.push_back({userData, std::make_shared<CallbackSlot>(name)});
    }
}

std::vector<SharedSubscription::User> SharedSubscription::Remove()
{
    std::vector<User> ended;
    if (--count == 0) {
        ended.swap(users);
    }
    return ended;
}

void EndCalls(const std::vector<SharedSubscription::User>& users)
{
    for (const auto& user : users) {
        user.slot->End();
    }
}

} // namespace TTMLTest
