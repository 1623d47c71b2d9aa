layout(location = 0) in vec3 position;
layout(location = 1) in vec2 texcoord;

uniform mat4 mvpMat;

out vec3 io_position;
out vec2 io_texcoord;

void main() {
  gl_Position = mvpMat * vec4(position.xyz, 1.0f);
  io_position = position;
  io_texcoord = texcoord;
}
