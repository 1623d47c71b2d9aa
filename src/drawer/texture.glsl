in vec2 io_texcoord;
layout(location = 0) out vec4 FragColor;

uniform sampler2D mainTexture;
uniform vec4 mainTextureBounds;
uniform float opacity;

vec4 mainColor() {
  vec4 color = texture(mainTexture, clamp(io_texcoord, mainTextureBounds.xy, mainTextureBounds.zw));
  color.a *= opacity;
  return color;
}
