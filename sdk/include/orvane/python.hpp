// For C++ extension modules: arrays from Python objects and back.
//
// Every function of these headers needs the interpreter lock, unless it says otherwise. Faults of the caller's become
// Python errors: functions set the error and throw `PythonError`, and `guarded` turns that, and whatever else C++
// throws, into the null that the interpreter expects.
//
// The namespace is hidden, so that client modules built against different releases never share what lies in it.
#pragma once

#if !defined(__cpp_rtti) || !defined(__cpp_exceptions)
#error "orvane/python.hpp needs run-time type information and exceptions"
#endif

#include <orvane/capsule.h> // has Python.h, which stands before all others

#include <orvane/python/adopt.hpp>
#include <orvane/python/array_object.hpp>
#include <orvane/python/element.hpp>
#include <orvane/python/errors.hpp>
#include <orvane/python/exchange.hpp>
#include <orvane/python/from_python.hpp>
#include <orvane/python/interpreter_lock.hpp>
#include <orvane/python/lend.hpp>
#include <orvane/python/loan.hpp>
#include <orvane/python/module.hpp>
#include <orvane/python/own_copy.hpp>
#include <orvane/python/reference.hpp>
#include <orvane/python/to_python.hpp>
#include <orvane/python/vector.hpp>
