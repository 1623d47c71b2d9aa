void main() { FragColor = foreground(); }
