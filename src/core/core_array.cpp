#include "core/core_array.hpp"

#include "core/materialise.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

const IndexChain OCppPyArray::s_noSubscripts;

void raiseTooManyIndices() {
    setError(PyExc_RuntimeError, "too many indices.");
}

const data::Array* OCppPyArray::materialised() {
    if (m_snapshot && m_snapshot->array)
        return &*m_snapshot->array;
    std::optional<data::Array> array = materialise(*this);
    if (!array)
        return nullptr;
    if (!m_snapshot)
        m_snapshot = std::make_unique<Snapshot>();
    if (!m_snapshot->array) // the handler of a signal may have been here first
        m_snapshot->array = std::move(array);
    return &*m_snapshot->array;
}

data::impl::ArrayImpl* OCppPyArray::materialisedForNative() {
    const data::Array* array = materialised();
    if (array == nullptr)
        return nullptr;
    if (!m_snapshot->isHandedOut) {
        // Clones and exports made so far share the snapshot and must not see what native code does to it.
        if (array->useCount() > 1) {
            const Layout extents(array->extents(), static_cast<long>(array->getNumberOfElements()),
                                 layout().elementSize());
            m_snapshot->array = copyElements(*array, extents);
        }
        m_snapshot->isHandedOut = true;
    }
    return m_snapshot->array->impl();
}

std::shared_ptr<ODArrayWrapper> OCppPyArray::clonedWrapper() {
    const data::Array* array = materialised();
    if (array == nullptr)
        return nullptr;
    using Reach = ODArrayWrapper::Reach;
    return ODArrayWrapper::adopt(data::Array(*array), m_snapshot->isHandedOut ? Reach::Native : Reach::PythonOnly);
}

ODArrayWrapper* OCppPyArray::exportSource(bool& isSnapshot) {
    isSnapshot = !chain().isEmpty();
    if (!isSnapshot)
        return m_wrapper.get();
    if (!m_snapshot || !m_snapshot->exported) {
        std::shared_ptr<ODArrayWrapper> wrapper = clonedWrapper();
        if (!wrapper)
            return nullptr;
        if (!m_snapshot->exported) // the handler of a signal may have exported it, and what has been stays
            m_snapshot->exported = std::move(wrapper);
    }
    return m_snapshot->exported.get();
}

} // namespace orvane::python
