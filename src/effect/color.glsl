#ifdef HSV
uniform float brightness;
uniform float saturation;
uniform float hue;

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

vec3 adjustHSV(vec3 rgb) {
  vec3 hsv = rgbToHSV(rgb);
  hsv.x = fract(hsv.x * (1.0 - hue));
  hsv.yz = clamp(hsv.yz * (1.0 + vec2(saturation, brightness)), 0.0, 1.0);
  return hsvToRGB(hsv);
}
#endif

#ifdef CONTRAST
uniform float contrast;
#endif

#if defined(TEMPERATURE) || defined(LIGHT)
float lightness(vec3 rgb) {
  return (max(rgb.r, max(rgb.g, rgb.b)) + min(rgb.r, min(rgb.g, rgb.b))) * 0.5;
}
#endif

#ifdef TEMPERATURE
// The white of the colour temperature.
flat in vec3 io_kelvin;

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

vec3 adjustTemperature(vec3 rgb) {
  return clamp(hslToRGB(vec3(rgbToHSL(rgb * io_kelvin).xy, lightness(rgb))), 0.0, 1.0);
}
#endif

#ifdef LIGHT
// The exponents for the shadows and for the highlights.
flat in vec2 io_lightPowers;

vec3 adjustShadowAndHighlight(vec3 rgb) {
  float l = lightness(rgb);
  // Black stays black: there is no hue to lighten.
  if (l <= 0.0) return rgb;
  float dark = pow(l, io_lightPowers.x);
  float light = pow(max(1.0 - l, 0.0), io_lightPowers.y);
  float sv = clamp(dark - 0.76 * dark * dark - l, 0.0, 1.0);
  float hv = clamp(1.0 - (light - 0.8 * light * light) - l, -1.0, 0.0);
  return (l + sv + hv) / l * rgb;
}
#endif

vec3 adjustColor(vec3 rgb) {
#ifdef HSV
  rgb = adjustHSV(rgb);
#endif
#ifdef CONTRAST
  rgb = (rgb - 0.5) * max(contrast + 1.0, 0.0) + 0.5;
#endif
#if defined(CONTRAST) || defined(TEMPERATURE) || defined(LIGHT)
  rgb = clamp(rgb, 0.0, 1.0);
#endif
#ifdef TEMPERATURE
  rgb = adjustTemperature(rgb);
#endif
#ifdef LIGHT
  rgb = adjustShadowAndHighlight(rgb);
#endif
  return rgb;
}
