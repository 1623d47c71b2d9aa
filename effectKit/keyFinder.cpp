#include "effectKit/keyFinder.h"

#include <algorithm>
#include <cmath>
#include <vector>

namespace qvg::effectkit {
namespace {

constexpr int kChromaBins = 24;        // Of each chroma axis.
constexpr double kMinChroma = 0.12;    // Out of 0.5: anything paler is a wall, not a screen.
constexpr double kLeastChroma = 0.05;  // A paler or darker key would not stand out from anything.

struct Chroma {
  double cb = 0, cr = 0;
  double Length() const { return std::sqrt(cb * cb + cr * cr); }
};
Chroma operator-(const Chroma& a, const Chroma& b) { return {a.cb - b.cb, a.cr - b.cr}; }

// BT.601, for finding screens by how colours look.
Chroma ChromaOf(const uint8_t* rgb) {
  const double r = rgb[0] / 255.0, g = rgb[1] / 255.0, b = rgb[2] / 255.0;
  return {-0.1687 * r - 0.3313 * g + 0.5 * b, 0.5 * r - 0.4187 * g - 0.0813 * b};
}

// ---- Distance from the key as the effect measures it: a distance of chroma, averaged over the pixel's neighbourhood.
// The frame's colours go through the sRGB curve, the key's don't.

using Distances = std::vector<float>;  // Of a picture's pixels, row by row.

Chroma EffectChroma(double r, double g, double b) {
  return {-0.100644 * r - 0.338572 * g + 0.439216 * b, 0.439216 * r - 0.398942 * g - 0.040274 * b};
}

double Encoded(uint8_t value) {
  const double v = value / 255.0;
  return v <= 0.0031308 ? 12.92 * v : 1.055 * std::pow(v, 1 / 2.4) - 0.055;
}

Distances DistancesFrom(std::span<const double, 3> key, const PictureView& picture) {
  static const auto encoded = [] {
    std::array<double, 256> table;
    for (size_t i = 0; i < table.size(); ++i) table[i] = Encoded(static_cast<uint8_t>(i));
    return table;
  }();
  const Chroma centre = EffectChroma(key[0], key[1], key[2]);
  const auto width = static_cast<size_t>(picture.width), height = static_cast<size_t>(picture.height);
  Distances sharp(width), rows(width * height), box(width * height);
  for (size_t y = 0; y < height; ++y) {
    const uint8_t* rgb = picture.Pixel(0, static_cast<int>(y));
    for (size_t x = 0; x < width; ++x, rgb += 4) {
      sharp[x] =
          static_cast<float>((EffectChroma(encoded[rgb[0]], encoded[rgb[1]], encoded[rgb[2]]) - centre).Length());
    }
    for (size_t x = 0; x < width; ++x) {
      rows[y * width + x] = (sharp[x > 0 ? x - 1 : 0] + sharp[x] + sharp[std::min(x + 1, width - 1)]) / 3;
    }
  }
  for (size_t y = 0; y < height; ++y) {
    const float *above = &rows[(y > 0 ? y - 1 : 0) * width], *below = &rows[std::min(y + 1, height - 1) * width];
    for (size_t x = 0; x < width; ++x) box[y * width + x] = (above[x] + rows[y * width + x] + below[x]) / 3;
  }
  return box;
}

// ---- The screen's colour

// The strip along the left, upper and right borders; a person crosses the lower one.
std::vector<const uint8_t*> Border(std::span<const PictureView> pictures) {
  std::vector<const uint8_t*> pixels;
  for (const PictureView& picture : pictures) {
    const int strip = std::max(2, std::min(picture.width, picture.height) / 16);
    for (int y = 0; y < picture.height; ++y) {
      for (int x = 0; x < picture.width; ++x) {
        if (y < strip || x < strip || x >= picture.width - strip) pixels.push_back(picture.Pixel(x, y));
      }
    }
  }
  return pixels;
}

// The centre of the most frequent chroma; none when no colour makes up most of the border.
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
  return most > 0 && most * 5 >= pixels.size() * 2 ? std::optional(best) : std::nullopt;
}

// Within 35 degrees, and not pale: after the screen's lighting and the camera little more than the hue is left of a
// named colour.
bool HasHueOf(const Chroma& chroma, const Chroma& named) {
  const double along = (chroma.cb * named.cb + chroma.cr * named.cr) / named.Length();
  return chroma.Length() >= kLeastChroma && along > 0.819 * chroma.Length();
}

// The border's pixels that show the screen.
std::vector<const uint8_t*> Screen(std::span<const PictureView> pictures,
                                   const std::optional<std::array<uint8_t, 3>>& named) {
  std::vector<const uint8_t*> border = Border(pictures);
  if (named) {
    const Chroma chroma = ChromaOf(named->data());
    if (chroma.Length() < kLeastChroma) {
      throw KeyError("the key colour is too dark or too pale: only hue and saturation tell a screen");
    }
    std::erase_if(border, [&](const uint8_t* pixel) { return !HasHueOf(ChromaOf(pixel), chroma); });
    if (border.empty()) throw KeyError("nothing along the picture's borders has the key colour");
  }
  const std::optional<Chroma> centre = Peak(border);
  if (!centre && named) throw KeyError("no screen of the key colour lies along the picture's borders");
  if (!centre) throw NoScreenError("no screen of one strong colour lies along the picture's borders");
  const auto within = [&](double bins) {
    std::vector<const uint8_t*> pixels;
    for (const uint8_t* pixel : border) {
      if ((ChromaOf(pixel) - *centre).Length() < bins / kChromaBins) pixels.push_back(pixel);
    }
    return pixels;
  };
  std::vector<const uint8_t*> screen = within(1.5);
  // The most saturated colours lie at the edge of the chroma plane, so in a corner of their neighbourhood.
  return screen.empty() ? within(2.2) : screen;
}

// The key with which the effect measures a distance of 0 for the screen's average colour: the frame goes through the
// sRGB curve, the key doesn't.
std::array<double, 3> KeyFor(const std::vector<const uint8_t*>& screen) {
  std::array<double, 3> color;
  for (size_t i = 0; i < color.size(); ++i) {
    std::vector<uint8_t> values;
    values.reserve(screen.size());
    for (const uint8_t* pixel : screen) values.push_back(pixel[i]);
    const auto middle = values.begin() + static_cast<ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    color[i] = static_cast<double>(std::lround(Encoded(*middle) * 255)) / 255;
  }
  return color;
}

// ---- Regions

// The smallest or largest value in a square about each pixel.
template <class Choose>
Distances Spread(const Distances& values, const PictureView& picture, int radius, const Choose& choose) {
  const auto width = ptrdiff_t{picture.width}, height = ptrdiff_t{picture.height};
  Distances rows(values.size());
  for (ptrdiff_t y = 0; y < height; ++y) {
    const float* const in = values.data() + y * width;
    float* const out = rows.data() + y * width;
    std::copy_n(in, width, out);
    for (ptrdiff_t step = 1; step <= std::min<ptrdiff_t>(radius, width - 1); ++step) {
      for (ptrdiff_t x = 0; x < width - step; ++x) out[x] = choose(out[x], in[x + step]);
      for (ptrdiff_t x = step; x < width; ++x) out[x] = choose(out[x], in[x - step]);
    }
  }
  Distances squares = rows;
  for (ptrdiff_t y = 0; y < height; ++y) {
    float* const out = squares.data() + y * width;
    for (ptrdiff_t row = std::max<ptrdiff_t>(0, y - radius); row <= std::min<ptrdiff_t>(height - 1, y + radius);
         ++row) {
      const float* const in = rows.data() + row * width;
      for (ptrdiff_t x = 0; x < width; ++x) out[x] = choose(out[x], in[x]);
    }
  }
  return squares;
}

// The number of pixels, by distance from the key colour.
class Histogram {
 public:
  static constexpr int kBins = 1000;

