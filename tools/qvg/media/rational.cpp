#include "media/rational.h"

#include <cmath>

namespace qvgtool {

int64_t Rescaled(int64_t time, Rational from, Rational to) {
  __extension__ using Wide = __int128;
  const Wide over = Wide{time} * from.num * to.den, under = Wide{from.den} * to.num;
  const Wide half = under / 2;
  return static_cast<int64_t>((over < 0 ? over - half : over + half) / under);
}

// By the continued fraction of the value.
Rational NearestRational(double value, int largest) {
  int64_t num = 1, den = 0, lastNum = 0, lastDen = 1;
  for (double rest = value;;) {
    const double whole = std::floor(rest);
    const double nextNum = whole * static_cast<double>(num) + static_cast<double>(lastNum);
    const double nextDen = whole * static_cast<double>(den) + static_cast<double>(lastDen);
    if (nextNum > largest || nextDen > largest) break;
    lastNum = num;
    lastDen = den;
    num = static_cast<int64_t>(nextNum);
    den = static_cast<int64_t>(nextDen);
    const double left = rest - whole;
    if (left < 1e-9 || std::abs(value - static_cast<double>(num) / static_cast<double>(den)) < 1e-12 * value) break;
    rest = 1 / left;
  }
  return {static_cast<int>(num), static_cast<int>(den)};
}

}  // namespace qvgtool
