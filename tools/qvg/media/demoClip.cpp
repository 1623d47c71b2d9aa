#include "media/demoClip.h"

#include <algorithm>
#include <cmath>
#include <thread>

namespace qvgtool {
namespace {

constexpr float kPi = 3.14159265f;

// Coordinates: the picture's height is 1, x is 0 in the middle, y is 0 at the top and grows downwards.
struct Point {
  float x, y;
  Point operator+(Point o) const { return {x + o.x, y + o.y}; }
  Point operator-(Point o) const { return {x - o.x, y - o.y}; }
  Point operator*(float f) const { return {x * f, y * f}; }
};
float Dot(Point a, Point b) { return a.x * b.x + a.y * b.y; }
float Length(Point a) { return std::sqrt(Dot(a, a)); }
Point Turned(Point p, float angle) {
  const float c = std::cos(angle), s = std::sin(angle);
  return {c * p.x - s * p.y, s * p.x + c * p.y};
}

struct Color {
  float r, g, b;
  Color operator+(Color o) const { return {r + o.r, g + o.g, b + o.b}; }
  Color operator*(float f) const { return {r * f, g * f, b * f}; }
};
Color Mix(Color a, Color b, float t) { return a * (1 - t) + b * t; }
float Mix(float a, float b, float t) { return a + (b - a) * t; }

// 0 at and beyond `from`, 1 at and beyond `to`, smooth between.
float Ramp(float from, float to, float value) {
  const float t = std::clamp((value - from) / (to - from), 0.0f, 1.0f);
  return t * t * (3 - 2 * t);
}
float Blob(Point p, float radius) {
  const float exponent = Dot(p, p) / (radius * radius);
  return exponent < 20 ? std::exp(-exponent) : 0;  // exp() is slow where it underflows.
}

uint32_t Hash(uint32_t x, uint32_t y, uint32_t z) {
  uint32_t h = x * 0x9E3779B1u ^ y * 0x85EBCA77u ^ z * 0xC2B2AE3Du;
  h = (h ^ (h >> 15)) * 0x2C1B3C6Du;
  h = (h ^ (h >> 12)) * 0x297A2D39u;
  return h ^ (h >> 15);
}
float Random(int x, int y, int z) {
  return static_cast<float>(Hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y), static_cast<uint32_t>(z)) >> 8) /
         16777216.0f;
}
// Smooth noise with one random value per unit.
float Noise(float x, float y, int seed) {
  const float fx = std::floor(x), fy = std::floor(y);
  const int ix = static_cast<int>(fx), iy = static_cast<int>(fy);
  const float tx = Ramp(0, 1, x - fx), ty = Ramp(0, 1, y - fy);
  return Mix(Mix(Random(ix, iy, seed), Random(ix + 1, iy, seed), tx),
             Mix(Random(ix, iy + 1, seed), Random(ix + 1, iy + 1, seed), tx), ty);
}

// Distances to outlines, negative inside.
float Ellipse(Point p, float rx, float ry) {
  const float k = Length({p.x / rx, p.y / ry});
  const float gradient = Length({p.x / (rx * rx), p.y / (ry * ry)});
  return gradient < 1e-6f ? -std::min(rx, ry) : k * (k - 1) / gradient;
}
struct Limb {  // A rod with round ends.
  Point a, b;
  float ra, rb;
};
// outwards: the vector from the rod's middle line to the point, in radii.
float Distance(const Limb& limb, Point p, Point* outwards = nullptr) {
  const Point axis = limb.b - limb.a, q = p - limb.a;
  const float t = std::clamp(Dot(q, axis) / Dot(axis, axis), 0.0f, 1.0f);
  const float radius = Mix(limb.ra, limb.rb, t);
  const Point away = q - axis * t;
  if (outwards) *outwards = away * (1 / radius);
  return Length(away) - radius;
}
float SmoothUnion(float a, float b, float k) {
  const float h = std::max(k - std::abs(a - b), 0.0f) / k;
  return std::min(a, b) - h * h * k / 4;
}

