#if defined(BLUR) || defined(WHITTEN)
// A decision tree on chroma (x3 of red, x4 of blue) that recognises skin.
bool isSkin(vec3 rgb) {
  float x3 = dot(vec3(0.5, -0.4187, -0.0813), rgb);
  float x4 = dot(vec3(-0.1687, -0.3313, 0.5), rgb);
  if (x4 <= -0.0615369) return x3 <= 0.0678488 ? x3 > 0.0352417 && rgb.b > 0.686631 : x3 <= 0.185183;
  return x4 <= -0.029597 && x3 > 0.0434402 && rgb.g > 0.168271;
}

#ifdef BLUR
uniform float blur;
uniform float blurRadius;
// The centre's weight, the share of it that the first tap loses, and the rate at which that share grows.
flat in vec3 io_blurWeight;
flat in vec2 io_blurOffset;

// One diagonal pass. The Gaussian is computed by recurrence, from the losses: being small, they keep all their bits.
vec3 doGussianBlur(vec3 centre, int taps) {
  float weight = io_blurWeight.x;
  float loss = io_blurWeight.y;
  vec3 gussionRes = centre * weight;
  for (int i = 1; i < taps; ++i) {
    weight -= weight * loss;
    loss += io_blurWeight.z - loss * io_blurWeight.z;
    vec2 offset = float(i) * io_blurOffset;
    gussionRes += weight * (frameAt(max(io_texcoord - offset, io_bounds.xy)).rgb +
                            frameAt(min(io_texcoord + offset, io_bounds.zw)).rgb);
  }
  return gussionRes;
}

vec3 smoothed(vec3 rgb, bool skin) {
  // Where the result equals the input no tap is read: blocks of such fragments leave the loop at once.
  bool wanted = skin && rgb.b > 0.2 && blurRadius > 1.0;
  vec3 g = doGussianBlur(rgb, wanted ? int(blurRadius) : 0);
  vec3 hightPassColor = rgb - g;
  hightPassColor = clamp(48.0 * hightPassColor * hightPassColor, 0.0, 1.0);
  float m = max(hightPassColor.r, max(hightPassColor.g, hightPassColor.b));
  float value = clamp((min(rgb.b, g.b) - 0.2) * 5.0, 0.0, 1.0);
  return wanted ? mix(rgb, g, 0.2 / (m + 0.2) * value * blur) : rgb;
}
#endif

#ifdef WHITTEN
// The level, and 1 / log(1 + level).
flat in vec2 io_whitten;

vec3 whitened(vec3 rgb) {
  float y = dot(rgb, vec3(0.183, 0.614, 0.062)) + 16.0 / 255.0;
  float u = dot(rgb, vec3(-0.101, -0.339, 0.439));
  float v = dot(rgb, vec3(0.439, -0.399, -0.040));
  y = 1.164 * (log(y * io_whitten.x + 1.0) * io_whitten.y - 16.0 / 255.0);
  return clamp(vec3(y + 1.793 * v, y - 0.213 * u - 0.533 * v, y + 2.112 * u), 0.0, 1.0);
}
#endif

vec3 beautified(vec3 rgb) {
  bool skin = isSkin(rgb);
#ifdef BLUR
  rgb = smoothed(rgb, skin);
#endif
#ifdef WHITTEN
  rgb = skin ? whitened(rgb) : rgb;
#endif
  return rgb;
}
#endif
