// How many share an array, as asked by who writes in place when nobody else does.
#pragma once

#include <atomic>
#include <memory>

#if defined(__SANITIZE_THREAD__)
#define ORVANE_UNDER_THREAD_SANITIZER
#elif defined(__has_feature)
#if __has_feature(thread_sanitizer)
#define ORVANE_UNDER_THREAD_SANITIZER
#endif
#endif

namespace orvane::data::detail {

/// How many share what is pointed to. The last that is left may write there: whatever the others did, on other threads
/// too, before they let go, has happened when he is told of it.
template <class T>
long ownerCount(const std::shared_ptr<T>& pointer) noexcept {
    const long count = pointer.use_count(); // read without any order
    if (count == 1) {
#ifdef ORVANE_UNDER_THREAD_SANITIZER
        const std::shared_ptr<T> afterAllOthers(pointer); // it knows the order of counting, but none of fences
#else
        std::atomic_thread_fence(std::memory_order_acquire);
#endif
    }
    return count;
}

} // namespace orvane::data::detail

#undef ORVANE_UNDER_THREAD_SANITIZER
