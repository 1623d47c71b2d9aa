uniform float whitten;
uniform float blur;
uniform float blurSumWeight;
uniform float blurRadius;
uniform vec2 blurSingleOffset;

const float PI = 3.1415926;

// Decision tree on the chroma (x3 of red, x4 of blue) that tells skin.
float skinOf(vec3 rgb) {
  float x3 = dot(vec3(0.5, -0.4187, -0.0813), rgb);
  float x4 = dot(vec3(-0.1687, -0.3313, 0.5), rgb);
  if (x4 <= -0.0615369) {
    if (x3 <= 0.0678488) {
      if (x3 <= 0.0352417) return 0.0;
      return rgb.b <= 0.686631 ? 0.0 : 1.0;
    }
    return x3 <= 0.185183 ? 1.0 : 0.0;
  }
  if (x4 <= -0.029597) {
    if (x3 <= 0.0434402) return 0.0;
    return rgb.g <= 0.168271 ? 0.0 : 1.0;
  }
  return 0.0;
}

float blurWeight(int i) {
  float s = blurRadius / 3.0;
  return (1.0 / sqrt(2.0 * PI * s * s)) * exp(-float(i * i) / (2.0 * s * s)) / blurSumWeight;
}

// One diagonal pass.
vec3 doGussianBlur(vec3 centre) {
  if (blurRadius <= 1.0) return centre;
  vec3 gussionRes = centre * blurWeight(0);
  for (int i = 1; i < int(blurRadius); ++i) {
    vec2 step = blurSingleOffset * float(i);
    gussionRes += blurWeight(i) * (frameAt(io_texcoord - step).rgb + frameAt(io_texcoord + step).rgb);
  }
  return gussionRes;
}

vec3 smoothed(vec3 rgb, float level) {
  vec3 g = doGussianBlur(rgb);
  vec3 hightPassColor = rgb - g;
  hightPassColor = clamp(2.0 * hightPassColor * hightPassColor * 24.0, 0.0, 1.0);
  float m = max(hightPassColor.r, max(hightPassColor.g, hightPassColor.b));
  float value = clamp((min(rgb.b, g.b) - 0.2) * 5.0, 0.0, 1.0);
  return mix(rgb, g, (1.0 - m / (m + 0.2)) * value * level);
}

vec3 whitened(vec3 rgb, float level) {
  float d = 1.0 + level;
  vec3 c = rgb * 255.0;
  float y = dot(c, vec3(0.183, 0.614, 0.062)) + 16.0;
  float u = dot(c, vec3(-0.101, -0.339, 0.439)) + 128.0;
  float v = dot(c, vec3(0.439, -0.399, -0.040)) + 128.0;
  y = log(y / 255.0 * (d - 1.0) + 1.0) / log(d) * 255.0;
  float luma = 1.164 * (y - 16.0);
  vec3 white = vec3(luma + 1.793 * (v - 128.0), luma - 0.213 * (u - 128.0) - 0.533 * (v - 128.0),
                    luma + 2.112 * (u - 128.0));
  return clamp(white / 255.0, 0.0, 1.0);
}

vec3 beautified(vec3 rgb) {
  float skin = skinOf(rgb);
  if (skin > 0.0 && blur > 0.0 && blurRadius > 0.0) rgb = smoothed(rgb, blur * skin);
  if (skin > 0.0 && whitten > 0.0) rgb = whitened(rgb, skin * whitten);
  return rgb;
}
