uniform mediump sampler2D texY;
uniform mediump sampler2D texUV;
uniform vec2 uvRateY;
uniform vec2 uvRateUV;
uniform vec2 offsetY;
uniform vec2 offsetUV;
uniform vec4 boundsY;
uniform vec4 boundsUV;

void main() {
  float y = texture(texY, planeCoord(uvRateY, offsetY, boundsY)).r;
  vec2 uv = texture(texUV, planeCoord(uvRateUV, offsetUV, boundsUV)).rg - 0.5;
  FragColor = toRGB(y, uv.x, uv.y);
}
