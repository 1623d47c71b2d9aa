in vec2 coordY;
in vec2 coordUV;

uniform mediump sampler2D texY;
uniform mediump sampler2D texUV;

void main() {
  float y = texture(texY, coordY).r;
  vec2 uv = texture(texUV, coordUV).rg - 0.5;
  FragColor = toRGB(y, uv.x, uv.y);
}
