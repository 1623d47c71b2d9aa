uniform mediump usampler2D texY16;
uniform mediump usampler2D texUV16;
uniform vec2 uvRateY;
uniform vec2 uvRateUV;
uniform vec2 offsetY;
uniform vec2 offsetUV;
uniform vec4 boundsY;
uniform vec4 boundsUV;

void main() {
  float y = float(texture(texY16, planeCoord(uvRateY, offsetY, boundsY)).r / 256u) / 255.0;
  vec2 uv = vec2(texture(texUV16, planeCoord(uvRateUV, offsetUV, boundsUV)).rg / 256u) / 255.0 - 0.5;
  FragColor = toRGB(y, uv.x, uv.y);
}