// Light comes from above, from the left and from the front.
float Lit(Point n, float flatness, float roundness = 0.85f) {
  const float nz = std::sqrt(std::max(0.0f, 1 - Dot(n, n))) + flatness;
  const float length = std::sqrt(roundness * roundness * Dot(n, n) + nz * nz);
  return ((-0.46f * n.x - 0.52f * n.y) * roundness + 0.72f * nz) / length;
}
float Lit(float nx, float ny, float nz) {
  const float length = std::sqrt(nx * nx + ny * ny + nz * nz);
  return (-0.46f * nx - 0.52f * ny + 0.72f * nz) / length;
}

constexpr Color kSkinLight{0.93f, 0.73f, 0.61f}, kSkin{0.82f, 0.57f, 0.45f}, kSkinDark{0.46f, 0.25f, 0.19f};
constexpr Color kHair{0.20f, 0.115f, 0.07f}, kHairLight{0.56f, 0.36f, 0.21f};
constexpr Color kWool{0.20f, 0.30f, 0.55f}, kWoolDark{0.075f, 0.115f, 0.25f};

Color Skin(float lit) {
  const float t = std::clamp(lit * 0.75f + 0.25f, 0.0f, 1.0f);
  return t < 0.6f ? Mix(kSkinDark, kSkin, Ramp(0, 0.6f, t)) : Mix(kSkin, kSkinLight, Ramp(0.6f, 1, t));
}

constexpr float kSleeve = 0.235f;  // Where it ends on the forearm.

// The person at one moment.
class Person {
 public:
  Person(float seconds, float pixel) : pixel_(pixel) {
    const auto swing = [&](float period, float phase) { return std::sin(2 * kPi * seconds / period + phase); };
    body_ = {-0.10f + 0.008f * swing(3.7f, 0), -0.03f};
    head_ = body_ + Point{0.018f * swing(2.6f, 0.4f), 0.430f + 0.006f * swing(1.9f, 0)};
    tilt_ = 0.055f * swing(3.1f, 1.0f);
    const float sinceBlink = std::fmod(seconds + 0.5f, 2.3f);
    eyeOpen_ = 1 - 0.92f * std::exp(-std::pow((sinceBlink - 1.2f) / 0.06f, 2.0f));
    smile_ = 0.78f + 0.22f * swing(2.9f, 2.0f);
    const Point elbow = body_ + Point{0.385f, 0.93f};
    const float wave = 0.13f + 0.33f * swing(0.9f, 0);
    const auto along = [&](float across, float up) { return elbow + Turned({across, -up}, wave); };
    forearm_ = Turned({0, -1}, wave);
    elbow_ = elbow;
    upperArm_ = {body_ + Point{0.195f, 0.805f}, elbow, 0.082f, 0.066f};
    sleeve_ = {elbow, along(0, kSleeve + 0.06f), 0.066f, 0.040f};
    wrist_ = {along(0, 0.20f), along(0, 0.32f), 0.030f, 0.035f};
    palm_[0] = {along(-0.016f, 0.318f), along(-0.024f, 0.372f), 0.033f, 0.027f};
    palm_[1] = {along(0.016f, 0.318f), along(0.024f, 0.368f), 0.033f, 0.026f};
    const struct {
      float x, spread, length;
    } fingers[] = {
        {-0.036f, -0.022f, 0.072f}, {-0.0125f, -0.007f, 0.090f}, {0.0115f, 0.008f, 0.084f}, {0.034f, 0.022f, 0.064f}};
    for (size_t i = 0; i < 4; ++i) {
      const auto& f = fingers[i];
      fingers_[i] = {along(f.x, 0.378f), along(f.x + f.spread, 0.378f + f.length), 0.0148f, 0.0112f};
    }
    thumb_ = {along(-0.030f, 0.325f), along(-0.078f, 0.380f), 0.0185f, 0.0130f};
  }

  // light: on the screen, where it shows.
  Color Paint(Point p, float light) const {
    Color c{0.135f, 0.665f, 0.255f};
    if (!_Near(p)) return c * light;
    const float torso = _Torso(p);
    if (torso > -4 * pixel_)
      c = c * (light * (1 - 0.34f * Ramp(0.10f, -0.06f, _Silhouette(p - Point{0.075f, 0.045f}))));
    const float fromHead = Length(p - head_);
    if (fromHead < 0.36f) c = _PaintHairBehind(p, c);
    if (p.y > head_.y + 0.05f && p.x < body_.x + 0.36f) c = _PaintNeckAndTorso(p, torso, c);
    if (fromHead < 0.22f) c = _PaintHead(Turned(p - head_, -tilt_), c);
    return p.x > body_.x + 0.10f && p.y > 0.36f ? _PaintArm(p, torso, c) : c;
  }

