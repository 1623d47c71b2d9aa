#include "commands/keying.h"

#include <fmt/format.h>

#include <filesystem>

#include "media/frameSamples.h"
#include "picture/keyTuner.h"

namespace qvgtool {

std::vector<FramePtr> PicturesToKey(const EffectSettings& effect, const std::string& input, const ReadOptions& options,
                                    std::unique_ptr<FrameSource>& source) {
  if (!IsOn(effect, "enable_key")) return {};
  if (std::error_code error; std::filesystem::is_regular_file(input, error)) return SamplesOf(input, options);
  auto ahead = std::make_unique<ReadAhead>(std::move(source));
  std::vector<FramePtr> pictures = ahead->Samples();
  source = std::move(ahead);
  return pictures;
}

std::string ChooseKey(const std::vector<FramePtr>& pictures, const std::string& key, EffectSettings& effect) {
  const bool open = !key.empty() && (key == kAutomaticKey || !effect.contains("similarity"));
  if (!open || pictures.empty()) return {};
  KeyValues found = KeyTuner(pictures, key == kAutomaticKey ? std::string() : key).Find();
  const std::pair<const char*, int64_t*> values[] = {
      {"similarity", &found.similarity}, {"smoothness", &found.smoothness}, {"anti-spill", &found.spill}};
  for (const auto& [name, value] : values) {
    if (const auto given = effect.find(name); given != effect.end()) *value = given->second.value.value.integer;
  }
  for (auto& [name, setting] : found.Settings()) effect.insert_or_assign(name, setting);
  return "the screen is keyed out by " + found.OptionLine();
}

std::string KeyComplaint(const std::vector<FramePtr>& pictures, const EffectSettings& effect,
                         const EffectTable& table) {
  if (pictures.empty()) return {};
  const double share = KeyedShare(pictures, effect, table);
  if (share > 0.005 && share < 0.98) return {};
  return fmt::format("the key takes nearly {} ({:.1f} %): qvg tune shows what other values would",
                     share < 0.5 ? "nothing of the picture" : "all of the picture", 100 * share);
}

}  // namespace qvgtool
