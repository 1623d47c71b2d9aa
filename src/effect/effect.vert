layout(location = 0) in vec3 position;
layout(location = 1) in vec2 texcoord;

uniform mat4 mvpMat;
uniform mat3 texcoordMat;
// Centres of the outermost texels of the frame: nothing outside may be sampled.
uniform vec4 texture_bounds;

// What is the same for all fragments, or linear over the quad, is computed here. Bounds and steps are passed on as flat
// inputs, too: the software renderer reads a uniform anew at each use.
out vec2 io_texcoord;
flat out vec4 io_bounds;

#if defined(KEY) || defined(SHARPEN)
uniform vec2 texture_size;

flat out vec2 io_texelSize;
#endif

#ifdef KEY
uniform vec2 chromaKeyColor;
uniform float similarity;
uniform float smoothness;
uniform float spill;

flat out vec2 io_keyShift;
flat out vec3 io_keyRange;
#endif

#ifdef BLUR
uniform float blurRadius;
uniform float blurSumWeight;
uniform vec2 blurSingleOffset;

flat out vec3 io_blurWeight;
flat out vec2 io_blurOffset;

// 1 - exp(-x) for x up to 3, exact also where exp(-x) is nearly 1.
float oneMinusExp(float x) {
  float y = x / 64.0;
  float e = y * (1.0 - y * (1.0 / 2.0 - y * (1.0 / 6.0 - y / 24.0)));
  for (int i = 0; i < 6; ++i) e *= 2.0 - e;
  return e;
}
#endif

#ifdef WHITTEN
uniform float whitten;

flat out vec2 io_whitten;
#endif

#ifdef TEMPERATURE
uniform vec3 kelvin_rgb_high;
uniform vec3 kelvin_rgb_low;
uniform float temperature;

flat out vec3 io_kelvin;
#endif

#ifdef LIGHT
uniform float highlight;
uniform float shadow;

flat out vec2 io_lightPowers;
#endif

#ifdef BACKGROUND
uniform mat3 keyUVFactor;
uniform vec4 keyBGBounds;

out vec2 io_background;
flat out vec4 io_backgroundBounds;
#endif

void main() {
  gl_Position = mvpMat * vec4(position, 1.0);
  io_texcoord = (texcoordMat * vec3(texcoord, 1.0)).xy;
  io_bounds = texture_bounds;
#if defined(KEY) || defined(SHARPEN)
  io_texelSize = 1.0 / texture_size;
#endif
#ifdef KEY
  io_keyShift = 0.501961 - chromaKeyColor;
  io_keyRange = vec3(9.0 * similarity, 1.0 / (9.0 * smoothness), 1.0 / (9.0 * spill));
#endif
#ifdef BLUR
  // The centre's weight, the share of it that the first tap loses, and the rate at which that share grows.
  float s = blurRadius / 3.0;
  io_blurWeight = vec3(1.0 / (sqrt(2.0 * 3.1415926 * s * s) * blurSumWeight), oneMinusExp(0.5 / (s * s)),
                       oneMinusExp(1.0 / (s * s)));
  io_blurOffset = blurSingleOffset;
#endif
#ifdef WHITTEN
  io_whitten = vec2(whitten, 1.0 / log(1.0 + whitten));
#endif
#ifdef TEMPERATURE
  io_kelvin = mix(vec3(1.0), temperature < 0.0 ? kelvin_rgb_high : kelvin_rgb_low, abs(temperature));
#endif
#ifdef LIGHT
  // At a highlight of 1 the exponent would be infinite; at this one the powers vanish as well.
  io_lightPowers = vec2(1.0 / (shadow + 1.0), 1.0 / max(1.0 - highlight, 1e-4));
#endif
#ifdef BACKGROUND
  io_background = (vec3(io_texcoord, 1.0) * keyUVFactor).xy;
  io_backgroundBounds = keyBGBounds;
#endif
}
