// What the module offers to the package's Python code; `python/orvane/_bridge.pyi` has the Python signatures.
#pragma once

#include <orvane/exchange.h>
#include <orvane/python.hpp>

namespace orvane::bridge {

/// The extension's second table, which the module fetches when it is loaded; it lives as long as the process.
inline constinit const OrvaneExchange* exchange = nullptr;

/// adopt(source, format, size): a new array around the memory of an exporter of buffers, without a copy. It keeps the
/// exporter's buffer until nothing uses the memory any more. Memory that is exported read-only is copied at the first
/// assignment. ValueError when the memory has gaps, is not aligned or is not of that size; TypeError for other formats.
PyObject* adopt(PyObject* module, PyObject* arguments);

/// copy_memory(source, format, size): a new array with elements of its own, which lie in the memory in storage order,
/// be they aligned or not. ValueError when the memory has gaps or is not of that size; TypeError for other formats.
PyObject* copyMemory(PyObject* module, PyObject* arguments);

/// copy(array): a new array with elements of its own, those that an array or view shows. TypeError for what is no
/// array.
PyObject* copy(PyObject* module, PyObject* array);

/// to_capsule(array, versioned, writable, copy): the DLPack tensor of an array or view. BufferError as by
/// `python::toDlpackCapsule`.
PyObject* toCapsule(PyObject* module, PyObject* arguments);

/// from_capsule(capsule, copy): a new array of a DLPack tensor, or a refusal by `python::fromDlpackCapsule`.
PyObject* fromCapsule(PyObject* module, PyObject* arguments);

/// check_capsule(capsule): BufferError for a DLPack tensor whose extents and strides cannot be true, be its elements of
/// a type that arrays have or not. What is no capsule of DLPack's is left to who is handed it.
PyObject* checkCapsule(PyObject* module, PyObject* capsule);

/// A new reference to the type `Elements`; null with an error set.
PyObject* makeElementsType();

} // namespace orvane::bridge
