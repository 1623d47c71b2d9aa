// Chooses and changes the parameters of an effect, one after the other.
#pragma once

#include <string>
#include <vector>

#include "picture/effect.h"

namespace qvgtool {

class ParameterKeys {
 public:
  /** The effect must outlive this object. */
  explicit ParameterKeys(Effect& effect) : effect_(effect) {}

  /** Each returns a line to show. Setting a parameter switches its stage on, as on the command line. Throws Error. */
  std::string Choose(int steps);
  std::string Change(int steps);
  std::string SetDefault();
  /** index: 0 key, 1 beauty, 2 colour, 3 background. */
  std::string SwitchStage(size_t index);

  /** Whether a click into the picture now picks a colour. */
  bool WantsColor() const;

  /** The stages that are on; empty: none. */
  std::string StagesOn() const;

 private:
  std::vector<const QVGParamDescriptor*> _Order() const;
  const ParamSetting& _Value(const char* name) const { return effect_.Settings().at(name); }
  std::string _Describe() const;
  void _Set(const ParamSetting& setting);

  Effect& effect_;
  const QVGParamDescriptor* chosen_ = nullptr;
};

}  // namespace qvgtool
