in vec2 io_texcoord;
layout(location = 0) out vec4 FragColor;

uniform sampler2D tex;
uniform vec2 srcTexOffset;
uniform vec2 srcTexScale;
uniform vec2 dstTexOffset;
uniform float dstTexFlipSum;
uniform int flip;
uniform vec4 mattColor;

const float kKeyDistance = 0.003;

void main() {
  vec2 uv = io_texcoord;
  // Mirrored about the middle of the content, which need not be the middle of the storage.
  if (flip == 1) uv.y = dstTexFlipSum - uv.y;
  uv = (uv - dstTexOffset) * srcTexScale + srcTexOffset;
  // Exactly one pixel: a filter off by a hair would miss the key.
  vec4 color = texelFetch(tex, ivec2(floor(uv * vec2(textureSize(tex, 0)))), 0);
  bool key = all(lessThan(abs(color - mattColor), vec4(kKeyDistance)));
  FragColor = key ? vec4(0.0) : vec4(color.rgb, 1.0);
}
