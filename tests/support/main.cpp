#include <gtest/gtest.h>

#include <cstdio>

#include "support/commands.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  if (argc > 1) {
    const auto command = qvg::test::commands().find(argv[1]);
    if (command == qvg::test::commands().end()) {
      std::fprintf(stderr, "unknown argument %s\n", argv[1]);
      return 2;
    }
    return command->second(argc > 2 ? argv[2] : "");
  }
  return RUN_ALL_TESTS();
}
