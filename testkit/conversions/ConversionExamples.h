// SPDX-License-Identifier: Apache-2.0
//
// Examples of conversions: a text, the converted text, and what the row shows. The product's
// converter and the oracle run the same rows. A row without settings uses a converter without
// settings.
#pragma once

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace examples {

struct Settings {
  bool speakPhones = false;
  bool spellOut = false;
  bool sayDigits = false;
  double volume = 100.0;
  double wpm = 180.0;
  long pitchBase = 43;
  int pitchAssumedBase = 43;
  long pitchRange = 0;
};

// OutOfRange stands for std::out_of_range.
enum class Failure { None, IndexOutOfRange, BadPhoneSequence, OutOfRange };

enum class Format { Plain, Ssml };

struct ConversionExample {
  std::string shows;  // a sentence as one CamelCase word, for the test's name
  std::string text;
  std::string converted;  // empty if the conversion fails
  Failure failure = Failure::None;
  std::optional<Settings> settings = std::nullopt;
  Format format = Format::Ssml;
};

inline std::ostream& operator<<(std::ostream& out, const ConversionExample& example) {
  return out << '"' << example.text << '"';
}

inline ConversionExample fails(const std::string& shows, const std::string& text, Failure failure) {
  return {shows, text, "", failure};
}

inline ConversionExample plain(const std::string& shows, const std::string& text,
                               const std::string& converted) {
  return {shows, text, converted, Failure::None, std::nullopt, Format::Plain};
}

inline ConversionExample with(const Settings& settings, const std::string& shows,
                              const std::string& text, const std::string& converted) {
  return {shows, text, converted, Failure::None, settings};
}

// The settings prefix, the closing reset and the two formats.
inline std::vector<ConversionExample> frameExamples() {
  return {
      plain("EmptyPlainTextStaysEmpty", "", ""),
      {"EmptyTextStaysEmpty", "", ""},
      {"TextWithoutCommandsIsLeftAlone", "Hello; world ]]", "Hello; world ]]"},
      plain("PlainOutputRunsNoPass", "a[[emph +]]b[[slnc 500]]c[[inpt PHON]]x", "abcx"),
      plain("PlainOutputDropsASingleCommand", "a[[rate 200]]b", "ab"),
      with({}, "FullVolumeIsAlsoWritten", "Hello", "<prosody volume='100'>Hello</prosody>"),
      with({.volume = 50.0, .wpm = 200.0}, "VolumeAndRateComeFromTheSettings", "Hello",
           "<prosody volume='50'></prosody>"
           "<prosody rate='200'><prosody volume='50'>Hello</prosody></prosody>"),
      with({.volume = 1.0}, "ASoftVolumeIsAPercentage", "Hello",
           "<prosody volume='1'>Hello</prosody>"),
      with({.wpm = 179.5}, "AHalfWordSlowerIsARate", "Hello",
           "<prosody volume='100'></prosody>"
           "<prosody rate='179.5'><prosody volume='100'>Hello</prosody></prosody>"),
      with({.volume = 120.0}, "AVolumeAboveFullHasTwoSignsAndCountsAsFull", "Hello",
           "<prosody volume='100'>Hello</prosody>"),
      with({.pitchAssumedBase = 42}, "APitchOneStepHigherIsTheFixedStepUp", "Hello",
           "<prosody volume='100'></prosody>"
           "<prosody pitch='98.0128Hz'><prosody volume='100'>Hello</prosody></prosody>"),
      with({.pitchAssumedBase = -57}, "APitchAHundredStepsHigherIsTheSameStepUp", "Hello",
           "<prosody volume='100'></prosody>"
           "<prosody pitch='98.0128Hz'><prosody volume='100'>Hello</prosody></prosody>"),
      with({.pitchAssumedBase = 53}, "ALowerPitchIsTheFixedStepDown", "Hello",
           "<prosody volume='100'></prosody>"
           "<prosody pitch='97.9845Hz'><prosody volume='100'>Hello</prosody></prosody>"),
      with({.speakPhones = true}, "PhonemeModeOpensARegionOverThePrefix", "AE",
           "<phoneme ph='ae0'>[[volm -0]]<prosody volume='100'>AE</prosody></phoneme>"),
      with({.spellOut = true}, "SpellingModeIsWrappedByTheVolume", "ab",
           "<say-as type='spell-out'></say-as>"
           "<prosody volume='100'><say-as type='spell-out'>ab</say-as></prosody>"),
      with({.sayDigits = true}, "NumberModeIsWrappedByTheVolume", "42",
           "<say-as interpret-as='digits'></say-as>"
           "<prosody volume='100'><say-as interpret-as='digits'>42</say-as></prosody>"),
  };
}

inline std::vector<ConversionExample> prosodyExamples() {
  return {
      {"ARateIsARegionUpToTheEnd", "[[rate 200]]Hello", "<prosody rate='200'>Hello</prosody>"},
      {"ALaterCommandIsNeverSpanned", "[[rate 200]][[pbas 50]]Hello",
       "<prosody rate='200'></prosody>"
       "<prosody pitch='146.832Hz'><prosody rate='200'>Hello</prosody></prosody>"},
      {"ARelativeRateStartsFrom180", "[[rate +20]]a", "<prosody rate='200'>a</prosody>"},
      {"AResetSetsTheRateToZero", "[[rate +20]]a[[rset 0]][[rate +20]]b",
       "<prosody rate='200'>a</prosody><prosody rate='20'>b</prosody>"},
      {"RelativeRatesAddUp", "[[rate 200]]a[[rate +20]]b[[rate -40]]c",
       "<prosody rate='200'>a</prosody><prosody rate='220'>b</prosody>"
       "<prosody rate='180'>c</prosody>"},
      {"AResetEndsTheRegion", "[[rate 200]]a[[rset 0]]b", "<prosody rate='200'>a</prosody>b"},
      {"VolumeIsAPercentage", "[[volm 0.5]]a", "<prosody volume='50'>a</prosody>"},
      {"VolumeReachesFromNothingToFull", "[[volm 0.0]]a[[volm 1.0]]b",
       "<prosody volume='0'>a</prosody><prosody volume='100'>b</prosody>"},
      {"ARelativeVolumeStartsFromFull", "[[volm -0.5]]a", "<prosody volume='50'>a</prosody>"},
      {"MiddleCIsBasePitch60", "[[pbas 60]]a", "<prosody pitch='261.625Hz'>a</prosody>"},
      {"AfterAResetTheBasePitchWorksFromZero", "[[pbas 43]]a[[rset 0]][[pbas +0.0025]]b",
       "<prosody pitch='97.9986Hz'>a</prosody><prosody pitch='8.17696Hz'>b</prosody>"},
      {"PitchRangeIsANoteTooInHertz", "[[pmod 60]]a", "<prosody range='261.625Hz'>a</prosody>"},
      with({.pitchRange = 60}, "PitchRangeStartsFromTheSettings", "[[pmod +0]]a",
           "<prosody volume='100'></prosody>"
           "<prosody range='261.625Hz'><prosody volume='100'>a</prosody></prosody>"),
      {"TheFourElementsNestInTheOrderOfThePasses", "[[volm 1;rate 200;pbas 60;pmod 60]]a",
       "<prosody volume='100'></prosody>"
       "<prosody rate='200'><prosody volume='100'></prosody></prosody>"
       "<prosody pitch='261.625Hz'><prosody rate='200'><prosody volume='100'>"
       "</prosody></prosody></prosody>"
       "<prosody range='261.625Hz'><prosody pitch='261.625Hz'><prosody rate='200'>"
       "<prosody volume='100'>a</prosody></prosody></prosody></prosody>"},
      {"NumbersAreWrittenWithSixDigits", "[[rate 212.3456789]]a",
       "<prosody rate='212.346'>a</prosody>"},
      {"LargeNumbersAreWrittenWithAnExponent", "[[rate 12345678]]a",
       "<prosody rate='1.23457e+07'>a</prosody>"},
      {"AMissingNumberIsZero", "[[rate]]a", "<prosody rate='0'>a</prosody>"},
      {"ASignWithoutANumberChangesNothing", "[[rate +]]a", "<prosody rate='180'>a</prosody>"},
      {"ANumberInWordsIsZero", "[[rate fast]]a", "<prosody rate='0'>a</prosody>"},
      {"InfIsNotANumber", "[[rate inf]]a[[rate nan]]b",
       "<prosody rate='0'>a</prosody><prosody rate='0'>b</prosody>"},
      {"ANumberEndsAtTheFirstOtherCharacter", "[[rate 200wpm]]a",
       "<prosody rate='200'>a</prosody>"},
      {"ACommaEndsANumberInEveryLocale", "[[rate 1,5]]a", "<prosody rate='1'>a</prosody>"},
      {"AnExponentWithoutDigitsSpoilsTheNumber", "[[rate 5e]]a", "<prosody rate='0'>a</prosody>"},
      {"ATooLargeNumberIsTheLargest", "[[rate 1e999]]a",
       "<prosody rate='1.79769e+308'>a</prosody>"},
      {"AVolumeCanOverflow", "[[volm 1e308]]a", "<prosody volume='inf'>a</prosody>"},
  };
}

inline std::vector<ConversionExample> modeExamples() {
  return {
      {"SpellingNeverClosedEndsWithTheText", "[[char LTRL]]abc",
       "<say-as type='spell-out'>abc</say-as>"},
      {"SpellingEndsAtTheOffCommand", "[[char LTRL]]a[[char NORM]]b",
       "<say-as type='spell-out'>a</say-as>b"},
      {"SpellingContinuesAfterARepeatedOnCommand", "[[char LTRL]]a[[char LTRL]]b[[char NORM]]c",
       "<say-as type='spell-out'>a</say-as><say-as type='spell-out'>b</say-as>c"},
      {"ANumberModeIsCutByARate", "[[nmbr LTRL]]12[[rate 200]]34[[nmbr NORM]]56",
       "<say-as interpret-as='digits'>12</say-as>"
       "<prosody rate='200'><say-as interpret-as='digits'>34</say-as></prosody>"
       "<prosody rate='200'>56</prosody>"},
      {"SilenceIsABreak", "[[slnc 500]]a", "<break time='500ms'/>a"},
      {"ASilenceIsCopiedAsItStands", "[[slnc 1.5e3]]a", "<break time='1.5e3ms'/>a"},
      {"AQuoteInASilenceIsAlsoCopied", "[[slnc 5'/>]]a", "<break time='5'/>ms'/>a"},
      {"ASilenceWithoutALengthIsEmpty", "[[slnc]]a", "<break time='ms'/>a"},
      {"ASyncNumberIsShifted", "[[sync 1]]a", "<mark name='65536'/>a"},
      {"ASyncOfZeroIsZero", "[[sync 0]]a", "<mark name='0'/>a"},
      {"ASyncInHexadecimalIsZero", "[[sync 0x1A2B]]a", "<mark name='0'/>a"},
      {"ASyncOfLettersIsZero", "[[sync abcd]]a", "<mark name='0'/>a"},
      {"ASyncWithASignIsZero", "[[sync -1]]a", "<mark name='0'/>a"},
      {"ASyncCanBecomeNegative", "[[sync 40000]]a", "<mark name='-1673527296'/>a"},
      {"ASyncLosesItsUpperHalf", "[[sync 65537]]a", "<mark name='65536'/>a"},
      {"ATooLargeSyncIsTheLargest", "[[sync 99999999999]]a", "<mark name='-65536'/>a"},
      {"TuneDataIsDroppedUpToTextInput", "a[[inpt TUNE]]x{D 120}[[inpt TEXT]]b", "ab"},
      {"TuneDataIsDroppedUpToTheEnd", "a[[inpt TUNE]]x{D 120}", "a"},
      {"TuneDataIsKeptBeforeAnotherCommand", "[[inpt TUNE]]AA[[cmnt hi]]~[[inpt TEXT]]b", "AA~b"},
      {"TuneDataIsDroppedWithTheMarkupInIt", "[[rate 200]]a[[inpt TUNE]]x[[inpt TEXT]]b",
       "<prosody rate='200'>a</prosody><prosody rate='200'>b</prosody>"},
      {"SkippedWordContextIsDropped", "a [[ctxt WSKP]]not this[[ctxt WORD]]b", "a b"},
      {"SkippedTextContextIsDropped", "a [[ctxt TSKP]]not this[[ctxt NORM]]b", "a b"},
      {"ASkippedContextNeverClosedRunsToTheEnd", "a [[ctxt TSKP]]not this", "a "},
      {"ContextThatIsNotSkippedStays", "[[ctxt WORD]]a[[ctxt TEXT]]b[[ctxt NORM]]c", "abc"},
  };
}

inline std::vector<ConversionExample> emphasisExamples() {
  return {
      {"EmphasisReachesOverTheCommandThatFollows", "[[emph +]]one two [[slnc 5]]three four",
       "<emphasis strength='strong'>one two <break time='5ms'/>three</emphasis> four"},
      {"EmphasisBeforeACommandLosesTheLastLetter", "[[emph +]]a [[cmnt x]]word[[cmnt y]] b",
       "<emphasis strength='strong'>a wor</emphasis>d b"},
      {"EmphasisWithoutALaterCommandVanishes", "[[cmnt x]][[emph +]]word", "word"},
      {"EmphasisAtTheFrontClosesAtTheBaseTextsEnd", "[[emph +]]word",
       "<emphasis strength='stro</emphasis>ng'>word"},
      {"EmphasisOffIsNothing", "a[[emph -]]b", "ab"},
  };
}

inline std::vector<ConversionExample> phonemeExamples() {
  return {
      {"PhonesAreTranslatedAndStressed", "[[inpt PHON]]1AE2b[[inpt TEXT]]c",
       "<phoneme ph='ae1 b'>1AE2b</phoneme>c"},
      {"StressWaitsForTheVowel", "[[inpt PHON]]1dAE", "<phoneme ph='d ae1'>1dAE</phoneme>"},
      {"StressIsTakenOnce", "[[inpt PHON]]1AEIY", "<phoneme ph='ae1 i0'>1AEIY</phoneme>"},
      {"SecondaryStressLeavesNoTrace", "[[inpt PHON]]2AE", "<phoneme ph='ae0'>2AE</phoneme>"},
      {"SecondaryStressKeepsThePrimaryOne", "[[inpt PHON]]12AE",
       "<phoneme ph='ae1'>12AE</phoneme>"},
      {"WhiteSpaceHasNoPhone", "[[inpt PHON]] b\t\r\n=%@",
       "<phoneme ph='b . pau pau'> b\t\r\n=%@</phoneme>"},
      {"AResetEndsThePhones", "[[inpt PHON]]b[[rset 0]]word", "<phoneme ph='b'>b</phoneme>word"},
      {"AnEmptyRegionIsStillAnElement", "[[inpt PHON]][[inpt TEXT]]a",
       "<phoneme ph=''></phoneme>a"},
      {"ASecondRegionRepeatsTheFirst", "[[inpt PHON]]AE[[inpt TEXT]]x[[inpt PHON]]b[[inpt TEXT]]",
       "<phoneme ph='ae0'>AE</phoneme>x<phoneme ph='ae0b'>b</phoneme>"},
      {"ACommandInsideStaysInTheText", "[[inpt PHON]]AE[[slnc 5]]AA[[inpt TEXT]]b",
       "<phoneme ph='ae0aa0'>AE[[slnc 5]]<break time='5ms'/>AA</phoneme>b"},
      fails("AnUnknownPhoneFails", "[[inpt PHON]]a", Failure::BadPhoneSequence),
      fails("HalfAVowelFails", "[[inpt PHON]]A[[inpt TEXT]]E", Failure::BadPhoneSequence),
  };
}

// A command that the text leaves open includes the closing reset, so that no command follows the
// last known one.
inline std::vector<ConversionExample> noLaterCommandExamples() {
  return {
      {"AnOpenCommandSwallowsTheRest", "see note [[ 3", "see note "},
      {"AProsodyRegionRunsToTheEnd", "[[rate 200]]Hello [[ see note 3",
       "<prosody rate='200'>Hello </prosody>"},
      {"AModeRegionRunsToTheEnd", "[[char LTRL]]abc [[ see note 3",
       "<say-as type='spell-out'>abc </say-as>"},
      {"TwoProsodyRegionsRunToTheEnd", "[[rate 200]][[volm 1]]a[[ see",
       "<prosody rate='200'></prosody>"
       "<prosody rate='200'><prosody volume='100'>a</prosody></prosody>"},
      {"TuneDataIsLeftAsItIs", "[[inpt TUNE]]abc [[ see", "abc "},
      {"ASkippedContextRunsToTheEnd", "a [[ctxt WSKP]]abc [[ see", "a "},
      {"AnOpenResetIsStillAReset", "[[rate 200]]a[[ rset 0", "<prosody rate='200'>a</prosody>"},
      fails("PhonesWithoutAnEndFail", "[[inpt PHON]]AE [[ see", Failure::BadPhoneSequence),
      fails("AnOpenRateHasNoPositionForItsTag", "x [[rate 5", Failure::IndexOutOfRange),
      fails("AnOpenSilenceHasNoPositionForItsBreak", "x [[slnc 5", Failure::IndexOutOfRange),
      {"ASkippingCommandThatIsNeverClosedTakesTheRest", "a [[ctxt WSKP ", "a "},
      {"ASkippingCommandThatIsTheWholeTextLeavesNothing", "[[ctxt WSKP ", ""},
      {"ASkippingTextCommandThatIsTheWholeTextLeavesNothing", "[[ctxt TSKP ", ""},
      // The end of the emphasis is first in the list, so the token of the skipped context is not
      // inserted after its command.
      fails("ASkippedContextIsHandledOnce", "ab[[emph +]]cd[[ctxt TSKP]]", Failure::OutOfRange),
      fails("AnOpenEmphasisHasNothingToSearch", "x [[emph + ", Failure::IndexOutOfRange),
  };
}

// Texts that clients really send.
inline std::vector<ConversionExample> realExamples() {
  return {
      {"BlanksInsideTheBrackets", "[[ slnc 5000 ]]a", "<break time='5000ms'/>a"},
      {"ABlankBetweenSignAndNumber", "[[pbas + 17]]a", "<prosody pitch='21.8267Hz'>a</prosody>"},
      {"ACommandWithoutABlankBeforeItsArgumentIsUnknown", "[[ctxtTSKP]]a", "a"},
      {"NoArgumentToAReset", "[[rate 200]]a[[rset]]b", "<prosody rate='200'>a</prosody>b"},
      {"LowerCaseSpellingIsNotACommand", "[[char ltrl]]a", "a"},
      {"LowerCaseDigitsAreACommand", "[[nmbr ltrl]]42[[nmbr norm]]",
       "<say-as interpret-as='digits'>42</say-as>"},
      {"LowerCasePhonemesAreACommand", "[[inpt phon]]b[[inpt text]]a",
       "<phoneme ph='b'>b</phoneme>a"},
      {"AMisspeltCommandVanishes", "a[[slcn 1000]]b", "ab"},
      {"SeveralCommandsInOne", "[[emph +; rate 165;volm +0.5]]word two",
       "<emphasis strength='strong'><prosody rate='165'></prosody>"
       "<prosody rate='165'><prosody volume='150'>word</emphasis> two</prosody></prosody>"},
      {"ARepeatedCommandOpensAgain", "[[rate 200]][[rate 200]]a",
       "<prosody rate='200'></prosody><prosody rate='200'>a</prosody>"},
      {"ACommentHoldsAnything", "[[cmnt a=b # c? http://x.invalid/x:y]]text", "text"},
      {"ACommentEndsAtASemicolon", "[[cmnt one; two: three]]text", "text"},
      {"ACommandAfterACommentsSemicolonCounts", "[[cmnt one; rate 300]]text",
       "<prosody rate='300'>text</prosody>"},
      {"ACommentInsideTuneDataKeepsIt", "[[inpt TUNE]]AA {D 120}[[cmnt x]]b {D 5}[[inpt TEXT]]c",
       "AA {D 120}b {D 5}c"},
      {"AThirdOpeningBracketIsStripped", "[[[inpt TEXT]]a", "a"},
      {"ASingleOpeningBracketIsText", "[inpt TEXT]]a", "[inpt TEXT]]a"},
      {"SyncMarksStandFirstAndLast", "[[sync 1]]a b[[sync 2]]",
       "<mark name='65536'/>a b<mark name='131072'/>"},
      fails("InvalidPhonemesFail", "[[inpt PHON]]hello world[[inpt TEXT]]",
            Failure::BadPhoneSequence),
      {"EmptyCommandsVanish", "a[[]]b[[ ]]c[[;]]d", "abcd"},
  };
}

inline std::vector<ConversionExample> conversionExamples() {
  std::vector<ConversionExample> all;
  for (const auto& some : {frameExamples(), prosodyExamples(), modeExamples(), emphasisExamples(),
                           phonemeExamples(), noLaterCommandExamples(), realExamples()}) {
    all.insert(all.end(), some.begin(), some.end());
  }
  return all;
}

}  // namespace examples