  void Add(float distance, double weight = 1) {
    bins_[static_cast<size_t>(std::min(kBins - 1, static_cast<int>(distance * kBins)))] += weight;
  }
  bool Empty() const {
    return std::ranges::none_of(bins_, [](double count) { return count > 0; });
  }
  double Quantile(double share) const;
  double Threshold() const;
  double LostTo(double gone, double width) const;

 private:
  std::array<double, kBins> bins_ = {};
};

double Histogram::Quantile(double share) const {
  double total = 0, below = 0;
  for (const double count : bins_) total += count;
  for (size_t i = 0; i < bins_.size(); ++i) {
    below += bins_[i];
    if (below > 0 && below >= total * share) return static_cast<double>(i + 1) / kBins;
  }
  return 1;
}

// The threshold between the two groups of pixels that leaves the least variance within both (Otsu's method).
double Histogram::Threshold() const {
  double total = 0, sum = 0;
  for (size_t i = 0; i < bins_.size(); ++i) {
    total += bins_[i];
    sum += bins_[i] * static_cast<double>(i);
  }
  double best = -1, place = 0, below = 0, sumBelow = 0;
  for (size_t i = 0; i < bins_.size(); ++i) {
    below += bins_[i];
    sumBelow += bins_[i] * static_cast<double>(i);
    if (below == 0 || below == total) continue;
    const double apart = sumBelow / below - (sum - sumBelow) / (total - below);
    const double between = below * (total - below) * apart * apart;
    if (between > best) {
      best = between;
      place = static_cast<double>(i + 1) / kBins;
    }
  }
  // In pictures of nothing but the screen the threshold would lie within its noise.
  return std::max(place, 0.08);
}

// The share of the histogram's weight that the effect's step from transparent to opaque, the power 1.5, takes away.
double Histogram::LostTo(double gone, double width) const {
  double taken = 0, all = 0;
  for (size_t i = 0; i < bins_.size(); ++i) {
    if (bins_[i] == 0) continue;
    const double share = std::clamp(((static_cast<double>(i) + 0.5) / kBins - gone) / width, 0.0, 1.0);
    taken += bins_[i] * (1 - share * std::sqrt(share));
    all += bins_[i];
  }
  return all > 0 ? taken / all : 0;
}

// Well inside the screen and well inside the foreground, where no pixel is a mixture of both; for the foreground also
// the sum of colourfulness.
struct Regions {
  Histogram screen, front, colorfulness;
};

Regions Sorted(std::span<const PictureView> pictures, const std::array<double, 3>& color) {
  std::vector<Distances> distances;
  Histogram all;
  for (const PictureView& picture : pictures) {
    distances.push_back(DistancesFrom(color, picture));
    for (const float distance : distances.back()) all.Add(distance);
  }
  const double threshold = all.Threshold();
  Regions regions;
  for (size_t i = 0; i < pictures.size(); ++i) {
    const PictureView& picture = pictures[i];
    const int margin = std::max(4, picture.height / 180);
    const Distances nearest = Spread(distances[i], picture, margin, [](float a, float b) { return a < b ? a : b; });
    const Distances furthest = Spread(distances[i], picture, margin, [](float a, float b) { return a > b ? a : b; });
    size_t index = 0;
    for (int y = 0; y < picture.height; ++y) {
      for (int x = 0; x < picture.width; ++x, ++index) {
        if (furthest[index] < threshold) regions.screen.Add(distances[i][index]);
        if (nearest[index] < threshold) continue;
        regions.front.Add(distances[i][index]);
        regions.colorfulness.Add(distances[i][index], ChromaOf(picture.Pixel(x, y)).Length());
      }
    }
  }
  return regions;
}

}  // namespace

