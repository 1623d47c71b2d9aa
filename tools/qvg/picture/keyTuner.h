// Values that key out the screen behind a person: found in frames, and as the tool's settings and options.
#pragma once

#include <effectKit/keyFinder.h>

#include <string>
#include <vector>

#include "picture/effect.h"

namespace qvgtool {

using qvg::effectkit::KeyValues;

EffectSettings SettingsOf(const KeyValues& values);

/** As options of qvg process. */
std::string OptionLine(const KeyValues& values);

/** pictures: upright RGBA frames from all over the clip; they may show different things, or nothing but the screen.
 *  key: the screen's colour, empty to find it along the pictures' left, right and upper borders. Throws Error when no
 *  values are found. */
KeyValues TuneKey(const std::vector<FramePtr>& pictures, const std::string& key);

/** The share of the pictures' pixels that these settings make transparent, 0 to 1; settings may lack values. */
double KeyedShare(const Frame& picture, const EffectSettings& settings, const EffectTable& table);

}  // namespace qvgtool
