// Memory that exporters of buffers show.
#pragma once

#include <orvane/python.hpp>

#include <memory>

namespace orvane::bridge {

/// Memory that an exporter shows for as long as this lives, in one description, asked for once. Of a memoryview another
/// one has it, which does not hinder that from being released; and cannot be released itself, by who comes upon it
/// among the objects that the garbage collector knows.
class ShownMemory {
public:
    /// Throws the exporter's error; ValueError for what cannot be true, such as a length that is not that of the
    /// extents.
    explicit ShownMemory(PyObject* exporter);

    const Py_buffer& operator*() const noexcept { return *m_buffer; }

private:
    struct Release {
        void operator()(Py_buffer* buffer) const noexcept;
    };
    std::unique_ptr<Py_buffer, Release> m_buffer; ///< stays in its place, as its extents may lie in it
};

/// A new reference to the type `Shown`; null with an error set.
PyObject* makeShownType();

} // namespace orvane::bridge
