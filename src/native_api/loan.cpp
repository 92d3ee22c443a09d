#include "native_api/loan.hpp"

#include <atomic>
#include <memory>
#include <utility>

#include "core/array_object.hpp"
#include "core/gathering.hpp"
#include "core/selection.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/error_state.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace OCPyArrayAPI {

using namespace orvane::python;

namespace {

/// A loan with all that keeps its elements where they are. It refers to no Python object: the storage lives on when
/// the array has gone.
struct Loan : OrvaneLoan {
    std::shared_ptr<ODArrayWrapper> storage;
    Selection selection;                 ///< has the extents and strides that are shown
    std::shared_ptr<std::byte> gathered; ///< the elements, where they had to be copied
    bool isForWriting = false;
    Loan* nextReturned = nullptr;

    explicit Loan(const OCppPyArray& core)
        : OrvaneLoan(), storage(core.sharedWrapper()), selection(selectionOf(core)) {}
    Loan(const Loan&) = delete;
    Loan& operator=(const Loan&) = delete;
    ~Loan() {
        if (!isForWriting && storage.use_count() > 1)
            return; // somebody else keeps the blocks
        // Blocks may be freed, which may run code of others, and in there the interpreter may end the thread.
        detail::releaseAtScopeEnd([this] {
            const PendingError kept;
            if (isForWriting)
                storage->closeWriting();
            storage.reset();
        });
    }
};

/// Loans that were given back without the interpreter lock, the latest first.
std::atomic<Loan*> latestReturned = nullptr;
std::atomic<bool> isSettlingAskedFor = false;

int settleWhenCalled(void*) {
    isSettlingAskedFor.exchange(false); // reads what `leaveToOthers` has written, so that its loan is seen
    settleReturnedLoans();
    return 0;
}

void leaveToOthers(Loan* loan) noexcept {
    loan->nextReturned = latestReturned.load(std::memory_order_relaxed);
    while (!latestReturned.compare_exchange_weak(loan->nextReturned, loan, std::memory_order_release,
                                                 std::memory_order_relaxed)) {
    }
    // One place in the interpreter's short queue of calls is enough. If it is full, the next loan asks again.
    if (!isSettlingAskedFor.exchange(true) && Py_AddPendingCall(settleWhenCalled, nullptr) != 0)
        isSettlingAskedFor = false;
}

const OrvaneLoan* newLoan(const OCppPyArray& core, bool isForWriting, bool mustBeContiguous) {
    if (core.chain().length() > core.layout().rank() || !core.hasActiveDimension()) {
        raiseTooManyIndices();
        return nullptr;
    }
    auto loan = std::make_unique<Loan>(core);
    if (!loan->selection.isInside) {
        raiseUnreadable(loan->selection);
        return nullptr;
    }
    const bool mustBeGathered = mustBeContiguous && !loan->selection.isColumnMajor();
    if (mustBeGathered && isForWriting) {
        setError(PyExc_ValueError, "the elements of this view do not lie next to each other in column-major order.");
        return nullptr;
    }

    const std::byte* elements;
    if (mustBeGathered) {
        auto gathered = gather(core, loan->selection);
        if (!gathered)
            return nullptr;
        loan->gathered = *std::move(gathered);
        long gapless = loan->selection.layout->elementSize();
        for (std::size_t d = 0; d < loan->selection.rank(); gapless *= loan->selection.counts[d++])
            loan->selection.strides[d] = gapless;
        elements = loan->gathered.get();
    } else {
        if (isForWriting) {
            loan->storage->openForWriting();
            loan->isForWriting = true;
        } else {
            loan->storage->pinElements(false);
        }
        elements = loan->storage->elements() + loan->selection.origin;
    }

    const Layout& layout = *loan->selection.layout;
    loan->elements = loan->selection.elementCount > 0 ? const_cast<std::byte*>(elements) : nullptr;
    loan->elementCount = static_cast<std::size_t>(loan->selection.elementCount);
    loan->elementSize = static_cast<std::size_t>(layout.elementSize());
    loan->type = static_cast<int>(loan->storage->type());
    loan->rank = static_cast<int>(loan->selection.rank());
    loan->extents = loan->selection.counts.data();
    loan->strides = loan->selection.strides.data();
    return loan.release();
}

} // namespace

const OrvaneLoan* lend(PyObject* array, unsigned flags) {
    const PyRef held = PyRef::borrow(array); // while code of others runs
    settleReturnedLoans();
    const OCppPyArray* core = requireCoreArray(OCPyArray_Check(array) ? array : nullptr);
    if (core == nullptr)
        return nullptr;
    return withMemoryErrors(static_cast<const OrvaneLoan*>(nullptr), [&] {
        return newLoan(*core, (flags & ORVANE_LOAN_WRITABLE) != 0, (flags & ORVANE_LOAN_CONTIGUOUS) != 0);
    });
}

void giveBack(const OrvaneLoan* given) noexcept {
    if (given == nullptr || Py_IsInitialized() == 0)
        return; // while the interpreter ends, everything is left as it is
    auto* loan = const_cast<Loan*>(static_cast<const Loan*>(given));
    if (!detail::holdsInterpreterLock())
        return leaveToOthers(loan);
    const std::unique_ptr<Loan> ended(loan);
}

void settleReturnedLoans() {
    if (latestReturned.load(std::memory_order_relaxed) == nullptr) [[likely]]
        return;
    std::unique_ptr<Loan> loan(latestReturned.exchange(nullptr, std::memory_order_acquire));
    while (loan)
        loan.reset(loan->nextReturned);
}

} // namespace OCPyArrayAPI
