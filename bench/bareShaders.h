#pragma once

// The GLSL of the bare GL programs. Without version lines; switches are put in front of them.

namespace bench {

/// One triangle over the viewport.
constexpr char kScreenVertex[] = R"(
out vec2 uv;
void main() {
  uv = vec2(gl_VertexID == 1 ? 2 : 0, gl_VertexID == 2 ? 2 : 0);
  gl_Position = vec4(uv * 2.0 - 1.0, 0.0, 1.0);
})";

constexpr char kToRGBVertex[] = R"(
out vec2 lumaUV;
out vec2 chromaUV;
uniform vec2 lumaRate;
uniform vec2 chromaRate;
void main() {
  vec2 corner = vec2(gl_VertexID == 1 ? 2 : 0, gl_VertexID == 2 ? 2 : 0);
  lumaUV = corner * lumaRate;
  chromaUV = corner * chromaRate;
  gl_Position = vec4(corner * 2.0 - 1.0, 0.0, 1.0);
})";

/// PLANAR: three planes instead of two.
constexpr char kToRGB[] = R"(
in vec2 lumaUV;
in vec2 chromaUV;
out vec4 color;
uniform sampler2D luma;
uniform sampler2D chroma;
uniform sampler2D chromaV;
void main() {
  float y = texture(luma, lumaUV).r;
#if PLANAR
  vec2 c = vec2(texture(chroma, chromaUV).r, texture(chromaV, chromaUV).r) - 0.5;
#else
  vec2 c = texture(chroma, chromaUV).rg - 0.5;
#endif
  vec3 rgb = vec3(y + 1.402 * c.y, y - 0.34414 * c.x - 0.71414 * c.y, y + 1.772 * c.x);
  color = vec4(clamp(rgb, 0.0, 1.0), 1.0);
})";

/// A block of 4 x 2 pixels a fragment, into a texel of each target. Chroma is the mean of two pixels on top of each
/// other, and of four with PLANAR.
constexpr char kTo420[] = R"(
layout(location = 0) out vec4 evenRow;
layout(location = 1) out vec4 oddRow;
#if PLANAR
layout(location = 2) out vec2 uPair;
layout(location = 3) out vec2 vPair;
#else
layout(location = 2) out vec4 uvPairs;
#endif
uniform sampler2D source;
const vec3 kY = vec3(0.299, 0.587, 0.114) * (219.0 / 255.0);
const vec3 kU = vec3(-0.169, -0.331, 0.5) * (224.0 / 255.0);
const vec3 kV = vec3(0.5, -0.419, -0.081) * (224.0 / 255.0);
const float kLumaZero = 16.0 / 255.0;
const float kChromaZero = 128.0 / 255.0;
void main() {
  ivec2 p = ivec2(gl_FragCoord.xy) * ivec2(4, 2);
  vec3 a0 = texelFetch(source, p, 0).rgb;
  vec3 a1 = texelFetch(source, p + ivec2(1, 0), 0).rgb;
  vec3 a2 = texelFetch(source, p + ivec2(2, 0), 0).rgb;
  vec3 a3 = texelFetch(source, p + ivec2(3, 0), 0).rgb;
  vec3 b0 = texelFetch(source, p + ivec2(0, 1), 0).rgb;
  vec3 b1 = texelFetch(source, p + ivec2(1, 1), 0).rgb;
  vec3 b2 = texelFetch(source, p + ivec2(2, 1), 0).rgb;
  vec3 b3 = texelFetch(source, p + ivec2(3, 1), 0).rgb;
  evenRow = vec4(dot(a0, kY), dot(a1, kY), dot(a2, kY), dot(a3, kY)) + kLumaZero;
  oddRow = vec4(dot(b0, kY), dot(b1, kY), dot(b2, kY), dot(b3, kY)) + kLumaZero;
#if PLANAR
  vec3 left = (a0 + a1 + b0 + b1) * 0.25;
  vec3 right = (a2 + a3 + b2 + b3) * 0.25;
  uPair = vec2(dot(left, kU), dot(right, kU)) + kChromaZero;
  vPair = vec2(dot(left, kV), dot(right, kV)) + kChromaZero;
#else
  vec3 left = (a0 + b0) * 0.5;
  vec3 right = (a2 + b2) * 0.5;
  uvPairs = vec4(dot(left, kU), dot(left, kV), dot(right, kU), dot(right, kV)) + kChromaZero;
#endif
})";

