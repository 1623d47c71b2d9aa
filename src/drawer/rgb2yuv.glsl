// One byte of the frame per texel, for all sizes; luma in the first two thirds of the rows, chroma in the last.
in vec2 io_texcoord;
layout(location = 0) out vec4 FragColor;

uniform sampler2D tex;
uniform vec2 inTexUVOffsetXY;
uniform vec2 inTexSizeScale;
uniform vec4 inTexBounds;

const float kLumaShare = 2.0 / 3.0;

vec2 outputCoord() { return clamp(io_texcoord, 0.0, 1.0); }

// shiftX: in storage coordinates of the input.
vec3 sampleInput(vec2 inUV, float shiftX) {
#ifdef FLIP
  inUV.y = 1.0 - inUV.y;
#endif
#ifdef MIRROR
  inUV.x = 1.0 - inUV.x;
#endif
  inUV = inUV * inTexSizeScale + inTexUVOffsetXY;
  inUV.x += shiftX;
  return texture(tex, clamp(inUV, inTexBounds.xy, inTexBounds.zw)).rgb;
}
