void main() { FragColor = mainColor(); }
