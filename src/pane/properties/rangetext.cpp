#include "rangetext.h"

#include <QLocale>

#include <cctype>
#include <charconv>
#include <cmath>
#include <limits>
#include <string>

namespace tavix {

std::int32_t leadingIntegerValue(const QString &text) {
    const std::string s = text.toStdString();
    std::size_t i = 0;
    while (i < s.size() && (s[i] == ' ' || s[i] == '\t' || s[i] == '\n' || s[i] == '\r')) {
        ++i;
    }
    bool negative = false;
    if (i < s.size() && (s[i] == '+' || s[i] == '-')) {
        negative = s[i] == '-';
        ++i;
    }
    // Only digits or a decimal point start a number ("inf" and "nan" do not).
    if (i >= s.size() || !(std::isdigit(static_cast<unsigned char>(s[i])) || s[i] == '.')) {
        return 0;
    }
    // from_chars reads digits, fraction and exponent without a sign, independent of the locale.
    double magnitude = 0.0;
    const auto result =
        std::from_chars(s.data() + i, s.data() + s.size(), magnitude, std::chars_format::general);
    if (result.ec == std::errc::invalid_argument) {
        return 0;
    }
    if (result.ec == std::errc::result_out_of_range) {
        // Overflowed to infinity or underflowed to zero: decide by the exponent's sign.
        const std::string rest(s.data() + i, result.ptr);
        const auto e = rest.find_first_of("eE");
        const bool tiny = e != std::string::npos && e + 1 < rest.size() && rest[e + 1] == '-';
        magnitude = tiny ? 0.0 : std::numeric_limits<double>::infinity();
    }
    if (std::isnan(magnitude)) {
        return 0;
    }
    const double value = negative ? -magnitude : magnitude;
    if (value >= 2147483647.0) {
        return std::numeric_limits<std::int32_t>::max();
    }
    if (value <= -2147483648.0) {
        return std::numeric_limits<std::int32_t>::min();
    }
    return static_cast<std::int32_t>(value);  // truncates toward zero
}

bool rangeFormatterAccepts(const QString &text, int minimum, int maximum) {
    const QString trimmed = text.trimmed();
    if (trimmed.isEmpty()) {
        return true;
    }
    bool ok = false;
    double value = QLocale::c().toDouble(trimmed, &ok);
    if (!ok) {
        value = QLocale().toDouble(trimmed, &ok);
    }
    return ok && std::isfinite(value) && value >= minimum && value <= maximum;
}

}  // namespace tavix
