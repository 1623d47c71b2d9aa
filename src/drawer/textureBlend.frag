// Without BLEND the type is 0, which blends normally.
#ifndef BLEND
#define BLEND 0
#endif

vec4 blend(vec4 s) {
  vec4 d = background();
  if (s.a == 0.0) return d;
  bool mask = isMask(BLEND);
  if (d.a == 0.0 && !mask) return s;
  float alpha = compositeAlpha(s, d);
  vec3 blended = blendColor(BLEND, s, d, alpha);
  return mask ? vec4(blended, alpha) : composite(s, d, blended, alpha);
}

void main() { FragColor = blend(foreground()); }
