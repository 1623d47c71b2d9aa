uniform vec3 sharp_filter_1;
uniform vec3 sharp_filter_4;
uniform vec3 sharp_filter_7;
uniform float sharpness;

vec3 sharpRow(float dy, vec3 weights) {
  vec2 texel = 1.0 / texture_size;
  return frameAt(io_texcoord + vec2(-1.0, dy) * texel).rgb * weights.x +
         frameAt(io_texcoord + vec2(0.0, dy) * texel).rgb * weights.y +
         frameAt(io_texcoord + vec2(1.0, dy) * texel).rgb * weights.z;
}

void main() {
  vec4 color = frameAt(io_texcoord);
  if (sharpness > 0.0) {
    color.rgb = clamp(sharpRow(-1.0, sharp_filter_1) + sharpRow(0.0, sharp_filter_4) + sharpRow(1.0, sharp_filter_7),
                      0.0, 1.0);
  }
  FragColor = vec4(adjustColor(color.rgb), color.a);
}
