// For extension modules that exchange arrays with other libraries as DLPack tensors, in the memory of the CPU.
//
// | from                                 | to                     | by                                          |
// |--------------------------------------|------------------------|---------------------------------------------|
// | elements that Python has lent        | a tensor               | `toDlpack(std::move(loan))`                 |
// | an array of C++                      | a tensor               | `toDlpack(std::move(array))`                |
// | a tensor                             | a Python array         | `fromDlpack(std::move(tensor))`             |
// | a tensor                             | a capsule              | `toDlpackCapsule(std::move(tensor))`        |
// | a Python array or view               | a capsule              | `toDlpackCapsule(object, request)`          |
// | a capsule                            | a Python array         | `fromDlpackCapsule(capsule)`                |
//
// Tensors are of version 1, or of the older form where that is asked for: `toDlpack<dlpack::ManagedTensor>(...)`. Every
// function needs the interpreter lock. A tensor that was made here may be dropped on any thread, with the lock or
// without; what a deleter of others needs is theirs to say.
#pragma once

#include <orvane/python.hpp>

#include <orvane/python/dlpack_abi.hpp>
#include <orvane/python/dlpack_array.hpp>
#include <orvane/python/dlpack_capsule.hpp>
#include <orvane/python/dlpack_tensor.hpp>