 private:
  float Cover(float distance, float softness = 1) const {
    return Ramp(softness * pixel_, -softness * pixel_, distance);
  }

  bool _Near(Point p) const { return p.x > body_.x - 0.45f && p.x < body_.x + 0.80f && p.y > 0.12f; }

  // For the shadow on the screen.
  float _Silhouette(Point p) const {
    const float body = std::min(_Torso(p), Ellipse(p - head_, 0.15f, 0.20f));
    return std::min(body, std::min(Distance(upperArm_, p), Distance(sleeve_, p)));
  }

  float _Torso(Point p) const {
    const Point q = p - body_;
    const float shoulders = Distance({{-0.185f, 0.80f}, {0.185f, 0.80f}, 0.088f, 0.088f}, q);
    const float slope = Distance({{0, 0.70f}, {0, 0.85f}, 0.085f, 0.16f}, q);
    const float chest = Distance({{0, 0.9f}, {0, 1.2f}, 0.265f, 0.25f}, q);
    return SmoothUnion(SmoothUnion(shoulders, slope, 0.08f), chest, 0.06f);
  }

  Color _Strands(float across, float along, float light) const {
    const float strand = Noise(across * 95, along * 5, 11) * 0.6f + Noise(across * 210, along * 9, 12) * 0.4f;
    return Mix(kHair, kHairLight, std::clamp(light * (0.35f + 1.1f * (strand - 0.3f)) + 0.16f * strand, 0.0f, 1.0f));
  }

  Color _PaintHairBehind(Point p, Color c) const {
    const Point q = Turned(p - head_, -tilt_ * 0.6f);
    const float top = Ellipse(q - Point{0, -0.025f}, 0.150f, 0.180f);
    const float wisp = 0.006f * (Noise(q.x * 60, q.y * 12, 13) - 0.5f);
    const float fall = Distance({{0, 0.0f}, {0, 0.155f}, 0.145f, 0.150f}, q) + Ramp(0.24f, 0.30f, q.y) * 0.05f;
    const float d = SmoothUnion(top, fall, 0.05f) + wisp;
    const float light = 0.35f * Ramp(0.10f, -0.16f, q.y - q.x * 0.3f);
    return Mix(c, _Strands(q.x * (1 - 0.5f * q.y), q.y, light) * 0.85f, Cover(d, 2.2f));
  }

  Color _PaintNeckAndTorso(Point p, float body, Color c) const {
    const Point q = p - body_;
    const Point neckTop = head_ + Point{0, 0.08f};
    const Point neckEnd = body_ + Point{0, 0.70f};
    Point out{};
    const float neck = SmoothUnion(Distance({neckTop, neckEnd, 0.051f, 0.058f}, p, &out),
                                   Ellipse(q - Point{0, 0.715f}, 0.118f, 0.070f), 0.05f);
    if (neck < 0.01f) {
      const float shade = Ramp(0.155f, 0.215f, p.y - head_.y - 0.25f * (p.x - head_.x));
      const float hollow = 0.10f * Blob({q.x * 1.6f, q.y - 0.715f}, 0.018f);
      const float lit = Lit({std::clamp(out.x, -1.0f, 1.0f) * 0.75f, 0}, 0.1f) * Mix(0.30f, 0.88f, shade) - hollow;
      c = Mix(c, Skin(lit), Cover(neck));
    }
    const float cut = Ellipse(q - Point{0, 0.685f}, 0.088f, 0.068f);
    const float neckline = q.y < 0.685f ? std::abs(q.x) - 0.088f : cut;
    const float torso = std::max(body, -neckline);
    if (torso < 0.01f) {
      const float depth = std::clamp(-body / 0.10f, 0.0f, 1.0f);
      const float edge = 1 - depth;
      const float folds = std::sin(q.x * 34 + 9 * q.y + 3 * Noise(q.x * 7, q.y * 7, 21)) * Ramp(0.80f, 1.0f, q.y);
      const float nx = q.x * 1.9f + 0.13f * folds, ny = -0.9f * edge * Ramp(0.95f, 0.70f, q.y) + 0.05f;
      const float knit = 0.05f * (Noise(q.x * 260, q.y * 90, 22) - 0.5f) + 0.03f * std::sin(q.y * 620 + q.x * 60);
      const float lit = std::clamp(Lit(nx, ny, 0.85f - 0.4f * edge) * 0.95f + knit, 0.0f, 1.0f);
      Color wool = Mix(kWoolDark, kWool, lit);
      const float collar = Ramp(0.022f, 0.018f, neckline);
      wool = Mix(wool, wool * 0.72f + kWool * 0.12f,
                 collar * (0.75f + 0.25f * std::sin(std::atan2(q.y - 0.660f, q.x) * 90)));
      const float chinShadow = 0.35f * Blob({(q.x - 0.02f) * 0.8f, q.y - 0.76f}, 0.06f);
      c = Mix(c, wool * (1 - chinShadow), Cover(torso));
    }
    return c;
  }

