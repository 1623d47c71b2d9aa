in vec2 coordY;
in vec2 coordU;
in vec2 coordV;

uniform mediump sampler2D texY;
uniform mediump sampler2D texU;
uniform mediump sampler2D texV;

void main() {
  float y = texture(texY, coordY).r;
  float u = texture(texU, coordU).r - 0.5;
  float v = texture(texV, coordV).r - 0.5;
  FragColor = toRGB(y, u, v);
}
