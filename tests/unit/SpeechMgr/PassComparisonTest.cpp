// SPDX-License-Identifier: Apache-2.0
//
// Compares each pass of the converter with the oracle's on lists that were changed by hand: sizes,
// positions and markup that no text leads to. The seeds are fixed.

#include <array>
#include <functional>
#include <random>
#include <stdexcept>

#include <gtest/gtest.h>

#include "AppleMarkupConverter.h"
#include "AppleSynthesisError.h"
#include "TokenList.h"
#include "oracle/OraclePasses.h"
#include "oracle/OracleTokens.h"

namespace {

struct Pass {
  const char* name;
  std::function<void(AppleMarkupConverter&, TokenList&)> run;
  std::function<void(oracle::TokenList&)> runOracle;
};

const std::vector<Pass>& passes() {
  using Converter = AppleMarkupConverter;
  static const std::vector<Pass> all = {
      {"Emphasis", &Converter::convertEmphasisTags, oracle::convertEmphasisTags},
      {"Char", &Converter::convertCharTags, oracle::convertCharTags},
      {"Nmbr", &Converter::convertNmbrTags, oracle::convertNmbrTags},
      {"Silence", &Converter::convertSilenceTags, oracle::convertSilenceTags},
      {"Sync", &Converter::convertSyncTags, oracle::convertSyncTags},
      {"Volume", &Converter::convertVolumeTags, oracle::convertVolumeTags},
      {"Rate", &Converter::convertRateTags, oracle::convertRateTags},
      {"PitchBase", &Converter::convertPitchBaseTags,
       [](oracle::TokenList& tokens) { oracle::convertPitchBaseTags(tokens, 0); }},
      {"PitchRange", &Converter::convertPitchRangeTags,
       [](oracle::TokenList& tokens) { oracle::convertPitchRangeTags(tokens, 0); }},
      {"TunePhones", &Converter::ignoreTunePhonesTags, oracle::ignoreTunePhonesTags},
      {"WordContext",
       [](Converter& converter, TokenList& tokens) {
         converter.ignoreContextTags(tokens, AppleMarkupToken::WORD_CONTEXT_TAG);
       },
       [](oracle::TokenList& tokens) {
         oracle::ignoreContextTags(tokens, oracle::Kind::WordContext);
       }},
      {"TextContext",
       [](Converter& converter, TokenList& tokens) {
         converter.ignoreContextTags(tokens, AppleMarkupToken::TEXT_CONTEXT_TAG);
       },
       [](oracle::TokenList& tokens) {
         oracle::ignoreContextTags(tokens, oracle::Kind::TextContext);
       }},
      {"Phone", &Converter::convertPhoneTags, oracle::convertPhoneTags},
  };
  return all;
}

// The commands of a pass, and commands that end its regions.
const std::vector<std::string>& commandsOf(const std::string& pass) {
  static const std::map<std::string, std::vector<std::string>> all = {
      {"Emphasis", {"[[emph +]]", "[[emph -]]", "[[rset 0]]", "[[frob]]"}},
      {"Char", {"[[char LTRL]]", "[[char NORM]]", "[[rset 0]]", "[[rate 5]]"}},
      {"Nmbr", {"[[nmbr LTRL]]", "[[nmbr NORM]]", "[[rset 0]]", "[[rate 5]]"}},
      {"Silence", {"[[slnc 5]]", "[[slnc]]", "[[rset 0]]", "[[frob]]"}},
      {"Sync", {"[[sync 5]]", "[[sync 0x5]]", "[[rset 0]]", "[[frob]]"}},
      {"Volume", {"[[volm 0.5]]", "[[volm -0.1]]", "[[rset 0]]", "[[emph +]]"}},
      {"Rate", {"[[rate 5]]", "[[rate +1]]", "[[rset 0]]", "[[emph +]]"}},
      {"PitchBase", {"[[pbas 50]]", "[[pbas +1]]", "[[rset 0]]", "[[emph +]]"}},
      {"PitchRange", {"[[pmod 50]]", "[[pmod -1]]", "[[rset 0]]", "[[emph +]]"}},
      {"TunePhones", {"[[inpt TUNE]]", "[[inpt TEXT]]", "[[inpt PHON]]", "[[rset 0]]", "[[cmnt]]"}},
      {"WordContext",
       {"[[ctxt WSKP]]", "[[ctxt WORD]]", "[[ctxt TSKP]]", "[[ctxt NORM]]", "[[rset 0]]",
        "[[cmnt]]"}},
      {"TextContext",
       {"[[ctxt TSKP]]", "[[ctxt TEXT]]", "[[ctxt WSKP]]", "[[ctxt NORM]]", "[[rset 0]]",
        "[[cmnt]]"}},
      {"Phone", {"[[inpt PHON]]", "[[inpt TEXT]]", "[[rset 0]]", "[[cmnt]]"}},
  };
  return all.at(pass);
}

// A list of the product and one of the oracle, with the same entries.
struct Lists {
  TokenList product;
  oracle::TokenList oracle;

