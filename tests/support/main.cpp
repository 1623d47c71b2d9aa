#include <gtest/gtest.h>

#include <cstdio>

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc == 1) return RUN_ALL_TESTS();
  std::fprintf(stderr, "unknown argument %s\n", argv[1]);
  return 2;
}
