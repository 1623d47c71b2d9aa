precision mediump float;
layout (location = 0) out vec4 FragColor;
in vec2 io_texcoord;
uniform sampler2D main_texture;
void main(void)
{
    FragColor = texture(main_texture, io_texcoord);
    FragColor.a = 1.0;
}