  explicit Lists(const std::string& text) {
    product.create(text, OffsetMap());
    oracle.create(text, oracle::OffsetMap());
  }

  // ---- The same change in both

  void setSize(int index, int size) {
    SpeechMarkupToken token = product.getTokenAt(static_cast<unsigned int>(index));
    AppleMarkupToken command = token.getAppleMarkupToken();
    command.setTokenStringSize(size);
    token.initAppleMarkupToken(command);
    product.replaceTokenAt(static_cast<unsigned int>(index), token);
    oracle::Token same = oracle.at(index);
    same.size = size;
    oracle.replace(index, same);
  }

  void setStart(int index, int start) {
    SpeechMarkupToken token = product.getTokenAt(static_cast<unsigned int>(index));
    token.setStartPos(static_cast<unsigned int>(start));
    product.replaceTokenAt(static_cast<unsigned int>(index), token);
    oracle::Token same = oracle.at(index);
    same.start = start;
    oracle.replace(index, same);
  }

  void setMarkup(int index, const std::string& markup) {
    SpeechMarkupToken token = product.getTokenAt(static_cast<unsigned int>(index));
    SSMLMarkupToken ssml;
    ssml.setTokenString(markup);
    token.initSSMLMarkupToken(ssml);
    product.replaceTokenAt(static_cast<unsigned int>(index), token);
    oracle::Token same = oracle.at(index);
    same.ssml = markup;
    same.hasSsml = true;
    oracle.replace(index, same);
  }

  void ignore(int index) {
    SpeechMarkupToken token = product.getTokenAt(static_cast<unsigned int>(index));
    AppleMarkupToken command = token.getAppleMarkupToken();
    command.setTokenAsIgnoredText();
    token.initAppleMarkupToken(command);
    product.replaceTokenAt(static_cast<unsigned int>(index), token);
    oracle::Token same = oracle.at(index);
    same.kind = oracle::Kind::Comment;
    oracle.replace(index, same);
  }

