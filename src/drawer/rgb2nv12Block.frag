layout(location = 2) out vec4 chroma;

void main() {
  ivec2 pixel = ivec2(gl_FragCoord.xy) * ivec2(4, 2);
  vec3 even[4] = inputRow(pixel);
  vec3 odd[4] = inputRow(pixel + ivec2(0, 1));
  evenLuma = lumaOf(even);
  oddLuma = lumaOf(odd);
  // U and V of a pair come from the pair's first column.
  vec3 first = (even[0] + odd[0]) * 0.5;
  vec3 second = (even[2] + odd[2]) * 0.5;
  chroma = vec4(dot(first, kU), dot(first, kV), dot(second, kU), dot(second, kV)) * kChromaRange.x + kChromaRange.y;
}
