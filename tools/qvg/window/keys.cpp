#include "window/keys.h"

#include <fmt/format.h>

#include <algorithm>
#include <iterator>

namespace qvgtool {
namespace {

using enum KeyAction;
constexpr bool KeyOffer::*kAlways = &KeyOffer::pause;
constexpr bool KeyOffer::*kEffect = &KeyOffer::effect;
constexpr bool KeyOffer::*kTravel = &KeyOffer::travel;
constexpr bool KeyOffer::*kTasks = &KeyOffer::tasks;

constexpr KeyRow kKeys[] = {
    {kPause, 0, kAlways, false, {' '}, "Space", "pause, go on"},
    {kStep, 1, kAlways, true, {'.'}, "Point", "one frame on"},
    {kStep, -1, kTravel, true, {','}, "Comma", "one frame back"},
    {kSeek, 5, kTravel, true, {kKeyPageDown}, "Page Down, Page Up", "5 seconds on, back (Shift: 50)"},
    {kSeek, -5, kTravel, true, {kKeyPageUp}, nullptr, nullptr},
    {kStart, 0, kTravel, false, {kKeyHome}, "Home", "to the start"},
    {kStage, 0, kEffect, false, {'1'}, "1 2 3 4", "key, beauty, colour, background: on or off"},
    {kStage, 1, kEffect, false, {'2'}, nullptr, nullptr},
    {kStage, 2, kEffect, false, {'3'}, nullptr, nullptr},
    {kStage, 3, kEffect, false, {'4'}, nullptr, nullptr},
    {kChoose, 1, kEffect, true, {kKeyDown}, "Down, Up", "choose a parameter of the effect"},
    {kChoose, -1, kEffect, true, {kKeyUp}, nullptr, nullptr},
    {kChange, 1, kEffect, true, {kKeyRight, '+'}, "Right, Left or + -", "change it (Shift with arrows: tenfold)"},
    {kChange, -1, kEffect, true, {kKeyLeft, '-'}, nullptr, nullptr},
    {kDefault, 0, kEffect, false, {kKeyBackspace}, "Backspace", "its default"},
    {kSplit, 0, kTasks, false, {'b'}, "b", "before and after; the mouse draws the line"},
    {kPrint, 0, kTasks, false, {'p'}, "p", "print a command that renders with these settings"},
    {kSave, 0, kTasks, false, {'s'}, "s", "save the picture as PNG"},
    {kTurn, 1, kAlways, false, {'r'}, "r", "turn the view a quarter"},
    {kFlip, 0, kAlways, false, {'f'}, "f", "flip the view upside down"},
    {kFullScreen, 0, kAlways, false, {kKeyF11}, "F11", "full screen"},
    {kHelp, 0, kAlways, false, {'h', kKeyF1}, "h, F1", "these keys"},
    {kClose, 0, kAlways, false, {'q'}, "q, Escape", "close"},
    {kLeave, 0, kAlways, false, {kKeyEscape}, nullptr, nullptr},
};

}  // namespace

const KeyRow* FindKey(const Stroke& stroke) {
  const auto* row = std::find_if(std::begin(kKeys), std::end(kKeys), [&](const KeyRow& candidate) {
    return (!stroke.repeated || candidate.repeats) && stroke.code != 0 &&
           std::count(std::begin(candidate.codes), std::end(candidate.codes), stroke.code) > 0;
  });
  return row == std::end(kKeys) ? nullptr : row;
}

std::string KeyHelp(const KeyOffer& offer) {
  std::string lines;
  for (const KeyRow& row : kKeys) {
    if (row.names && offer.*row.needs) lines += fmt::format("{:<20}{}\n", row.names, row.help);
  }
  if (offer.tasks) lines += fmt::format("{:<20}{}\n", "Click", "that colour is keyed out, while no other is");
  lines.pop_back();
  return lines;
}

}  // namespace qvgtool
