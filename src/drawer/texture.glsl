in vec2 io_texcoord;
in vec3 io_color;
layout(location = 0) out vec4 FragColor;

uniform sampler2D mainTexture;
uniform vec4 mainTextureBounds;
uniform float opacity;

// Turns premultiplied colours into straight ones; where alpha is 0 there is no colour.
vec4 straight(vec4 color) { return color.a > 0.0 ? vec4(color.rgb / color.a, color.a) : vec4(0.0); }

vec4 mainColor() {
#ifdef VERTEX_COLOR
  vec4 color = vec4(io_color, 1.0);
#else
  vec4 color = texture(mainTexture, clamp(io_texcoord, mainTextureBounds.xy, mainTextureBounds.zw));
#ifdef MAIN_PREMULTIPLIED
  color = straight(color);
#endif
#endif
  color.a *= opacity;
  return color;
}
