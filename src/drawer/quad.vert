layout(location = 0) in vec3 position;
layout(location = 1) in vec2 texcoord;

uniform mat4 mvpMat;
uniform mat3 texcoordMat;

out vec2 io_texcoord;

void main() {
  gl_Position = mvpMat * vec4(position, 1.0);
  io_texcoord = (texcoordMat * vec3(texcoord, 1.0)).xy;
}
