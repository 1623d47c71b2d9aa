uniform mediump sampler2D texY;
uniform mediump sampler2D texU;
uniform mediump sampler2D texV;
uniform vec2 uvRateY;
uniform vec2 uvRateU;
uniform vec2 uvRateV;
uniform vec2 offsetY;
uniform vec2 offsetU;
uniform vec2 offsetV;
uniform vec4 boundsY;
uniform vec4 boundsU;
uniform vec4 boundsV;

void main() {
  float y = texture(texY, planeCoord(uvRateY, offsetY, boundsY)).r;
  float u = texture(texU, planeCoord(uvRateU, offsetU, boundsU)).r - 0.5;
  float v = texture(texV, planeCoord(uvRateV, offsetV, boundsV)).r - 0.5;
  FragColor = toRGB(y, u, v);
}
