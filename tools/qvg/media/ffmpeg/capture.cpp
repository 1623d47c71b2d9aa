#include "media/ffmpeg/capture.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <mutex>
#include <utility>

extern "C" {
#include <libavdevice/avdevice.h>
}

namespace qvgtool {
namespace {

// Shorter names for FFmpeg's.
constexpr std::pair<const char*, const char*> kAliases[] = {{"x11", "x11grab"}};

void RegisterDevices() {
  static std::once_flag once;
  std::call_once(once, avdevice_register_all);
}

const AVInputFormat* FindFormat(std::string name) {
  for (const auto& [alias, meant] : kAliases) {
    if (name == alias) name = meant;
  }
  RegisterDevices();
  const AVInputFormat* found = av_find_input_format(name.c_str());
  for (const AVInputFormat* format = nullptr; (format = av_input_video_device_next(format)) != nullptr;) {
    if (format == found) return found;
  }
  throw Error(
      fmt::format("no capture format is named {}: this FFmpeg has {}", name, fmt::join(CaptureFormats(), ", ")));
}

// The devices that exist, for somebody who named another one; empty when the format can't list them.
std::string Others(const AVInputFormat* format) {
  AVDeviceInfoList* list = nullptr;
  if (avdevice_list_input_sources(format, nullptr, nullptr, &list) < 0) return {};
  std::vector<std::string> names;
  for (int i = 0; i < list->nb_devices; ++i) {
    const AVDeviceInfo& device = *list->devices[i];
    names.push_back(fmt::format("{} ({})", device.device_name, device.device_description));
  }
  avdevice_free_list_devices(&list);
  return names.empty() ? "; this machine has none" : fmt::format("; there are {}", fmt::join(names, ", "));
}

class Settings {
 public:
  ~Settings() { av_dict_free(&settings_); }
  void Set(const char* name, const std::string& value) {
    if (!value.empty()) av_dict_set(&settings_, name, value.c_str(), 0);
  }
  AVDictionary** Address() { return &settings_; }
  /// An option that was not taken; null when all were.
  const AVDictionaryEntry* Left() const { return av_dict_get(settings_, "", nullptr, AV_DICT_IGNORE_SUFFIX); }

 private:
  AVDictionary* settings_ = nullptr;
};

}  // namespace

std::vector<std::string> CaptureFormats() {
  RegisterDevices();
  std::vector<std::string> names;
  for (const AVInputFormat* format = nullptr; (format = av_input_video_device_next(format)) != nullptr;) {
    names.emplace_back(format->name);
    for (const auto& [alias, meant] : kAliases) {
      if (names.back() == meant) names.back() += std::string(",") + alias;
    }
  }
  return names;
}

void OpenCapture(const std::string& device, const CaptureOptions& options, InputPtr& input) {
  const size_t colon = device.find(':');
  if (colon == std::string::npos) {
    throw Error(
        fmt::format("{} is no FORMAT:NAME such as v4l2:/dev/video0 or x11::0 (qvg info lists the formats)", device));
  }
  const AVInputFormat* const format = FindFormat(device.substr(0, colon));
  Settings settings;
  settings.Set("video_size", options.size);
  settings.Set("framerate", options.rate);
  // A device that has no picture yet is polled, not waited for.
  input->flags |= AVFMT_FLAG_NONBLOCK;
  AVFormatContext* opened = input.release();
  const int result = avformat_open_input(&opened, device.substr(colon + 1).c_str(), format, settings.Address());
  input.reset(opened);
  if (result < 0) throw Error(fmt::format("{}: {}{}", device, FfmpegError(result), Others(format)));
  if (const AVDictionaryEntry* left = settings.Left()) {
    throw Error(fmt::format("{}: {} takes no {}", device, format->name, left->key));
  }
}

}  // namespace qvgtool
