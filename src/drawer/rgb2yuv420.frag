// The first output column of the V half, in output coordinates: the middle, rounded down to a whole column.
uniform float vStart;

void main() {
  vec2 outUV = outputCoord();
  bool luma = outUV.y <= kLumaShare;
  bool isV = !luma && outUV.x >= vStart;
  vec2 inUV = luma ? vec2(outUV.x, outUV.y * 1.5)
                   : vec2((isV ? outUV.x - 0.5 : outUV.x) * 2.0, (outUV.y - kLumaShare) * 3.0);
  vec3 rgb = sampleInput(inUV, 0.0);
  float value = dot(rgb, luma ? kY : isV ? kV : kU);
#ifndef FULL_RANGE
  value = (luma ? value * 219.0 + 16.0 : value * 224.0 + 128.0) / 255.0;
#endif
  FragColor = vec4(value, 0.0, 0.0, 1.0);
}
