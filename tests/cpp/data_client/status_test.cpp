// From statuses to exceptions.
#include "data_client/throw_if_error.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <vector>

using namespace orvane::data;

using OutOfMemory = detail::ArrayException<orvane::Exception, ExceptionType::OutOfMemory>;
static_assert(std::is_convertible_v<OutOfMemory&, std::exception&>);
static_assert(!std::is_base_of_v<std::runtime_error, OutOfMemory>);

namespace {

template <int Number>
void noteIfItIs(const orvane::Exception& exception, std::vector<int>& numbers) {
    if constexpr (detail::isExceptionType(Number)) {
        if (dynamic_cast<const detail::ArrayException<orvane::Exception, ExceptionType{Number}>*>(&exception)) {
            numbers.push_back(Number);
        }
    }
}

/// The exception classes that a thrown exception is of (one, if all is well), and its message.
struct Thrown {
    std::vector<int> classes;
    std::string message;
};

Thrown thrownFor(int status, const std::string& message = "") {
    Thrown thrown;
    try {
        detail::throwIfError(status, message);
    } catch (const orvane::Exception& exception) {
        [&]<int... Number>(std::integer_sequence<int, Number...>) {
            (noteIfItIs<Number>(exception, thrown.classes), ...);
        }(std::make_integer_sequence<int, 100>{});
        thrown.message = exception.what();
    }
    return thrown;
}

TEST(ThrowIfError, everyStatusHasTheClassOfItsNumberOrIsASystemError) {
    EXPECT_NO_THROW(detail::throwIfError(0, "unread"));
    EXPECT_NO_THROW(detail::throwIfError(0));
    const std::set<int> systemErrors = {std::numeric_limits<int>::min(), -1, 4, 20, 48, 49, 50, 54, 1000};
    for (const int status : systemErrors) {
        EXPECT_EQ(thrownFor(status, "unread").classes, std::vector<int>{20}) << status;
        EXPECT_EQ(thrownFor(status, "unread").message, "System Error.") << status;
    }
    for (int status = 1; status <= 53; ++status) {
        const Thrown thrown = thrownFor(status, "the caller's");
        EXPECT_EQ(thrown.classes, std::vector<int>{systemErrors.contains(status) ? 20 : status}) << status;
        const bool takesMessage = status == 28 || status == 29;
        EXPECT_EQ(thrown.message == "the caller's", takesMessage) << status;
        EXPECT_EQ(thrownFor(status).message.empty(), takesMessage) << status;
    }
}

TEST(ThrowIfError, messagesStandAtTheirStatuses) {
    // One in every stretch of the table, so that a row too many or too few shows.
    EXPECT_EQ(thrownFor(1).message, "Array index is invalid.");
    EXPECT_EQ(thrownFor(19).message, "Not enough memory available to support the request.");
    EXPECT_EQ(thrownFor(26).message, "Number of elements exceeds max.");
    EXPECT_EQ(thrownFor(39).message, "Property not found.");
    EXPECT_EQ(thrownFor(53).message, "Invalid conversion from UTF-16 input to UTF-8 encoding.");
    EXPECT_EQ(thrownFor(23).message + thrownFor(24).message, thrownFor(24).message + thrownFor(25).message);
    EXPECT_EQ(thrownFor(27).message, thrownFor(35).message);
}

} // namespace
