// Finding the values of a key before the first frame is drawn.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "media/mediaReader.h"
#include "picture/effect.h"

namespace qvgtool {

/** For --key: the screen's colour is found in the pictures. */
inline constexpr char kAutomaticKey[] = "auto";

/** Pictures from all over the input when these settings key it; none otherwise. source: the input's reader, which for a
 *  stream is replaced by one that gives what was looked at, too. Throws Error. */
std::vector<FramePtr> PicturesToKey(const EffectSettings& effect, const std::string& input, const ReadOptions& options,
                                    std::unique_ptr<FrameSource>& source);

/** Finds what the user left open. key: what was given for --key, if anything. @return a line that says what was found,
 *  empty when nothing was open. Throws Error. */
std::string ChooseKey(const std::vector<FramePtr>& pictures, const std::string& key, EffectSettings& effect);

/** What is odd about how much of the pictures the key takes; empty when nothing is. */
std::string KeyComplaint(const std::vector<FramePtr>& pictures, const EffectSettings& effect, const EffectTable& table);

}  // namespace qvgtool
