#include "protocol/number_text.hpp"

#include <cmath>
#include <cstring>

namespace orvane::python {

namespace {

/// Decimal exponents at which the interpreter's float repr turns to exponent notation: with the point after
/// `decimalPoint` digits, outside (-4, 16].
constexpr int leastPointWithoutExponent = -3;
constexpr int greatestPointWithoutExponent = 16;

constexpr std::size_t longestNumber = 40;

/// Digits and the place of the decimal point of a finite number that is not negative.
struct Decimal {
    char digits[20];
    int count;
    int decimalPoint; ///< the number is 0.digits times ten to this power
};

Decimal shortestDecimal(double value) {
    char scientific[32];
    const char* end =
        std::to_chars(scientific, scientific + sizeof scientific, value, std::chars_format::scientific).ptr;
    Decimal decimal;
    const char* next = scientific;
    decimal.digits[0] = *next++;
    decimal.count = 1;
    if (*next == '.') {
        ++next;
        while (*next != 'e')
            decimal.digits[decimal.count++] = *next++;
    }
    const bool isNegative = next[1] == '-';
    int exponent = 0;
    std::from_chars(next + 2, end, exponent);
    decimal.decimalPoint = (isNegative ? -exponent : exponent) + 1;
    return decimal;
}

char* write(char* out, const char* characters, int count) {
    std::memcpy(out, characters, static_cast<std::size_t>(count));
    return out + count;
}
char* writeZeros(char* out, int count) {
    std::memset(out, '0', static_cast<std::size_t>(count));
    return out + count;
}

char* writeExponentForm(char* out, const Decimal& decimal) {
    *out++ = decimal.digits[0];
    if (decimal.count > 1) {
        *out++ = '.';
        out = write(out, decimal.digits + 1, decimal.count - 1);
    }
    int exponent = decimal.decimalPoint - 1;
    *out++ = 'e';
    *out++ = exponent < 0 ? '-' : '+';
    exponent = std::abs(exponent);
    if (exponent < 10)
        *out++ = '0';
    return std::to_chars(out, out + 4, exponent).ptr;
}

char* writePointForm(char* out, const Decimal& decimal, bool withFraction) {
    const int point = decimal.decimalPoint;
    if (point <= 0) {
        *out++ = '0';
        *out++ = '.';
        out = writeZeros(out, -point);
        return write(out, decimal.digits, decimal.count);
    }
    if (point >= decimal.count) {
        out = write(out, decimal.digits, decimal.count);
        out = writeZeros(out, point - decimal.count);
        return withFraction ? write(out, ".0", 2) : out;
    }
    out = write(out, decimal.digits, point);
    *out++ = '.';
    return write(out, decimal.digits + point, decimal.count - point);
}

/// Writes a number in at most `longestNumber` characters. Whole numbers end in ".0" if `withFraction`.
char* writeDouble(char* out, double value, bool withFraction) {
    if (std::isnan(value))
        return write(out, "nan", 3);
    if (std::signbit(value))
        *out++ = '-';
    value = std::abs(value);
    if (std::isinf(value))
        return write(out, "inf", 3);
    // Whole numbers of up to fifteen digits are their own shortest form.
    if (value < 1e15 && value == std::floor(value)) {
        out = std::to_chars(out, out + 16, static_cast<long long>(value)).ptr;
        return withFraction ? write(out, ".0", 2) : out;
    }
    const Decimal decimal = shortestDecimal(value);
    if (decimal.decimalPoint < leastPointWithoutExponent || decimal.decimalPoint > greatestPointWithoutExponent)
        return writeExponentForm(out, decimal);
    return writePointForm(out, decimal, withFraction);
}

} // namespace

void appendFloat(std::string& text, double value) {
    char number[longestNumber];
    text.append(number, writeDouble(number, value, true));
}

void appendComplex(std::string& text, double real, double imaginary) {
    char number[2 * longestNumber];
    char* end = number;
    const bool isImaginaryAlone = real == 0.0 && !std::signbit(real);
    if (!isImaginaryAlone) {
        *end++ = '(';
        end = writeDouble(end, real, false);
        if (std::isnan(imaginary) || !std::signbit(imaginary))
            *end++ = '+';
    }
    end = writeDouble(end, imaginary, false);
    *end++ = 'j';
    if (!isImaginaryAlone)
        *end++ = ')';
    text.append(number, end);
}

} // namespace orvane::python
