uniform vec2 chromaKeyColor;
uniform float similarity;
uniform float smoothness;
uniform float spill;

float encodeSRGB(float linear) {
  return linear <= 0.0031308 ? 12.92 * linear : 1.055 * pow(linear, 1.0 / 2.4) - 0.055;
}

float chromaDistance(vec3 linear) {
  vec3 rgb = vec3(encodeSRGB(linear.r), encodeSRGB(linear.g), encodeSRGB(linear.b));
  vec2 chroma = vec2(dot(rgb, vec3(-0.100644, -0.338572, 0.439216)), dot(rgb, vec3(0.439216, -0.398942, -0.040274)));
  return distance(chroma + 0.501961, chromaKeyColor);
}

// Over the neighbourhood, so that noise and coded edges don't fray the matte.
float boxFilteredDistance(vec3 centre) {
  vec2 px = 1.0 / texture_size;
  vec2 offA = vec2(px.x, px.y * 0.5);
  vec2 offB = vec2(px.x * 0.5, -px.y);
  float sum = chromaDistance(frameAt(io_texcoord - offA).rgb) + chromaDistance(frameAt(io_texcoord + offA).rgb) +
              chromaDistance(frameAt(io_texcoord - offB).rgb) + chromaDistance(frameAt(io_texcoord + offB).rgb);
  return (2.0 * sum + chromaDistance(centre)) / 9.0;
}

vec4 keyed(vec4 col) {
  // Nothing is there, and nothing could be un-premultiplied.
  if (col.a <= 0.0) return vec4(0.0);
  col.rgb = max(vec3(0.0), col.rgb / col.a);
  float base = boxFilteredDistance(col.rgb) - similarity;
  float spillVal = pow(clamp(base / spill, 0.0, 1.0), 1.5);
  col.a *= pow(clamp(base / smoothness, 0.0, 1.0), 1.5);
  float grey = dot(col.rgb, vec3(0.2126, 0.7152, 0.0722));
  col.rgb = mix(vec3(grey), col.rgb, spillVal);
  return vec4(col.rgb * col.a, col.a);
}
