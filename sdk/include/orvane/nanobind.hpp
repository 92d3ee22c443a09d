// For nanobind: parameters and results of bound functions.
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
// nanobind, which shows the signature.
//
// Eigen's types and `std::mdspan` have headers of their own: orvane/eigen.hpp and orvane/mdspan.hpp.
//
// Errors that functions of orvane/python.hpp set inside a bound function reach Python as they are.
#pragma once

#include <orvane/python.hpp>
#include <orvane/python/argument.hpp>

#include <nanobind/nanobind.h>

#include <cstdint>
#include <exception>
#include <optional>
#include <utility>

namespace orvane {
namespace [[gnu::visibility("hidden")]] python {
namespace detail {

inline void registerWithNanobind() {
    nanobind::register_exception_translator([](const std::exception_ptr& exception, void*) { translate(exception); });
}

inline const RegisterTranslator nanobindTranslator = pendingTranslator = registerWithNanobind;

} // namespace detail
} // namespace python
} // namespace orvane

namespace nanobind::detail {

template <orvane::python::detail::Convertible Value_>
struct type_caster<Value_> {
    using Value = Value_;
    using Argument = orvane::python::detail::Argument<Value>;

    static constexpr auto Name = const_name(orvane::python::detail::AnnotationOf<Value>::text);
    template <class Wanted>
    using Cast = movable_cast_t<Wanted>;

    /// The object may be of the right type and yet not to be had: a view that cannot be gathered, or want of memory.
    /// That can be said only when the value is asked for; the error is put aside until then. So can a refusal in words
    /// once nanobind asks with `convert`: it does when all overloads have been asked without.
    bool from_python(handle source, uint32_t flags, cleanup_list* cleanup) noexcept {
        namespace python = orvane::python;
        m_value.reset(); // those of containers ask one caster for all elements
        m_fault = nullptr;
        if (!Argument::isResult && (cleanup == nullptr || (flags & static_cast<uint32_t>(cast_flags::manual)) != 0)) {
            return false; // `nb::cast`: the loan would be given back before the span is used
        }
        python::detail::sleepIfEnded([&] {
            try {
                const auto keep = [&](python::Reference object) { cleanup->append(object.release()); };
                const bool mayRefuse = (flags & static_cast<uint32_t>(cast_flags::convert)) != 0;
                if (auto taken = Argument::tryTake(source.ptr(), mayRefuse, keep)) {
                    m_value.emplace(*std::move(taken));
                }
            } catch (const python::PythonError& error) {
                error.restore();
                m_fault = std::make_exception_ptr(python_error());
            } catch (python::detail::ThreadEnd&) {
                throw;
            } catch (...) {
                m_fault = std::current_exception();
            }
        });
        return m_value || m_fault;
    }

    static handle from_cpp(Value value, rv_policy, cleanup_list*) noexcept {
        namespace python = orvane::python;
        static_assert(Argument::isResult, "a span does not own its elements: return an array");
        PyObject* object = nullptr;
        python::detail::sleepIfEnded(
            [&] { object = python::guarded([&] { return Argument::give(std::move(value)); }); });
        return object;
    }

    template <class Wanted>
    bool can_cast() const noexcept {
        return m_value.has_value();
    }

    explicit operator Value*() { return &value(); }
    explicit operator Value&() { return value(); }
    explicit operator Value&&() { return std::move(value()); }

private:
    Value& value() {
        if (m_fault) {
            std::rethrow_exception(m_fault);
        }
        return *m_value;
    }

    std::optional<Value> m_value;
    std::exception_ptr m_fault;
};

/// What `adoptBlock`, `fromDlpack` and the like give, as a result: the signature says no more than that it is an
/// object.
template <>
struct type_caster<orvane::python::Reference> {
    using Value = orvane::python::Reference;
    static constexpr auto Name = const_name("object");
    static handle from_cpp(Value value, rv_policy, cleanup_list*) noexcept { return value.release(); }
};

} // namespace nanobind::detail
