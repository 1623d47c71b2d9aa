#include "picture/effect.h"
#include "picture/logCapture.h"

namespace qvgtool {

EffectTable LoadEffectTable() {
  LogCapture log;
  const Renderer renderer;
  if (!renderer.Ready()) throw Error(NoContextReason(log));
  return AskEffectTable();
}

}  // namespace qvgtool
