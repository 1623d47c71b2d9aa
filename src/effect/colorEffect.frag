#ifdef SHARPEN
uniform vec3 sharp_filter_1;
uniform vec3 sharp_filter_4;
uniform vec3 sharp_filter_7;

vec3 neighbour(float dx, float dy) {
  return frameAt(clamp(io_texcoord + vec2(dx, dy) * io_texelSize, io_bounds.xy, io_bounds.zw)).rgb;
}

vec3 sharpRow(float dy, vec3 weights) {
  return neighbour(-1.0, dy) * weights.x + neighbour(0.0, dy) * weights.y + neighbour(1.0, dy) * weights.z;
}
#endif

void main() {
  vec4 color = frameAt(io_texcoord);
#ifdef SHARPEN
  color.rgb = clamp(sharpRow(-1.0, sharp_filter_1) + sharpRow(0.0, sharp_filter_4) + sharpRow(1.0, sharp_filter_7),
                    0.0, 1.0);
#endif
  FragColor = vec4(adjustColor(color.rgb), color.a);
}
