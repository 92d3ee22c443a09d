// From statuses to exceptions.
#include "data_client/throw_if_error.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>

using namespace orvane::data;

using OutOfMemory = detail::ArrayException<orvane::Exception, ExceptionType::OutOfMemory>;
static_assert(std::is_convertible_v<OutOfMemory&, std::exception&>);
static_assert(!std::is_base_of_v<std::runtime_error, OutOfMemory>);

namespace {

/// The number of the exception class that a status is thrown as, and the message.
std::pair<int, std::string> thrownFor(int status, const std::string& message = "") {
    int thrownClass = 0;
    try {
        detail::throwIfError(status, message);
    } catch (const orvane::Exception& exception) {
        const auto noteIfItIs = [&]<int Number>(std::integral_constant<int, Number>) {
            if constexpr (detail::isExceptionType(Number)) {
                using Class = detail::ArrayException<orvane::Exception, ExceptionType{Number}>;
                thrownClass += dynamic_cast<const Class*>(&exception) != nullptr ? Number : 0;
            }
        };
        [&]<int... Number>(std::integer_sequence<int, Number...>) {
            (noteIfItIs(std::integral_constant<int, Number>()), ...);
        }(std::make_integer_sequence<int, 100>{});
        return {thrownClass, exception.what()};
    }
    return {};
}

TEST(ThrowIfError, everyStatusHasTheClassOfItsNumberOrIsASystemError) {
    EXPECT_EQ(thrownFor(0, "unread"), std::pair(0, std::string()));
    const std::set<int> systemErrors = {std::numeric_limits<int>::min(), -1, 4, 20, 48, 49, 50, 54, 1000};
    for (const int status : systemErrors) {
        EXPECT_EQ(thrownFor(status, "unread"), std::pair(20, std::string("System Error."))) << status;
    }
    for (int status = 1; status <= 53; ++status) {
        const auto thrown = thrownFor(status, "the caller's");
        EXPECT_EQ(thrown.first, systemErrors.contains(status) ? 20 : status);
        const bool takesMessage = status == 28 || status == 29;
        EXPECT_EQ(thrown.second == "the caller's", takesMessage) << status;
        EXPECT_EQ(thrownFor(status).second.empty(), takesMessage) << status;
    }
    // One in every stretch of the table, so that a row too many or too few shows.
    EXPECT_EQ(thrownFor(1).second, "Array index is invalid.");
    EXPECT_EQ(thrownFor(19).second, "Not enough memory available to support the request.");
    EXPECT_EQ(thrownFor(26).second, "Number of elements exceeds max.");
    EXPECT_EQ(thrownFor(39).second, "Property not found.");
    EXPECT_EQ(thrownFor(53).second, "Invalid conversion from UTF-16 input to UTF-8 encoding.");
    EXPECT_EQ(thrownFor(23).second + thrownFor(24).second, thrownFor(24).second + thrownFor(25).second);
    EXPECT_EQ(thrownFor(27).second, thrownFor(35).second);
}

} // namespace
