// Fractions: rates, time units, pixel aspect ratios.
#pragma once

#include <cstdint>

namespace qvgtool {

struct Rational {
  int num = 0, den = 1;
  bool operator==(const Rational&) const = default;
};

inline double Value(Rational q) { return static_cast<double>(q.num) / q.den; }
inline Rational Inverse(Rational q) { return {q.den, q.num}; }

/** Converts a time to another unit, rounded to the nearest, halves away from 0. */
int64_t Rescaled(int64_t time, Rational from, Rational to);

/** The nearest fraction whose numerator and denominator don't exceed largest. */
Rational NearestRational(double value, int largest);

}  // namespace qvgtool
