in vec3 io_color;

uniform int useMainTexture;
uniform vec2 resolution;
uniform vec2 targetOrigin;
uniform int doMatte;
uniform int matteType;
uniform sampler2D matteTexture;
uniform vec2 matteTextureOrigin;
uniform vec2 matteTextureExtent;
uniform vec4 matteTextureBounds;
uniform int doSimpleMatte;
uniform vec2 simpleMatte;

// The place of this fragment in the target's content, 0..1.
vec2 targetCoord() { return (gl_FragCoord.xy - targetOrigin) / resolution; }

float matted(float alpha) {
  if (alpha <= 0.0) return alpha;
  vec2 coord = targetCoord() * matteTextureExtent + matteTextureOrigin;
  vec4 matte = texture(matteTexture, clamp(coord, matteTextureBounds.xy, matteTextureBounds.zw));
  switch (matteType) {
    case 1: return alpha * matte.a;
    case 2: return alpha * (1.0 - matte.a);
    case 3: return alpha * matte.r * matte.a;
    case 4: return alpha * (1.0 - matte.r * matte.a);
    default: return alpha;
  }
}

bool cropped() {
  vec2 distance = abs(targetCoord() - 0.5);
  return any(greaterThan(distance, simpleMatte * 0.5));
}

vec4 foreground() {
  vec4 color = useMainTexture == 1 ? mainColor() : vec4(io_color, opacity);
  if (doMatte == 1) color.a = matted(color.a);
  if (doSimpleMatte == 1 && cropped()) discard;
  return color;
}
