// SPDX-License-Identifier: Apache-2.0
//
// The utterance of workload P6: 56 bytes, three commands.
#pragma once

namespace bench {

inline constexpr char kUtterance[] = "[[rate 200]]Hello [[emph +]]world[[slnc 300]] again now.";
static_assert(sizeof kUtterance - 1 == 56);

}  // namespace bench
