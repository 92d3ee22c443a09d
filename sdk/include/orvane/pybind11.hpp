// For pybind11: bound functions take and return `orvane::data::TypedArray<T>`.
//
// An argument must be an array of exactly that type, real or complex as `T` is; anything else is the TypeError of
// pybind11, which shows the signature. Arguments are lent and results taken over, as orvane/python.hpp tells at
// `fromPython` and `toPython`; by value and by constant reference come to the same.
//
// Errors that functions of orvane/python.hpp set inside a bound function reach Python as they are.
#pragma once

#include <orvane/python.hpp>

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

template <orvane::python::PythonElement T>
struct type_caster<orvane::data::TypedArray<T>> {
    using Array = orvane::data::TypedArray<T>;

    static constexpr auto name = const_name(orvane::python::detail::PythonAnnotation<T>::text);

    bool load(handle source, bool) {
        return pass([&] {
            m_array = orvane::python::tryFromPython<T>(source.ptr());
            return m_array.has_value();
        });
    }

    static handle cast(Array array, return_value_policy, handle) {
        return pass([&] { return orvane::python::toPython(std::move(array)).release(); });
    }

    template <class Wanted>
    using cast_op_type = movable_cast_op_type<Wanted>;
    operator Array*() { return &*m_array; }
    operator Array&() { return *m_array; }
    operator Array&&() && { return *std::move(m_array); }

private:
    /// Conversions are also asked for by `py::cast`, whose callers know pybind11's own exception.
    template <class Body>
    static auto pass(Body body) {
        try {
            return body();
        } catch (const orvane::python::PythonError&) {
            throw error_already_set();
        }
    }

    std::optional<Array> m_array;
};

} // namespace pybind11::detail
