// Operations in which code of the caller's runs, for as long as it likes: it may start the same operation again, and
// the user may want to interrupt it.
#pragma once

#include <Python.h>

namespace orvane::python {

namespace detail {

/// False with RecursionError set when the interpreter's limit is reached, or before the thread's stack runs out: the
/// limit counts calls, and a program may have raised it beyond what the stack bears.
bool enterRecursion();

} // namespace detail

/// Runs `body`, in which code of the caller's may come back to the same place, as one step of recursion. No exception
/// of C++ may come out of it.
template <class Result, class Body>
Result withRecursionCounted(Result failure, Body&& body) {
    if (!detail::enterRecursion())
        return failure;
    Result result = body();
    // Not by a destructor: a thread that the interpreter ends is unwound without its lock.
    Py_LeaveRecursiveCall();
    return result;
}

/// Lets signals be answered on the way through many items.
template <unsigned long itemsBetweenLooks>
class SignalWatch {
public:
    static constexpr unsigned long itemsBetween = itemsBetweenLooks;

    /// To be told of items that were passed. False with an error set when the handler of a signal has raised one.
    /// Handlers are code of the caller's: nothing borrowed may be kept across a call that has looked.
    bool pass(unsigned long items = 1) {
        m_passed += items;
        return m_passed < itemsBetweenLooks || look();
    }

private:
    bool look() {
        m_passed = 0;
        return PyErr_CheckSignals() == 0;
    }

    unsigned long m_passed = 0;
};

/// For items that come by calls into the interpreter, and for those that are read or made as they lie in memory.
using FetchedItemsWatch = SignalWatch<1UL << 12>;
using PlainItemsWatch = SignalWatch<1UL << 20>;

} // namespace orvane::python
