#include "reference/effect.h"

#include <algorithm>
#include <cmath>
#include <sstream>

namespace qvg::reference {
namespace {

constexpr double kPrecision = 1e-6, kDistancePrecision = 1e-5;

double Unit(double value) { return std::clamp(value, 0.0, 1.0); }
double Dot(const Triple& a, const Triple& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
double Max(const Triple& c) { return std::max({c[0], c[1], c[2]}); }
double Min(const Triple& c) { return std::min({c[0], c[1], c[2]}); }
double Lightness(const Triple& c) { return (Max(c) + Min(c)) / 2; }
Triple Rgb(const Color& c) { return {c[0], c[1], c[2]}; }

template <class Channel>
Triple Each(Channel channel) {
  return {channel(0), channel(1), channel(2)};
}
Triple Mix(const Triple& a, const Triple& b, double share) {
  return Each([&](int c) { return a[c] + (b[c] - a[c]) * share; });
}
Triple Clamped(const Triple& a) {
  return Each([&](int c) { return Unit(a[c]); });
}

/// The inputs of one pixel.
struct Samples {
  Color centre;
  std::array<Triple, 4> box = {};
  Triple blurTaps = {};  // weighted, without the centre
  double centreWeight = 1;
  Color under = {};
};

// ---- Key

double KeyDistance(const Triple& linear, const std::array<double, 2>& key) {
  const Triple rgb = Each(
      [&](int c) { return linear[c] <= 0.0031308 ? 12.92 * linear[c] : 1.055 * std::pow(linear[c], 1 / 2.4) - 0.055; });
  const auto [cb, cr] = KeyChroma(rgb);
  return std::hypot(cb - key[0], cr - key[1]);
}

Color Keyed(const Samples& s, const EffectSettings& p) {
  const double alpha = s.centre[3];
  if (alpha == 0) return {};
  const Triple rgb = Each([&](int c) { return s.centre[c] / alpha; });
  double distance = KeyDistance(rgb, p.keyChroma);
  for (const Triple& tap : s.box) distance += 2 * KeyDistance(tap, p.keyChroma);
  const double base = distance / 9 - p.similarity;
  const double grey = Dot(rgb, {0.2126, 0.7152, 0.0722});
  const Triple despilled = Mix({grey, grey, grey}, rgb, std::pow(Unit(base / p.spill), 1.5));
  const double a = alpha * std::pow(Unit(base / p.smoothness), 1.5);
  return {despilled[0] * a, despilled[1] * a, despilled[2] * a, a};
}

// ---- Beauty

bool IsSkin(const Triple& rgb) {
  const double x3 = Dot(rgb, {0.5, -0.4187, -0.0813}), x4 = Dot(rgb, {-0.1687, -0.3313, 0.5});
  if (x4 > -0.029597) return false;
  if (x4 > -0.0615369) return x3 > 0.0434402 && rgb[1] > 0.168271;
  if (x3 > 0.0678488) return x3 <= 0.185183;
  return x3 > 0.0352417 && rgb[2] > 0.686631;
}

Triple Smoothed(const Triple& rgb, const Samples& s, double level) {
  const Triple g = Each([&](int c) { return rgb[c] * s.centreWeight + s.blurTaps[c]; });
  const double m = Max(Each([&](int c) { return Unit(48 * (rgb[c] - g[c]) * (rgb[c] - g[c])); }));
  return Mix(rgb, g, (1 - m / (m + 0.2)) * Unit((std::min(rgb[2], g[2]) - 0.2) * 5) * level);
}

Triple Whitened(const Triple& rgb, double level) {
  const Triple c = Each([&](int i) { return rgb[i] * 255; });
  double y = Dot(c, {0.183, 0.614, 0.062}) + 16;
  const double u = Dot(c, {-0.101, -0.339, 0.439}), v = Dot(c, {0.439, -0.399, -0.040});
  y = std::log(y / 255 * level + 1) / std::log(1 + level) * 255;
  const double base = 1.164 * (y - 16);
  return Clamped({(base + 1.793 * v) / 255, (base - 0.213 * u - 0.533 * v) / 255, (base + 2.112 * u) / 255});
}

Triple Beautified(Triple rgb, const Samples& s, const EffectSettings& p) {
  if (!IsSkin(rgb)) return rgb;
  if (p.blur > 0) rgb = Smoothed(rgb, s, p.blur);
  return p.whitten > 0 ? Whitened(rgb, p.whitten) : rgb;
}

// ---- Colour

// 0..1, 0 for greys. The guard keeps the division defined.
double Hue(const Triple& c, double guard) {
  const double d = 6 * (Max(c) - Min(c)) + guard;
  if (c[0] >= c[1] && c[0] >= c[2]) return c[1] >= c[2] ? (c[1] - c[2]) / d : 1 - (c[2] - c[1]) / d;
  return c[1] >= c[2] ? 1.0 / 3 + (c[2] - c[0]) / d : 2.0 / 3 + (c[0] - c[1]) / d;
}

// The fully saturated colour of a hue.
Triple Rainbow(double hue) {
  return Each([&](int c) {
    const double turn = hue + (3 - c) / 3.0;
    return Unit(std::abs((turn - std::floor(turn)) * 6 - 3) - 1);
  });
}

Triple AdjustedHSV(const Triple& rgb, const EffectSettings& p) {
  const double scaled = Hue(rgb, 0.001) * (1 - p.hue);
  const double s = Unit((Max(rgb) - Min(rgb)) / (Max(rgb) + 0.001) * (1 + p.saturation));
  const double v = Unit(Max(rgb) * (1 + p.brightness));
  const Triple full = Rainbow(scaled - std::floor(scaled));
  return Each([&](int c) { return v * (1 - s + s * full[c]); });
}

Triple WithTemperature(const Triple& rgb, double temperature) {
  static const Triple high = Kelvin(40000), low = Kelvin(1000);
  const Triple& white = temperature < 0 ? high : low;
  const Triple blended = Mix(rgb, Each([&](int c) { return rgb[c] * white[c]; }), std::abs(temperature));
  const double saturation = (Max(blended) - Min(blended)) / (1 - std::abs(2 * Lightness(blended) - 1) + 1e-10);
  const double l = Lightness(rgb), chroma = (1 - std::abs(2 * l - 1)) * saturation;
  const Triple full = Rainbow(Hue(blended, 1e-10));
  return Clamped(Each([&](int c) { return (full[c] - 0.5) * chroma + l; }));
}

Triple WithShadowAndHighlight(const Triple& rgb, double shadow, double highlight) {
  const double l = Lightness(rgb);
  if (l == 0) return rgb;
  const double dark = 1 / (shadow + 1);
  const double sv = Unit(std::pow(l, dark) - 0.76 * std::pow(l, 2 * dark) - l);
  // At a highlight of 1 the exponent is infinite, and the power of a number below 1 is 0.
  const double p = highlight < 1 ? std::pow(1 - l, 1 / (1 - highlight)) : 0;
  const double hv = std::clamp(1 - (p - 0.8 * p * p) - l, -1.0, 0.0);
  return Each([&](int c) { return (l + sv + hv) * rgb[c] / l; });
}

Triple Coloured(Triple rgb, const EffectSettings& p) {
  if (p.hue != 0 || p.saturation != 0 || p.brightness != 0) rgb = AdjustedHSV(rgb, p);
  if (p.contrast != 0) rgb = Each([&](int c) { return (rgb[c] - 0.5) * std::max(p.contrast + 1, 0.0) + 0.5; });
  rgb = Clamped(rgb);
  if (p.temperature != 0) rgb = WithTemperature(rgb, p.temperature);
  if (p.shadow != 0 || p.highlight != 0) rgb = WithShadowAndHighlight(rgb, p.shadow, p.highlight);
  return rgb;
}

// ---- Putting together

Color OverBackground(const Color& c, const Color& under) {
  const double a = c[3] + (1 - c[3]) * under[3];
  if (c[3] >= 1 || a == 0) return c;
  const Triple rgb = Mix(Rgb(under), Rgb(c), c[3] / a);
  return {rgb[0], rgb[1], rgb[2], a};
}

Color Shaded(const Samples& s, const EffectSettings& p) {
  Color c = p.key ? Keyed(s, p) : s.centre;
  Triple rgb = Rgb(c);
  if (p.beauty) rgb = Beautified(rgb, s, p);
  if (p.color) rgb = Coloured(rgb, p);
  c = {rgb[0], rgb[1], rgb[2], c[3]};
  return p.background ? OverBackground(c, s.under) : c;
}

Samples SamplesAt(const EffectScene& scene, int x, int y) {
  const EffectSettings& p = scene.settings;
  const auto at = [&](double dx, double dy) { return Rgb(SampleLinear(scene.frame, x + 0.5 + dx, y + 0.5 + dy)); };
  Samples s = {scene.frame.at(x, y)};
  s.box = {at(-1, -0.5), at(1, 0.5), at(-0.5, 1), at(0.5, -1)};
  const int radius = static_cast<int>(std::lround(p.blur * 100));
  if (radius > 1) {
    std::vector<double> weights;
    double sum = 0;
    for (int i = 0; i < radius; ++i) {
      weights.push_back(std::exp(-4.5 * i * i / (1.0 * radius * radius)));
      sum += weights.back() * (i > 0 ? 2 : 1);
    }
    s.centreWeight = weights[0] / sum;
    for (int i = 1; i < radius; ++i) {
      const Triple before = at(-i, -i), after = at(i, i);
      for (int c = 0; c < 3; ++c) s.blurTaps[c] += weights[i] / sum * (before[c] + after[c]);
    }
  }
  if (p.kernel) {
    Triple sharp = {};
    for (int dy = -1; dy <= 1; ++dy)
      for (int dx = -1; dx <= 1; ++dx)
        for (int c = 0; c < 3; ++c) sharp[c] += at(dx, dy)[c] * (*p.kernel)[dy + 1][dx + 1];
    sharp = Clamped(sharp);
    std::copy(sharp.begin(), sharp.end(), s.centre.begin());
  }
  return s;
}

// The samples as single precision may shift them, each channel up or down according to its bit. The background may be
// filtered with 8 bits, which is a step.
Samples Shifted(Samples s, int signs) {
  for (int c = 0; c < 3; ++c) {
    const double sign = signs >> c & 1 ? 1 : -1;
    s.centre[c] = Unit(s.centre[c] + sign * kPrecision);
    s.blurTaps[c] += sign * kPrecision;
    s.under[c] = Unit(s.under[c] + sign / 255);
  }
  s.under[3] = Unit(s.under[3] + (signs & 1 ? 1 : -1) / 255.0);
  return s;
}

}  // namespace

Triple Kelvin(double kelvin) {
  const double t = std::clamp(kelvin, 1000.0, 40000.0) / 100;
  const bool warm = t <= 66;
  const double blue = std::log(std::max(t - 10, 1.0)) * 0.543206789110196 - 1.19625408914;
  return Clamped({warm ? 1 : 1.292936186062745 * std::pow(t - 60, -0.1332047592),
                  warm ? std::log(t) * 0.3900815787690196 - 0.6318414437886275
                       : 1.1298908608952942 * std::pow(t - 60, -0.0755148492),
                  t >= 66 ? 1 : (t <= 19 ? 0 : blue)});
}

std::array<double, 2> KeyChroma(const Triple& rgb) {
  return {Dot(rgb, {-0.100644, -0.338572, 0.439216}) + 0.501961, Dot(rgb, {0.439216, -0.398942, -0.040274}) + 0.501961};
}

EffectResult ExpectedEffect(const EffectScene& scene) {
  const int turns = scene.quarterTurns % 4;
  int width = scene.frame.width, height = scene.frame.height;
  if (turns % 2 != 0) std::swap(width, height);
  EffectResult result = {Image(width, height), Image(width, height), Image(width, height)};
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      // The texel of the frame that is shown here.
      int column = x, row = y;
      if (turns == 1) column = height - 1 - y, row = x;
      if (turns == 2) column = width - 1 - x, row = height - 1 - y;
      if (turns == 3) column = y, row = width - 1 - x;
      if (scene.flipped) row = scene.frame.height - 1 - row;
      Samples s = SamplesAt(scene, column, row);
      if (!scene.background.empty()) {
        s.under = SampleLinear(scene.background, (x + 0.5) / width * scene.background.width,
                               (height - y - 0.5) / height * scene.background.height);
      }
      Color& low = result.low.at(x, y);
      Color& high = result.high.at(x, y);
      low = high = result.image.at(x, y) = Shaded(s, scene.settings);
      for (int signs = 0; signs < 16; ++signs) {
        EffectSettings settings = scene.settings;
        settings.similarity += signs & 8 ? kDistancePrecision : -kDistancePrecision;
        const Color shifted = Shaded(Shifted(s, signs), settings);
        for (int c = 0; c < 4; ++c) {
          low[c] = std::min(low[c], shifted[c]);
          high[c] = std::max(high[c], shifted[c]);
        }
      }
    }
  }
  return result;
}

std::string CompareEffect(const EffectResult& expected, const Image& actual, Errors& errors) {
  if (std::string fault = SizeFault(expected.image, actual); !fault.empty()) return fault;
  std::ostringstream text;
  size_t bad = 0;
  for (size_t i = 0; i < actual.texels.size(); ++i) {
    double outside = 0;
    for (int c = 0; c < 4; ++c) {
      const double value = actual.texels[i][c];
      outside = std::max(
          {outside, (Unit(expected.low.texels[i][c]) - value) * 255, (value - Unit(expected.high.texels[i][c])) * 255});
    }
    ++errors.compared;
    errors.largest = std::max(errors.largest, outside);
    if (outside <= kEffectLimit || bad++ > 0) continue;
    text << TexelFault(expected.image, actual, i) << ": " << outside << " steps outside its range";
  }
  if (bad > 1) text << " (" << bad << " such texels of " << actual.texels.size() << ')';
  return text.str();
}

}  // namespace qvg::reference
