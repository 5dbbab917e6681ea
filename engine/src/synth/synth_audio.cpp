// SPDX-License-Identifier: Apache-2.0
#include "synth/synth_audio.h"

#include <algorithm>
#include <cmath>
#include <iterator>
#include <limits>
#include <utility>

#include "sample_rate.h"
#include "synth/late_marks.h"
#include "synth/time_scale.h"

namespace kavrel {

namespace {

// A change of volume is a linear fade of this many samples (5 ms), centred on its mark: a step
// would be heard as a click.
constexpr std::uint64_t kFade = 110;
// A phone without a name is a silence if no sample in its middle half is louder. Some variants of
// voices have an echo that can be heard in a pause; it stays below 1800. The sounds without a name
// are louder than 4900.
constexpr int kSilenceLevel = 3000;
// The shortest silence that is a pause: 50 ms. The synthesiser puts shorter ones between sounds and
// at word boundaries.
constexpr std::uint64_t kShortestPause = 50 * kSampleRate / 1000;
// Amplified samples above this value are soft-clipped.
constexpr double kSoftLimit = 24000;
constexpr double kHardLimit = std::numeric_limits<std::int16_t>::max();

// Soft clipping: compresses what exceeds kSoftLimit with tanh, so that the result never exceeds
// kHardLimit.
double softClipped(double sample) {
  const double above = std::abs(sample) - kSoftLimit;
  if (above <= 0) return sample;
  constexpr double kRoom = kHardLimit - kSoftLimit;
  return std::copysign(kSoftLimit + kRoom * std::tanh(above / kRoom), sample);
}

double gainOf(int volume) {
  return volume / 100.0;
}

}  // namespace

void SynthAudio::addMark(int number, std::int64_t sample) {
  add({number, {}, 0}, sample);
}

void SynthAudio::addPhone(std::string_view name, std::int64_t sample) {
  add({0, std::string(name), 0}, sample);
}

void SynthAudio::add(Event event, std::int64_t sample) {
  event.sample = static_cast<std::uint64_t>(std::max(sample, std::int64_t{0}));
  m_events.push_back(std::move(event));
}

// The usual call comes in one block, which is taken as it is.
void SynthAudio::addSamples(std::vector<std::int16_t>&& samples) {
  if (m_samples.empty()) {
    m_samples = std::move(samples);
    return;
  }
  m_samples.insert(m_samples.end(), samples.begin(), samples.end());
}

void SynthAudio::adjust(std::span<const Adjustment> adjustments) {
  orderEvents();
  findSilences();
  resizePauses(adjustments);
  applySpeeds(adjustments);
  applyVolumes(adjustments);
}

// Clamps the events, so that they are in order and none is after the end of the audio, whatever the
// synthesiser reported.
void SynthAudio::orderEvents() {
  std::uint64_t earliest = 0;
  for (Event& event : m_events) {
    event.sample = earliest = std::clamp<std::uint64_t>(event.sample, earliest, m_samples.size());
  }
}

// A silence ends at the next phone, or at the mark of the next word: what is silent after that is
// the closure of the word's first stop.
void SynthAudio::findSilences() {
  for (auto event = m_events.begin(); event != m_events.end(); ++event) {
    if (event->mark > 0 || !event->phone.empty()) continue;
    const auto next = std::find_if(std::next(event), m_events.end(), [event](const Event& each) {
      return each.mark == 0 || each.sample > event->sample;
    });
    const std::uint64_t end = next != m_events.end() ? next->sample : m_samples.size();
    if (!isSilent(event->sample, end)) continue;
    event->silence = end - event->sample < kShortestPause ? Silence::Short : Silence::Pause;
  }
}

// Sounds on both sides fade into a silence, so only the middle half counts.
bool SynthAudio::isSilent(std::uint64_t begin, std::uint64_t end) const {
  const auto quarter = static_cast<std::ptrdiff_t>((end - begin) / 4);
  const auto first = m_samples.begin() + static_cast<std::ptrdiff_t>(begin) + quarter;
  const auto last = m_samples.begin() + static_cast<std::ptrdiff_t>(end) - quarter;
  return std::all_of(first, last, [](int sample) { return std::abs(sample) <= kSilenceLevel; });
}

// Events move with the samples that they belong to.
void SynthAudio::applySpeeds(std::span<const Adjustment> adjustments) {
  std::vector<TimeScale::SpeedChange> changes;
  for (const Adjustment& adjustment : adjustments)
    changes.push_back({beginOf(adjustment), adjustment.speed});
  const TimeScale scale(changes, m_samples.size());
  if (scale.isIdentity()) return;
  for (Event& event : m_events) event.sample = scale.positionOf(event.sample);
  m_samples = scale.apply(m_samples);
}

void SynthAudio::correctLateMarks(std::span<const Marked> marked) {
  if (std::ranges::any_of(marked, &Marked::isJoined)) kavrel::correctLateMarks(m_events, marked);
}

// espeak-ng 1.51 has none for the last of the words whose marks it reports late, and for words that
// its dictionary joins to the word before. The start and the end of the audio count as marks.
void SynthAudio::addLostMarks(std::span<const Marked> marked, std::span<const InnerMark> inner) {
  if (marked.empty()) return;
  constexpr std::uint64_t kLost = std::numeric_limits<std::uint64_t>::max();
  std::vector<std::uint64_t> samples(marked.size() + 1, kLost);
  samples.front() = 0;
  samples.back() = m_samples.size();
  std::size_t reached = 0;
  for (const Event& event : m_events) {
    const auto mark = static_cast<std::size_t>(event.mark);
    if (event.mark <= 0 || mark >= marked.size() || samples[mark] != kLost) continue;
    samples[mark] = event.sample;
    ++reached;
  }
  if (reached + inner.size() + 1 >= marked.size()) return;
  const auto isInner = [inner](std::size_t mark) {
    return std::ranges::find(inner, static_cast<int>(mark), &InnerMark::mark) != inner.end();
  };
  std::vector<Event> lost;
  std::size_t before = 0;
  for (std::size_t after = 1; after < samples.size(); ++after) {
    if (samples[after] == kLost) continue;
    const std::uint64_t time = samples[after] - std::min(samples[before], samples[after]);
    std::size_t all = 0;
    for (std::size_t mark = before; mark < after; ++mark) all += marked[mark].letters;
    std::size_t spoken = marked[before].letters;
    for (std::size_t mark = before + 1; mark < after; spoken += marked[mark++].letters) {
      if (isInner(mark)) continue;
      const double share = all > 0 ? static_cast<double>(spoken) / static_cast<double>(all) : 1;
      const auto offset = static_cast<std::uint64_t>(share * static_cast<double>(time));
      lost.push_back({static_cast<int>(mark), {}, samples[before] + offset});
    }
    before = after;
  }
  // At the same sample, a word comes before its phones.
  m_events.insert(m_events.begin(), lost.begin(), lost.end());
  std::ranges::stable_sort(m_events, {}, &Event::sample);
}

// Interpolates between the neighbouring marks of the synthesiser; the start and the end of the
// audio count as marks.
void SynthAudio::addInnerMarks(std::span<const InnerMark> marks) {
  if (marks.empty()) return;
  const std::vector<Event> reached = m_events;
  const auto isMark = [](const Event& event) { return event.mark > 0; };
  auto next = std::ranges::find_if(reached, isMark);
  std::uint64_t before = 0;
  for (const InnerMark& inner : marks) {
    while (next != reached.end() && next->mark < inner.mark) {
      before = next->sample;
      next = std::find_if(std::next(next), reached.end(), isMark);
    }
    const std::uint64_t after = next != reached.end() ? next->sample : m_samples.size();
    const double time = inner.share * static_cast<double>(after - before);
    m_events.push_back({inner.mark, {}, before + static_cast<std::uint64_t>(time)});
  }
  std::ranges::stable_sort(m_events, {}, &Event::sample);
}

// Finds the pauses, from a silence to the next sound, each with the factor in force where it
// begins.
std::vector<SynthAudio::Pause> SynthAudio::pauses(std::span<const Adjustment> adjustments) const {
  std::vector<Pause> found;
  auto next = adjustments.begin();
  double factor = 1;
  int mark = 0;
  bool silent = false;
  for (const Event& event : m_events) {
    mark = std::max(mark, event.mark);
    for (; next != adjustments.end() && next->mark <= mark; ++next) factor = next->pauses;
    if (event.mark > 0) continue;
    const bool pause = event.silence != Silence::None;
    if (pause && !silent) found.push_back({event.sample, m_samples.size(), factor});
    if (!pause && silent) found.back().end = event.sample;
    silent = pause;
  }
  return found;
}

// Samples are inserted and removed in the middle of a pause, where the sounds around it have faded
// out. Events inside a pause keep their share of its length.
void SynthAudio::resizePauses(std::span<const Adjustment> adjustments) {
  if (std::ranges::all_of(adjustments,
                          [](const Adjustment& adjustment) { return adjustment.pauses == 1; }))
    return;
  std::vector<std::int16_t> resized;
  const auto copy = [&](std::uint64_t begin, std::uint64_t end) {
    resized.insert(resized.end(), m_samples.begin() + static_cast<std::ptrdiff_t>(begin),
                   m_samples.begin() + static_cast<std::ptrdiff_t>(end));
  };
  std::uint64_t copied = 0;
  auto event = m_events.begin();
  for (const Pause& pause : pauses(adjustments)) {
    const std::uint64_t length = pause.end - pause.begin;
    const auto wanted = static_cast<std::uint64_t>(static_cast<double>(length) * pause.factor);
    const std::uint64_t kept = std::min(length, wanted);
    const std::uint64_t offset = resized.size() - copied;  // modulo 2^64: audio can get shorter
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

// Each change fades from the gain before to the gain after. A change at the very start needs no
// fade.
void SynthAudio::applyVolumes(std::span<const Adjustment> adjustments) {
  std::uint64_t begin = 0;
  double gain = 1;
  for (const Adjustment& adjustment : adjustments) {
    const std::uint64_t change = beginOf(adjustment);
    const std::uint64_t fadeBegin = std::max(begin, change - std::min(change, kFade / 2));
    const std::uint64_t fadeEnd =
        change > 0 ? std::min<std::uint64_t>(fadeBegin + kFade, m_samples.size()) : 0;
    amplify(begin, fadeBegin, gain, gain);
    amplify(fadeBegin, fadeEnd, gain, gainOf(adjustment.volume));
    begin = fadeEnd;
    gain = gainOf(adjustment.volume);
  }
  amplify(begin, m_samples.size(), gain, gain);
}

// Returns the sample at which an adjustment begins. A mark that the synthesiser skipped counts as
// reached together with the next one.
std::uint64_t SynthAudio::beginOf(const Adjustment& adjustment) const {
  if (adjustment.mark == 0) return 0;
  const auto reached = std::ranges::find_if(
      m_events, [&adjustment](const Event& event) { return event.mark >= adjustment.mark; });
  return reached == m_events.end() ? m_samples.size() : reached->sample;
}

// The gain changes linearly from `from` to `to`. Only amplification can need clipping.
void SynthAudio::amplify(std::uint64_t begin, std::uint64_t end, double from, double to) {
  if (from == 1 && to == 1) return;
  const double step = (to - from) / static_cast<double>(end > begin ? end - begin : 1);
  double gain = from;
  for (std::uint64_t at = begin; at < end; ++at, gain += step) {
    const double sample = gain * m_samples[at];
    m_samples[at] = static_cast<std::int16_t>(std::lround(gain > 1 ? softClipped(sample) : sample));
  }
}

}  // namespace kavrel
