// For pybind11: parameters and results of bound functions.
//
// | parameter                                    | what it is                                              | copies   |
// |----------------------------------------------|---------------------------------------------------------|----------|
// | `data::ColumnMajorSpan<const T>`             | the elements as Python sees them, for reading           | none     |
// | `data::ColumnMajorSpan<T>`                   | the same for writing: in place                          | none     |
// | either with a rank, `<T, 2>`                 | the same for arrays of at most so many dimensions       | none     |
// | `python::OwnCopy<T>`                         | an array of the function's own, to write to and return  | one      |
// | `python::Vector<T>`                          | a `std::vector` of the function's own                   | one      |
// | `python::ArrayObject<T>`                     | the Python array itself, to lend from, keep or return   | none     |
// | `data::TypedArray<T>`                        | an array lent by `fromPython`, to read, pass on or keep | at first |
//
// Arrays and vectors are returned as well, and taken over by `toPython`; an `ArrayObject` and a `Reference` are
// returned as they are. By value and by constant reference come to the same.
//
// A span has the strides of the view that came, and is lent until the bound function has returned. With a fixed rank
// extents of 1 are filled up at the end; where no overload takes more dimensions, TypeError says so. In overloads that
// differ by shapes, and where another argument may have to be converted, say `.noconvert()` of the array: otherwise the
// first one refuses it, with words.
//
// An argument must be an array of exactly that type, real or complex as `T` is; anything else is the TypeError of
// pybind11, which shows the signature.
//
// Eigen's types and `std::mdspan` have headers of their own: orvane/eigen.hpp and orvane/mdspan.hpp.
//
// Errors that functions of orvane/python.hpp set inside a bound function reach Python as they are.
#pragma once

#include <orvane/python.hpp>
#include <orvane/python/argument.hpp>

#include <pybind11/pybind11.h>

#include <exception>
#include <optional>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {
namespace detail {

inline void registerWithPybind11() {
    const pybind11::error_scope pendingErrorAside;
    pybind11::register_local_exception_translator([](std::exception_ptr exception) { translate(exception); });
}

inline const RegisterTranslator pybind11Translator = pendingTranslator = registerWithPybind11;

} // namespace detail
} // namespace python
} // namespace orvane

namespace pybind11::detail {

template <orvane::python::detail::Convertible Value>
struct type_caster<Value> {
    using Argument = orvane::python::detail::Argument<Value>;

    static constexpr auto name = const_name(orvane::python::detail::AnnotationOf<Value>::text);

    /// pybind11 asks with `convert` when all overloads have been asked without, or when there is only one.
    bool load(handle source, bool convert) {
        return pass([&] {
            const auto keep = [](const orvane::python::Reference& object) {
                loader_life_support::add_patient(object.get());
            };
            if (auto taken = Argument::tryTake(source.ptr(), convert, keep)) {
                m_value.emplace(*std::move(taken));
            }
            return m_value.has_value();
        });
    }

    static handle cast(Value value, return_value_policy, handle) {
        static_assert(Argument::isResult, "a span does not own its elements: return an array");
        return pass([&] { return Argument::give(std::move(value)).release(); });
    }

    template <class Wanted>
    using cast_op_type = movable_cast_op_type<Wanted>;
    operator Value*() { return &*m_value; }
    operator Value&() { return *m_value; }
    operator Value&&() && { return *std::move(m_value); }

private:
    /// Conversions are also asked for by `py::cast`, whose callers know pybind11's own exception.
    template <class Body>
    static auto pass(Body body) {
        try {
            return body();
        } catch (const orvane::python::PythonError& error) {
            error.restore();
            throw error_already_set();
        }
    }

    std::optional<Value> m_value;
};

/// What `adoptBlock`, `fromDlpack` and the like give, as a result: the signature says no more than that it is an
/// object.
template <>
struct type_caster<orvane::python::Reference> {
    static constexpr auto name = const_name("object");
    static handle cast(orvane::python::Reference value, return_value_policy, handle) { return value.release(); }
};

} // namespace pybind11::detail