  Color _PaintHead(Point q, Color c) const {
    for (const float s : {-1.0f, 1.0f}) {
      const Point e = q - Point{s * 0.113f, 0.012f};
      const float ear = Ellipse(Turned(e, s * 0.15f), 0.018f, 0.034f);
      const float bowl = Blob({e.x * 1.6f, e.y}, 0.018f);
      c = Mix(c, Skin(0.55f - 0.25f * s - 0.35f * bowl), Cover(ear));
    }
    const float jaw = 1 - 0.20f * Ramp(0.0f, 0.15f, q.y);
    const float rx = 0.113f * jaw, ry = 0.158f;
    const float face = Ellipse(q, rx, ry);
    if (face < 0.01f) c = Mix(c, _Face(q, rx, ry), Cover(face));
    return _PaintFringe(q, c);
  }

  Color _Face(Point q, float rx, float ry) const {
    const float nx = q.x / rx, ny = q.y / ry;
    const float nz = std::sqrt(std::max(0.0f, 1 - nx * nx - ny * ny));
    float lit = Lit(nx * 0.95f, ny * 0.70f, nz + 0.22f);
    // Eye sockets, nose, the fold beside it, the hollow below the lip, the hair's shadow.
    for (const float s : {-1.0f, 1.0f}) {
      lit -= 0.13f * Blob({q.x - s * 0.043f, (q.y + 0.020f) * 1.5f}, 0.030f);
      lit -= 0.05f * Blob(Turned(q - Point{s * 0.040f, 0.062f}, s * 0.5f), 0.012f);
      lit += 0.07f * Blob(q - Point{s * 0.055f, 0.036f}, 0.024f);
    }
    const float ridge = Ramp(-0.03f, 0.0f, q.y) * Ramp(0.054f, 0.040f, q.y);
    const float width = Mix(0.007f, 0.015f, Ramp(0.0f, 0.04f, q.y));
    lit += ridge * (0.10f * Blob({q.x + 0.003f, 0}, width) - 0.17f * Blob({q.x - width * 1.25f, 0}, width * 0.7f));
    lit += 0.10f * Blob(q - Point{-0.002f, 0.034f}, 0.010f);
    lit -= 0.30f * Blob({(q.x - 0.003f) * 0.6f, q.y - 0.054f}, 0.0065f);
    lit -= 0.15f * Blob({q.x * 0.6f, q.y - 0.113f}, 0.010f);
    lit -= 0.25f * Ramp(-0.045f, -0.10f, q.y + 0.9f * q.x * q.x * 6);
    lit += 0.030f * (Noise(q.x * 420, q.y * 420, 31) - 0.5f) + 0.045f * (Noise(q.x * 130, q.y * 130, 32) - 0.5f);
    Color c = Skin(lit);
    const auto tint = [&](float amount, Color target) { c = Mix(c, target, std::clamp(amount, 0.0f, 1.0f)); };
    for (const float s : {-1.0f, 1.0f})
      tint(0.22f * Blob(q - Point{s * 0.060f, 0.044f}, 0.030f), {0.86f, 0.42f, 0.38f});
    tint(0.14f * Blob(q - Point{0, 0.038f}, 0.016f), {0.88f, 0.46f, 0.40f});
    for (int i = 0; i < 26; ++i) {  // Freckles.
      const Point at{0.085f * (2 * Random(i, 1, 33) - 1), 0.012f + 0.045f * Random(i, 2, 33)};
      tint(0.20f * Blob(q - at, 0.0012f + 0.0012f * Random(i, 3, 33)), {0.52f, 0.29f, 0.20f});
    }
    c = c + Color{1, 0.95f, 0.9f} *
                (0.16f * Blob(q - Point{-0.035f, -0.062f}, 0.035f) + 0.12f * Blob(q - Point{-0.003f, 0.033f}, 0.0045f));
    for (const float s : {-1.0f, 1.0f}) {
      tint(0.85f * Blob({(q.x - s * 0.0095f) * 0.75f, q.y - 0.0475f}, 0.0032f), {0.24f, 0.10f, 0.08f});
      _PaintEye({(q.x - s * 0.044f), q.y + 0.012f}, s, tint);
    }
    _PaintMouth({q.x, q.y - 0.083f}, tint);
    // Green light from the screen grazes the edge.
    const float rim = std::pow(1 - nz, 4.0f);
    return c + Color{-0.01f, 0.05f, 0.0f} * rim;
  }

