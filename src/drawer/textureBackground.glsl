uniform sampler2D bgTexture;
uniform vec2 bgOrigin;

vec4 background() { return texelFetch(bgTexture, ivec2(gl_FragCoord.xy - bgOrigin), 0); }

float compositeAlpha(vec4 s, vec4 d) { return s.a + (1.0 - s.a) * d.a; }

// Where s and d overlap the blended colour counts, elsewhere each counts alone.
vec4 composite(vec4 s, vec4 d, vec3 blended, float alpha) {
  if (alpha == 0.0) return vec4(blended, alpha);
  float share = s.a / alpha;
  return vec4((1.0 - share) * d.rgb + share * ((1.0 - d.a) * s.rgb + d.a * blended), alpha);
}
