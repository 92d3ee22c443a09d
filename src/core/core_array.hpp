// The object behind every Python array: shared storage and an index chain.
#pragma once

#include <concepts>
#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

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
    /// A whole array.
    OCppPyArray(std::shared_ptr<ODArrayWrapper> wrapper, SupportedArrayEnum supportedArrayEnum, bool isComplex) noexcept
        : m_wrapper(std::move(wrapper)), m_supportedArrayEnum(supportedArrayEnum), m_isComplex(isComplex),
          m_chain(&s_noSubscripts) {}
    OCppPyArray(const OCppPyArray&) = delete;
    OCppPyArray& operator=(const OCppPyArray&) = delete;
    /// Destroys a whole array or an `OCppPyView`.
    static void destroy(OCppPyArray* array);

    SupportedArrayEnum supportedArrayEnum() const noexcept { return m_supportedArrayEnum; }
    bool isComplex() const noexcept { return m_isComplex; }
    const IndexChain& chain() const noexcept { return *m_chain; }
    ODArrayWrapper& wrapper() const noexcept { return *m_wrapper; }
    const std::shared_ptr<ODArrayWrapper>& sharedWrapper() const noexcept { return m_wrapper; }
    /// Of the whole array, not of the view.
    const Layout& layout() const noexcept { return *m_wrapper->layout(); }

    /// False when every dimension is fixed already, or when the array was reshaped to fewer dimensions than the
    /// chain speaks of. Subscripts and `len` are refused then.
    bool hasActiveDimension() const noexcept { return chain().activeDimension() < layout().rank(); }
    /// The view's extent in the active dimension, which must exist. This is what `len()` answers.
    long getLengthOfActiveDimension() const noexcept {
        return chain().slice() ? chain().slice()->m_slice_len : layout().extent(chain().activeDimension());
    }
    /// Whether one more integer subscript gives an element rather than a view.
    bool activeDimensionIsLast() const noexcept { return chain().activeDimension() + 1 == layout().rank(); }
    /// The byte offset of the element at `position`, absolute, of the active dimension, which must exist. It need not
    /// lie inside the elements when the array was reshaped.
    unsigned long byteOffsetAt(long position) const noexcept {
        const long* stride = layout().bytewiseStrides().data();
        unsigned long offset = 0;
        for (const long integer : chain().integers())
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

protected:
    /// A part of the same storage, with a chain that the caller makes; snapshots are not shared.
    OCppPyArray(const OCppPyArray& source, const IndexChain& chain) noexcept
        : m_wrapper(source.m_wrapper), m_supportedArrayEnum(source.m_supportedArrayEnum),
          m_isComplex(source.m_isComplex), m_chain(&chain) {}

private:
    struct Snapshot {
        std::optional<data::Array> array;
        bool isHandedOut = false;
        std::shared_ptr<ODArrayWrapper> exported;
    };

    std::shared_ptr<ODArrayWrapper> m_wrapper;
    SupportedArrayEnum m_supportedArrayEnum;
    bool m_isComplex;
    const IndexChain* m_chain;
    std::unique_ptr<Snapshot> m_snapshot;

    static const IndexChain s_noSubscripts; ///< that of all whole arrays
};

/// A part of an array, with room for its chain, which whole arrays do without.
class OCppPyView final : public OCppPyArray {
public:
    /// The chain is what `makeChain()` returns.
    template <std::invocable MakeChain>
    OCppPyView(const OCppPyArray& source, MakeChain&& makeChain)
        : OCppPyArray(source, m_ownChain), m_ownChain(makeChain()) {}

private:
    IndexChain m_ownChain;
};

inline void OCppPyArray::destroy(OCppPyArray* array) {
    if (array->m_chain == &s_noSubscripts)
        std::destroy_at(array);
    else
        std::destroy_at(static_cast<OCppPyView*>(array));
}

/// RuntimeError for a chain that leaves no dimension to subscript.
void raiseTooManyIndices();

} // namespace orvane::python
