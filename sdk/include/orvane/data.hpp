// All of the data-array client: handles, the factory, dispatch on the element type, spans. Needs no Python.
#pragma once

#include <orvane/data/array.hpp>
#include <orvane/data/array_factory.hpp>
#include <orvane/data/column_major_span.hpp>
#include <orvane/data/element_types.hpp>
#include <orvane/data/numeric_visitor.hpp>
#include <orvane/data/typed_array.hpp>
