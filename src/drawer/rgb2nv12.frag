uniform float outTexFrameWidth;
uniform float inTexFrameWidth;

void main() {
  vec2 outUV = outputCoord();
  bool luma = outUV.y <= kLumaShare;
  int dstX = int(io_texcoord.x * outTexFrameWidth);
  bool isV = !luma && (dstX & 1) == 1;
  vec2 inUV = vec2(outUV.x, luma ? outUV.y * 1.5 : (outUV.y - kLumaShare) * 3.0);
  // U and V of a pair come from the same input pixel, so V samples one pixel to the left of its own column.
  vec3 rgb = sampleInput(inUV, isV ? -1.0 / inTexFrameWidth : 0.0);
  float value = luma ? dot(rgb, kY) * 219.0 + 16.0 : dot(rgb, isV ? kV : kU) * 224.0 + 128.0;
  FragColor = vec4(value / 255.0, 0.0, 0.0, 1.0);
}
