in vec2 coordY;
in vec2 coordUV;

uniform mediump usampler2D texY16;
uniform mediump usampler2D texUV16;

void main() {
  float y = float(texture(texY16, coordY).r / 256u) / 255.0;
  vec2 uv = vec2(texture(texUV16, coordUV).rg / 256u) / 255.0 - 0.5;
  FragColor = toRGB(y, uv.x, uv.y);
}
