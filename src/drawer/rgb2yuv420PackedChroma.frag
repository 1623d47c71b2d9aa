vec3 block(ivec2 pixel) {
  return (inputPixel(pixel) + inputPixel(pixel + ivec2(1, 0)) + inputPixel(pixel + ivec2(0, 1)) +
          inputPixel(pixel + ivec2(1, 1))) *
         0.25;
}

void main() {
  ivec2 texel = outputTexel();
  int halfWidth = int(inTexSize.x) / 8;
  bool isV = texel.x >= halfWidth;
  vec3 weights = isV ? kV : kU;
  ivec2 pixel = ivec2((isV ? texel.x - halfWidth : texel.x) * 8, (texel.y - int(inTexSize.y)) * 2);
  vec4 chroma = vec4(dot(block(pixel), weights), dot(block(pixel + ivec2(2, 0)), weights),
                     dot(block(pixel + ivec2(4, 0)), weights), dot(block(pixel + ivec2(6, 0)), weights));
  FragColor = fullrange == 1 ? chroma : chroma * kChromaRange.x + kChromaRange.y;
}
