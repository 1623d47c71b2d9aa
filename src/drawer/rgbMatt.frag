in vec2 io_texcoord;
layout(location = 0) out vec4 FragColor;

uniform sampler2D tex;
uniform vec4 mattColor;

const float kKeyDistance = 0.003;

void main() {
  // Fetched, not sampled: the slightest filtering would miss the matte colour.
  vec4 color = texelFetch(tex, ivec2(floor(io_texcoord * vec2(textureSize(tex, 0)))), 0);
  bool key = all(lessThan(abs(color - mattColor), vec4(kKeyDistance)));
  FragColor = key ? vec4(0.0) : vec4(color.rgb, 1.0);
}
