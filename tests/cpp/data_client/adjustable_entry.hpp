// An entry that tests can adjust: it withholds functions, puts others in their place, and counts how often
// it was asked.
#pragma once

#include <orvane_data_array/boundary.hpp>

/// Has effect on call sites that have not yet resolved their function: each keeps what it got.
class AdjustedEntry {
public:
    using FunctionType = orvane::data::detail::FunctionType;

    /// Answers null for the number, until the adjustment ends.
    static AdjustedEntry withholding(FunctionType number) { return {number, nullptr}; }
    /// Answers with another function for the number, until the adjustment ends.
    template <FunctionType Number>
    static AdjustedEntry offering(orvane::data::detail::BoundaryPointer<Number> function) {
        return {Number, reinterpret_cast<void*>(function)};
    }

    AdjustedEntry(const AdjustedEntry&) = delete;
    AdjustedEntry& operator=(const AdjustedEntry&) = delete;
    ~AdjustedEntry();

    /// How often any number was asked for since the adjustment began.
    int questions() const;

private:
    AdjustedEntry(FunctionType number, void* function);
};
