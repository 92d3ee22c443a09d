#include "protocol/methods.hpp"

#include <cstring>

#include "core/array_object.hpp"
#include "core/element_access.hpp"
#include "data_client/array_factory.hpp"
#include "vocabulary/boundary.hpp"
#include "vocabulary/py_ref.hpp"
#include "vocabulary/python_values.hpp"

namespace orvane::python {

namespace {

enum class Part { Real, Imaginary, Whole };

/// From this many bytes on elements are taken from four places at a time. Each is a stretch of memory that the
/// processor sees being read and reads ahead of, so that more is on its way than for one.
constexpr unsigned long severalPlacesFrom = 4UL << 20;

/// Puts one part of each of `count` elements, or all of them where they are real, next to each other.
template <class T>
void copyParts(RealElement<T>* target, const std::byte* source, unsigned long count) {
    using Real = RealElement<T>;
    if constexpr (std::is_same_v<T, Real> && !std::is_same_v<T, bool>) {
        if (count > 0)
            std::memcpy(target, source, count * sizeof(T));
        return;
    }
    constexpr unsigned long places = 4;
    constexpr unsigned long together = 64 / sizeof(Real);
    const unsigned long distance = count * sizeof(T) < severalPlacesFrom ? 0 : count / places / together * together;
    const auto copy = [=](unsigned long start, unsigned long length) {
        for (unsigned long i = start; i < start + length; ++i)
            target[i] = loadElement<Real>(source + i * sizeof(T));
    };
    for (unsigned long i = 0; i < distance; i += together) {
        for (unsigned long place = 0; place < places; ++place)
            copy(place * distance + i, together);
    }
    copy(places * distance, count - places * distance);
}

/// A 1-by-N wrapper around the wanted part of every element, in storage order.
template <class T>
std::shared_ptr<ODArrayWrapper> extractContents(ODArrayWrapper& wrapper, Part part) {
    using Real = RealElement<T>;
    const auto count = static_cast<unsigned long>(wrapper.layout()->elementCount());
    data::ArrayFactory factory;
    auto buffer = factory.createBuffer<Real>(count);
    copyParts<T>(buffer.get(), wrapper.dataElements() + (part == Part::Imaginary ? sizeof(Real) : 0), count);
    return ODArrayWrapper::adopt(
        factory.createArrayFromBuffer<Real>({1, count}, std::move(buffer), data::MemoryLayout::ColumnMajor));
}

PyObject* extractedRow(PyObject* self, Part part) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    if (core->isComplex() != (part != Part::Whole)) {
        setError(PyExc_ValueError, part == Part::Whole ? "noncomplex() must not be called on a complex array."
                                                       : "real() and imag() can be called only on a complex array.");
        return nullptr;
    }
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&] {
        const OCppPyArray extracted(
            visitElementTypeOf(*core, [&]<class T>() { return extractContents<T>(core->wrapper(), part); }),
            core->supportedArrayEnum(), false);
        return newSubarrayObject(extracted, 0);
    });
}

} // namespace

PyObject* OCPyArray_Clone(PyObject* self, PyObject*) {
    OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&]() -> PyObject* {
        std::shared_ptr<ODArrayWrapper> wrapper = core->clonedWrapper();
        return wrapper ? newArrayObject(*core, std::move(wrapper), core->isComplex()) : nullptr;
    });
}

PyObject* OCPyArray_Real(PyObject* self, PyObject*) {
    return extractedRow(self, Part::Real);
}

PyObject* OCPyArray_Imag(PyObject* self, PyObject*) {
    return extractedRow(self, Part::Imaginary);
}

PyObject* OCPyArray_Noncomplex(PyObject* self, PyObject*) {
    return extractedRow(self, Part::Whole);
}

PyObject* OCPyArray_BufferInfo(PyObject* self, PyObject*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    return withMemoryErrors(static_cast<PyObject*>(nullptr), [&]() -> PyObject* {
        PyRef address = PyRef::steal(PyLong_FromVoidPtr(core->wrapper().pinElements(false)));
        PyRef count = PyRef::steal(PyLong_FromSsize_t(core->layout().elementCount()));
        return address && count ? PyTuple_Pack(2, address.get(), count.get()) : nullptr;
    });
}

PyObject* OCPyArray_GetBytewiseStrides(PyObject* self, PyObject*) {
    const OCppPyArray* core = requireCoreArray(self);
    if (core == nullptr)
        return nullptr;
    const std::shared_ptr<const Layout> layout = core->wrapper().layout();
    PyRef strides = PyRef::steal(PyTuple_New(static_cast<Py_ssize_t>(layout->rank())));
    for (std::size_t d = 0; strides && d < layout->rank(); ++d) {
        PyObject* stride = PyLong_FromSsize_t(layout->bytewiseStrides()[d]);
        if (stride == nullptr)
            return nullptr;
        PyTuple_SET_ITEM(strides.get(), static_cast<Py_ssize_t>(d), stride);
    }
    return strides.release();
}

PyObject* OCPyArray_ToMemoryView(PyObject* self, PyObject*) {
    return PyMemoryView_FromObject(self);
}

} // namespace orvane::python
