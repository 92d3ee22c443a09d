// Vectors of C++ as parameters and results of bound functions.
#pragma once

#include <orvane/python/adopt.hpp>
#include <orvane/python/element.hpp>

#include <cstddef>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

/// A `std::vector` that is an array in Python. As a parameter of a bound function it has a copy of the elements of an
/// array of one extent other than 1 at most; as a result it becomes an array without a copy, a row unless extents are
/// told.
///
/// It is a type of its own because `std::vector` belongs to the binding libraries: the headers pybind11/stl.h and
/// nanobind/stl/vector.h make it a list, and a program may not have both.
template <PythonElement T>
    requires(!std::is_same_v<T, bool>) // those of `std::vector<bool>` are no elements in memory
class Vector : public std::vector<T> {
public:
    using std::vector<T>::vector;
    Vector() = default;
    /// The extents' product has to be the number of elements. A vector that is moved in can still be asked for its size
    /// in the extents, in whatever order the arguments are worked out.
    Vector(std::vector<T>&& elements, std::vector<std::size_t> extents = {})
        : std::vector<T>(std::move(elements)), m_extents(std::move(extents)) {}
    Vector(const std::vector<T>& elements, std::vector<std::size_t> extents = {})
        : std::vector<T>(elements), m_extents(std::move(extents)) {}

    /// What Python's array is going to have: empty for a row.
    const std::vector<std::size_t>& extents() const noexcept { return m_extents; }

private:
    std::vector<std::size_t> m_extents;
};

/// Takes the vector over, without a copy; ValueError when its extents make another number of elements.
template <class T>
Reference toPython(Vector<T>&& vector) {
    std::vector<std::size_t> extents = vector.extents();
    return toPython(static_cast<std::vector<T>&&>(vector), std::move(extents));
}

} // namespace python
} // namespace orvane