  template <class Tint>
  void _PaintEye(Point e, float s, const Tint& tint) const {
    const float u = e.x / 0.0245f;
    if (std::abs(u) < 1.5f && std::abs(e.y) < 0.06f) {
      const float arch = std::max(0.0f, 1 - u * u);
      const float corner = 0.0015f * s * u;  // Outer corners lie a little higher.
      const float upper = -0.0125f * std::pow(arch, 0.75f) * eyeOpen_ + 0.001f - corner,
                  lower = 0.0085f * arch * eyeOpen_ - corner;
      const float inside = std::max(upper - e.y, e.y - lower);
      const float lid = Cover(inside);
      const Point iris = e - Point{0.0012f, -0.0012f};
      const float radius = Length(iris);
      Color eye = Color{0.93f, 0.91f, 0.89f} * (0.62f + 0.38f * Ramp(upper, upper + 0.008f, e.y));
      eye = Mix(eye, {0.75f, 0.52f, 0.47f}, 0.5f * Ramp(0.75f, 1.0f, std::abs(u)));
      const Color brown =
          Mix({0.47f, 0.28f, 0.13f}, {0.20f, 0.11f, 0.06f},
              std::clamp(radius / 0.0105f + 0.25f * (Noise(std::atan2(iris.y, iris.x) * 9, 0, 41) - 0.5f), 0.0f, 1.0f));
      eye = Mix(eye, brown, Cover(radius - 0.0105f));
      eye = Mix(eye, {0.02f, 0.015f, 0.015f}, Cover(radius - 0.0047f));
      eye = Mix(eye, {1, 1, 1}, Cover(Length(e - Point{-0.0035f, -0.0055f}) - 0.0024f));
      tint(lid, eye);
      const float lash = std::abs(e.y - upper) - 0.0017f * (0.7f + 0.5f * u * s);
      if (arch > 0) tint(0.9f * Cover(lash), {0.09f, 0.05f, 0.04f});
      tint(0.35f * Ramp(0.0020f, 0.0f, std::abs(e.y - upper + 0.0058f)) * arch, {0.40f, 0.21f, 0.16f});
      if (arch > 0) tint(0.30f * Ramp(0.0016f, 0.0f, std::abs(e.y - lower)), {0.50f, 0.27f, 0.22f});
    }
    const float v = (e.x * s + 0.004f) / 0.033f;  // Along the brow, outwards.
    const float thick = 0.0056f * Ramp(1.1f, 0.1f, v) * Ramp(-1.0f, -0.7f, v) + 0.0006f;
    const float brow = std::abs(e.y + 0.0325f + 0.0065f * (1 - 0.6f * (v - 0.05f) * (v - 0.05f))) - thick;
    if (std::abs(v) < 1) {
      const float hairs = 0.65f + 0.35f * Noise(e.x * 700 + e.y * 500, e.y * 60, 42);
      tint(hairs * Ramp(0.003f, -0.002f, brow), kHair * 0.9f);
    }
  }

