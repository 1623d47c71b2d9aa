uniform vec2 resolution;
uniform vec2 targetOrigin;
uniform sampler2D matteTexture;
uniform vec2 matteTextureOrigin;
uniform vec2 matteTextureExtent;
uniform vec4 matteTextureBounds;
uniform vec2 simpleMatte;

// The position of this fragment in the target's content, 0..1.
vec2 targetCoord() { return (gl_FragCoord.xy - targetOrigin) / resolution; }

#ifdef MATTE
float matted(float alpha) {
  if (alpha <= 0.0) return alpha;
  vec2 coord = targetCoord() * matteTextureExtent + matteTextureOrigin;
  vec4 matte = texture(matteTexture, clamp(coord, matteTextureBounds.xy, matteTextureBounds.zw));
#ifdef MATTE_PREMULTIPLIED
  matte = straight(matte);
#endif
  switch (MATTE) {
    case 1: return alpha * matte.a;
    case 2: return alpha * (1.0 - matte.a);
    case 3: return alpha * matte.r * matte.a;
    default: return alpha * (1.0 - matte.r * matte.a);
  }
}
#endif

bool cropped() {
  vec2 distance = abs(targetCoord() - 0.5);
  return any(greaterThan(distance, simpleMatte * 0.5));
}

vec4 foreground() {
  vec4 color = mainColor();
#ifdef MATTE
  color.a = matted(color.a);
#endif
#ifdef CROP
  if (cropped()) discard;
#endif
  return color;
}
