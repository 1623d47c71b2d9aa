#ifdef BACKGROUND
in vec2 io_background;
flat in vec4 io_backgroundBounds;

uniform sampler2D keyBGTexure;

vec4 overBackground(vec4 col, vec4 bg) {
  float a = col.a + (1.0 - col.a) * bg.a;
  return vec4(a != 0.0 ? mix(bg.rgb, col.rgb, col.a / a) : col.rgb, a);
}
#endif

void main() {
#ifdef BACKGROUND
  // Read first, needed or not: the software renderer skips nothing, and reading after the stages is slower.
  vec4 bg = texture(keyBGTexure, clamp(io_background, io_backgroundBounds.xy, io_backgroundBounds.zw));
#endif
  vec4 col = frameAt(io_texcoord);
#ifdef KEY
  col = keyed(col);
#endif
#if defined(BLUR) || defined(WHITTEN)
  col.rgb = beautified(col.rgb);
#endif
  col.rgb = adjustColor(col.rgb);
#ifdef BACKGROUND
  if (col.a < 1.0) col = overBackground(col, bg);
#endif
  FragColor = col;
}
