// Finding the values of a key before the first frame is drawn.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media/colorConversion.h"
#include "media/mediaReader.h"
#include "picture/effect.h"

namespace qvgtool {

/** For --key: the screen's colour is found in the pictures. */
inline constexpr char kAutomaticKey[] = "auto";

/** Finds what the user left open, in pictures from all over the input. key: what was given for --key, if anything.
 *  source: the input's reader, which for a stream is replaced by one that gives what was looked at, too. @return a line
 *  that says what was found, empty when nothing was open. Throws Error. */
std::string FindKey(const std::string& key, EffectSettings& effect, const std::string& input,
                    const ReadOptions& options, std::unique_ptr<FrameSource>& source);

/** Looks at some of the frames that are keyed, for how much of them the key takes. */
class KeyWatch {
 public:
  /** frames: how many are expected, 0 when unknown. */
  KeyWatch(EffectSettings effect, EffectTable table, int64_t frames);

  /** index: of the frame, from 0. Throws Error. */
  void Look(const Frame& frame, int64_t index);
  /** What is odd about how much the key takes; empty when nothing is. */
  std::string Complaint() const;

 private:
  EffectSettings effect_;
  EffectTable table_;
  int64_t step_;
  ColorConverter converter_;
  std::vector<double> shares_;  // Of the frames looked at.
};

}  // namespace qvgtool