/// The effect. ALL: skin and colour stages between key and background.
constexpr char kEffect[] = R"(
in vec2 uv;
out vec4 color;
uniform sampler2D frame;
uniform sampler2D background;
uniform vec2 keyOffset;  // from the key's chroma to that of black
uniform float similarity;
uniform float perSmoothness;
uniform float perSpill;

// x^(1 / 2.4) through the fourth root: off by less than 7e-6 where it counts.
vec3 encoded(vec3 x) {
  vec3 t = sqrt(sqrt(x));
  vec3 power = ((((-0.0681473 * t + 0.2895331) * t - 0.5774828) * t + 1.2554045) * t + 0.1620263) * t - 0.0613402;
  return mix(power, 12.92 * x, lessThanEqual(x, vec3(0.0031308)));
}

float keyDistance(vec3 rgb) {
  rgb = encoded(rgb);
  return length(vec2(dot(rgb, vec3(-0.100644, -0.338572, 0.439216)), dot(rgb, vec3(0.439216, -0.398942, -0.040274))) +
                keyOffset);
}

#define TAP(x, y) textureOffset(frame, uv, ivec2(x, y)).rgb
#define PAIR(x0, y0, x1, y1) keyDistance((TAP(x0, y0) + TAP(x1, y1)) * 0.5)

float power15(float x) { return x * sqrt(x); }

vec4 keyed(vec4 c) {
  if (c.a <= 0.0) return vec4(0.0);
  c.rgb = max(c.rgb / c.a, 0.0);
  float around = PAIR(-1, -1, -1, 0) + PAIR(1, 0, 1, 1) + PAIR(-1, 1, 0, 1) + PAIR(0, -1, 1, -1);
  float base = (2.0 * around + keyDistance(c.rgb)) * (1.0 / 9.0) - similarity;
  c.a *= power15(clamp(base * perSmoothness, 0.0, 1.0));
  float grey = dot(c.rgb, vec3(0.2126, 0.7152, 0.0722));
  c.rgb = mix(vec3(grey), c.rgb, power15(clamp(base * perSpill, 0.0, 1.0)));
  c.rgb *= c.a;
  return c;
}

#if ALL
uniform int blurTaps;
uniform vec3 blurWeights;  // of the centre; from the centre to the first tap; from one such step to the next
uniform float blurLevel;
uniform vec2 whiten;  // strength; 255 / log2(1 + strength)
uniform float brightness;
uniform float temperature;
uniform vec3 kelvin;
uniform vec2 lightPowers;  // of shadow and highlight

bool isSkin(vec3 c) {
  float x3 = dot(vec3(0.5, -0.4187, -0.0813), c);
  float x4 = dot(vec3(-0.1687, -0.3313, 0.5), c);
  bool first = x3 <= 0.0678488 ? x3 > 0.0352417 && c.b > 0.686631 : x3 <= 0.185183;
  bool second = x4 <= -0.029597 && x3 > 0.0434402 && c.g > 0.168271;
  return x4 <= -0.0615369 ? first : second;
}

vec3 smoothed(vec3 c, int taps) {
  ivec2 low = ivec2(gl_FragCoord.xy);
  ivec2 high = low;
  ivec2 last = textureSize(frame, 0) - 1;
  vec3 g = c * blurWeights.x;
  float weight = blurWeights.x * blurWeights.y;
  float ratio = blurWeights.y;
  for (int i = 1; i < taps; ++i) {
    low = max(low - 1, 0);
    high = min(high + 1, last);
    g += weight * (texelFetch(frame, low, 0).rgb + texelFetch(frame, high, 0).rgb);
    ratio *= blurWeights.z;
    weight *= ratio;
  }
  vec3 h = c - g;
  h = min(48.0 * h * h, 1.0);
  float m = max(h.r, max(h.g, h.b));
  float value = clamp(min(c.b, g.b) * 5.0 - 1.0, 0.0, 1.0);
  return mix(c, g, 0.2 / (m + 0.2) * value * blurLevel);
}

vec3 whitened(vec3 c) {
  c *= 255.0;
  float y = dot(c, vec3(0.183, 0.614, 0.062)) + 16.0;
  float u = dot(c, vec3(-0.101, -0.339, 0.439));
  float v = dot(c, vec3(0.439, -0.399, -0.040));
  y = log2(y * (1.0 / 255.0) * whiten.x + 1.0) * whiten.y;
  y = 1.164 * (y - 16.0);
  return clamp(vec3(y + 1.793 * v, y - 0.213 * u - 0.533 * v, y + 2.112 * u) * (1.0 / 255.0), 0.0, 1.0);
}

