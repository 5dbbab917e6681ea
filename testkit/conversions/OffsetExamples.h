// SPDX-License-Identifier: Apache-2.0
//
// Examples of offset maps: the calls, the resulting records and derived lists, and the correction
// at some positions of the converted text. The product's map and the oracle's run the same rows.
#pragma once

#include <cstdint>
#include <ostream>
#include <string>
#include <vector>

namespace examples {

constexpr int kApple = 0;
constexpr int kSsml = 1;

struct OffsetRecord {
  std::uint32_t pos;
  std::int32_t amount;
  bool insertedCode;
  int type;
};

struct Correction {
  std::uint32_t position;
  std::int32_t amount;
};

struct OffsetExample {
  std::string shows;
  std::vector<OffsetRecord> recorded;  // in this order
  std::vector<OffsetRecord> records;
  std::vector<OffsetRecord> appleRanges;
  std::vector<OffsetRecord> ssmlRanges;
  std::vector<Correction> corrections;
};

inline std::ostream& operator<<(std::ostream& out, const OffsetExample& example) {
  return out << example.shows;
}

inline std::vector<OffsetExample> offsetExamples() {
  constexpr OffsetRecord kFree{0, 0, false, kApple};
  return {
      {"AnEmptyMapMapsEveryPositionToItself", {}, {}, {}, {}, {{0, 0}, {1, 0}, {1000, 0}}},
      {"TheCharacterBeforeACommandMapsForward",
       {{2, 12, false, kApple}, {16, 10, true, kApple}},
       {{2, 12, false, kApple}, {16, 10, true, kApple}},
       {{2, 12, false, kApple}, {16, 10, true, kApple}},
       {kFree, kFree},
       {{0, 0}, {1, -12}, {2, -12}, {3, -12}, {4, -12}}},
      {"TouchingStretchesAreOneRange",
       {{5, 3, false, kApple}, {8, 4, false, kApple}},
       {{5, 3, false, kApple}, {8, 4, false, kApple}},
       {{5, 7, false, kApple}},
       {kFree},
       {}},
      {"TouchingStretchesOfTwoOriginsStayTwo",
       {{5, 3, true, kApple}, {8, 4, false, kApple}},
       {{5, 3, true, kApple}, {8, 4, false, kApple}},
       {{5, 3, true, kApple}, {8, 4, false, kApple}},
       {kFree, kFree},
       {}},
      {"ACommandAtThePrefixesStartCutsIt",
       {{0, 40, true, kApple}, {0, 12, false, kApple}},
       {{0, 12, true, kApple}, {12, 28, true, kApple}},
       {{0, 40, true, kApple}},
       {kFree},
       {}},
      {"TheSameStretchTwiceBecomesInserted",
       {{5, 3, false, kApple}, {5, 3, true, kApple}},
       {{5, 3, true, kApple}},
       {{5, 3, true, kApple}},
       {kFree},
       {}},
      {"AnInsertedStretchAbsorbsALongerOne",
       {{5, 3, true, kApple}, {5, 9, false, kApple}},
       {{5, 3, true, kApple}},
       {{5, 3, true, kApple}},
       {kFree},
       {}},
      {"AnInsertedStretchIsRecordedOnce",
       {{5, 3, true, kApple}, {5, 3, true, kApple}},
       {{5, 3, true, kApple}},
       {{5, 3, true, kApple}},
       {kFree},
       {}},
      {"ASecondStretchAtAPositionIsPutFirst",
       {{5, 3, false, kApple}, {5, 9, false, kApple}},
       {{5, 9, false, kApple}, {5, 3, false, kApple}},
       {{5, 9, false, kApple}, {5, 3, false, kApple}},
       {kFree, kFree},
       {}},
      {"AnEarlierStretchIsPutOneRecordTooEarly",
       {{10, 1, false, kApple}, {20, 1, false, kApple}, {15, 1, false, kApple}},
       {{15, 1, false, kApple}, {10, 1, false, kApple}, {20, 1, false, kApple}},
       {{15, 1, false, kApple}, {10, 1, false, kApple}, {20, 1, false, kApple}},
       {kFree, kFree, kFree},
       {}},
      {"AStretchBeforeTheFirstIsAppended",
       {{10, 1, false, kApple}, {5, 1, false, kApple}},
       {{10, 1, false, kApple}, {5, 1, false, kApple}},
       {{10, 1, false, kApple}, {5, 1, false, kApple}},
       {kFree, kFree},
       {}},
      {"MarkupBeforeAnEarlierRecordOfTheOtherKindIsAppended",
       {{10, 1, false, kApple}, {5, 2, false, kSsml}},
       {{10, 1, false, kApple}, {5, 2, false, kSsml}},
       {{10, 1, false, kApple}},
       {{10, 2, false, kSsml}},
       {}},
      {"MarkupAfterTheLastCommandHasNoRange",
       {{2, 3, false, kApple}, {9, 4, false, kSsml}},
       {{2, 3, false, kApple}, {9, 4, false, kSsml}},
       {{2, 3, false, kApple}},
       {kFree},
       {}},
      {"MarkupAfterACommandMapsToTheTextAfterIt",
       {{4, 10, false, kApple}, {14, 5, false, kSsml}, {20, 10, true, kApple}},
       {{4, 10, false, kApple}, {14, 5, false, kSsml}, {20, 10, true, kApple}},
       {{4, 10, false, kApple}, {20, 10, true, kApple}},
       {{4, 5, false, kSsml}, kFree},
       {{0, 0}, {9, -5}, {14, -5}}},
      {"TheClosingTextIsNeverSubtracted",
       {{5, 10, true, kApple}},
       {{5, 10, true, kApple}},
       {{5, 10, true, kApple}},
       {kFree},
       {{0, 0}, {5, 0}, {20, 0}}},
  };
}

}  // namespace examples
