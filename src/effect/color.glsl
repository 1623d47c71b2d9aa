uniform vec3 kelvin_rgb_high;
uniform vec3 kelvin_rgb_low;
uniform float brightness;
uniform float temperature;
uniform float highlight;
uniform float shadow;
uniform float saturation;
uniform float contrast;
uniform float hue;

float lightness(vec3 rgb) {
  return (max(rgb.r, max(rgb.g, rgb.b)) + min(rgb.r, min(rgb.g, rgb.b))) * 0.5;
}

vec3 rgbToHSV(vec3 c) {
  const float guard = 0.001;
  vec4 K = vec4(0.0, -1.0 / 3.0, 2.0 / 3.0, -1.0);
  vec4 p = mix(vec4(c.bg, K.wz), vec4(c.gb, K.xy), step(c.b, c.g));
  vec4 q = mix(vec4(p.xyw, c.r), vec4(c.r, p.yzx), step(p.x, c.r));
  float d = q.x - min(q.w, q.y);
  return vec3(abs(q.z + (q.w - q.y) / (6.0 * d + guard)), d / (q.x + guard), q.x);
}

vec3 hsvToRGB(vec3 c) {
  vec4 K = vec4(1.0, 2.0 / 3.0, 1.0 / 3.0, 3.0);
  vec3 p = abs(fract(c.xxx + K.xyz) * 6.0 - K.www);
  return c.z * mix(K.xxx, clamp(p - K.xxx, 0.0, 1.0), c.y);
}

const float kEpsilon = 1e-10;

// Hue, chroma, value.
vec3 rgbToHCV(vec3 c) {
  vec4 p = c.g < c.b ? vec4(c.bg, -1.0, 2.0 / 3.0) : vec4(c.gb, 0.0, -1.0 / 3.0);
  vec4 q = c.r < p.x ? vec4(p.xyw, c.r) : vec4(c.r, p.yzx);
  float chroma = q.x - min(q.w, q.y);
  return vec3(abs((q.w - q.y) / (6.0 * chroma + kEpsilon) + q.z), chroma, q.x);
}

vec3 rgbToHSL(vec3 c) {
  vec3 hcv = rgbToHCV(c);
  float l = hcv.z - hcv.y * 0.5;
  return vec3(hcv.x, hcv.y / (1.0 - abs(l * 2.0 - 1.0) + kEpsilon), l);
}

vec3 hslToRGB(vec3 c) {
  vec3 full = clamp(vec3(abs(c.x * 6.0 - 3.0) - 1.0, 2.0 - abs(c.x * 6.0 - 2.0), 2.0 - abs(c.x * 6.0 - 4.0)), 0.0, 1.0);
  float chroma = (1.0 - abs(2.0 * c.z - 1.0)) * c.y;
  return (full - 0.5) * chroma + c.z;
}

vec3 adjustHSV(vec3 rgb) {
  vec3 hsv = rgbToHSV(rgb);
  hsv.x = fract(hsv.x * (1.0 - hue));
  hsv.yz = clamp(hsv.yz * (1.0 + vec2(saturation, brightness)), 0.0, 1.0);
  return hsvToRGB(hsv);
}

vec3 adjustTemperature(vec3 rgb) {
  vec3 kelvin = temperature < 0.0 ? kelvin_rgb_high : kelvin_rgb_low;
  vec3 blended = mix(rgb, rgb * kelvin, abs(temperature));
  return clamp(hslToRGB(vec3(rgbToHSL(blended).xy, lightness(rgb))), 0.0, 1.0);
}

vec3 adjustShadowAndHighlight(vec3 rgb) {
  float l = lightness(rgb);
  // Black stays black: there is no hue to lighten.
  if (l <= 0.0) return rgb;
  float dark = 1.0 / (shadow + 1.0);
  // At a highlight of 1 the powers vanish, as they do at the exponent kept here.
  float light = 1.0 / max(1.0 - highlight, 1e-4);
  float rest = max(1.0 - l, 0.0);
  float sv = clamp(pow(l, dark) - 0.76 * pow(l, 2.0 * dark) - l, 0.0, 1.0);
  float hv = clamp(1.0 - (pow(rest, light) - 0.8 * pow(rest, 2.0 * light)) - l, -1.0, 0.0);
  return (l + sv + hv) * rgb / l;
}

vec3 adjustColor(vec3 rgb) {
  if (hue != 0.0 || saturation != 0.0 || brightness != 0.0) rgb = adjustHSV(rgb);
  if (contrast != 0.0) rgb = (rgb - 0.5) * max(contrast + 1.0, 0.0) + 0.5;
  rgb = clamp(rgb, 0.0, 1.0);
  if (temperature != 0.0) rgb = adjustTemperature(rgb);
  if (shadow != 0.0 || highlight != 0.0) rgb = adjustShadowAndHighlight(rgb);
  return rgb;
}
