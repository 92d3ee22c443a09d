// The loan of a Python array to a handle of C++.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/ending_thread.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/module.hpp>

#include <atomic>
#include <memory>
#include <new>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// Objects that lent handles have let go of without the interpreter lock. They wait for a thread that holds it: the
/// main thread, which is asked to call, or whichever lends the next array.
class ReturnedLoans {
public:
    /// Needs no lock and waits for none. Without memory for the note the object is kept for good.
    static void add(PyObject* object) noexcept {
        std::unique_ptr<Note> note(new (std::nothrow) Note{object, s_latest.load(std::memory_order_relaxed)});
        if (!note) {
            return;
        }
        while (!s_latest.compare_exchange_weak(note->next, note.get(), std::memory_order_release,
                                               std::memory_order_relaxed)) {
        }
        static_cast<void>(note.release()); // now the list's
        // One place in the interpreter's short queue of calls is enough. If it is full, the next note asks again.
        if (!s_isCallPending.exchange(true) && Py_AddPendingCall(dropWhenCalled, nullptr) != 0) {
            s_isCallPending = false;
        }
    }

    /// Drops the references. May run code of others.
    static void drop() {
        if (s_latest.load(std::memory_order_relaxed) != nullptr) [[unlikely]] {
            std::unique_ptr<Note> note(s_latest.exchange(nullptr, std::memory_order_acquire));
            while (note) {
                const Reference object(note->object);
                note.reset(note->next);
            }
        }
    }

private:
    struct Note {
        PyObject* object;
        Note* next;
    };

    static int dropWhenCalled(void*) {
        s_isCallPending.exchange(false); // reads what `add` has written, so that its note is seen
        drop();
        return 0;
    }

    static inline constinit std::atomic<Note*> s_latest = nullptr;
    static inline constinit std::atomic<bool> s_isCallPending = false;
};

/// Gives back what was lent, on any thread, with the lock or without. When the interpreter ends it keeps what it has.
inline void endLoan(PyObject* object) noexcept {
    if (Py_IsInitialized() == 0) {
        return;
    }
    if (holdsInterpreterLock()) {
        const Reference dropped(object);
    } else {
        ReturnedLoans::add(object);
    }
}

/// The array behind an object, lent: the handle holds a reference to the object. Throws as position 1 fails.
inline data::Array lend(PyObject* object) {
    Py_INCREF(object);
    Reference held(object); // also while code of others runs
    ReturnedLoans::drop();
    void* impl = module().capsule->implOfArray(object);
    if (impl == nullptr) {
        throw PythonError();
    }
    return data::Array(std::shared_ptr<data::impl::ArrayImpl>(
        static_cast<data::impl::ArrayImpl*>(impl), [lent = held.release()](data::impl::ArrayImpl*) { endLoan(lent); }));
}

} // namespace detail

} // namespace python
} // namespace orvane
