precision highp float;
layout (location = 0) out vec4 FragColor;
in vec2 io_texcoord;
uniform sampler2D main_texture;
uniform vec4 bounds;
void main(void)
{
    FragColor = texture(main_texture, clamp(io_texcoord, bounds.xy, bounds.zw));
    FragColor.rgb *= FragColor.a;
    FragColor.a = 1.0;
}
