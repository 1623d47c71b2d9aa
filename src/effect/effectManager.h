#pragma once

#include <list>
#include <mutex>
#include <string_view>
#include <vector>

#include "effect/effect.h"
#include "effect/effectGroup.h"

namespace qvg {

/// The registry of effect groups and of the live instances. Any thread may call it; the work on an instance happens
/// outside its lock, on the thread that renders with it.
class EffectManager {
 public:
  explicit EffectManager(const EffectServices& services);
  /// Deletes every live instance.
  ~EffectManager();
  EffectManager(const EffectManager&) = delete;
  EffectManager& operator=(const EffectManager&) = delete;

  const std::vector<const EffectGroup*>& Groups() const { return groups_; }
  /// Null when unknown.
  const EffectGroup* Find(std::string_view name) const;

  Effect* CreateEffect(std::string_view name);
  bool SetEffectParameter(Effect* effect, const char* key, const ParamValue* value);
  Texture* ApplyEffect(Effect* effect, Texture* frame);
  Texture* ApplyEffectWith(Effect* effect, Texture* first, Texture* second, float value);
  /// Nulls the handle. True for null; false, with the handle untouched, for one that is not live.
  bool DestroyEffect(Effect*& effect);

 private:
  bool _IsLive(const Effect* effect);

  EffectServices services_;
  std::vector<const EffectGroup*> groups_;
  std::mutex mutex_;
  std::list<Effect*> live_;
};

}  // namespace qvg
