#include "core/array_wrapper.hpp"

#include <algorithm>

#include "data_client/array_factory.hpp"
#include "data_client/numeric_visitor.hpp"
#include "vocabulary/error_state.hpp"

namespace orvane::python {

namespace {

/// Where the elements of an array lie that nobody else shares.
std::byte* ownElementsOf(data::Array& array) {
    return static_cast<std::byte*>(array.writableElements());
}

/// Whether the elements may move when they are written to, and where they lie then be refused.
bool mayLoseElements(const data::Array& array) {
    return data::detail::complexElementsAreAskedByReference() &&
           isComplexKind(static_cast<std::int32_t>(array.getType()));
}

} // namespace

data::Array copyElements(const data::Array& source, const Layout& layout) {
    return data::apply_numeric_visitor(source, [&]<class T>(const data::TypedArray<T>& elements) -> data::Array {
        data::ArrayFactory factory;
        auto buffer = factory.createBuffer<T>(static_cast<unsigned long>(layout.elementCount()));
        if (layout.elementCount() > 0)
            std::memcpy(static_cast<void*>(buffer.get()), elements.data(),
                        static_cast<std::size_t>(layout.sizeInBytes()));
        return factory.createArrayFromBuffer<T>({layout.shape().begin(), layout.shape().end()}, std::move(buffer),
                                                data::MemoryLayout::ColumnMajor);
    });
}

std::shared_ptr<ODArrayWrapper> ODArrayWrapper::adopt(data::Array&& array, Reach reach) {
    const void* elements = array.elements();
    const std::size_t size = elementSize(static_cast<std::int32_t>(array.getType()));
    auto wrapper = std::make_shared<ODArrayWrapper>(std::move(array), elements, size);
    wrapper->m_mayBeForeign = reach != Reach::PythonOnly;
    if (reach == Reach::Native)
        wrapper->copyMirror(); // native code goes on using the very array it gave us
    return wrapper;
}

std::shared_ptr<ODArrayWrapper> ODArrayWrapper::adopt(data::Array&& array, BlockOwner owner) {
    auto wrapper = adopt(std::move(array), Reach::PythonOnly);
    wrapper->rare().blockOwner = std::move(owner.owner);
    wrapper->rare().isReadOnly = owner.isReadOnly;
    return wrapper;
}

ODArrayWrapper::ODArrayWrapper(data::Array&& array, const void* elements, std::size_t elementSize)
    : m_layout(RecentLayouts::find(array.extents(), static_cast<long>(elementSize),
                                   [&] { return static_cast<long>(array.getNumberOfElements()); })),
      m_array(std::move(array)), m_dataElements(static_cast<std::byte*>(const_cast<void*>(elements))),
      m_mirrorElements(m_dataElements) {}

ODArrayWrapper::~ODArrayWrapper() {
    if (m_mayBeForeign)
        letGo(std::move(m_array));
    if (isSplit() && m_rare->isMirrorForeign)
        letGo(*std::move(m_rare->mirrorOwner));
}

/// Gives up a data array that came from native code. That may run code of others, with whatever error is pending and
/// any change to this very wrapper: all that it could come upon has to be in order before.
void ODArrayWrapper::letGo(data::Array former) const {
    const PendingError kept;
    const data::Array gone(std::move(former));
}

const std::byte* ODArrayWrapper::dataElements() {
    catchUp();
    return static_cast<const std::byte*>(m_array.elements());
}

void* ODArrayWrapper::pinElements(bool isSnapshot) {
    if (!isSplit() && !isSnapshot) {
        if (!data::elementsNeverMove())
            copyMirror();
        else if (m_array.useCount() > 1)
            replaceDataArrayByCopy();
    }
    return m_mirrorElements;
}

void ODArrayWrapper::openForWriting() {
    prepareForWriting();
    pinElements(false);
    ++m_openWritings;
}

void ODArrayWrapper::closeWriting() {
    if (isSplit())
        m_rare->hasMissedWrites = true;
    --m_openWritings;
    try {
        catchUp();
    } catch (const std::exception&) {
        // Want of memory. Whoever asks for the data array will be told if it lasts.
    }
}

/// Gives the data array what was written to the mirror alone.
void ODArrayWrapper::catchUp() {
    if (!isDataBehind())
        return;
    prepareForWriting();
    if (m_layout->elementCount() > 0)
        std::memcpy(m_dataElements, m_mirrorElements, static_cast<std::size_t>(m_layout->sizeInBytes()));
    m_rare->hasMissedWrites = false;
}

ODArrayWrapper::Exported ODArrayWrapper::exportElements(bool isSnapshot) {
    void* const elements = pinElements(isSnapshot);
    m_isLayoutExported = true;
    return {elements, m_layout.get()};
}

void ODArrayWrapper::reshape(std::shared_ptr<const Layout> layout) {
    // What native code wrote into its side becomes visible here, as the mirror is made anew from the data array; but
    // not while somebody writes to the mirror, perhaps on another thread, whose writes would be lost.
    catchUp();
    if (isSplit() && m_openWritings == 0 && m_layout->elementCount() > 0) // an empty block may be null
        std::memcpy(m_mirrorElements, dataElements(), static_cast<std::size_t>(m_layout->sizeInBytes()));
    if (m_isLayoutExported)
        rare().formerLayouts.insert(m_layout);
    m_isLayoutExported = false;
    if (m_rare) {
        // Extents that were exported before serve again, so that reshaping back and forth does not pile them up.
        const auto exported = m_rare->formerLayouts.find(layout);
        m_isLayoutExported = exported != m_rare->formerLayouts.end();
        if (m_isLayoutExported)
            layout = *exported;
    }
    m_layout = std::move(layout);
    m_hasOutdatedExtents = true;
}

void ODArrayWrapper::prepareForWriting() {
    const bool mayMove = !data::elementsNeverMove();
    // Elements that move leave their former block, whose deleter may be native code's: a copy does that in good order.
    // And where they have gone may be refused, which of a copy is no loss.
    if (m_array.useCount() > 1 || isReadOnly() || (mayMove && (m_mayBeForeign || mayLoseElements(m_array)))) {
        do {
            replaceDataArrayByCopy();
        } while (m_array.useCount() > 1); // again when code that ran on the way has handed the copy out
        return;
    }
    if (mayMove) {
        m_dataElements = ownElementsOf(m_array);
        if (!isSplit())
            m_mirrorElements = m_dataElements;
    }
}

void ODArrayWrapper::replaceDataArrayByCopy() {
    data::Array copy = copyElements(m_array, *m_layout);
    m_dataElements = ownElementsOf(copy);
    data::Array former = std::exchange(m_array, std::move(copy));
    m_hasOutdatedExtents = false;
    if (isReadOnly())
        m_rare->isReadOnly = false;
    if (!isSplit())
        m_mirrorElements = m_dataElements;
    if (std::exchange(m_mayBeForeign, false))
        letGo(std::move(former));
}

/// Parts the two with a block of its own for the mirror.
void ODArrayWrapper::copyMirror() {
    data::Array mirror = copyElements(m_array, *m_layout);
    std::byte* const elements = ownElementsOf(mirror);
    rare();
    m_mirrorElements = elements;
    takeAsMirror(std::move(mirror), false);
}

/// For those who have made room for what is rare.
void ODArrayWrapper::takeAsMirror(data::Array&& mirror, bool isForeign) noexcept {
    m_rare->mirrorOwner.emplace(std::move(mirror));
    m_rare->isMirrorForeign = isForeign;
    m_rare->hasMissedWrites = false;
    m_isSplit = true;
}

/// Parts the two with the mirror where it is if it may have been exported.
void ODArrayWrapper::split() {
    if (!data::elementsNeverMove())
        return copyMirror();
    // The block becomes the mirror, which assignments write to; whoever shares it so far must not see that.
    prepareForWriting();
    if (isSplit()) // by code that ran on the way
        return;
    data::Array copy = copyElements(m_array, *m_layout);
    std::byte* const elements = ownElementsOf(copy);
    rare();
    m_dataElements = elements;
    takeAsMirror(std::exchange(m_array, std::move(copy)), std::exchange(m_mayBeForeign, false));
    m_hasOutdatedExtents = false;
}

data::impl::ArrayImpl* ODArrayWrapper::handOut() {
    if (!isSplit())
        split();
    // Again when code that ran on the way has reshaped the array.
    while (m_hasOutdatedExtents || m_array.useCount() > 1)
        replaceDataArrayByCopy();
    catchUp();
    return m_array.impl();
}

} // namespace orvane::python
