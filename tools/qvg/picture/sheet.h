// A PNG of several pictures with labels.
#pragma once

#include <vector>

#include "media/frameEdits.h"

namespace qvgtool {

class Sheet {
 public:
  Sheet(int width, int height);

  /** Pastes an RGB24 picture, which has to fit. */
  void Paste(const Frame& tile, int x, int y);
  void Label(int x, int y, std::string text, int size = 19);
  /** Writes the PNG; without labels when the machine has no font. Throws Error. */
  void Save(const std::string& path);

 private:
  FramePtr picture_;
  std::vector<Caption> labels_;
};

/** Copies an RGB24 picture into another, where it has to fit. */
void Paste(const Frame& tile, Frame& picture, int x, int y);

}  // namespace qvgtool
