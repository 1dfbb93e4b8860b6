#include "tester/report/number_text.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <iterator>
#include <system_error>

namespace {

constexpr double C_DegreesPerRadian = 57.29577951308232;
constexpr int C_DegreeDecimals = 6;
constexpr int C_LongestNumber = 384;  // the largest double has 309 digits before its decimal point

constexpr std::uint32_t C_PowersOfTen[] = {1, 10, 100, 1'000, 10'000, 100'000, 1'000'000, 10'000'000, 100'000'000};
constexpr double C_ReadingLimit = 1e9;

bool is_reading(double number, int decimals) {
    return std::fabs(number) < C_ReadingLimit && decimals > 0 && decimals < std::ssize(C_PowersOfTen);
}

// A reading with a few decimals takes half the time of std::to_chars and gets the same digits, those nearest to the
// number's exact value:
// - Below 1e9 the whole part fits into 32 bits, and taking it away is exact: what is left needs no more bits.
// - Let p = fraction * scale without rounding, below 1e8. The computed product is p rounded. Whole numbers of that
//   size are doubles and rounding keeps order, so the product is never below the whole part of p, and reaches the next
//   whole number only where p lies within a rounding error of it. `digits` is therefore the whole part of p or, there,
//   the number that p has to be rounded to anyway.
// - Whether p lies past digits + 1/2 decides the rounding. fma rounds once, after the subtraction, and rounding never
//   changes a sign; nor can the difference vanish, since p is a multiple of the smallest double. So sign and zero of
//   past_half are exact: up, down, or a true half, which goes to the even digit as printf has it.
char* write_reading(char* text, double number, int decimals) {
    const double magnitude = std::fabs(number);
    const std::uint32_t scale = C_PowersOfTen[decimals];
    auto whole = static_cast<std::uint32_t>(magnitude);
    const double fraction = magnitude - whole;
    auto digits = static_cast<std::uint32_t>(fraction * scale);
    const double past_half = std::fma(fraction, scale, -(digits + 0.5));
    if (past_half > 0.0 || (past_half == 0.0 && digits % 2 != 0)) ++digits;
    if (digits == scale) {
        ++whole;
        digits = 0;
    }

    if (std::signbit(number)) *text++ = '-';
    char* const point = std::to_chars(text, text + 10, whole).ptr;
    char* const end = std::to_chars(point, point + 10, scale + digits).ptr;  // a leading 1 keeps the zeros behind it
    *point = '.';
    return end;
}

double folded_degrees(double radians) {
    double degrees = radians * C_DegreesPerRadian;
    if (degrees < 0.0) degrees += 360.0;
    // Angles just under a full turn read better as small negative ones, hence 350 and not 360.
    if (degrees > 350.0) degrees -= 360.0;
    return degrees;
}

}  // namespace

bool append_fixed(std::string& text, double number, int decimals) {
    char digits[C_LongestNumber];
    if (is_reading(number, decimals)) {
        text.append(digits, write_reading(digits, number, decimals));
        return true;
    }
    const auto [end, error] = std::to_chars(digits, digits + sizeof digits, number, std::chars_format::fixed, decimals);
    if (error != std::errc()) return false;
    text.append(digits, end);
    return true;
}

void append_degrees(std::string& text, double radians) {
    append_fixed(text, folded_degrees(radians), C_DegreeDecimals);
}
