// SPDX-License-Identifier: GPL-3.0-or-later
#include "synth/call_sound.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include "synth/time_scale.h"

namespace kavrel {

namespace {

// A change of volume takes this many samples (5 ms), half of them on either side of its mark: a
// step would click.
constexpr std::uint64_t kFade = 110;
// What is louder than this, in units of a sample, is bent.
constexpr double kLoud = 24000;
constexpr double kLoudest = std::numeric_limits<std::int16_t>::max();

// The further above kLoud, the less is added, so that kLoudest is never passed.
double bent(double sample) {
  const double above = std::abs(sample) - kLoud;
  if (above <= 0) return sample;
  constexpr double kRoom = kLoudest - kLoud;
  return std::copysign(kLoud + kRoom * std::tanh(above / kRoom), sample);
}

double gainOf(int volume) {
  return volume / 100.0;
}

}  // namespace

void CallSound::addMark(int number, std::int64_t sample) {
  add({number, {}, 0}, sample);
}

void CallSound::addPhone(std::string_view name, std::int64_t sample) {
  add({0, std::string(name), 0}, sample);
}

void CallSound::add(Event event, std::int64_t sample) {
  event.sample = static_cast<std::uint64_t>(std::max(sample, std::int64_t{0}));
  m_events.push_back(std::move(event));
}

void CallSound::addSamples(std::span<const std::int16_t> samples) {
  m_samples.insert(m_samples.end(), samples.begin(), samples.end());
}

void CallSound::finish(std::span<const Finish> finishes) {
  orderEvents();
  resizePauses(finishes);
  applySpeeds(finishes);
  applyVolumes(finishes);
}

// Whatever the synthesiser says: events are in order, and none lies behind the end of the sound.
void CallSound::orderEvents() {
  std::uint64_t earliest = 0;
  for (Event& event : m_events) {
    event.sample = earliest = std::clamp<std::uint64_t>(event.sample, earliest, m_samples.size());
  }
}

void CallSound::applySpeeds(std::span<const Finish> finishes) {
  std::vector<TimeScale::Pace> paces;
  for (const Finish& finish : finishes) paces.push_back({beginOf(finish), finish.speed});
  const TimeScale scale(paces, m_samples.size());
  if (scale.isPlain()) return;
  for (Event& event : m_events) event.sample = scale.placeOf(event.sample);
  m_samples = scale.apply(m_samples);
}

void CallSound::addInnerMarks(std::span<const InnerMark> marks) {
  if (marks.empty()) return;
  const std::vector<Event> placed = m_events;
  const auto isMark = [](const Event& event) { return event.mark > 0; };
  auto next = std::ranges::find_if(placed, isMark);
  std::uint64_t before = 0;
  for (const InnerMark& inner : marks) {
    while (next != placed.end() && next->mark < inner.mark) {
      before = next->sample;
      next = std::find_if(std::next(next), placed.end(), isMark);
    }
    const std::uint64_t behind = next != placed.end() ? next->sample : m_samples.size();
    const double time = inner.share * static_cast<double>(behind - before);
    m_events.push_back({inner.mark, {}, before + static_cast<std::uint64_t>(time)});
  }
  std::ranges::stable_sort(m_events, {}, &Event::sample);
}

std::vector<CallSound::Pause> CallSound::pauses(std::span<const Finish> finishes) const {
  std::vector<Pause> found;
  auto finish = finishes.begin();
  double factor = 1;
  int mark = 0;
  bool silent = false;
  for (const Event& event : m_events) {
    mark = std::max(mark, event.mark);
    for (; finish != finishes.end() && finish->mark <= mark; ++finish) factor = finish->pauses;
    if (event.mark > 0) continue;
    const bool pause = event.phone.starts_with('_');
    if (pause && !silent) found.push_back({event.sample, m_samples.size(), factor});
    if (!pause && silent) found.back().end = event.sample;
    silent = pause;
  }
  return found;
}

// Pauses get longer and shorter in their middle, where nothing is left of the sounds around them.
void CallSound::resizePauses(std::span<const Finish> finishes) {
  if (std::ranges::all_of(finishes, [](const Finish& finish) { return finish.pauses == 1; }))
    return;
  std::vector<std::int16_t> resized;
  const auto copy = [&](std::uint64_t begin, std::uint64_t end) {
    resized.insert(resized.end(), m_samples.begin() + static_cast<std::ptrdiff_t>(begin),
                   m_samples.begin() + static_cast<std::ptrdiff_t>(end));
  };
  std::uint64_t copied = 0;
  auto event = m_events.begin();
  for (const Pause& pause : pauses(finishes)) {
    const std::uint64_t length = pause.end - pause.begin;
    const auto wanted = static_cast<std::uint64_t>(static_cast<double>(length) * pause.factor);
    const std::uint64_t kept = std::min(length, wanted);
    const std::uint64_t offset = resized.size() - copied;  // modulo: sound can get shorter
    copy(copied, pause.begin + kept / 2);
    resized.resize(resized.size() + (wanted - kept));
    copied = pause.end - (kept - kept / 2);
    for (; event != m_events.end() && event->sample < pause.end; ++event) {
      const std::uint64_t inside = event->sample - std::min(event->sample, pause.begin);
      event->sample += offset;
      event->sample +=
          static_cast<std::uint64_t>(static_cast<double>(inside) * pause.factor) - inside;
    }
  }
  const std::uint64_t offset = resized.size() - copied;
  for (; event != m_events.end(); ++event) event->sample += offset;
  copy(copied, m_samples.size());
  m_samples = std::move(resized);
}

void CallSound::applyVolumes(std::span<const Finish> finishes) {
  std::uint64_t begin = 0;
  double gain = 1;
  for (const Finish& finish : finishes) {
    const std::uint64_t change = beginOf(finish);
    const std::uint64_t fadeBegin = std::max(begin, change - std::min(change, kFade / 2));
    const std::uint64_t fadeEnd =
        change > 0 ? std::min<std::uint64_t>(fadeBegin + kFade, m_samples.size()) : 0;
    amplify(begin, fadeBegin, gain, gain);
    amplify(fadeBegin, fadeEnd, gain, gainOf(finish.volume));
    begin = fadeEnd;
    gain = gainOf(finish.volume);
  }
  amplify(begin, m_samples.size(), gain, gain);
}

// A mark that was passed over is reached together with the next one.
std::uint64_t CallSound::beginOf(const Finish& finish) const {
  if (finish.mark == 0) return 0;
  const auto reached = std::ranges::find_if(
      m_events, [&finish](const Event& event) { return event.mark >= finish.mark; });
  return reached == m_events.end() ? m_samples.size() : reached->sample;
}

// The gain goes from one value to the other on the way.
void CallSound::amplify(std::uint64_t begin, std::uint64_t end, double from, double to) {
  if (from == 1 && to == 1) return;
  const double step = (to - from) / static_cast<double>(end > begin ? end - begin : 1);
  double gain = from;
  for (std::uint64_t at = begin; at < end; ++at, gain += step) {
    const double sample = gain * m_samples[at];
    m_samples[at] = static_cast<std::int16_t>(std::lround(gain > 1 ? bent(sample) : sample));
  }
}

}  // namespace kavrel
