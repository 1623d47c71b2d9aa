// Metadata of files and their streams.
#pragma once

#include <map>
#include <string>

#include "media/ffmpeg/ffmpegPtr.h"

namespace qvgtool {

using Tags = std::map<std::string, std::string>;

/** The tags that are still true of the output: not those about the input's container, encoder and lengths. */
Tags LastingTags(const AVDictionary* dictionary);

void SetTags(AVDictionary*& dictionary, const Tags& tags);

}  // namespace qvgtool
