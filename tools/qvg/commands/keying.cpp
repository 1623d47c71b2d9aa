#include "commands/keying.h"

#include <fmt/format.h>

#include <algorithm>
#include <numeric>

#include "media/frameSamples.h"
#include "picture/keyTuner.h"
#include "platform/paths.h"

namespace qvgtool {

namespace {

constexpr int kLooks = 6;             // Frames of a clip that are looked at.
constexpr int64_t kStepUnknown = 25;  // Between them where the clip's length is unknown.
constexpr int kLookWidth = 480;       // A share can be told from few pixels.

}  // namespace

std::string FindKey(const std::string& key, EffectSettings& effect, const std::string& input,
                    const ReadOptions& options, std::unique_ptr<FrameSource>& source) {
  if (key.empty() || !IsOn(effect, "enable_key")) return {};
  if (key != kAutomaticKey && effect.contains("similarity")) return {};
  std::vector<FramePtr> pictures;
  if (std::error_code error; std::filesystem::is_regular_file(PathOf(input), error)) {
    pictures = SamplesOf(input, options);
  } else {
    auto ahead = std::make_unique<ReadAhead>(std::move(source));
    pictures = ahead->Samples();
    source = std::move(ahead);
  }
  if (pictures.empty()) return {};
  KeyValues found = TuneKey(pictures, key == kAutomaticKey ? std::string() : key);
  const std::pair<const char*, int64_t*> values[] = {
      {"similarity", &found.similarity}, {"smoothness", &found.smoothness}, {"anti-spill", &found.spill}};
  for (const auto& [name, value] : values) {
    if (const auto given = effect.find(name); given != effect.end()) *value = given->second.value.value.integer;
  }
  for (auto& [name, setting] : SettingsOf(found)) effect.insert_or_assign(name, setting);
  return "the screen is keyed out by " + OptionLine(found);
}

KeyWatch::KeyWatch(EffectSettings effect, EffectTable table, int64_t frames)
    : effect_(std::move(effect)),
      table_(std::move(table)),
      step_(frames > 0 ? std::max<int64_t>(1, frames / kLooks) : kStepUnknown) {}

void KeyWatch::Look(const Frame& frame, int64_t index) {
  if (index % step_ != 0 || shares_.size() == kLooks) return;
  const int width = std::min(frame.width, kLookWidth), height = std::max(1, frame.height * width / frame.width);
  shares_.push_back(
      KeyedShare(converter_.Convert(frame, PixelFormat::kRGBA, width, height, kRgbColors), effect_, table_));
}

std::string KeyWatch::Complaint() const {
  if (shares_.empty()) return {};
  const double share = std::reduce(shares_.begin(), shares_.end()) / static_cast<double>(shares_.size());
  if (share > 0.005 && share < 0.98) return {};
  return fmt::format("the key takes nearly {} ({:.1f} %): qvg tune shows what other values would",
                     share < 0.5 ? "nothing of the picture" : "all of the picture", 100 * share);
}

}  // namespace qvgtool
