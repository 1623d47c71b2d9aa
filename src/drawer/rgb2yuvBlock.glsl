// One block of 4 x 2 input pixels per fragment: every pixel is read once, and one draw makes the whole frame. For frames
// of even height whose width is a multiple of 4. The first block goes to the targets' texel 0, 0.
layout(location = 0) out vec4 evenLuma;
layout(location = 1) out vec4 oddLuma;

uniform sampler2D tex;
uniform ivec2 inTexOrigin;
uniform ivec2 inTexSize;

const vec2 kLumaRange = vec2(219.0, 16.0) / 255.0;
const vec2 kChromaRange = vec2(224.0, 128.0) / 255.0;

vec3 inputPixel(ivec2 pixel) {
#ifdef FLIP
  pixel.y = inTexSize.y - 1 - pixel.y;
#endif
#ifdef MIRROR
  pixel.x = inTexSize.x - 1 - pixel.x;
#endif
  return texelFetch(tex, pixel + inTexOrigin, 0).rgb;
}

vec3[4] inputRow(ivec2 pixel) {
  return vec3[4](inputPixel(pixel), inputPixel(pixel + ivec2(1, 0)), inputPixel(pixel + ivec2(2, 0)),
                 inputPixel(pixel + ivec2(3, 0)));
}

vec4 lumaOf(vec3 row[4]) {
  vec4 luma = vec4(dot(row[0], kY), dot(row[1], kY), dot(row[2], kY), dot(row[3], kY));
#ifdef FULL_RANGE
  return luma;
#else
  return luma * kLumaRange.x + kLumaRange.y;
#endif
}
