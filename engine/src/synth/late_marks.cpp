// SPDX-License-Identifier: Apache-2.0
#include "synth/late_marks.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace kavrel {

namespace {

using Event = SynthAudio::Event;
using Marked = SynthAudio::Marked;

// A word's mark and those of the bookmarks before it.
struct Group {
  int first = 0;
  int last = 0;
  bool isJoined = false;
  std::optional<std::uint64_t> reported;  // sample
};

// Appends the events of a clause's marks, and empties the clause.
void endClause(std::vector<Group>& clause, std::vector<Event>& corrected) {
  std::vector<std::uint64_t> samples;
  for (const Group& group : clause) {
    if (group.reported) samples.push_back(*group.reported);
  }
  const auto begun = static_cast<std::size_t>(std::ranges::count(clause, false, &Group::isJoined));
  auto sample = samples.begin();
  for (const Group& group : clause) {
    if (begun == samples.size() ? group.isJoined : !group.reported) continue;
    for (int mark = group.first; mark <= group.last; ++mark) {
      corrected.push_back({mark, {}, *sample});
    }
    ++sample;
  }
  clause.clear();
}

}  // namespace

// Bookmarks after the last word of the call are in no group: they are reached at its end.
void correctLateMarks(std::vector<Event>& events, std::span<const Marked> marked) {
  std::vector<Event> corrected;
  std::vector<Group> clause;
  Group group{1, 0, false, {}};
  for (std::size_t mark = 1; mark < marked.size(); ++mark) {
    group.last = static_cast<int>(mark);
    const auto event = std::ranges::find(events, group.last, &Event::mark);
    if (event != events.end() && !group.reported) group.reported = event->sample;
    if (!marked[mark].isWord) continue;
    group.isJoined = marked[mark].isJoined;
    clause.push_back(group);
    group = {group.last + 1, 0, false, {}};
    if (marked[mark].endsClause) endClause(clause, corrected);
  }
  endClause(clause, corrected);
  std::erase_if(events, [](const Event& event) { return event.mark > 0; });
  events.insert(events.begin(), corrected.begin(), corrected.end());
  std::ranges::stable_sort(events, {}, &Event::sample);
}

}  // namespace kavrel
