// For nanobind: bound functions take and return `orvane::data::TypedArray<T>`.
//
// An argument must be an array of exactly that type, real or complex as `T` is; anything else is the TypeError of
// nanobind, which shows the signature. Arguments are lent and results taken over, as orvane/python.hpp tells at
// `fromPython` and `toPython`; by value and by constant reference come to the same.
//
// Errors that functions of orvane/python.hpp set inside a bound function reach Python as they are.
#pragma once

#include <orvane/python.hpp>

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

template <orvane::python::PythonElement T>
struct type_caster<orvane::data::TypedArray<T>> {
    using Value = orvane::data::TypedArray<T>;

    static constexpr auto Name = const_name(orvane::python::detail::PythonAnnotation<T>::text);
    template <class Wanted>
    using Cast = movable_cast_t<Wanted>;

    /// The object may be of the right type and yet not to be had: a view that cannot be gathered, or want of memory.
    /// That can be said only when the value is asked for; the error is put aside until then.
    bool from_python(handle source, uint32_t, cleanup_list*) noexcept {
        namespace python = orvane::python;
        python::detail::sleepIfEnded([&] {
            try {
                m_array = python::tryFromPython<T>(source.ptr());
            } catch (const python::PythonError&) {
                m_fault = std::make_exception_ptr(python_error());
            } catch (python::detail::ThreadEnd&) {
                throw;
            } catch (...) {
                m_fault = std::current_exception();
            }
        });
        return m_array || m_fault;
    }

    static handle from_cpp(Value array, rv_policy, cleanup_list*) noexcept {
        namespace python = orvane::python;
        PyObject* object = nullptr;
        python::detail::sleepIfEnded(
            [&] { object = python::guarded([&] { return python::toPython(std::move(array)); }); });
        return object;
    }

    template <class Wanted>
    bool can_cast() const noexcept {
        return m_array.has_value();
    }

    explicit operator Value*() { return &value(); }
    explicit operator Value&() { return value(); }
    explicit operator Value&&() { return std::move(value()); }

private:
    Value& value() {
        if (m_fault) {
            std::rethrow_exception(m_fault);
        }
        return *m_array;
    }

    std::optional<Value> m_array;
    std::exception_ptr m_fault;
};

} // namespace nanobind::detail
