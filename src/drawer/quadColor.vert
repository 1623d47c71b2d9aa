layout(location = 0) in vec3 position;
layout(location = 1) in vec2 texcoord;
layout(location = 2) in vec3 color;

uniform mat4 mvpMat;
uniform mat3 texcoordMat;

out vec2 io_texcoord;
out vec3 io_color;

void main() {
  gl_Position = mvpMat * vec4(position, 1.0);
  io_texcoord = (texcoordMat * vec3(texcoord, 1.0)).xy;
  io_color = color;
}
