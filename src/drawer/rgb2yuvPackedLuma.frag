void main() {
  ivec2 pixel = outputTexel() * ivec2(4, 1);
  vec4 luma = vec4(dot(inputPixel(pixel), kY), dot(inputPixel(pixel + ivec2(1, 0)), kY),
                   dot(inputPixel(pixel + ivec2(2, 0)), kY), dot(inputPixel(pixel + ivec2(3, 0)), kY));
  FragColor = fullrange == 1 ? luma : luma * kLumaRange.x + kLumaRange.y;
}
