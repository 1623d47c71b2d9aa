layout(location = 0) out vec4 FragColor;

// ITU-R BT.601, full range; u and v centred on 0.
vec4 toRGB(float y, float u, float v) {
  vec3 rgb = vec3(y + 1.402 * v, y - 0.34414 * u - 0.71414 * v, y + 1.772 * u);
  return vec4(clamp(rgb, 0.0, 1.0), 1.0);
}
