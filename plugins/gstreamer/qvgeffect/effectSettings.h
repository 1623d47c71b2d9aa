#pragma once

#include <gst/gst.h>
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace qvgst {

/// The values of an effect's parameters, and these as properties of a GObject. Any thread.
class EffectSettings {
 public:
  EffectSettings();

  /// The property of a row of the effect's table.
  static GParamSpec* NewProperty(const QVGParamDescriptor& row);

  void SetProperty(size_t row, const GValue* value);
  void GetProperty(size_t row, GValue* value) const;

  /// Sets a row to what the element has found, unless its property was set: that stays.
  void Find(std::string_view name, const QVGParamValue& value);
  /// Rows that were found are as if they had not been.
  void ForgetFound();
  /// Whether a row's property was set.
  bool IsGiven(std::string_view name) const;
  /// A switch that nobody has set is on when a parameter of its stage is set.
  bool IsOn(std::string_view name) const;
  /// A background counts when there is an image to lay there.
  bool AnyStageOn() const;

  /// What is on in an instance.
  struct Sent {
    bool anyStage, key;
    std::string imageFailure;  ///< Why an image that was sent can't be used.
  };
  /// Sends what has changed since the last call with this object to the instance. [GL] pathPrefix: put before paths.
  Sent Send(const qvg::Effect& effect, const std::string& pathPrefix);
  /// The next Send() is to a new instance: everything.
  void Forget();

 private:
  struct Setting {
    QVGParamValue value = {};
    std::string text;
    bool isSet = false;    ///< To something, by anybody.
    bool isGiven = false;  ///< By its property.
    bool isSent = false;
  };

  static std::optional<size_t> IndexOf(std::string_view name);
  bool IsOnLocked(size_t row) const;
  bool AnyStageOnLocked() const;
  void Put(size_t row, const QVGParamValue& value, std::string text);
  void SendAgain(size_t row);

  mutable std::mutex mutex_;
  std::vector<Setting> settings_;
  std::string sentPrefix_;
  bool imageFailed_ = false;
};

}  // namespace qvgst
