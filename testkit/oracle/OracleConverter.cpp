// SPDX-License-Identifier: Apache-2.0
//
// The oracle's conversion: builds the base text, runs the passes, collects the results.
#include "OraclePasses.h"

namespace oracle {

namespace {

const std::string kReset = "[[rset 0]]";

struct Conversion {
  std::vector<Carried> text;
  OffsetMap offsets;
};

// The base text is prefix, text and closing reset. The records of prefix and reset are inserted
// before and after those of the tokens.
Conversion run(const std::string& text, const std::optional<Settings>& settings, Output output,
               bool utf8 = false) {
  const std::string prefix = settings ? settingsPrefix(*settings) : "";
  OffsetMap inherited;
  if (settings) {
    inherited.insert(0, static_cast<std::int32_t>(prefix.size()), kAppleToken, true);
  }
  TokenList tokens;
  tokens.create(prefix + text + kReset, inherited, utf8);

  if (output == Output::Ssml) runPasses(tokens, settings.value_or(Settings{}));

  Conversion result{tokens.converted(), tokens.offsets()};
  result.offsets.insert(static_cast<std::uint32_t>(prefix.size() + text.size()),
                        static_cast<std::int32_t>(kReset.size()), kAppleToken, true);
  return result;
}

// Converts positions in the base text to positions in the caller's text.
std::vector<std::size_t> callerOrigins(const std::vector<Carried>& converted, std::size_t prefix,
                                       std::size_t length) {
  std::vector<std::size_t> origins;
  for (std::size_t i = 0; i < converted.size(); ++i) {
    std::size_t copied = i;
    while (copied < converted.size() && converted[copied].origin < 0) ++copied;

    std::size_t origin = length;
    if (copied < converted.size()) {
      const std::size_t base = static_cast<std::size_t>(converted[copied].origin);
      origin = base < prefix ? 0 : base - prefix;
      if (origin > length) origin = length;
    }
    origins.push_back(origin);
  }
  return origins;
}

}  // namespace

std::string settingsPrefix(const Settings& settings) {
  std::string prefix;
  if (settings.speakPhones) prefix += "[[inpt PHON]]";
  if (settings.spellOut) prefix += "[[char LTRL]]";
  if (settings.sayDigits) prefix += "[[nmbr LTRL]]";
  prefix += "[[volm -" + numberText(settings.volume / -100.0 + 1.0) + "]]";

  const double rate = settings.wpm - 180.0;
  if (rate > 0) prefix += "[[rate +" + numberText(rate) + "]]";
  if (rate < 0) prefix += "[[rate " + numberText(rate) + "]]";

  // Rationale: the step does not depend on the size of the difference.
  if (settings.pitchBase > settings.pitchAssumedBase) prefix += "[[pbas +0.0025]]";
  if (settings.pitchBase < settings.pitchAssumedBase) prefix += "[[pbas -0.0025]]";
  return prefix;
}

Result convert(const std::string& text, const std::optional<Settings>& settings, Output output,
               bool utf8) {
  Result result;
  try {
    Conversion conversion = run(text, settings, output, utf8);
    conversion.offsets.buildFinalLists();
    for (const Carried& each : conversion.text) result.converted += each.byte;
    const std::size_t prefix = settings ? settingsPrefix(*settings).size() : 0;
    result.origins = callerOrigins(conversion.text, prefix, text.size());
    result.records = conversion.offsets.records();
    result.appleRanges = conversion.offsets.appleRanges();
    result.ssmlRanges = conversion.offsets.ssmlRanges();
  } catch (const Failure& failure) {
    result.error = failure.error;
  }
  return result;
}

OffsetMap offsetsOf(const std::string& text, const std::optional<Settings>& settings,
                    Output output) {
  try {
    return run(text, settings, output).offsets;
  } catch (const Failure&) {
    return OffsetMap();
  }
}

}  // namespace oracle
