#include "construction/initializer_shape.hpp"

#include <utility>

#include "construction/regular_nesting.hpp"
#include "vocabulary/caller_code.hpp"
#include "vocabulary/extents.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"
#include "vocabulary/type_objects.hpp"

namespace orvane::python {

namespace {

/// One item of `size` as an extent. False with an error set.
bool readExtent(PyObject* item, std::size_t& extent) {
    if (!pyObjectIsLong(item)) {
        setError(PyExc_TypeError, "dimensions must be nonnegative integers.");
        return false;
    }
    // Beyond 64 bits the answer is -1 too, and the refusal of negative numbers replaces the overflow.
    const Py_ssize_t value = PyLong_AsSsize_t(item);
    if (value < 0) {
        setError(PyExc_ValueError, "size cannot contain negative dimensions. Use nonnegative integers for dimensions.");
        return false;
    }
    extent = static_cast<std::size_t>(value);
    return true;
}

/// The same of item `i`.
bool readExtent(PyObject* size, Py_ssize_t i, std::size_t& extent) {
    const PyRef item = PyRef::steal(PySequence_GetItem(size, i));
    if (item)
        return readExtent(item.get(), extent);
    if (mayReplaceError())
        PyErr_Format(PyExc_RuntimeError,
                     "Item %zd could not be retrieved from the value associated with the 'size' keyword.", i);
    return false;
}

} // namespace

bool InitializerShape::processSizeKwarg(PyObject* size) {
    if (const auto items = exactItems(size); !items.empty() && items.size() <= commonRank) {
        m_sizeDims.resize(items.size(), boost::container::default_init);
        for (std::size_t i = 0; i < items.size(); ++i) {
            if (!readExtent(items[i], m_sizeDims[i]))
                return false;
        }
        completeSizeDims();
        return true;
    }
    if (!PySequence_Check(size)) {
        setError(PyExc_TypeError, "value of 'size' must be a sequence.");
        return false;
    }
    const Py_ssize_t length = PySequence_Size(size);
    if (length < 0)
        return false;
    if (length == 0) {
        setError(PyExc_ValueError, "sequence passed to 'size' must not be empty.");
        return false;
    }

    Dims dims; // grows with what is read: a sequence may lie about its length
    FetchedItemsWatch watch;
    for (Py_ssize_t i = 0; i < length; ++i) {
        std::size_t extent = 0;
        if (!watch.pass() || !readExtent(size, i, extent))
            return false;
        if (dims.size() == extentsReadOnTrust)
            dims.reserve(static_cast<std::size_t>(length));
        dims.push_back(extent);
    }
    m_sizeDims = std::move(dims);
    completeSizeDims();
    return true;
}

void InitializerShape::completeSizeDims() {
    if (m_sizeDims.size() == 1)
        m_sizeDims.insert(m_sizeDims.begin(), 1);
    dropTrailingOnes(m_sizeDims);
}

std::optional<std::size_t> InitializerShape::getNumberOfElements() const noexcept {
    std::size_t product = 1;
    bool isEmpty = false;
    bool overflowed = false;
    for (const std::size_t extent : governingDims()) {
        isEmpty |= extent == 0;
        overflowed |= __builtin_mul_overflow(product, extent, &product);
    }
    if (isEmpty)
        return 0;
    return overflowed ? std::nullopt : std::optional(product);
}

bool InitializerShape::completeOneDimensionalDims(std::size_t elementCount) {
    if (m_initializerDims.size() != 1)
        return true;
    if (!isSizeGiven()) {
        const std::size_t length = m_initializerDims.front();
        m_initializerDims = {length != 0 ? std::size_t{1} : std::size_t{0}, length};
        return true;
    }
    if (getNumberOfElements() == elementCount)
        return true;
    raiseDisagreement(OCPyError::shapeErr);
    return false;
}

InitializerShape::Agreement InitializerShape::agreementWithSize() const noexcept {
    if (!isSizeGiven() || m_sizeDims == m_initializerDims)
        return Agreement::Agrees;
    const auto wanted = checkedProduct(asSpan(m_sizeDims));
    if (wanted != checkedProduct(asSpan(m_initializerDims)))
        return Agreement::WrongCount;
    if (m_initializerDims.size() == 1 || wanted == 0)
        return Agreement::Agrees;
    return Agreement::WrongShape;
}

bool InitializerShape::checkInitializerDimsAgainstSize() const {
    switch (agreementWithSize()) {
    case Agreement::Agrees:
        return true;
    case Agreement::WrongCount:
        raiseDisagreement(OCPyError::shapeErr);
        return false;
    case Agreement::WrongShape:
        raiseDisagreement(OCPyError::sizeErr);
        return false;
    }
    return false;
}

std::string InitializerShape::dimsToString(const Dims& dims) {
    std::string text;
    for (const std::size_t extent : dims) {
        if (!text.empty())
            text += ", ";
        text += std::to_string(extent);
    }
    return text;
}

void InitializerShape::dropTrailingOnes(Dims& dims) {
    while (dims.size() > 2 && dims.back() == 1)
        dims.pop_back();
}

void InitializerShape::raiseDisagreement(PyObject* exceptionType) const {
    setError(exceptionType, "dimensions of initializer (" + dimsToString(m_initializerDims) +
                                ") do not match dimensions specified by 'size' (" + dimsToString(m_sizeDims) + ").");
}

} // namespace orvane::python
