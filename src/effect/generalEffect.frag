uniform int processingFlags;
uniform sampler2D keyBGTexure;
uniform mat3 keyUVFactor;
uniform vec4 keyBGBounds;

vec4 overBackground(vec4 col) {
  vec2 coord = (vec3(io_texcoord, 1.0) * keyUVFactor).xy;
  vec4 bg = texture(keyBGTexure, clamp(coord, keyBGBounds.xy, keyBGBounds.zw));
  float a = col.a + (1.0 - col.a) * bg.a;
  if (a != 0.0) {
    float share = col.a / a;
    col.rgb = (1.0 - share) * bg.rgb + share * ((1.0 - bg.a) * col.rgb + bg.a * col.rgb);
  }
  col.a = a;
  return col;
}

void main() {
  vec4 col = frameAt(io_texcoord);
  if ((processingFlags & 1) != 0) col = keyed(col);
  if ((processingFlags & 2) != 0) col.rgb = beautified(col.rgb);
  if ((processingFlags & 4) != 0) col.rgb = adjustColor(col.rgb);
  if ((processingFlags & 8) != 0 && col.a < 1.0) col = overBackground(col);
  FragColor = col;
}
