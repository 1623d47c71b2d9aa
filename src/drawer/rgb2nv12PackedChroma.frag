vec3 twoRows(ivec2 pixel) { return (inputPixel(pixel) + inputPixel(pixel + ivec2(0, 1))) * 0.5; }

void main() {
  ivec2 texel = outputTexel();
  ivec2 pixel = ivec2(texel.x * 4, (texel.y - int(inTexSize.y)) * 2);
  vec3 first = twoRows(pixel);
  vec3 second = twoRows(pixel + ivec2(2, 0));
  FragColor =
      vec4(dot(first, kU), dot(first, kV), dot(second, kU), dot(second, kV)) * kChromaRange.x + kChromaRange.y;
}
