// For nanobind: bound functions take and return `orvane::data::TypedArray<T>`.
//
// An argument must be an array of exactly that type, real or complex as `T` is; anything else is the TypeError of
// nanobind, which shows the signature. Arguments are lent and results taken over, as orvane/python.hpp tells at
// `fromPython` and `toPython`; by value and by constant reference come to the same.
#pragma once

#include <orvane/python.hpp>

#include <nanobind/nanobind.h>

#include <cstdint>
#include <optional>
#include <utility>

namespace nanobind::detail {

template <orvane::python::PythonElement T>
struct type_caster<orvane::data::TypedArray<T>> {
    using Value = orvane::data::TypedArray<T>;

    static constexpr auto Name = const_name(orvane::python::detail::PythonTypeName<T>::text);
    template <class Wanted>
    using Cast = movable_cast_t<Wanted>;
    template <class Wanted>
    static constexpr bool can_cast() {
        return true;
    }

    bool from_python(handle source, uint32_t, cleanup_list*) noexcept {
        namespace python = orvane::python;
        python::detail::sleepIfEnded([&] {
            try {
                m_array = python::tryFromPython<T>(source.ptr());
            } catch (python::detail::ThreadEnd&) {
                throw;
            } catch (...) {
                // Nothing but "no" can be said from here: a view that cannot be gathered, or want of memory.
                PyErr_Clear();
            }
        });
        return m_array.has_value();
    }

    static handle from_cpp(Value array, rv_policy, cleanup_list*) noexcept {
        return orvane::python::guarded([&] { return orvane::python::toPython(std::move(array)); });
    }

    explicit operator Value*() { return &*m_array; }
    explicit operator Value&() { return *m_array; }
    explicit operator Value&&() { return *std::move(m_array); }

private:
    std::optional<Value> m_array;
};

} // namespace nanobind::detail
