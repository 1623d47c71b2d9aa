// Values and frames as a careless or broken host passes them; the same seed gives the same ones.
#pragma once

#include <array>
#include <cstdint>
#include <initializer_list>

#include "qvGLRenderer/qvGLRenderer.h"
#include "support/platform.h"

namespace qvg::test {

class Hostile {
 public:
  explicit Hostile(uint64_t seed) : state_(seed * 0x9E3779B97F4A7C15u + 0xD1B54A32D192ED03u) {}

  uint32_t Next();
  int Below(int limit) { return static_cast<int>(Next() % static_cast<uint32_t>(limit)); }
  bool OneIn(int n) { return Below(n) == 0; }
  bool Flag() { return OneIn(2); }
  template <class List>
  auto Pick(const List& list) {
    return *(std::begin(list) + Below(static_cast<int>(std::size(list))));
  }

  /// Any int, mostly the ends of ranges.
  int32_t Integer();
  /// Mostly a small size, otherwise anything.
  int32_t Size() { return OneIn(8) ? Integer() : 1 + Below(24); }
  /// A size of few pixels when both sides are valid.
  std::array<int32_t, 2> Area();
  double Real();
  /// Mostly 0..1.
  double Fraction() { return OneIn(4) ? Real() : Below(256) / 255.0; }
  double Number(double usual) { return OneIn(3) ? Real() : usual; }

 private:
  uint64_t state_;
};

/// Frames whose planes end right before unreadable memory. A frame's memory stays until the next one.
class HostileFrames {
 public:
  struct Frame {
    QVGPixelBuffer buffer = {};
    bool valid = false;  ///< By the header's rules; only then the planes exist as described.
  };
  Frame Make(Hostile& random, int format, int maxSize);

 private:
  static constexpr int64_t kMostBytes = 65536;
  std::array<GuardedBlock, 3> blocks_ = {GuardedBlock(kMostBytes), GuardedBlock(kMostBytes), GuardedBlock(kMostBytes)};
};

}  // namespace qvg::test
