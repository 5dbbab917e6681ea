// SPDX-License-Identifier: Apache-2.0
//
// Synthesisers with a pool of their own. They are never destroyed, since threads of a pipeline may
// outlive it.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "synth/synth_pool.h"
#include "synth/synthesiser.h"

namespace test {

struct KeptSynthesiser {
  KeptSynthesiser(std::string program, const kavrel::SynthProcess::Limits& limits,
                  std::size_t maxCalls)
      : pool(std::move(program), limits, maxCalls), synthesiser(pool) {}

  kavrel::SynthPool pool;
  kavrel::Synthesiser synthesiser;
};

inline kavrel::Synthesiser& keptSynthesiser(
    std::string program, const kavrel::SynthProcess::Limits& limits,
    std::size_t maxCalls = kavrel::SynthPool::usualMaxCalls()) {
  // Reachable, so that no leak is reported.
  static auto& all = *new std::vector<std::unique_ptr<KeptSynthesiser>>;
  all.push_back(std::make_unique<KeptSynthesiser>(std::move(program), limits, maxCalls));
  return all.back()->synthesiser;
}

}  // namespace test
