#ifndef PRIVATE_ACCESS_H
#define PRIVATE_ACCESS_H

// Reaches private members from tests without a word in the classes under test: access is not checked in
// the arguments of an explicit instantiation, and a friend that is defined in the instantiated template
// hands the member out.
//
//     TTML_EXPOSE(TaskQueue, TTML::CTask, std::deque<void*>, m_queue)
//     EXPECT_EQ(Private<TaskQueue>(task).size(), 3U);
//     EXPECT_EQ(OffsetOf<TaskQueue>(), 176U);
//     TTML_EXPOSE_FUNCTION(TaskClear, void (TTML::CTask::*)(bool), TTML::CTask::m_Clear)
//     CallPrivate<TaskClear>(task, true);
//     TTML_CHECK_OFFSET(TTML::CTask, m_queue, 176) // at compile time, for any target
//
// The macros stand outside all namespaces and put their tags into TTMLTest. A tag is used once in a program:
// one source file exposes a member, and a helper there serves the others.

#include <cstddef>
#include <cstring>
#include <utility>

namespace TTMLTest {

template <class Tag, typename Tag::Type kMember>
struct Expose
{
    friend typename Tag::Type GetExposed(Tag) { return kMember; }
};

template <class Class, std::size_t kOffset, std::size_t kWanted>
struct CheckOffset
{
    static_assert(kOffset == kWanted, "the field is not where it should be");
};

// The exposed field of `object`.
template <class Tag, class Object>
decltype(auto) Private(Object& object)
{
    return (object.*GetExposed(Tag{}));
}

// Calls the exposed function on `object`.
template <class Tag, class Object, class... Arguments>
decltype(auto) CallPrivate(Object& object, Arguments&&... arguments)
{
    return (object.*GetExposed(Tag{}))(std::forward<Arguments>(arguments)...);
}

// Calls the exposed static function.
template <class Tag, class... Arguments>
decltype(auto) CallPrivateStatic(Arguments&&... arguments)
{
    return (*GetExposed(Tag{}))(std::forward<Arguments>(arguments)...);
}

// The exposed field's offset in its class: what the C++ ABI stores in a pointer to a data member.
template <class Tag>
std::size_t OffsetOf()
{
    const typename Tag::Type member = GetExposed(Tag{});
    static_assert(sizeof(member) == sizeof(std::ptrdiff_t), "not a pointer to a data member");
    std::ptrdiff_t offset = -1;
    std::memcpy(&offset, &member, sizeof(offset));
    return static_cast<std::size_t>(offset);
}

} // namespace TTMLTest

#define TTML_EXPOSE(tag, Class, FieldType, member)                                                           \
    namespace TTMLTest {                                                                                     \
    struct tag                                                                                               \
    {                                                                                                        \
        using Type = FieldType Class::*;                                                                     \
        friend Type GetExposed(tag);                                                                         \
    };                                                                                                       \
    template struct Expose<tag, &Class::member>;                                                             \
    }

// For member functions and, with a plain function pointer type, static ones.
#define TTML_EXPOSE_FUNCTION(tag, FunctionType, function)                                                    \
    namespace TTMLTest {                                                                                     \
    struct tag                                                                                               \
    {                                                                                                        \
        using Type = FunctionType;                                                                           \
        friend Type GetExposed(tag);                                                                         \
    };                                                                                                       \
    template struct Expose<tag, &function>;                                                                  \
    }

// The compilers warn that a class with virtual functions need not have fixed offsets; in the C++ ABI that
// this layer is built for it has.
#define TTML_CHECK_OFFSET(Class, member, wanted)                                                             \
    _Pragma("GCC diagnostic push");                                                                          \
    _Pragma("GCC diagnostic ignored \"-Winvalid-offsetof\"");                                                \
    template struct TTMLTest::CheckOffset<Class, __builtin_offsetof(Class, member), wanted>;                 \
    _Pragma("GCC diagnostic pop")

#endif
