// What the converters for binding libraries have in common.
#pragma once

#include <orvane/data.hpp>
#include <orvane/python/array_object.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/from_python.hpp>
#include <orvane/python/loan.hpp>
#include <orvane/python/own_copy.hpp>
#include <orvane/python/reference.hpp>
#include <orvane/python/shaped_loan.hpp>
#include <orvane/python/to_python.hpp>
#include <orvane/python/vector.hpp>

#include <cstddef>
#include <optional>
#include <span>
#include <type_traits>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {

namespace detail {

/// A new Python object that gives a loan back when it goes.
template <class T>
Reference keeperOf(LentElements<T> loan) {
    const OrvaneLoan* const bare = loan.release();
    Reference keeper(PyCapsule_New(const_cast<OrvaneLoan*>(bare), nullptr, [](PyObject* capsule) {
        exchangeSlot()->giveBack(static_cast<const OrvaneLoan*>(PyCapsule_GetPointer(capsule, nullptr)));
    }));
    if (!keeper) {
        exchangeSlot()->giveBack(bare);
        throw PythonError();
    }
    return keeper;
}

/// How a parameter of a bound function is had from a Python object, for the types that are one:
///  - `Element`, its element type;
///  - `isResult`, whether functions may return it as well, by `give(std::move(value))`;
///  - `tryTake(object, mayRefuse, keep)`: the value; nothing, without an error set, when another overload may take the
///    object. If all have been asked without conversions, or there is only this one, `mayRefuse`, it may throw the
///    refusal instead, in words. `keep` is called with a reference to what has to live until the bound function has
///    returned.
template <class Value>
struct Argument;

template <PythonElement T>
struct Argument<data::TypedArray<T>> {
    using Element = T;
    static constexpr bool isResult = true;

    static std::optional<data::TypedArray<T>> tryTake(PyObject* object, bool, auto&&) {
        return tryFromPython<T>(object);
    }
    static Reference give(data::TypedArray<T>&& array) { return toPython(std::move(array)); }
};

template <PythonElement T>
struct Argument<OwnCopy<T>> {
    using Element = T;
    static constexpr bool isResult = true;

    static std::optional<OwnCopy<T>> tryTake(PyObject* object, bool, auto&&) {
        return isArray<T>(object) ? std::optional<OwnCopy<T>>(object) : std::nullopt;
    }
    static Reference give(OwnCopy<T>&& array) { return toPython(std::move(array)); }
};

template <PythonElement T>
struct Argument<ArrayObject<T>> {
    using Element = T;
    static constexpr bool isResult = true;

    static std::optional<ArrayObject<T>> tryTake(PyObject* object, bool, auto&&) {
        return isArray<T>(object) ? std::optional<ArrayObject<T>>(object) : std::nullopt;
    }
    static Reference give(ArrayObject<T>&& array) {
        requireArray<T>(array.get()); // an empty one is refused
        return array.release();
    }
};

template <class T>
struct Argument<Vector<T>> {
    using Element = T;
    static constexpr bool isResult = true;

    static std::optional<Vector<T>> tryTake(PyObject* object, bool mayRefuse, auto&&) {
        const auto loan = lendShaped<const T, OneLine<>>(object, mayRefuse);
        if (!loan) {
            return std::nullopt;
        }
        const std::ptrdiff_t stride = OneLine<>::stride(*loan);
        std::optional<Vector<T>> vector(std::in_place);
        vector->reserve(loan->size());
        for (std::size_t i = 0; i < loan->size(); ++i) {
            vector->push_back(loan->data()[static_cast<std::ptrdiff_t>(i) * stride]);
        }
        return vector;
    }
    static Reference give(Vector<T>&& vector) { return toPython(std::move(vector)); }
};

template <class T, std::size_t Rank>
    requires PythonElement<std::remove_const_t<T>>
struct Argument<data::ColumnMajorSpan<T, Rank>> {
    using Element = std::remove_const_t<T>;
    static constexpr bool isResult = false;

    static std::optional<data::ColumnMajorSpan<T, Rank>> tryTake(PyObject* object, bool mayRefuse, auto&& keep) {
        std::optional<LentElements<T>> loan = lendShaped<T, RankAtMost<Rank>>(object, mayRefuse);
        if (!loan) {
            return std::nullopt;
        }
        std::optional<data::ColumnMajorSpan<T, Rank>> span(loan->template span<Rank>());
        keep(keeperOf(*std::move(loan)));
        return span;
    }
};

template <class Value>
concept Convertible = requires { typename Argument<Value>::Element; };

/// The type as signatures show it: "orvane.double[complex]".
template <Convertible Value>
using AnnotationOf = PythonAnnotation<typename Argument<Value>::Element>;

} // namespace detail

} // namespace python
} // namespace orvane
