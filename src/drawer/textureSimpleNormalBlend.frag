void main() {
  vec4 s = mainColor();
  vec4 d = background();
  FragColor = composite(s, d, s.rgb, compositeAlpha(s, d));
}
