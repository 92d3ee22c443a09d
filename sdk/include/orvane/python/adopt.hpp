// Python arrays around memory that C++ has.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/exchange.hpp>
#include <orvane/python/reference.hpp>

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <memory>
#include <type_traits>
#include <utility>
#include <vector>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// As the table takes them. ValueError for those that no memory has.
inline std::vector<std::ptrdiff_t> signedExtents(const std::vector<std::size_t>& extents) {
    if (!std::ranges::all_of(extents, [](std::size_t extent) { return std::in_range<std::ptrdiff_t>(extent); })) {
        PyErr_SetString(PyExc_ValueError, "the block cannot be as large as its extents make it.");
        throw PythonError();
    }
    return {extents.begin(), extents.end()};
}

/// A new Python array around a block whose elements have that number; the rest as by `adoptBlock`.
template <class Owner>
Reference adopt(void* elements, int type, const std::vector<std::ptrdiff_t>& extents, bool isReadOnly, Owner owner) {
    auto kept = std::make_unique<Owner>(std::move(owner));
    OrvaneBlock block{};
    block.size = sizeof block;
    block.elements = elements;
    block.type = type;
    block.rank = static_cast<int>(extents.size());
    block.extents = extents.data();
    block.isReadOnly = isReadOnly;
    block.release = [](void* object) { delete static_cast<Owner*>(object); };
    const OrvaneExchange& table = exchange();
    block.owner = kept.release();
    Reference array(table.arrayFromBlock(&block));
    if (!array) {
        throw PythonError();
    }
    return array;
}

} // namespace detail

/// A new Python array around a block, without a copy. `owner` is whatever keeps the block: a vector that was moved in,
/// a `std::shared_ptr`, a `Reference` to a Python object, a guard of your own whose destructor frees. It is destroyed,
/// with the interpreter lock held, when the array and all that shares or shows its block have gone: clones, views,
/// exports and loans; or before this throws. What can be called, with the block's address or without arguments, is a
/// deleter: it is called then, once, unless the address is null. Nothing of it must throw.
///
/// The elements stand in column-major order. One extent makes a row; extents of 1 beyond the second are dropped at the
/// end. `const T` says that the block must not be written to: the first assignment from Python takes a copy.
///
/// ValueError for a block that is null and has elements, is not aligned, or would be larger than memory can be,
/// ImportError when the package at hand is too old.
// The owner comes by reference: `adoptBlock(vector.data(), {1, vector.size()}, std::move(vector))` may have its
// arguments worked out in any order, and a parameter by value would take the vector before it is asked.
template <class T, class Owner>
    requires PythonElement<std::remove_const_t<T>> && std::constructible_from<std::decay_t<Owner>, Owner>
Reference adoptBlock(T* elements, const std::vector<std::size_t>& extents, Owner&& owner) {
    using Kept = std::decay_t<Owner>;
    static_assert(std::is_nothrow_destructible_v<Kept>, "nobody could handle what an owner throws when it goes");
    if constexpr (std::is_invocable_v<Kept&, T*>) {
        return adoptBlock(elements, extents, std::unique_ptr<T, Kept>(elements, std::forward<Owner>(owner)));
    } else if constexpr (std::is_invocable_v<Kept&>) {
        return adoptBlock(elements, extents, [owner = Kept(std::forward<Owner>(owner))](T*) mutable { owner(); });
    } else {
        static_assert(!std::is_pointer_v<Kept> && !std::is_arithmetic_v<Kept>,
                      "a pointer or a number keeps nothing: of a Python object take a Reference");
        using Element = std::remove_const_t<T>;
        Kept kept(std::forward<Owner>(owner)); // goes with all that is refused
        return detail::adopt(const_cast<Element*>(elements), arrayTypeNumber<Element>, detail::signedExtents(extents),
                             std::is_const_v<T>, std::move(kept));
    }
}

/// A new Python array that takes a vector over, without a copy: a row, or of the extents told, whose product is the
/// vector's size; ValueError otherwise.
template <PythonElement T, class Allocator>
    requires(!std::is_same_v<T, bool>)
Reference toPython(std::vector<T, Allocator>&& elements, std::vector<std::size_t> extents = {}) {
    if (extents.empty()) {
        extents = {1, elements.size()};
    }
    std::size_t count = 1;
    for (const std::size_t extent : extents) {
        count *= extent;
    }
    if (count != elements.size()) {
        PyErr_SetString(PyExc_ValueError, "the vector has another number of elements than the extents make");
        throw PythonError();
    }
    T* const first = elements.data();
    return adoptBlock(first, extents, std::move(elements)); // whose elements stay where they are
}

} // namespace python
} // namespace orvane
