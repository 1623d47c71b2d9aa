#include "media/ffmpeg/tags.h"

#include <algorithm>
#include <cctype>
#include <iterator>

namespace qvgtool {
namespace {

constexpr const char* kPassing[] = {"encoder",  "major_brand",  "minor_version", "compatible_brands", "creation_time",
                                    "rotate",   "handler_name", "vendor_id",     "_statistics_",      "bps",
                                    "duration", "number_of_",   "timecode",      "stereo_mode",       "alpha_mode"};

}  // namespace

Tags LastingTags(const AVDictionary* dictionary) {
  Tags tags;
  const AVDictionaryEntry* entry = nullptr;
  while ((entry = av_dict_get(dictionary, "", entry, AV_DICT_IGNORE_SUFFIX))) {
    std::string name = entry->key;
    std::transform(name.begin(), name.end(), name.begin(), [](unsigned char c) { return std::tolower(c); });
    const bool passes =
        std::any_of(std::begin(kPassing), std::end(kPassing), [&](const char* p) { return name.starts_with(p); });
    if (!passes) tags[entry->key] = entry->value;
  }
  return tags;
}

void SetTags(AVDictionary*& dictionary, const Tags& tags) {
  for (const auto& [name, value] : tags) av_dict_set(&dictionary, name.c_str(), value.c_str(), 0);
}

}  // namespace qvgtool