  void remove(int index) {
    product.removeTokenAt(static_cast<unsigned int>(index));
    oracle.remove(index);
  }
};

// What is left after a pass, as text.
std::string describe(const TokenList& list) {
  std::string text;
  for (int i = 0; i < list.size(); ++i) {
    const SpeechMarkupToken token = list.getTokenAt(static_cast<unsigned int>(i));
    const AppleMarkupToken command = token.getAppleMarkupToken();
    const SSMLMarkupToken markup = token.getSSMLMarkupToken();
    text += std::to_string(token.getStartPos()) + '+' +
            std::to_string(command.getTokenStringSize()) + " kind " +
            std::to_string(command.getTokenType()) +
            (markup.isInitialized() ? " \"" + markup.getTokenString() + '"' : "") + '\n';
  }
  return text;
}

std::string describe(const oracle::TokenList& list) {
  std::string text;
  for (int i = 0; i < list.size(); ++i) {
    const oracle::Token token = list.at(i);
    text += std::to_string(token.start) + '+' + std::to_string(token.size) + " kind " +
            std::to_string(static_cast<int>(token.kind)) +
            (token.hasSsml ? " \"" + token.ssml + '"' : "") + '\n';
  }
  return text;
}

template <typename Action>
std::string errorOfProduct(Action action) {
  try {
    action();
  } catch (const AppleSynthesisError& error) {
    return error.getErrorType() == BAD_PHONE_SEQUENCE ? "bad phones" : "index";
  } catch (const std::out_of_range&) {
    return "range";
  }
  return "";
}

template <typename Action>
std::string errorOfOracle(Action action) {
  try {
    action();
  } catch (const oracle::Failure& failure) {
    switch (failure.error) {
      case oracle::Error::BadPhoneSequence:
        return "bad phones";
      case oracle::Error::OutOfRange:
        return "range";
      default:
        return "index";
    }
  }
  return "";
}

// Runs the pass on both lists and compares what is left, or the error.
void expectSame(const Pass& pass, Lists& lists) {
  AppleMarkupConverter converter("", AppleMarkupConverter::SSML);
  const std::string error = errorOfProduct([&] { pass.run(converter, lists.product); });
  ASSERT_EQ(error, errorOfOracle([&] { pass.runOracle(lists.oracle); }));
  if (!error.empty()) return;
  ASSERT_EQ(describe(lists.product), describe(lists.oracle));
  std::string converted;
  std::string expected;
  const std::string rangeError =
      errorOfProduct([&] { converted = lists.product.getConvertedString(); });
  ASSERT_EQ(rangeError, errorOfOracle([&] {
              for (const oracle::Carried& each : lists.oracle.converted()) expected += each.byte;
            }));
  ASSERT_EQ(converted, expected);
}

class ChangedList : public testing::TestWithParam<std::size_t> {
 protected:
  static const Pass& pass() { return passes()[GetParam()]; }
};

// A few commands of the pass with short texts between them.
std::string randomText(std::mt19937& random, const std::string& pass) {
  static constexpr std::array kBetween = {"", "", "b", " w o", "AE", " "};
  const std::vector<std::string>& commands = commandsOf(pass);
  std::string text;
  for (std::size_t left = 1 + random() % 6; left > 0; --left) {
    text += kBetween[random() % kBetween.size()];
    text += commands[random() % commands.size()];
  }
  return text + kBetween[random() % kBetween.size()] + (random() % 4 == 0 ? "" : "[[rset 0]]");
}

// The phoneme pass converts a region with several commands as a whole, which is the same as one by
// one only if the list is in order of start position. RandomConversions compares it for texts.
bool mayChangeStarts(const std::string& pass) {
  return pass != "Phone";
}

void changeByHand(std::mt19937& random, Lists& lists, bool starts) {
  const auto draw = [&](std::size_t below) { return static_cast<int>(random() % below); };
  const int size = lists.product.size();
  if (size == 0) return;
  const int index = draw(static_cast<std::size_t>(size));
  const std::size_t length = lists.product.base().size();
  switch (draw(5)) {
    case 0:
      return lists.setSize(index, draw(20));
    case 1:
      if (starts) return lists.setStart(index, draw(length + 1));
      return lists.setSize(index, 0);
    case 2:
      return lists.setMarkup(index, draw(2) == 0 ? "" : "<x>");
    case 3:
      return lists.ignore(index);
    default:
      return lists.remove(index);
  }
}

TEST_P(ChangedList, GivesTheSameAsTheOracle) {
  for (unsigned int seed = 1; seed <= 3000; ++seed) {
    std::mt19937 random(seed);
    const std::string text = randomText(random, pass().name);
    Lists lists(text);
    for (std::size_t changes = random() % 4; changes > 0; --changes) {
      changeByHand(random, lists, mayChangeStarts(pass().name));
    }
    SCOPED_TRACE("seed " + std::to_string(seed) + ": " + text + '\n' + describe(lists.oracle));
    expectSame(pass(), lists);
    if (HasFatalFailure()) return;
  }
}

INSTANTIATE_TEST_SUITE_P(Of, ChangedList, testing::Range(std::size_t{0}, passes().size()),
                         [](const auto& each) { return passes()[each.param].name; });

// A region whose opening tag lands after the next command is the last one of the pass.
TEST(ChangedLists, AProsodyPassEndsAfterARegionThatOpensTooLate) {
  Lists lists("[[rate 5]]a[[rate 6]]b[[rset 0]]c[[rate 7]]d[[rset 0]]");
  lists.setSize(0, 12);
  for (const Pass& pass : passes()) {
    if (std::string(pass.name) == "Rate") expectSame(pass, lists);
  }
  EXPECT_EQ(describe(lists.product),
            "0+12 kind 13\n"
            "11+0 kind 25 \"</prosody>\"\n"
            "11+10 kind 13\n"
            "12+0 kind 25 \"<prosody rate='5'>\"\n"
            "22+10 kind 14\n"
            "33+10 kind 13\n"
            "44+10 kind 14\n");
}

}  // namespace
