#include "effect/effectManager.h"

#include <algorithm>
#include <memory>

#include "effect/generalEffect.h"
#include "utils/slotCall.h"

namespace qvg {

EffectManager::EffectManager(const EffectServices& services)
    : services_(services), groups_({&GeneralEffect::Group()}) {}

EffectManager::~EffectManager() {
  std::lock_guard lock(mutex_);
  for (Effect* effect : live_) delete effect;
}

const EffectGroup* EffectManager::Find(std::string_view name) const {
  const auto found =
      std::find_if(groups_.begin(), groups_.end(), [&](const EffectGroup* group) { return name == group->name; });
  return found != groups_.end() ? *found : nullptr;
}

Effect* EffectManager::CreateEffect(std::string_view name) {
  const EffectGroup* group = Find(name);
  if (group == nullptr) return nullptr;
  std::unique_ptr<Effect> effect(group->create(services_));
  if (effect == nullptr) return nullptr;
  std::lock_guard lock(mutex_);
  live_.push_back(effect.get());
  return effect.release();
}

bool EffectManager::_IsLive(const Effect* effect) {
  std::lock_guard lock(mutex_);
  const bool live = std::find(live_.begin(), live_.end(), effect) != live_.end();
  return Expect(live, "effect", "one that was created and not destroyed");
}

bool EffectManager::SetEffectParameter(Effect* effect, const char* key, const ParamValue* value) {
  return _IsLive(effect) && effect->SetParam(key, value);
}

Texture* EffectManager::ApplyEffect(Effect* effect, Texture* frame) {
  return _IsLive(effect) ? effect->Process(frame) : nullptr;
}

Texture* EffectManager::ApplyEffectWith(Effect* effect, Texture* first, Texture* second, float value) {
  return _IsLive(effect) ? effect->Process(first, second, value) : nullptr;
}

bool EffectManager::DestroyEffect(Effect*& effect) {
  if (effect == nullptr) return true;
  {
    std::lock_guard lock(mutex_);
    const auto found = std::find(live_.begin(), live_.end(), effect);
    if (found == live_.end()) return false;
    live_.erase(found);
  }
  // Outside the lock: giving an image back may wait until another one is decoded.
  delete effect;
  effect = nullptr;
  return true;
}

}  // namespace qvg
