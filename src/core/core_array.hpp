// The object behind every Python array: shared storage and an index chain.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>

#include "core/array_wrapper.hpp"
#include "core/index_chain.hpp"
#include "vocabulary/element_vocabulary.hpp"

namespace orvane::python {

/// What one Python object stands for: the part of a shared `ODArrayWrapper` that its index chain selects. A
/// subscript makes a new object with the same wrapper and a longer chain, and no element moves; so an array
/// and all its views see each other's writes, and a reshape of one shows in all.
///
/// A view that must become an array of its own is materialised at most once, and the snapshot is never renewed.
class OCppPyArray {
public:
    OCppPyArray(std::shared_ptr<ODArrayWrapper> wrapper, SupportedArrayEnum supportedArrayEnum, bool isComplex) noexcept
        : m_wrapper(std::move(wrapper)), m_supportedArrayEnum(supportedArrayEnum), m_isComplex(isComplex) {}
    /// A view of the same storage with the chain that `makeChain()` returns; snapshots are not shared.
    template <std::invocable MakeChain>
    OCppPyArray(const OCppPyArray& source, MakeChain&& makeChain)
        : m_wrapper(source.m_wrapper), m_supportedArrayEnum(source.m_supportedArrayEnum),
          m_isComplex(source.m_isComplex), m_chain(makeChain()) {}
    OCppPyArray(const OCppPyArray&) = delete;
    OCppPyArray& operator=(const OCppPyArray&) = delete;

    SupportedArrayEnum supportedArrayEnum() const noexcept { return m_supportedArrayEnum; }
    bool isComplex() const noexcept { return m_isComplex; }
    const IndexChain& chain() const noexcept { return m_chain; }
    ODArrayWrapper& wrapper() const noexcept { return *m_wrapper; }
    const std::shared_ptr<ODArrayWrapper>& sharedWrapper() const noexcept { return m_wrapper; }
    /// Of the whole array, not of the view.
    const Layout& layout() const noexcept { return *m_wrapper->layout(); }

    /// False when every dimension is fixed already, or when the array was reshaped to fewer dimensions than the
    /// chain speaks of. Subscripts and `len` are refused then.
    bool hasActiveDimension() const noexcept { return m_chain.activeDimension() < layout().rank(); }
    /// The view's extent in the active dimension, which must exist. This is what `len()` answers.
    long getLengthOfActiveDimension() const noexcept {
        return m_chain.slice() ? m_chain.slice()->m_slice_len : layout().extent(m_chain.activeDimension());
    }
    /// Whether one more integer subscript gives an element rather than a view.
    bool activeDimensionIsLast() const noexcept { return m_chain.activeDimension() + 1 == layout().rank(); }
    /// The byte offset of the element at `position`, absolute, of the active dimension, which must exist. It need not
    /// lie inside the elements when the array was reshaped.
    unsigned long byteOffsetAt(long position) const noexcept {
        const long* stride = layout().bytewiseStrides().data();
        unsigned long offset = 0;
        for (const long integer : m_chain.integers())
            offset += static_cast<unsigned long>(integer) * static_cast<unsigned long>(*stride++);
        return offset + static_cast<unsigned long>(position) * static_cast<unsigned long>(*stride);
    }

    /// What this object selects, as a data array of its own: made on the first call and kept, however the
    /// elements change later. Null with an error set on failure. Never null afterwards.
    const data::Array* materialised();
    /// The same for a native caller: from then on Python does not rely on the snapshot staying unchanged.
    data::impl::ArrayImpl* materialisedForNative();
    /// Independent storage made from the snapshot, or null with an error set.
    std::shared_ptr<ODArrayWrapper> clonedWrapper();
    /// The storage whose elements an export shows: its own for a whole array, a clone of its own, made once,
    /// for a view. Null when a view could not be materialised, with the reason set.
    ODArrayWrapper* exportSource(bool& isSnapshot);

private:
    struct Snapshot {
        std::optional<data::Array> array;
        bool isHandedOut = false;
        std::shared_ptr<ODArrayWrapper> exported;
    };

    std::shared_ptr<ODArrayWrapper> m_wrapper;
    SupportedArrayEnum m_supportedArrayEnum;
    bool m_isComplex;
    IndexChain m_chain;
    std::unique_ptr<Snapshot> m_snapshot;
};

/// RuntimeError for a chain that leaves no dimension to subscript.
void raiseTooManyIndices();

} // namespace orvane::python
