// Threads that the interpreter ends.
//
// Up to CPython 3.13 a thread that waits for the interpreter lock while the interpreter ends is ended where it stands:
// its stack is unwound as if by an exception that no handler may keep, and destructors run without the lock. (Later
// ones let it sleep.) So
//  - owners of something of Python's leave it alone then;
//  - functions from which Python code can run are not `noexcept`, where the unwinding would end the process;
//  - a destructor may release what runs such code; a thread that is ended in there sleeps.
#pragma once

#include <Python.h>

#include <unistd.h>

#include <cxxabi.h>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// What unwinds a thread. Whoever catches everything catches this before, and throws it on.
#ifdef __GLIBCXX__
using ThreadEnd = abi::__forced_unwind;
#else
struct ThreadEnd {}; // no handler sees the unwinding
#endif

/// Runs `body`, in which the thread may be ended, where no unwinding may pass: the thread then sleeps as long as the
/// process lives.
template <class Body>
void sleepIfEnded(Body&& body) noexcept {
    try {
        std::forward<Body>(body)();
    } catch (ThreadEnd&) {
        while (true) {
            pause();
        }
    }
}

/// Whether this thread holds the interpreter lock, whatever state the interpreter is in.
inline bool holdsInterpreterLock() noexcept {
#if defined(Py_LIMITED_API)
    return false; // there is no way to ask
#elif PY_VERSION_HEX >= 0x030D0000
    return PyThreadState_GetUnchecked() != nullptr;
#elif PY_VERSION_HEX >= 0x030C0000
    return _PyThreadState_UncheckedGet() != nullptr;
#else
    // One for the whole process: the state of the thread that holds the lock.
    PyThreadState* const holder = _PyThreadState_UncheckedGet();
    return holder != nullptr && holder == PyGILState_GetThisThreadState();
#endif
}

/// Whether a destructor may touch what it owns of Python's. While the interpreter ends, only the thread that ends it
/// may.
inline bool mayTouchPython() noexcept {
    return Py_IsInitialized() != 0 || holdsInterpreterLock(); // the former is 0 before the first thread is ended
}

/// For destructors: runs `release`, unless this thread is being ended.
template <class Release>
void releaseAtScopeEnd(Release&& release) noexcept {
    if (mayTouchPython()) [[likely]] {
        sleepIfEnded(std::forward<Release>(release));
    }
}

} // namespace detail

} // namespace python
} // namespace orvane
