#pragma once

#include <cstdint>
#include <string>

namespace qvg {

/// A compile-time switch of a program: "#define NAME" when it is on; with more than one bit "#define NAME value".
struct ProgramSwitch {
  const char* name;
  int bits = 1;
};

/// A sampler and the texture unit that it reads.
struct ProgramSampler {
  const char* name;
  int unit;
};

/// What a task needs to draw: the parts of its GLSL sources, and what it sets. A combination of values of the switches
/// is a variant: a program of its own, whose name is the kind's with the switches that are on. Lists end at the first
/// null. Kinds are static objects, identified by their address.
struct ProgramKind {
  static constexpr int kMaxUniforms = 24;

  const char* name;
  const char* vertex[2];
  const char* fragment[6];
  const char* uniforms[kMaxUniforms];  ///< Set by their index in this list.
  ProgramSampler samplers[4];          ///< Bound by their index in this list.
  ProgramSwitch switches[12] = {};     ///< The first one takes a variant's lowest bits.
};

/// A variant's name, and its sources behind their version line and the switches.
struct ProgramText {
  std::string name;
  std::string vertex;
  std::string fragment;

  static ProgramText Of(const ProgramKind& kind, uint32_t variant);
};

}  // namespace qvg
