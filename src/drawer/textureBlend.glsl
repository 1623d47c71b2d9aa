float lum(vec3 color) { return dot(color, vec3(0.3, 0.59, 0.11)); }

vec3 clipColor(vec3 color) {
  float l = lum(color);
  float lo = min(color.r, min(color.g, color.b));
  float hi = max(color.r, max(color.g, color.b));
  vec3 result = color;
  // Rounding can put l on the limit itself: then there is nothing to clip, and the division would be by 0.
  if (lo < 0.0 && lo < l) result = l + (color - l) * l / (l - lo);
  if (hi > 1.0 && hi > l) result = l + (color - l) * (1.0 - l) / (hi - l);
  return result;
}

vec3 setLum(vec3 color, float l) { return clipColor(color + (l - lum(color))); }

float brightness(vec3 color) { return dot(color, vec3(0.2126, 0.7152, 0.0722)); }

vec3 colorBurn(vec3 s, vec3 d) {
  return mix(1.0 - min(vec3(1.0), (1.0 - d) / max(s, 1e-6)), vec3(0.0), equal(s, vec3(0.0)));
}

vec3 colorDodge(vec3 s, vec3 d) {
  return mix(vec3(1.0), min(vec3(1.0), d / max(1.0 - s, 1e-6)), lessThan(s, vec3(1.0)));
}

vec3 hardLight(vec3 s, vec3 d) {
  vec3 t = 2.0 * s - 1.0;
  return mix(t + d - t * d, 2.0 * d * s, lessThanEqual(s, vec3(0.5)));
}

vec3 overlay(vec3 s, vec3 d) {
  return mix(s * (d / 0.5), s * ((1.0 - d) / 0.5) + (d - (1.0 - d)), greaterThan(d, vec3(0.5)));
}

vec3 softLight(vec3 s, vec3 d) {
  vec3 dark = 2.0 * d * s + d * d * (1.0 - 2.0 * s);
  vec3 light = sqrt(d) * (2.0 * s - 1.0) + 2.0 * d * (1.0 - s);
  return mix(light, dark, lessThan(s, vec3(0.5)));
}

// alpha: on entry that of "s over d"; the erasing and masking types replace it.
vec3 blendColor(int type, vec4 s, vec4 d, inout float alpha) {
  float luma = s.r * s.a;
  switch (type) {
    case 1: return s.rgb + d.rgb;
    case 6: return setLum(s.rgb, lum(d.rgb));
    case 7: return colorBurn(s.rgb, d.rgb);
    case 8: return colorDodge(s.rgb, d.rgb);
    case 10: return min(s.rgb, d.rgb);
    case 11: return brightness(s.rgb) > brightness(d.rgb) ? d.rgb : s.rgb;
    case 16: return hardLight(s.rgb, d.rgb);
    case 19: return max(s.rgb, d.rgb);
    case 26: return d.rgb * s.rgb;
    case 27: return overlay(s.rgb, d.rgb);
    case 30: return s.rgb + d.rgb - s.rgb * d.rgb;
    case 31:
      alpha = d.a * (1.0 - s.a);
      return d.rgb * (1.0 - s.a);
    case 32:
      alpha = d.a * (1.0 - luma);
      return d.rgb * (1.0 - luma) / (alpha != 0.0 ? alpha : 1.0);
    case 33: return softLight(s.rgb, d.rgb);
    case 34:
      alpha = d.a * s.a;
      return d.rgb * s.a;
    case 35:
      alpha = luma * d.a;
      return d.rgb * luma;
    default: return s.rgb;
  }
}

bool isMask(int type) { return type == 34 || type == 35; }
