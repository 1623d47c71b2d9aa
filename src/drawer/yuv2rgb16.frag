uniform ivec2 targetOrigin;
uniform ivec2 targetSize;
uniform ivec2 sizeY;
uniform ivec2 sizeUV;
uniform mediump usampler2D texY16;
uniform mediump usampler2D texUV16;

// The texel of a plane at (pixel + 1/2) / frame * (plane - 1), rounded down on ties. In integers: for odd sizes the
// position is on a texel's edge, where a rounding error would decide. Unsigned, since the product takes 32 bits.
ivec2 planeTexel(uvec2 pixel, ivec2 plane) {
  uvec2 product = (2u * pixel + 1u) * uvec2(plane - 1);
  return ivec2((max(product, 1u) - 1u) / (2u * uvec2(targetSize)));
}

void main() {
  uvec2 pixel = uvec2(ivec2(gl_FragCoord.xy) - targetOrigin);
  float y = float(texelFetch(texY16, planeTexel(pixel, sizeY), 0).r / 256u) / 255.0;
  vec2 uv = vec2(texelFetch(texUV16, planeTexel(pixel, sizeUV), 0).rg / 256u) / 255.0 - 0.5;
  FragColor = toRGB(y, uv.x, uv.y);
}
