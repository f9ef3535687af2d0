// How the double-click range text field reads what the user typed.
#pragma once

#include <QString>

#include <cstdint>

namespace tavix {

// The leading numeric part of text (leading white space, an optional sign, digits with an
// optional fraction and exponent), truncated toward zero and saturated to 32 bits; 0 when the
// text does not start with a number. "45.9" reads 45, "12px" 12, "-3.7" -3, "px" 0.
std::int32_t leadingIntegerValue(const QString &text);

// The field's number formatter: accepts text that is empty or only white space (no value), and
// a plain number, written in the C locale or the user's, whose value lies within
// [minimum, maximum]. Everything else is rejected.
bool rangeFormatterAccepts(const QString &text, int minimum, int maximum);

}  // namespace tavix
