#include "data_client/adjustable_entry.hpp"

#include "function_table.hpp"

namespace {

constexpr int noNumber = -1;

int adjustedNumber = noNumber;
void* adjustedFunction = nullptr;
int numberOfQuestions = 0;

} // namespace

void* get_function_ptr(int number) noexcept {
    ++numberOfQuestions;
    return number == adjustedNumber ? adjustedFunction : orvane::data::functionAddress(number);
}

AdjustedEntry::AdjustedEntry(FunctionType number, void* function) {
    adjustedNumber = static_cast<int>(number);
    adjustedFunction = function;
    numberOfQuestions = 0;
}

AdjustedEntry::~AdjustedEntry() {
    adjustedNumber = noNumber;
}

int AdjustedEntry::questions() const {
    return numberOfQuestions;
}
