// Finds values with which a screen behind a person disappears and the person stays.
#pragma once

#include <array>
#include <string>
#include <vector>

#include "picture/effect.h"

namespace qvgtool {

struct KeyValues {
  ParamSetting color;
  int64_t similarity, smoothness, spill;  // In thousandths of colour distance, as the effect takes them.

  EffectSettings Settings() const;
  /** As options of qvg process. */
  std::string OptionLine() const;
};

class KeyTuner {
 public:
  /** pictures: upright RGBA frames from all over the clip; they may show different things, or nothing but the screen.
   *  key: the screen's colour, empty to find it along the pictures' left, right and upper borders. Throws Error when no
   *  colour stands out there, or none that can be keyed. */
  KeyTuner(const std::vector<FramePtr>& pictures, const std::string& key);

  /** Throws Error when the screen's colours reach into those of what stands before it. */
  KeyValues Find() const;

 private:
  // How many pixels lie at a distance from the key colour.
  static constexpr int kBins = 1000;
  using Histogram = std::array<double, kBins>;

  static double _Quantile(const Histogram& histogram, double share);
  static double _Threshold(const Histogram& all);
  void _Sort(const std::vector<float>& distances, int width, int height, double threshold, const Frame& rgba);

  ParamSetting color_;
  // Well inside the screen and well inside what stands before it, where no pixel is a mixture of both; of the latter
  // also the sum of colourfulness.
  Histogram screen_ = {}, front_ = {}, colorfulness_ = {};
};

/** The share of the pictures' pixels that these settings make transparent, 0 to 1; settings may lack values. */
double KeyedShare(const Frame& picture, const EffectSettings& settings, const EffectTable& table);

}  // namespace qvgtool
