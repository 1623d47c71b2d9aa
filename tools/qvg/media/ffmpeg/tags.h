// What files and their streams are called.
#pragma once

#include <map>
#include <string>

#include "media/ffmpeg/ffmpegPtr.h"

namespace qvgtool {

using Tags = std::map<std::string, std::string>;

/** Tags that stay true when pictures and times are others: not those of the file that was, of its container, its
 *  encoder and its lengths. */
Tags LastingTags(const AVDictionary* dictionary);

void SetTags(AVDictionary*& dictionary, const Tags& tags);

}  // namespace qvgtool