  template <class Tint>
  void _PaintMouth(Point m, const Tint& tint) const {
    const float u = m.x / (0.0375f + 0.004f * smile_);
    if (std::abs(u) >= 1.25f) return;
    const float arch = std::max(0.0f, 1 - u * u);
    const float curve = -0.0085f * smile_ * u * u;  // Corners rise.
    const float open = 0.0085f * smile_ * arch;
    const float bow = 0.0080f * std::pow(arch, 0.7f) * (1 - 0.30f * std::exp(-u * u * 40));
    const float top = curve - bow, bottom = curve + open + 0.0125f * std::pow(arch, 0.8f);
    const float lips = std::max(top - m.y, m.y - bottom);
    const float gap = std::max(curve - m.y, m.y - curve - open);
    const bool lower = m.y > curve + open * 0.5f;
    const Color lip = lower ? Mix({0.76f, 0.37f, 0.36f}, {0.90f, 0.58f, 0.55f},
                                  Blob({(m.x + 0.008f) * 0.5f, m.y - curve - open - 0.005f}, 0.005f))
                            : Color{0.64f, 0.28f, 0.28f};
    tint(0.88f * Cover(lips, 1.6f), lip);
    Color inside{0.24f, 0.06f, 0.07f};
    const float teeth = Ramp(curve + 0.0075f, curve + 0.0060f, m.y) * Ramp(0.92f, 0.70f, std::abs(u));
    inside = Mix(inside, Color{0.95f, 0.93f, 0.89f} * (0.80f + 0.20f * Ramp(curve, curve + 0.003f, m.y)), teeth);
    if (arch > 0) tint(Cover(gap - 0.0004f), inside);
    for (const float s : {-1.0f, 1.0f}) {
      tint(0.35f * Blob(m - Point{s * 0.041f, -0.0085f * smile_}, 0.0045f), {0.42f, 0.20f, 0.16f});
    }
  }

  Color _PaintFringe(Point q, Color c) const {
    const float cap = Ellipse(q - Point{0, -0.030f}, 0.136f, 0.150f);
    const float t = q.x + 0.028f;  // Distance from the parting.
    const float reach = t < 0 ? 11.0f : 6.6f;
    const float strand = 0.006f * (Noise(q.x * 150, q.y * 8, 51) - 0.5f);
    const float slope = reach * (2 * t + 3.6f * t * std::abs(t));
    const float hairline = (q.y + 0.118f - reach * t * t * (1 + 1.2f * std::abs(t))) / std::sqrt(1 + slope * slope);
    const float fringe = std::max(cap, hairline + strand);
    // Beside the face it falls over the temples and the ears, and blends into the hair behind.
    const float inner = 0.104f - 0.012f * Ramp(0.02f, 0.15f, q.y) + 0.004f * std::sin(q.y * 25 + 1) + strand;
    const float sides = std::max(std::max(inner - std::abs(q.x), std::abs(q.x) - 0.146f), -q.y - 0.05f);
    const float d = std::min(fringe, sides);
    if (d > 0.02f) return c;
    const float fade = fringe < sides ? 1.0f : Ramp(0.185f, 0.10f, q.y);
    const float around = std::atan2(t, 0.20f + q.y * 0.25f) * 0.28f;
    const float band = std::exp(-std::pow((q.y + 0.105f - 1.2f * q.x * q.x) / 0.030f, 2.0f));
    const float lit = 0.18f + 0.75f * band * Ramp(0.12f, -0.06f, q.x) + 0.15f * Ramp(0.05f, -0.10f, q.x);
    const float ends = 1 - 0.45f * Ramp(-0.02f, 0.14f, q.y);
    return Mix(c, _Strands(around + q.x * 0.5f, q.y + Length(q), lit) * ends, Cover(d, 2.0f) * fade);
  }

