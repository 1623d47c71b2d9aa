uniform int doBlend;
uniform int blendType;

vec4 blend(vec4 s) {
  vec4 d = background();
  if (s.a == 0.0) return d;
  bool mask = isMask(blendType);
  if (d.a == 0.0 && !mask) return s;
  float alpha = compositeAlpha(s, d);
  vec3 blended = blendColor(blendType, s, d, alpha);
  return mask ? vec4(blended, alpha) : composite(s, d, blended, alpha);
}

void main() {
  vec4 s = foreground();
  FragColor = doBlend == 1 ? blend(s) : s;
}
