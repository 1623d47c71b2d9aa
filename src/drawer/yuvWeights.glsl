// ITU-R BT.601, rounded to three digits.
const vec3 kY = vec3(0.299, 0.587, 0.114);
const vec3 kU = vec3(-0.169, -0.331, 0.5);
const vec3 kV = vec3(0.5, -0.419, -0.081);
