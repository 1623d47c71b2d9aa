#ifdef KEY
// 0.501961 less the key colour's chroma.
flat in vec2 io_keyShift;
// For the sum of nine distances: nine times the similarity, 1 over nine times the smoothness and the spill.
flat in vec3 io_keyRange;

// The sRGB curve as a minimax polynomial in the fourth root, from the Remez algorithm on [0.0031308, 1]: off by at most
// 6.6e-6.
vec3 encodeSRGB(vec3 linear) {
  vec3 s = sqrt(linear);
  vec3 t = sqrt(s);
  vec3 even = (0.28953309776 * s + 1.2554044397) * s - 0.061340216706;
  vec3 odd = (-0.068147342022 * s - 0.57748281341) * s + 0.16202626426;
  return mix(odd * t + even, 12.92 * linear, lessThanEqual(linear, vec3(0.0031308)));
}

float chromaDistance(vec3 rgb) {
  vec2 chroma = vec2(dot(rgb, vec3(-0.100644, -0.338572, 0.439216)), dot(rgb, vec3(0.439216, -0.398942, -0.040274)));
  return length(chroma + io_keyShift);
}

float pairDistance(vec2 first, vec2 second) {
  return chromaDistance(encodeSRGB((frameAt(first).rgb + frameAt(second).rgb) * 0.5));
}

// The centre, divided by its alpha, may exceed 1 (up to 255), where the polynomial is wrong. There the curve's power is
// 256^(1/2.4) times that of a 256th of the value.
vec3 encodeCentre(vec3 linear) {
  bvec3 over = greaterThan(linear, vec3(1.0));
  vec3 e = encodeSRGB(linear * mix(vec3(1.0), vec3(1.0 / 256.0), over));
  return mix(e, e * 10.079368399 + 0.499365262, over);
}

// Averaged over the neighbourhood, so that noise and compressed edges don't fray the matte. Pairs of taps are averaged
// as a linear filter between them would, but with full precision.
float boxFilteredDistance(vec3 centre) {
  vec2 p = io_texcoord;
  vec2 low = max(p - io_texelSize, io_bounds.xy);
  vec2 high = min(p + io_texelSize, io_bounds.zw);
  float sum = pairDistance(low, vec2(low.x, p.y)) + pairDistance(vec2(high.x, p.y), high) +
              pairDistance(vec2(low.x, high.y), vec2(p.x, high.y)) +
              pairDistance(vec2(p.x, low.y), vec2(high.x, low.y));
  return 2.0 * sum + chromaDistance(encodeCentre(centre));
}

float power1_5(float x) { return x * sqrt(x); }

vec4 keyed(vec4 col) {
  // There is no colour that could be un-premultiplied.
  if (col.a <= 0.0) return vec4(0.0);
  col.rgb = max(vec3(0.0), col.rgb * (1.0 / col.a));
  float base = boxFilteredDistance(col.rgb) - io_keyRange.x;
  vec2 share = clamp(base * io_keyRange.yz, 0.0, 1.0);
  col.a *= power1_5(share.x);
  float grey = dot(col.rgb, vec3(0.2126, 0.7152, 0.0722));
  col.rgb = mix(vec3(grey), col.rgb, power1_5(share.y));
  return vec4(col.rgb * col.a, col.a);
}
#endif
