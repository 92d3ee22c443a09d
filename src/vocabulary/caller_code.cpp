#include "vocabulary/caller_code.hpp"

#include <algorithm>
#include <cerrno>
#include <cstddef>
#include <cstdint>

#include <pthread.h>

namespace orvane::python::detail {

namespace {

constexpr const char* where = " while values of an array are read";

/// The lowest part of the present thread's stack, which is kept for everything that is not counted.
struct StackReserve {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0; ///< 0 as long as it has not been looked for
};

/// Nothing, between two places of no meaning, when the thread does not tell; to be asked anew where memory is short.
StackReserve reserveOfThisThread() noexcept {
    constexpr std::size_t kept = std::size_t{128} << 10;
    constexpr StackReserve unknown{1, 1};
    pthread_attr_t attributes;
    if (const int status = pthread_getattr_np(pthread_self(), &attributes); status != 0)
        return status == ENOMEM ? StackReserve{} : unknown;
    void* address = nullptr;
    std::size_t size = 0;
    std::size_t guard = 0;
    const bool isTold =
        pthread_attr_getstack(&attributes, &address, &size) == 0 && pthread_attr_getguardsize(&attributes, &guard) == 0;
    pthread_attr_destroy(&attributes);
    if (!isTold)
        return unknown;
    const auto begin = reinterpret_cast<std::uintptr_t>(address);
    return {begin, begin + std::min(guard, size / 4) + std::min(kept, size / 4)};
}

/// A program may run on stacks that are not its threads' own; of those nothing is known, and they pass.
bool stackRunsOut() noexcept {
    // In memory that each thread has from its start: any other is allocated when it is first touched, and glibc ends
    // the process where that fails.
    [[gnu::tls_model("initial-exec")]] static constinit thread_local StackReserve reserve;
    if (reserve.end == 0)
        reserve = reserveOfThisThread();
    const auto here = reinterpret_cast<std::uintptr_t>(__builtin_frame_address(0));
    return here < reserve.end && here >= reserve.begin;
}

} // namespace

bool enterRecursion() {
    if (stackRunsOut()) {
        PyErr_Format(PyExc_RecursionError, "maximum recursion depth exceeded%s", where);
        return false;
    }
    return Py_EnterRecursiveCall(where) == 0;
}

} // namespace orvane::python::detail