  Color _PaintArm(Point p, float body, Color c) const {
    const float up = Dot(p - elbow_, forearm_);
    const auto wool = [&](const Limb& limb, float end, float joint) {
      Point out{};
      const float d = std::max(Distance(limb, p, &out), up - end);
      if (d > 0.01f) return;
      const float folds = 0.22f * (Noise(p.x * 22 + p.y * 30, p.y * 16, 61) - 0.5f);
      const float knit = 0.04f * std::sin(p.y * 620 + p.x * 60);
      const float ribs = up > end - 0.030f ? 0.80f + 0.06f * std::sin(out.x * 40) : 1.0f;
      const float lit = (Lit(out, 0.05f) + folds) * 0.95f + knit;
      // At the shoulder the sleeve blends into the body.
      const Point axis = limb.b - limb.a;
      const float along = Dot(p - limb.a, axis) / Length(axis);
      const float blend = joint > 0 ? 1 - Ramp(0.01f, -0.02f, body) * Ramp(joint, 0, along) : 1.0f;
      c = Mix(c, Mix(kWoolDark, kWool, std::clamp(lit, 0.0f, 1.0f)) * ribs, Cover(d) * blend);
    };
    const float texture = up > 0.15f ? 0.04f * (Noise(p.x * 300, p.y * 300, 62) - 0.5f) : 0;
    const auto skin = [&](const Limb& limb, float light) {
      Point out{};
      const float d = Distance(limb, p, &out);
      if (d < 0.006f) c = Mix(c, Skin(Lit(out, 0.12f, 0.75f) * light + texture), Cover(d));
    };
    wool(upperArm_, 1, 0.16f);
    if (up > 0.15f) {
      skin(wrist_, 0.95f);
      for (const Limb& finger : fingers_) skin(finger, 0.98f);
      const float palm = SmoothUnion(Distance(palm_[0], p), Distance(palm_[1], p), 0.03f);
      if (palm < 0.006f) {
        const Point q{(p.x - elbow_.x) * -forearm_.y + (p.y - elbow_.y) * forearm_.x, up - 0.345f};
        const float creases = 0.10f * Blob({q.x * 0.35f, q.y - 0.016f + 0.35f * q.x}, 0.0035f) +
                              0.09f * Blob({q.x * 0.35f, q.y + 0.002f + 0.25f * q.x}, 0.0035f);
        const float cup = 0.10f * Blob(q, 0.024f);
        const float edge = 0.25f * Ramp(-0.014f, 0, palm) * Ramp(-0.04f, 0.06f, q.x);
        const Color color = Mix(Skin(0.86f - creases - cup - edge + texture), {0.90f, 0.50f, 0.45f}, 0.14f);
        c = Mix(c, color, Cover(palm));
      }
      skin(thumb_, 1.0f);
    }
    wool(sleeve_, kSleeve, 0);
    return c;
  }

  float pixel_;
  Point body_, head_;
  float tilt_, eyeOpen_, smile_;
  Point elbow_, forearm_;
  Limb upperArm_, sleeve_, wrist_, palm_[2], fingers_[4], thumb_;
};

// Light on the screen's cloth, the same in all frames.
float ScreenLight(Point p) {
  const float lamps = 0.80f + 0.30f * Blob(p - Point{-0.45f, 0.28f}, 0.75f);
  const float falloff = 0.22f * Ramp(0.3f, 1.1f, Length(p - Point{-0.1f, 0.45f}));
  const float folds =
      0.016f * std::sin(p.x * 21 + 1.4f * std::sin(p.y * 2.7f)) + 0.02f * (Noise(p.x * 5, p.y * 2, 71) - 0.5f);
  return lamps - falloff + folds;
}

// The coordinates of a pixel's centre.
Point At(int x, int y, const VideoFormat& format) {
  const auto height = static_cast<float>(format.height);
  return {(static_cast<float>(x) + 0.5f - static_cast<float>(format.width) * 0.5f) / height,
          (static_cast<float>(y) + 0.5f) / height};
}

// Calls paint(x, y) for every pixel of a new RGBA frame, on all cores.
template <class Paint>
FramePtr PaintFrame(int width, int height, const Paint& paint) {
  FramePtr frame = NewPackedFrame(PixelFormat::kRGBA, width, height);
  const int workers = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1u, 16u));
  std::vector<std::jthread> threads;
  threads.reserve(static_cast<size_t>(workers));
  for (int worker = 0; worker < workers; ++worker) {
    threads.emplace_back([&, worker] {
      for (int y = worker; y < height; y += workers) {
        uint8_t* out = frame->data[0] + static_cast<ptrdiff_t>(y) * frame->stride[0];
        for (int x = 0; x < width; ++x, out += 4) {
          const Color c = paint(x, y);
          const float channels[4] = {c.r, c.g, c.b, 1};
          for (int i = 0; i < 4; ++i) {
            out[i] = static_cast<uint8_t>(std::clamp(channels[i], 0.0f, 1.0f) * 255 + 0.5f);
          }
        }
      }
    });
  }
  threads.clear();
  return frame;
}

}  // namespace

