// Four bytes of the frame in one texel: the target is a quarter as wide. For frames of even height, whose pixels the
// luma rows meet exactly.
layout(location = 0) out vec4 FragColor;

uniform sampler2D tex;
uniform int flip;
uniform int mirror;
uniform int fullrange;
uniform vec2 inTexOrigin;
uniform vec2 inTexSize;
uniform vec2 outTexOrigin;

const vec2 kLumaRange = vec2(219.0, 16.0) / 255.0;
const vec2 kChromaRange = vec2(224.0, 128.0) / 255.0;

// The texel of this fragment, counted from the target's origin.
ivec2 outputTexel() { return ivec2(gl_FragCoord.xy - outTexOrigin); }

vec3 inputPixel(ivec2 pixel) {
  ivec2 size = ivec2(inTexSize);
  if (flip == 1) pixel.y = size.y - 1 - pixel.y;
  if (mirror == 1) pixel.x = size.x - 1 - pixel.x;
  return texelFetch(tex, pixel + ivec2(inTexOrigin), 0).rgb;
}
