// Finds the values of a key before the first frame is drawn.
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

/** Finds the values that the user left open, in pictures from all over the input. key: the value of --key, if any.
 *  source: the input's reader; for a stream it is replaced by one that also returns the frames already looked at.
 *  @return a line that says what was found, empty when nothing was left open. Throws Error. */
std::string FindKey(const std::string& key, EffectSettings& effect, const std::string& input,
                    const ReadOptions& options, std::unique_ptr<FrameSource>& source);

/** Watches, in some of the keyed frames, how much of the picture the key removes. */
class KeyWatch {
 public:
  /** frames: the expected number, 0 when unknown. */
  KeyWatch(EffectSettings effect, EffectTable table, int64_t frames);

  /** index: of the frame, from 0. Throws Error. */
  void Look(const Frame& frame, int64_t index);
  /** A warning when the key removes suspiciously much or little; else empty. */
  std::string Complaint() const;

 private:
  EffectSettings effect_;
  EffectTable table_;
  int64_t step_;
  ColorConverter converter_;
  std::vector<double> shares_;  // Of the frames looked at.
};

}  // namespace qvgtool