KeyValues FindKey(std::span<const PictureView> pictures, std::optional<std::array<uint8_t, 3>> named) {
  constexpr double kSpecks = 0.002;  // Share of the screen that may stay: noise.
  constexpr double kHoles = 0.001;   // Share of the foreground that may become less than three quarters opaque.
  constexpr double kThreeQuarters = 0.8254818;  // (3/4)^(1/1.5), the effect's step being the power 1.5.
  constexpr double kMixed = 0.12;  // Of the way from screen to foreground: up to here a colour is mostly the screen's.
  constexpr double kThinned = 0.005;  // Share of the foreground's opacity that may be lost, on average.
  constexpr double kFaded = 0.06;     // Share of its colourfulness that may be lost to anti-spill.
  const std::array<double, 3> color = KeyFor(Screen(pictures, named));
  const Regions regions = Sorted(pictures, color);
  if (regions.screen.Empty()) throw KeyError("the screen is nowhere free of what stands before it");
  const double clear = regions.screen.Quantile(1 - kSpecks) + 0.005;
  // Without a foreground somebody may still come: leaves as much room as people usually do.
  const double holes = regions.front.Empty() ? std::max(0.25, clear + 0.1) : regions.front.Quantile(kHoles);
  if (holes < clear + 0.01) {
    throw KeyError(
        "the screen's light differs too much, or its colour is in what stands before it: they can't be told apart");
  }
  const double gone = clear + kMixed * (holes - clear);
  double step = (holes - gone) / kThreeQuarters;
  while (step > 0.02 && regions.front.LostTo(gone, step) > kThinned) step -= 0.002;
  double spill = step;
  while (spill < 2.5 * step && regions.colorfulness.LostTo(gone, spill + 0.005) < kFaded) spill += 0.005;
  const auto thousandths = [](double value) { return std::clamp<int64_t>(std::llround(value * 1000), 1, 1000); };
  return {{color[0], color[1], color[2]}, thousandths(gone), thousandths(step), thousandths(spill)};
}

double KeyedShare(const PictureView& picture, std::span<const double, 3> color, int64_t similarity) {
  const auto limit = static_cast<float>(static_cast<double>(similarity) / 1000.0);
  const Distances distances = DistancesFrom(color, picture);
  const auto keyed = std::ranges::count_if(distances, [&](float distance) { return distance <= limit; });
  return static_cast<double>(keyed) / static_cast<double>(distances.size());
}

}  // namespace qvg::effectkit
