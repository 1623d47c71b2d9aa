#include "picture/keyTuner.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <optional>

namespace qvgtool {
namespace {

constexpr int kChromaBins = 24;        // Of each chroma axis.
constexpr double kMinChroma = 0.12;    // Of 0.5: what is paler is a wall, not a screen.
constexpr double kLeastChroma = 0.05;  // What is paler or darker differs from nothing.

struct Chroma {
  double cb = 0, cr = 0;
  double Length() const { return std::hypot(cb, cr); }
};
Chroma operator-(const Chroma& a, const Chroma& b) { return {a.cb - b.cb, a.cr - b.cr}; }

// BT.601, for finding screens: as colours look.
Chroma ChromaOf(const uint8_t* rgb) {
  const double r = rgb[0] / 255.0, g = rgb[1] / 255.0, b = rgb[2] / 255.0;
  return {-0.1687 * r - 0.3313 * g + 0.5 * b, 0.5 * r - 0.4187 * g - 0.0813 * b};
}

const uint8_t* Pixel(const Frame& rgba, size_t index) {
  const auto width = static_cast<size_t>(rgba.width);
  return rgba.data[0] + static_cast<ptrdiff_t>(index / width) * rgba.stride[0] +
         static_cast<ptrdiff_t>(index % width) * 4;
}

// ---- Distance from the key, as the effect measures it: of chroma, the frame's taken through the sRGB curve and the
// key's not, averaged over the pixel's neighbourhood.

Chroma EffectChroma(double r, double g, double b) {
  return {-0.100644 * r - 0.338572 * g + 0.439216 * b, 0.439216 * r - 0.398942 * g - 0.040274 * b};
}

double Encoded(uint8_t value) {
  const double v = value / 255.0;
  return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
}

std::vector<float> Distances(const Frame& rgba, const double (&key)[3]) {
  static const auto encoded = [] {
    std::array<double, 256> table;
    for (size_t i = 0; i < table.size(); ++i) table[i] = Encoded(static_cast<uint8_t>(i));
    return table;
  }();
  const Chroma centre = EffectChroma(key[0], key[1], key[2]);
  const auto width = static_cast<size_t>(rgba.width), height = static_cast<size_t>(rgba.height);
  std::vector<float> sharp(width * height), rows(width * height), box(width * height);
  for (size_t i = 0; i < sharp.size(); ++i) {
    const uint8_t* rgb = Pixel(rgba, i);
    sharp[i] = static_cast<float>((EffectChroma(encoded[rgb[0]], encoded[rgb[1]], encoded[rgb[2]]) - centre).Length());
  }
  for (size_t y = 0; y < height; ++y) {
    const float* from = &sharp[y * width];
    for (size_t x = 0; x < width; ++x) {
      rows[y * width + x] = (from[x > 0 ? x - 1 : 0] + from[x] + from[std::min(x + 1, width - 1)]) / 3;
    }
  }
  for (size_t y = 0; y < height; ++y) {
    const float *above = &rows[(y > 0 ? y - 1 : 0) * width], *below = &rows[std::min(y + 1, height - 1) * width];
    for (size_t x = 0; x < width; ++x) box[y * width + x] = (above[x] + rows[y * width + x] + below[x]) / 3;
  }
  return box;
}

// ---- The screen's colour

// The strip along the left, upper and right border; a person leaves the picture through the lower one.
std::vector<const uint8_t*> Border(const std::vector<FramePtr>& pictures) {
  std::vector<const uint8_t*> pixels;
  for (const FramePtr& picture : pictures) {
    const int strip = std::max(2, std::min(picture->width, picture->height) / 16);
    for (int y = 0; y < picture->height; ++y) {
      for (int x = 0; x < picture->width; ++x) {
        if (y < strip || x < strip || x >= picture->width - strip)
          pixels.push_back(picture->data[0] + static_cast<ptrdiff_t>(y) * picture->stride[0] + ptrdiff_t{4} * x);
      }
    }
  }
  return pixels;
}

// The middle of the fullest neighbourhood of chroma; none when no colour is most of the border's.
std::optional<Chroma> Peak(const std::vector<const uint8_t*>& pixels) {
  const auto bin = [](double value) {
    return static_cast<size_t>(std::clamp(static_cast<int>((value + 0.5) * kChromaBins), 0, kChromaBins - 1));
  };
  std::array<std::array<size_t, kChromaBins>, kChromaBins> histogram = {};
  for (const uint8_t* pixel : pixels) {
    const Chroma c = ChromaOf(pixel);
    ++histogram[bin(c.cb)][bin(c.cr)];
  }
  size_t most = 0;
  Chroma best;
  for (size_t i = 1; i + 1 < kChromaBins; ++i) {
    for (size_t j = 1; j + 1 < kChromaBins; ++j) {
      const Chroma centre{(static_cast<double>(i) + 0.5) / kChromaBins - 0.5,
                          (static_cast<double>(j) + 0.5) / kChromaBins - 0.5};
      if (centre.Length() < kMinChroma) continue;
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

Chroma ChromaNamed(const std::string& key) {
  const ParamSetting named = ParamSetting::Color(key);
  uint8_t rgb[3];
  for (size_t i = 0; i < 3; ++i) rgb[i] = static_cast<uint8_t>(named.value.value.color[i] * 255 + 0.5);
  const Chroma chroma = ChromaOf(rgb);
  if (chroma.Length() >= kLeastChroma) return chroma;
  throw Error(fmt::format("{} is too dark or too pale to be keyed: only hue and saturation tell a screen", key));
}

// Within 35 degrees, and not pale: a screen's light and its camera leave of a colour's name little more than its hue.
bool HasHueOf(const Chroma& chroma, const Chroma& named) {
  const double along = (chroma.cb * named.cb + chroma.cr * named.cr) / named.Length();
  return chroma.Length() >= kLeastChroma && along > 0.819 * chroma.Length();
}

// The colour for the effect whose distance from the screen's middle colour is 0: its key is not taken through the curve
// that the frame is taken through.
ParamSetting KeyFor(const std::vector<const uint8_t*>& screen) {
  std::string text = "#";
  for (size_t i = 0; i < 3; ++i) {
    std::vector<uint8_t> values;
    for (const uint8_t* pixel : screen) values.push_back(pixel[i]);
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    text += fmt::format("{:02x}", static_cast<int>(std::lround(Encoded(*middle) * 255)));
  }
  return ParamSetting::Color(text);
}

// ---- Regions

// The smallest or largest value in a square about each pixel.
template <class Choose>
std::vector<float> Spread(const std::vector<float>& values, int width, int height, int radius, const Choose& choose) {
  const auto pass = [&](const std::vector<float>& from, int count, int step, int lines, int lineStep) {
    std::vector<float> to(from.size());
    for (int line = 0; line < lines; ++line) {
      const float* const in = from.data() + ptrdiff_t{line} * lineStep;
      float* const out = to.data() + ptrdiff_t{line} * lineStep;
      for (int i = 0; i < count; ++i) {
        float best = in[ptrdiff_t{i} * step];
        for (int j = std::max(0, i - radius); j <= std::min(count - 1, i + radius); ++j) {
          best = choose(best, in[ptrdiff_t{j} * step]);
        }
        out[ptrdiff_t{i} * step] = best;
      }
    }
    return to;
  };
  return pass(pass(values, width, 1, height, width), height, width, width, 1);
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

KeyTuner::KeyTuner(const std::vector<FramePtr>& pictures, const std::string& key) {
  std::vector<const uint8_t*> border = Border(pictures);
  if (!key.empty()) {
    const Chroma named = ChromaNamed(key);
    std::erase_if(border, [&](const uint8_t* pixel) { return !HasHueOf(ChromaOf(pixel), named); });
    if (border.empty()) throw Error(fmt::format("nothing along the picture's borders has the colour {}", key));
  }
  const std::optional<Chroma> centre = Peak(border);
  if (!centre) {
    throw Error(key.empty()
                    ? "no screen of one strong colour lies along the picture's borders: name its colour by --key"
                    : fmt::format("no screen of the colour {} lies along the picture's borders", key));
  }
  const auto within = [&](double bins) {
    std::vector<const uint8_t*> pixels;
    for (const uint8_t* pixel : border) {
      if ((ChromaOf(pixel) - *centre).Length() < bins / kChromaBins) pixels.push_back(pixel);
    }
    return pixels;
  };
  std::vector<const uint8_t*> screen = within(1.5);
  // The most saturated colours of all lie in a corner of their neighbourhood.
  if (screen.empty()) screen = within(2.2);
  color_ = KeyFor(screen);

  std::vector<std::vector<float>> distances;
  Histogram all = {};
  for (const FramePtr& picture : pictures) {
    distances.push_back(Distances(*picture, color_.value.value.color));
    for (const float distance : distances.back()) {
      ++all[static_cast<size_t>(std::min<int>(kBins - 1, static_cast<int>(distance * kBins)))];
    }
  }
  const double threshold = _Threshold(all);
  for (size_t i = 0; i < pictures.size(); ++i) {
    _Sort(distances[i], pictures[i]->width, pictures[i]->height, threshold, *pictures[i]);
  }
}

// Where the two groups of pixels part: of all places the one that leaves the least variance within both (Otsu, 1979).
double KeyTuner::_Threshold(const Histogram& all) {
  double total = 0, sum = 0;
  for (size_t i = 0; i < all.size(); ++i) {
    total += all[i];
    sum += all[i] * static_cast<double>(i);
  }
  double best = -1, place = 0, below = 0, sumBelow = 0;
  for (size_t i = 0; i < all.size(); ++i) {
    below += all[i];
    sumBelow += all[i] * static_cast<double>(i);
    if (below == 0 || below == total) continue;
    const double apart = sumBelow / below - (sum - sumBelow) / (total - below);
    const double between = below * (total - below) * apart * apart;
    if (between > best) {
      best = between;
      place = static_cast<double>(i + 1) / kBins;
    }
  }
  // Pictures of nothing but the screen would be parted at its noise.
  return std::max(place, 0.08);
}

void KeyTuner::_Sort(const std::vector<float>& distances, int width, int height, double threshold, const Frame& rgba) {
  const int margin = std::max(4, height / 180);
  const auto nearest = Spread(distances, width, height, margin, [](float a, float b) { return std::min(a, b); });
  const auto furthest = Spread(distances, width, height, margin, [](float a, float b) { return std::max(a, b); });
  for (size_t i = 0; i < distances.size(); ++i) {
    const auto bin = static_cast<size_t>(std::min<int>(kBins - 1, static_cast<int>(distances[i] * kBins)));
    if (furthest[i] < threshold) ++screen_[bin];
    if (nearest[i] < threshold) continue;
    ++front_[bin];
    colorfulness_[bin] += ChromaOf(Pixel(rgba, i)).Length();
  }
}

double KeyTuner::_Quantile(const Histogram& histogram, double share) {
  double total = 0, below = 0;
  for (const double count : histogram) total += count;
  for (size_t i = 0; i < histogram.size(); ++i) {
    below += histogram[i];
    if (below > 0 && below >= total * share) return static_cast<double>(i + 1) / kBins;
  }
  return 1;
}

KeyValues KeyTuner::Find() const {
  constexpr double kSpecks = 0.002;             // Of the screen: noise that may stay.
  constexpr double kHoles = 0.001;              // Of what stands before it: may become less than three quarters opaque.
  constexpr double kThreeQuarters = 0.8254818;  // (3/4)^(1/1.5), the effect's step being the power 1.5.
  constexpr double kMixed = 0.12;     // Of the way from one to the other: colours that are mostly the screen's.
  constexpr double kThinned = 0.005;  // Of the opacity of what stands before it, on average.
  constexpr double kFaded = 0.06;     // Of its colourfulness: may be lost to anti-spill.
  const auto has = [](const Histogram& histogram) {
    return std::any_of(histogram.begin(), histogram.end(), [](double count) { return count > 0; });
  };
  if (!has(screen_)) throw Error("the screen is nowhere free of what stands before it");
  const double clear = _Quantile(screen_, 1 - kSpecks) + 0.005;
  // With nothing before it a person may still come: as much room as persons leave.
  const double holes = has(front_) ? _Quantile(front_, kHoles) : std::max(0.25, clear + 0.1);
  if (holes < clear + 0.01) {
    throw Error(
        "the screen's light differs too much, or its colour is in what stands before it: they can't be told apart");
  }
  const double gone = clear + kMixed * (holes - clear);
  // What a step that ends there takes away of what the histogram weighs.
  const auto lost = [&](const Histogram& weights, double width) {
    double taken = 0, all = 0;
    for (size_t i = 0; i < weights.size(); ++i) {
      const double share = std::clamp(((static_cast<double>(i) + 0.5) / kBins - gone) / width, 0.0, 1.0);
      taken += weights[i] * (1 - std::pow(share, 1.5));
      all += weights[i];
    }
    return all > 0 ? taken / all : 0;
  };
  double step = (holes - gone) / kThreeQuarters;
  while (step > 0.02 && lost(front_, step) > kThinned) step -= 0.002;
  double spill = step;
  while (spill < 2.5 * step && lost(colorfulness_, spill + 0.005) < kFaded) spill += 0.005;
  const auto thousandths = [](double value) { return std::clamp<int64_t>(std::llround(value * 1000), 1, 1000); };
  return {color_, thousandths(gone), thousandths(step), thousandths(spill)};
}

double KeyedShare(const Frame& picture, const EffectSettings& settings, const EffectTable& table) {
  const auto value = [&](const std::string& name) -> QVGParamValue {
    if (const auto found = settings.find(name); found != settings.end()) return found->second.value;
    for (const QVGParamDescriptor& row : table.rows) {
      if (row.name == name) return row.defaultValue;
    }
    return {};
  };
  const auto limit = static_cast<float>(static_cast<double>(value("similarity").value.integer) / 1000.0);
  const QVGParamValue color = value("color");
  const std::vector<float> distances = Distances(picture, color.value.color);
  const auto keyed = std::ranges::count_if(distances, [&](float distance) { return distance <= limit; });
  return static_cast<double>(keyed) / static_cast<double>(distances.size());
}

}  // namespace qvgtool
