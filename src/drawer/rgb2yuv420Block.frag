layout(location = 2) out vec2 chromaU;
layout(location = 3) out vec2 chromaV;

vec2 ranged(vec2 chroma) {
#ifdef FULL_RANGE
  return chroma;
#else
  return chroma * kChromaRange.x + kChromaRange.y;
#endif
}

void main() {
  ivec2 pixel = ivec2(gl_FragCoord.xy) * ivec2(4, 2);
  vec3 even[4] = inputRow(pixel);
  vec3 odd[4] = inputRow(pixel + ivec2(0, 1));
  evenLuma = lumaOf(even);
  oddLuma = lumaOf(odd);
  precise vec3 first = (even[0] + even[1] + odd[0] + odd[1]) * 0.25;
  precise vec3 second = (even[2] + even[3] + odd[2] + odd[3]) * 0.25;
  chromaU = ranged(vec2(dot(first, kU), dot(second, kU)));
  chromaV = ranged(vec2(dot(first, kV), dot(second, kV)));
}
