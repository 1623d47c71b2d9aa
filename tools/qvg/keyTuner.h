// Finds values with which a screen behind a person disappears and the person stays.
#pragma once

#include <optional>

#include "effect.h"

namespace qvgtool {

struct KeyValues {
  ParamSetting color;
  int64_t similarity, smoothness, spill;

  EffectSettings Settings() const;
  /** As options of qvg process. */
  std::string OptionLine() const;
};

class KeyTuner {
 public:
  /** rgba: the frame in which to look. key: the screen's colour, empty to find it along the picture's left, right and
   *  upper border. Throws Error when no colour stands out there. */
  KeyTuner(const Renderer& renderer, const AVFrame& rgba, const std::string& key);

  KeyValues Find();

  /** The keyed picture, RGBA with premultiplied alpha, top row first. */
  FramePtr Keyed(const KeyValues& values) const;

 private:
  struct Counts {
    size_t screenLeft, kept;  // Pixels that aren't transparent: of the screen along the border, of all others.
  };
  Counts _Count(int64_t similarity) const;

  const Renderer& renderer_;
  Texture frame_;
  int width_, height_;
  ParamSetting color_;
  std::vector<size_t> screen_;  // Indices of the border's pixels that have the key colour.
};

}  // namespace qvgtool
