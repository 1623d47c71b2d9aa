// Every row of the effect's parameter table (slots 58 to 61).
#include <fmt/format.h>

#include <reference/effectScenes.h>

#include "selftest/check.h"
#include "selftest/images.h"
#include "selftest/pictures.h"

namespace qvgtool::selftest {

using namespace qvg::reference;

namespace {

// An effect, and its parameters for the reference.
struct TunedEffect {
  explicit TunedEffect(const EffectCase& told) : effect(qvg::Checked(qvg::Effect::New(), "CreateEffect")) {
    bool done = true;
    for (const auto& [key, value] : told.values) {
      done = (IsSwitch(key) ? effect.Set(key.c_str(), value != 0) : effect.Set(key.c_str(), value)) && done;
      SetParameter(settings, key, value);
    }
    if (told.key) {
      const auto& [r, g, b] = *told.key;
      done = effect.Set("color", r, g, b) && done;
      settings.keyChroma = KeyChroma(*told.key);
    }
    if (!told.background.empty()) {
      background = told.background;
      done = effect.Set("bgfile", NewImage(background).c_str()) && effect.Set("enable_bg", true) && done;
      settings.background = true;
    }
    qvg::Checked(done, "SetEffectParameter");
  }

  void Check(Comparison& comparison, const qvg::Texture& frame, const Image& picture) const {
    const EffectScene scene = {settings, picture, static_cast<int>(frame.Rotation()), frame.Flipped(), background};
    const qvg::Texture output = qvg::Checked(effect.Apply(frame), "ApplyEffect");
    comparison.Holds(output.Rotation() == 0 && !output.Flipped(), "the output is upright");
    comparison.Record(CompareEffect(ExpectedEffect(scene), Content(output), comparison.errors));
  }

  qvg::Effect effect;
  EffectSettings settings;
  Image background;
};

void CheckCase(Comparison& comparison, const EffectCase& told) {
  const TunedEffect tuned(told);
  const auto picture = [&](int width, int height, int seed) {
    return told.dark ? DarkPicture(width, height, seed) : EffectPicture(width, height, seed);
  };
  for (const Storage storage : kStorages) {
    comparison.Case(fmt::format("{}, {}", Text(told), Text(storage)));
    const bool recycled = storage == Storage::kRecycled;
    const Image image = recycled ? picture(37, 23, 2) : picture(48, 32, 1);
    Prepare(Storage::kFresh, QVG_FORMAT_RGBA, image.width, image.height);
    if (recycled) {  // For the frame and for the output.
      const qvg::Texture first = Uploaded(Picture(64, 45, 71)), second = Uploaded(Picture(63, 44, 72));
    }
    tuned.Check(comparison, Uploaded(image), image);
    if (comparison.Quick()) return;
  }
}

void CheckPresentation(Comparison& comparison) {
  EffectCase told = {"", {{"enable_key", 1}, {"similarity", 340}, {"smoothness", 300}, {"enable_beauty", 1}}};
  told.values.emplace_back("blur", 12);
  told.key = kGreen;
  told.background = Picture(29, 31, 7);
  const TunedEffect tuned(told);
  const Image whole = EffectPicture(60, 40, 4);
  Prepare(Storage::kFresh, QVG_FORMAT_BGRA, whole.width, whole.height);
  const qvg::Texture frame = Uploaded(MakeFrame(HeapMemory, QVG_FORMAT_BGRA, whole));
  frame.SetSize(31, 19);
  frame.SetOrigin(7, 18);
  for (const uint32_t turns : {0u, 1u, 2u, 3u}) {
    for (const bool flipped : {false, true}) {
      comparison.Case(fmt::format("{} quarter turns{}", turns, flipped ? ", flipped" : ""));
      frame.SetRotation(turns);
      frame.SetFlipped(flipped);
      tuned.Check(comparison, frame, Crop(whole, 7, 18, 31, 19));
    }
  }
}

// The cases of one row of the table.
void CheckRow(Comparison& comparison, const std::string& row) {
  for (const EffectCase& told : EffectCases())
    if (told.row == row) CheckCase(comparison, told);
}

}  // namespace

std::vector<Check> EffectChecks() {
  std::vector<Check> checks;
  for (const EffectCase& told : EffectCases()) {
    const std::string row = told.row, name = row.empty() ? "all stages together" : row;
    if (!checks.empty() && checks.back().name == name) continue;
    checks.push_back({"effect", name, kEffectLimit, [row](Comparison& c) { CheckRow(c, row); }});
  }
  checks.push_back({"effect", "part of a texture, turned and flipped", kEffectLimit, CheckPresentation});
  return checks;
}

}  // namespace qvgtool::selftest
