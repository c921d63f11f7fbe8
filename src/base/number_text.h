#pragma once

#include <string>

/// Numbers as text, the same in every locale.

/// The shortest fixed-point form that reads back exactly, with ".0" when whole: 0.3, 8.0, 48000.0.
/// Not-a-number is "nan", infinities are "inf" and "-inf".
std::string shortestDecimal(double value);
std::string shortestDecimal(float value);

/// Like printf's "%.<digits>f" with a decimal point whatever the locale. digits at most 20.
std::string fixedDecimal(double value, int digits);

/// A time as minutes and seconds, "%02d:%02d", truncated to whole seconds; minutes are not folded into hours:
/// 59.9 s is 00:59, 3725 s is 62:05. The seconds must fit a 64-bit integer.
std::string minutesAndSeconds(double seconds);
