precision mediump float; 
layout (location = 0) in vec3 position;
layout (location = 1) in vec2 texcoord;
out vec2 io_texcoord;
void main(void)
{
    gl_Position = vec4(position.xyz, 1.0f);
    io_texcoord = texcoord;
}
