// One data array together with what Python's side needs of it: extents, strides and a mirror of the elements.
#pragma once

#include <cstddef>
#include <cstring>
#include <memory>
#include <optional>
#include <set>
#include <utility>

#include "core/layout.hpp"
#include "data_client/array.hpp"
#include "data_client/typed_array.hpp"

namespace orvane::python {

/// Storage that an array and all views of it share.
///
/// Python reads the mirror and native code the data array; assignments write both. As long as nobody but this
/// object can reach the data array, one block of memory serves as both ("united"). The two part ("split") before a
/// native caller gets hold of the data array: the mirror keeps its block, and so its address, and the data array
/// gets another. Elements lie in storage order, complex ones as (real, imaginary) pairs.
///
/// The data-array library may move the elements of an array whenever it hands out an iterator for writing, unless it
/// promises otherwise (`data::elementsNeverMove`). Without the promise the address is asked for anew for every
/// assignment, and the two part before the mirror is exported.
///
/// Operations that allocate throw what the data-array client throws, and change nothing when they do.
class ODArrayWrapper {
public:
    /// Who else can reach the data array: nobody, or native code that had it before.
    enum class Reach { PythonOnly, Native };

    /// Takes over an array of type `T` and its own view of the elements.
    template <class T>
    static std::shared_ptr<ODArrayWrapper> adopt(data::TypedArray<T>&& array) {
        const T* elements = array.data();
        return std::make_shared<ODArrayWrapper>(std::move(array), elements, sizeof(T));
    }
    /// Takes over an array of any type.
    static std::shared_ptr<ODArrayWrapper> adopt(data::Array&& array, Reach reach);

    /// For `adopt` alone: `elements` is the data array's block.
    ODArrayWrapper(data::Array&& array, const void* elements, std::size_t elementSize);
    ODArrayWrapper(const ODArrayWrapper&) = delete;
    ODArrayWrapper& operator=(const ODArrayWrapper&) = delete;
    ~ODArrayWrapper();

    data::ArrayType type() const { return m_array.getType(); }
    /// The present extents. Hold on to them through any code that might reshape the array.
    const std::shared_ptr<const Layout>& layout() const noexcept { return m_layout; }
    /// The elements as Python reads them. The address may change with any assignment to the array.
    const std::byte* elements() const noexcept { return m_mirrorElements; }

    /// The elements as native code sees them.
    const std::byte* dataElements() const;

    /// The mirror, which from now on stays where it is. `isSnapshot` says that this wrapper is never assigned to, so
    /// that it may go on sharing its data array with others.
    void* pinElements(bool isSnapshot);
    /// What an export shares with its consumer.
    struct Exported {
        void* buf;
        const Layout* layout; ///< lives as long as the wrapper
    };
    /// The pinned mirror and its description.
    Exported exportElements(bool isSnapshot);

    /// Gives the elements new extents of the same product. No element moves.
    void reshape(std::shared_ptr<const Layout> layout);

    /// Gets ready for the `store`s of one assignment, between which no code of the caller's may run: a data array that
    /// others share is replaced by a copy first.
    void prepareForWriting();
    /// Writes one element at a byte offset inside the elements, to the data array and the mirror.
    template <class T>
    void store(std::size_t byteOffset, const T& value) noexcept {
        std::memcpy(m_dataElements + byteOffset, &value, sizeof(T));
        if (isSplit())
            std::memcpy(m_mirrorElements + byteOffset, &value, sizeof(T));
    }

    /// The data array for a native caller, with its mirror split off. Borrowed: an assignment or a reshape may
    /// replace it.
    data::impl::ArrayImpl* handOut();

private:
    struct ByShape {
        bool operator()(const std::shared_ptr<const Layout>& a, const std::shared_ptr<const Layout>& b) const noexcept {
            return a->shape() < b->shape();
        }
    };

    bool isSplit() const noexcept { return m_mirrorOwner.has_value(); }
    void replaceDataArrayByCopy();
    void copyMirror();
    void split();
    void letGo(data::Array former) const;

    data::Array m_array;
    std::optional<data::Array> m_mirrorOwner; ///< holds the mirror's block once split from the data array's
    bool m_hasOutdatedExtents = false;        ///< the data array still bears the extents from before a reshape
    bool m_mayBeForeign = false;              ///< native code gave the data array, and says how its block is freed
    std::byte* m_dataElements;                ///< good for writing after `prepareForWriting`
    std::byte* m_mirrorElements;
    std::shared_ptr<const Layout> m_layout;
    std::set<std::shared_ptr<const Layout>, ByShape> m_exportedLayouts; ///< consumers may still read them
};

/// A new data array with a copy of the elements of `source`, in storage order, and the extents of `layout`.
data::Array copyElements(const data::Array& source, const Layout& layout);

} // namespace orvane::python