vec3 brightened(vec3 c) {
  vec4 p = mix(vec4(c.bg, -1.0, 2.0 / 3.0), vec4(c.gb, 0.0, -1.0 / 3.0), step(c.b, c.g));
  vec4 q = mix(vec4(p.xyw, c.r), vec4(c.r, p.yzx), step(p.x, c.r));
  float d = q.x - min(q.w, q.y);
  float hue = fract(abs(q.z + (q.w - q.y) / (6.0 * d + 0.001)));
  float saturation = clamp(d / (q.x + 0.001), 0.0, 1.0);
  float value = clamp(q.x * (1.0 + brightness), 0.0, 1.0);
  vec3 full = clamp(abs(fract(hue + vec3(1.0, 2.0 / 3.0, 1.0 / 3.0)) * 6.0 - 3.0) - 1.0, 0.0, 1.0);
  return value * mix(vec3(1.0), full, saturation);
}

float lightness(vec3 c) { return (max(c.r, max(c.g, c.b)) + min(c.r, min(c.g, c.b))) * 0.5; }

vec3 tempered(vec3 rgb) {
  vec3 c = mix(rgb, rgb * kelvin, abs(temperature));
  vec4 p = c.g < c.b ? vec4(c.bg, -1.0, 2.0 / 3.0) : vec4(c.gb, 0.0, -1.0 / 3.0);
  vec4 q = c.r < p.x ? vec4(p.xyw, c.r) : vec4(c.r, p.yzx);
  float chroma = q.x - min(q.w, q.y);
  float hue6 = abs((q.w - q.y) / (6.0 * chroma + 1e-10) + q.z) * 6.0;
  float saturation = chroma / (1.0 - abs(2.0 * q.x - chroma - 1.0) + 1e-10);
  float l = lightness(rgb);
  vec3 full = clamp(vec3(abs(hue6 - 3.0) - 1.0, 2.0 - abs(hue6 - 2.0), 2.0 - abs(hue6 - 4.0)), 0.0, 1.0);
  return clamp((full - 0.5) * (1.0 - abs(2.0 * l - 1.0)) * saturation + l, 0.0, 1.0);
}

vec3 lit(vec3 c) {
  float l = lightness(c);
  if (l <= 0.0) return c;
  vec2 powers = pow(vec2(l, max(1.0 - l, 0.0)), lightPowers);
  float shadow = clamp(powers.x - 0.76 * powers.x * powers.x - l, 0.0, 1.0);
  float highlight = clamp(1.0 - (powers.y - 0.8 * powers.y * powers.y) - l, -1.0, 0.0);
  return (l + shadow + highlight) * c / l;
}
#endif

void main() {
  vec4 c = keyed(texture(frame, uv));
#if ALL
  bool skin = isSkin(c.rgb);
  vec3 smoothedColor = smoothed(c.rgb, skin && c.b > 0.2 ? blurTaps : 0);
  if (skin && c.b > 0.2) c.rgb = smoothedColor;
  if (skin) c.rgb = whitened(c.rgb);
  c.rgb = lit(tempered(clamp(brightened(c.rgb), 0.0, 1.0)));
#endif
  if (c.a < 1.0) {
    vec4 under = texture(background, uv);
    float a = c.a + (1.0 - c.a) * under.a;
    if (a != 0.0) c.rgb = mix(under.rgb, c.rgb, c.a / a);
    c.a = a;
  }
  color = c;
})";

constexpr char kLayerVertex[] = R"(
out vec2 uv;
void main() {
  uv = vec2(gl_VertexID & 1, gl_VertexID >> 1);
  gl_Position = vec4(uv * 2.0 - 1.0, 0.0, 1.0);
})";

/// Reads the target that it draws to. MULTIPLY: with that blend type, else the normal one.
constexpr char kLayer[] = R"(
in vec2 uv;
out vec4 color;
uniform sampler2D layer;
uniform sampler2D target;
uniform float opacity;
void main() {
  vec4 s = texture(layer, uv);
  s.a *= opacity;
  vec4 d = texelFetch(target, ivec2(gl_FragCoord.xy), 0);
  float a = s.a + (1.0 - s.a) * d.a;
#if MULTIPLY
  vec3 own = mix(s.rgb, d.rgb * s.rgb, d.a);
#else
  vec3 own = s.rgb;
#endif
  color = a == 0.0 ? vec4(s.rgb, 0.0) : vec4(mix(d.rgb, own, s.a / a), a);
#if MULTIPLY
  if (s.a == 0.0) color = d;
  else if (d.a == 0.0) color = s;
#endif
})";

}  // namespace bench
