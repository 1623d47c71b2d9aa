#include "keyTuner.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cmath>

namespace qvgtool {
namespace {

constexpr int kBins = 24;            // Of each chroma axis.
constexpr double kMinChroma = 0.12;  // Of 0.5: what is paler is a wall, not a screen.

struct Chroma {
  double cb, cr;
};
Chroma ChromaOf(const uint8_t* rgb) {
  const double r = rgb[0] / 255.0, g = rgb[1] / 255.0, b = rgb[2] / 255.0;
  return {-0.1687 * r - 0.3313 * g + 0.5 * b, 0.5 * r - 0.4187 * g - 0.0813 * b};
}
int Bin(double value) { return std::clamp(static_cast<int>((value + 0.5) * kBins), 0, kBins - 1); }

const uint8_t* Pixel(const AVFrame& rgba, size_t index) {
  const auto width = static_cast<size_t>(rgba.width);
  return rgba.data[0] + static_cast<ptrdiff_t>(index / width) * rgba.linesize[0] +
         static_cast<ptrdiff_t>(index % width) * 4;
}

// The strip along the left, upper and right border; a person leaves the picture through the lower one.
std::vector<size_t> Border(const AVFrame& rgba) {
  const int strip = std::max(2, std::min(rgba.width, rgba.height) / 16);
  std::vector<size_t> pixels;
  for (int y = 0; y < rgba.height; ++y) {
    for (int x = 0; x < rgba.width; ++x) {
      if (y < strip || x < strip || x >= rgba.width - strip) {
        pixels.push_back(static_cast<size_t>(y) * static_cast<size_t>(rgba.width) + static_cast<size_t>(x));
      }
    }
  }
  return pixels;
}

// Of the pixels, those whose chroma lies about a centre.
std::vector<size_t> Around(const AVFrame& rgba, const std::vector<size_t>& pixels, Chroma centre) {
  std::vector<size_t> result;
  for (const size_t pixel : pixels) {
    const Chroma c = ChromaOf(Pixel(rgba, pixel));
    if (std::hypot(c.cb - centre.cb, c.cr - centre.cr) < 1.5 / kBins) result.push_back(pixel);
  }
  return result;
}

// The middle of the fullest neighbourhood of chroma.
std::optional<Chroma> Peak(const AVFrame& rgba, const std::vector<size_t>& pixels) {
  std::array<std::array<size_t, kBins>, kBins> histogram = {};
  for (const size_t pixel : pixels) {
    const Chroma c = ChromaOf(Pixel(rgba, pixel));
    ++histogram[static_cast<size_t>(Bin(c.cb))][static_cast<size_t>(Bin(c.cr))];
  }
  size_t most = 0;
  Chroma best{};
  for (size_t i = 1; i + 1 < kBins; ++i) {
    for (size_t j = 1; j + 1 < kBins; ++j) {
      const Chroma centre{(static_cast<double>(i) + 0.5) / kBins - 0.5, (static_cast<double>(j) + 0.5) / kBins - 0.5};
      if (std::hypot(centre.cb, centre.cr) < kMinChroma) continue;
      size_t sum = 0;
      for (size_t k = i - 1; k <= i + 1; ++k) {
        for (size_t l = j - 1; l <= j + 1; ++l) sum += histogram[k][l];
      }
      if (sum > most) {
        most = sum;
        best = centre;
      }
    }
  }
  return most * 5 >= pixels.size() * 2 ? std::optional(best) : std::nullopt;
}

// The smallest value in a range for which a condition that stays true once it is true holds; high when none.
template <class Condition>
int64_t First(int64_t low, int64_t high, const Condition& holds) {
  while (low < high) {
    const int64_t middle = (low + high) / 2;
    holds(middle) ? high = middle : low = middle + 1;
  }
  return low;
}

}  // namespace

EffectSettings KeyValues::Settings() const {
  return {{"color", color},
          {"similarity", ParamSetting::Integer(similarity)},
          {"smoothness", ParamSetting::Integer(smoothness)},
          {"anti-spill", ParamSetting::Integer(spill)},
          {"enable_key", ParamSetting::Switch(true)}};
}

std::string KeyValues::OptionLine() const {
  return fmt::format("--key 0x{} --similarity {} --smoothness {} --anti-spill {}",
                     ColorText(color.value.value.color).substr(1), similarity, smoothness, spill);
}

KeyTuner::KeyTuner(const Renderer& renderer, const AVFrame& rgba, const std::string& key)
    : renderer_(renderer), frame_(renderer.Upload(rgba)), width_(rgba.width), height_(rgba.height) {
  const std::vector<size_t> border = Border(rgba);
  if (!key.empty()) {
    color_ = ParamSetting::Color(key);
    uint8_t rgb[3];
    for (size_t i = 0; i < 3; ++i) rgb[i] = static_cast<uint8_t>(color_.value.value.color[i] * 255 + 0.5);
    screen_ = Around(rgba, border, ChromaOf(rgb));
  } else if (const auto peak = Peak(rgba, border)) {
    screen_ = Around(rgba, border, *peak);
  }
  if (screen_.empty()) {
    throw Error(key.empty()
                    ? "no screen of one strong colour lies along the picture's borders: name its colour by --key"
                    : fmt::format("nothing along the picture's borders has the colour {}", key));
  }
  if (key.empty()) {
    uint8_t rgb[3];
    for (size_t i = 0; i < 3; ++i) {
      std::vector<uint8_t> values;
      for (const size_t pixel : screen_) values.push_back(Pixel(rgba, pixel)[i]);
      const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
      std::nth_element(values.begin(), middle, values.end());
      rgb[i] = *middle;
    }
    color_ = ParamSetting::Color(fmt::format("#{:02x}{:02x}{:02x}", rgb[0], rgb[1], rgb[2]));
  }
}

FramePtr KeyTuner::Keyed(const KeyValues& values) const {
  const Effect effect(renderer_, values.Settings());
  const Texture result = effect.Apply(frame_);
  return renderer_.ReadBack(result, AV_PIX_FMT_RGBA, true);
}

KeyTuner::Counts KeyTuner::_Count(int64_t similarity) const {
  // As hard as it can be: a pixel goes or stays.
  const FramePtr keyed = Keyed({color_, similarity, 1, 1});
  Counts counts = {0, 0};
  const size_t pixels = static_cast<size_t>(width_) * static_cast<size_t>(height_);
  for (size_t i = 0; i < pixels; ++i) counts.kept += Pixel(*keyed, i)[3] != 0;
  for (const size_t pixel : screen_) counts.screenLeft += Pixel(*keyed, pixel)[3] != 0;
  counts.kept -= counts.screenLeft;
  return counts;
}

KeyValues KeyTuner::Find() {
  // Where all of the screen but a few specks is gone, and where the picture in front begins to go: the hard limit lies
  // half way, so that mixed colours along edges go too, and the soft steps end before what is to stay.
  const int64_t gone = First(1, 1000, [&](int64_t value) { return _Count(value).screenLeft * 500 <= screen_.size(); });
  const int64_t low = std::min<int64_t>(1000, gone + std::max<int64_t>(10, gone / 10));
  const size_t kept = _Count(low).kept;
  const int64_t eaten = First(low, 1000, [&](int64_t value) { return _Count(value).kept * 100 < kept * 96; });
  const int64_t room = (eaten - low) / 2;
  return {color_, low + room, std::clamp<int64_t>(room * 3 / 4, 10, 80), std::clamp<int64_t>(room * 7 / 8, 10, 100)};
}

}  // namespace qvgtool
