// Computing while other Python threads run.
#pragma once

#include <orvane/python/ending_thread.hpp>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// Lets other Python threads run while it lives. What is done meanwhile must not touch Python objects, nor arrays
/// that `fromPython` lent: others may assign to them. Work on arrays of your own (`copyFromPython`) or on loans
/// (`lendElements`). When the
/// interpreter has ended meanwhile there is no way back: the thread sleeps until the process ends.
class WithoutInterpreterLock {
public:
    WithoutInterpreterLock() noexcept : m_state(PyEval_SaveThread()) {}
    ~WithoutInterpreterLock() {
        detail::sleepIfEnded([this] { PyEval_RestoreThread(m_state); });
    }
    WithoutInterpreterLock(const WithoutInterpreterLock&) = delete;
    WithoutInterpreterLock& operator=(const WithoutInterpreterLock&) = delete;

private:
    PyThreadState* m_state;
};

} // namespace python
} // namespace orvane