DemoClip::DemoClip(int width, int height) {
  format_.width = width;
  format_.height = height;
  format_.frameCount = 100;
  light_.resize(static_cast<size_t>(width) * static_cast<size_t>(height));
  for (size_t i = 0; i < light_.size(); ++i) {
    light_[i] = ScreenLight(At(static_cast<int>(i) % width, static_cast<int>(i) / width, format_));
  }
}

bool DemoClip::Seek(double seconds) {
  next_ = std::max<int64_t>(0, static_cast<int64_t>(std::ceil(seconds * Value(format_.frameRate) - 1e-6)));
  return true;
}

FramePtr DemoClip::Read() {
  if (next_ >= format_.frameCount) return nullptr;
  const int64_t index = next_++;
  const Person person(static_cast<float>(index) / 25, 1 / static_cast<float>(format_.height));
  FramePtr frame = PaintFrame(format_.width, format_.height, [&](int x, int y) {
    const Point p = At(x, y, format_);
    const size_t pixel = static_cast<size_t>(y) * static_cast<size_t>(format_.width) + static_cast<size_t>(x);
    const Color c = person.Paint(p, light_[pixel]);
    // Camera noise.
    const uint32_t h = Hash(static_cast<uint32_t>(x), static_cast<uint32_t>(y), static_cast<uint32_t>(index) + 1000);
    const auto part = [h](int shift) { return static_cast<float>((h >> shift) & 255) / 255 - 0.5f; };
    const float gray = (part(0) + part(8)) * 0.014f;
    return c + Color{gray + part(16) * 0.008f, gray, gray + part(24) * 0.012f};
  });
  frame->pts = index;
  return frame;
}

FramePtr DemoBackground(const VideoFormat& format) {
  struct Light {
    Point at;
    float radius;
    Color color;
  };
  std::vector<Light> lights;  // Out of focus.
  for (int i = 0; i < 46; ++i) {
    const Color cold = Mix({0.95f, 0.35f, 0.35f}, {0.55f, 0.75f, 1.0f}, Random(i, 5, 82));
    const Color color = Mix({1.0f, 0.72f, 0.35f}, cold, Ramp(0.45f, 0.8f, Random(i, 4, 82)));
    lights.push_back({{2.0f * (Random(i, 1, 82) - 0.5f), 0.50f + 0.42f * std::pow(Random(i, 2, 82), 1.5f)},
                      0.012f + 0.040f * Random(i, 3, 82),
                      color * (0.16f + 0.30f * Random(i, 6, 82))});
  }
  return PaintFrame(format.width, format.height, [&](int x, int y) {
    const Point p = At(x, y, format);
    const Color sky = Mix({0.07f, 0.08f, 0.22f}, {0.95f, 0.52f, 0.32f}, std::pow(std::min(1.0f, p.y / 0.62f), 2.2f));
    const Color water = Mix({0.36f, 0.20f, 0.24f}, {0.05f, 0.05f, 0.11f}, Ramp(0.60f, 1.0f, p.y));
    const float hills = 0.56f - 0.15f * Noise(p.x * 2.3f + 5, 0, 81) - 0.03f * Noise(p.x * 9, 1, 81);
    Color c = Mix(sky, {0.13f, 0.09f, 0.18f}, Ramp(hills - 0.012f, hills + 0.012f, p.y));
    c = Mix(c, water, Ramp(0.59f, 0.66f, p.y));
    for (const Light& light : lights) {
      const float distance = Length(p - light.at), r = light.radius;
      if (distance < r + 0.01f)
        c = c + light.color * (Ramp(r + 0.004f, r - 0.004f, distance) * (0.7f + 0.3f * distance / r));
    }
    return c;
  });
}

}  // namespace qvgtool
