// Elements of arrays lent to native code.
#pragma once

#include <orvane/exchange.h>

namespace OCPyArrayAPI {

/// What `OrvaneExchange::lend` tells.
const OrvaneLoan* lend(PyObject* array, unsigned flags);

/// What `OrvaneExchange::giveBack` tells.
void giveBack(const OrvaneLoan* loan) noexcept;

/// Does what is left of loans that were given back without the interpreter lock. With the lock, before anything that
/// shows whether a loan is still open: code of others may run.
void settleReturnedLoans();

} // namespace OCPyArrayAPI
