// Arrays around blocks of memory that others own.
#pragma once

#include <orvane/exchange.h>

namespace OCPyArrayAPI {

/// What `OrvaneExchange::arrayFromBlock` tells.
PyObject* arrayFromBlock(const OrvaneBlock* block);

} // namespace OCPyArrayAPI
