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
/// The block may belong to somebody else (`BlockOwner`): the data array then lies over it, and the owner is held to the
/// end. One that must not be written to is left, for a copy, by the first that writes.
///
/// Native code may borrow the mirror for writing. As long as it does, a data array that is split off is behind, and is
/// brought up to date where it is asked for.
///
/// Operations that allocate throw what the data-array client throws, and change nothing when they do.
class ODArrayWrapper {
public:
    /// Who else can reach the data array: nobody, nobody any more, or native code that had it before.
    enum class Reach { PythonOnly, GivenUp, Native };

    /// Who keeps the block that a data array lies over, and whether it may be written to.
    struct BlockOwner {
        std::shared_ptr<void> owner;
        bool isReadOnly = false;
    };

    /// Takes over an array of type `T` and its own view of the elements.
    template <class T>
    static std::shared_ptr<ODArrayWrapper> adopt(data::TypedArray<T>&& array) {
        const T* elements = array.data();
        return std::make_shared<ODArrayWrapper>(std::move(array), elements, sizeof(T));
    }
    /// Takes over an array of any type.
    static std::shared_ptr<ODArrayWrapper> adopt(data::Array&& array, Reach reach);
    /// Takes over an array over somebody's block, which nobody else can reach.
    static std::shared_ptr<ODArrayWrapper> adopt(data::Array&& array, BlockOwner owner);

    /// For `adopt` alone: `elements` is the data array's block. Leaves the array as it is when it throws.
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
    const std::byte* dataElements();

    /// The mirror, which from now on stays where it is; but where it lies in a block that must not be written to, the
    /// first write moves it, and what was pinned stays as it was. `isSnapshot` says that this wrapper is never assigned
    /// to, so that it may go on sharing its data array with others.
    void* pinElements(bool isSnapshot);
    /// What an export shares with its consumer.
    struct Exported {
        void* buf;
        const Layout* layout; ///< lives as long as the wrapper
    };
    /// The pinned mirror and its description.
    Exported exportElements(bool isSnapshot);
    /// Until `closeWriting`, the mirror may be written to from elsewhere, and stays where it is.
    void openForWriting();
    /// Brings a data array that is split off up to date, now or, without memory for that, when it is asked for. Code of
    /// others may run.
    void closeWriting();

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

    /// The same for many elements: calls `write` with the address of the data array's elements, and of the mirror's or
    /// null where they share one block, for it to write the same to both.
    template <class Write>
    void storeMany(Write&& write) {
        write(m_dataElements, isSplit() ? m_mirrorElements : nullptr);
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

    /// What few arrays need.
    struct Rare {
        std::shared_ptr<void> blockOwner;       ///< outlives all that lies over its block
        bool isReadOnly = false;                ///< the block is somebody's who does not want it written to
        std::optional<data::Array> mirrorOwner; ///< holds the mirror's block once split from the data array's
        bool isMirrorForeign = false;           ///< native code gave it, and says how its block is freed
        bool hasMissedWrites = false;           ///< there was no memory to bring the data array up to date
        std::set<std::shared_ptr<const Layout>, ByShape> formerLayouts; ///< consumers of exports may still read them
    };

    Rare& rare() {
        if (!m_rare)
            m_rare = std::make_unique<Rare>();
        return *m_rare;
    }
    bool isSplit() const noexcept { return m_isSplit; }
    bool isReadOnly() const noexcept { return m_rare && m_rare->isReadOnly; }
    bool isDataBehind() const noexcept { return isSplit() && (m_openWritings > 0 || m_rare->hasMissedWrites); }
    void takeAsMirror(data::Array&& mirror, bool isForeign) noexcept;
    void catchUp();
    void replaceDataArrayByCopy();
    void copyMirror();
    void split();
    void letGo(data::Array former) const;

    std::unique_ptr<Rare> m_rare; ///< goes last
    std::shared_ptr<const Layout> m_layout;
    data::Array m_array;
    bool m_isSplit = false;
    bool m_hasOutdatedExtents = false; ///< the data array still bears the extents from before a reshape
    bool m_mayBeForeign = false;       ///< native code gave the data array, and says how its block is freed
    bool m_isLayoutExported = false;   ///< consumers may read it as long as this lives
    unsigned m_openWritings = 0;
    std::byte* m_dataElements; ///< good for writing after `prepareForWriting`
    std::byte* m_mirrorElements;
};

/// A new data array with a copy of the elements of `source`, in storage order, and the extents of `layout`.
data::Array copyElements(const data::Array& source, const Layout& layout);

} // namespace orvane::python
