in vec2 io_texcoord;
layout(location = 0) out vec4 FragColor;

uniform sampler2D tex;
uniform int flip;
uniform int mirror;
uniform int fullrange;
uniform vec2 inTexUVOffsetXY;
uniform vec2 inTexSizeScale;
uniform vec4 inTexBounds;
uniform vec2 outTexUVOffsetXY;
uniform vec2 outTexSizeScale;

const float kLumaShare = 2.0 / 3.0;

vec2 outputCoord() { return clamp((io_texcoord - outTexUVOffsetXY) * outTexSizeScale, 0.0, 1.0); }

// shiftX is in storage coordinates of the input.
vec3 sampleInput(vec2 inUV, float shiftX) {
  if (flip == 1) inUV.y = 1.0 - inUV.y;
  if (mirror == 1) inUV.x = 1.0 - inUV.x;
  inUV = inUV * inTexSizeScale + inTexUVOffsetXY;
  inUV.x += shiftX;
  return texture(tex, clamp(inUV, inTexBounds.xy, inTexBounds.zw)).rgb;
}
