// SPDX-License-Identifier: Apache-2.0
#include "SpeechSynthesis/bundles/VoiceCodes.h"

#include <algorithm>
#include <array>
#include <optional>

namespace platform {
namespace {

// The capacity of VoiceLocaleName, without the terminating NUL.
constexpr std::size_t kMostCharacters = 31;
// The capacity of VoiceLocale.
constexpr std::size_t kMostShort = 5;

struct Locale {
  std::string_view name;
  VoiceCodes codes;
};

// In the order of their names. A language without a region is for locales that are not listed.
constexpr auto kLocales = std::to_array<Locale>({
    {"af", {smRoman, langAfrikaans, -1}},
    {"af_ZA", {smRoman, langAfrikaans, verAfrikaans}},
    {"am", {smEthiopic, langAmharic, -1}},
    {"an", {smRoman, -1, -1}},
    {"ar", {smArabic, langArabic, -1}},
    {"ar_001", {smArabic, langArabic, verArabic}},
    {"az", {smRoman, langAzerbaijanRoman, -1}},
    {"ba", {smCyrillic, -1, -1}},
    {"be", {smCyrillic, langBelorussian, -1}},
    {"be_BY", {smCyrillic, langBelorussian, verBelarus}},
    {"bg", {smCyrillic, langBulgarian, -1}},
    {"bg_BG", {smCyrillic, langBulgarian, verBulgaria}},
    {"bn", {smBengali, langBengali, -1}},
    {"bn_BD", {smBengali, langBengali, verBengali}},
    {"bpy", {smBengali, -1, -1}},
    {"bs", {smRoman, -1, -1}},
    {"ca", {smRoman, langCatalan, -1}},
    {"ca_ES", {smRoman, langCatalan, verCatalonia}},
    {"cs", {smCentralEuroRoman, langCzech, -1}},
    {"cs_CZ", {smCentralEuroRoman, langCzech, verCzech}},
    {"cv", {smCyrillic, -1, -1}},
    {"cy", {smRoman, langWelsh, -1}},
    {"cy_GB", {smRoman, langWelsh, verWelsh}},
    {"da", {smRoman, langDanish, -1}},
    {"da_DK", {smRoman, langDanish, verDenmark}},
    {"de", {smRoman, langGerman, -1}},
    {"de_AT", {smRoman, langGerman, verAustria}},
    {"de_CH", {smRoman, langGerman, verGrSwiss}},
    {"de_DE", {smRoman, langGerman, verGermany}},
    {"el", {smGreek, langGreek, -1}},
    {"el_GR", {smGreek, langGreek, verGreece}},
    {"en", {smRoman, langEnglish, -1}},
    {"en_AU", {smRoman, langEnglish, verAustralia}},
    {"en_CA", {smRoman, langEnglish, verEngCanada}},
    {"en_GB", {smRoman, langEnglish, verBritain}},
    {"en_IE", {smRoman, langEnglish, verIreland}},
    {"en_US", {smRoman, langEnglish, verUS}},
    {"eo", {smRoman, langEsperanto, verEsperanto}},
    {"es", {smRoman, langSpanish, -1}},
    {"es_419", {smRoman, langSpanish, verSpLatinAmerica}},
    {"es_ES", {smRoman, langSpanish, verSpain}},
    {"et", {smCentralEuroRoman, langEstonian, -1}},
    {"et_EE", {smCentralEuroRoman, langEstonian, verEstonia}},
    {"eu", {smRoman, langBasque, -1}},
    {"fa", {smArabic, langFarsi, -1}},
    {"fa_IR", {smArabic, langFarsi, verIran}},
    {"fi", {smRoman, langFinnish, -1}},
    {"fi_FI", {smRoman, langFinnish, verFinland}},
    {"fr", {smRoman, langFrench, -1}},
    {"fr_BE", {smRoman, langFrench, verFrBelgium}},
    {"fr_CA", {smRoman, langFrench, verFrCanada}},
    {"fr_CH", {smRoman, langFrench, verFrSwiss}},
    {"fr_FR", {smRoman, langFrench, verFrance}},
    {"ga", {smRoman, langIrishGaelic, -1}},
    {"ga_IE", {smRoman, langIrishGaelic, verIreland}},
    {"gd", {smRoman, langScottishGaelic, -1}},
    {"gd_GB", {smRoman, langScottishGaelic, verScottishGaelic}},
    {"gn", {smRoman, langGuarani, -1}},
    {"grc", {smGreek, langGreekAncient, verGreekAncient}},
    {"gu", {smGujarati, langGujarati, -1}},
    {"gu_IN", {smGujarati, langGujarati, verGujarati}},
    {"haw", {smRoman, -1, -1}},
    {"hi", {smDevanagari, langHindi, -1}},
    {"hi_IN", {smDevanagari, langHindi, verIndiaHindi}},
    {"hr", {smRoman, langCroatian, -1}},
    {"hr_HR", {smRoman, langCroatian, verCroatia}},
    {"ht", {smRoman, -1, -1}},
    {"hu", {smCentralEuroRoman, langHungarian, -1}},
    {"hu_HU", {smCentralEuroRoman, langHungarian, verHungary}},
    {"hy", {smArmenian, langArmenian, -1}},
    {"hy_AM", {smArmenian, langArmenian, verArmenian}},
    {"hyw", {smArmenian, langArmenian, -1}},
    {"hyw_AM", {smArmenian, langArmenian, verArmenian}},
    {"ia", {smRoman, -1, -1}},
    {"id", {smRoman, langIndonesian, -1}},
    {"io", {smRoman, -1, -1}},
    {"is", {smRoman, langIcelandic, -1}},
    {"is_IS", {smRoman, langIcelandic, verIceland}},
    {"it", {smRoman, langItalian, -1}},
    {"it_CH", {smRoman, langItalian, verItalianSwiss}},
    {"it_IT", {smRoman, langItalian, verItaly}},
    {"jbo", {smRoman, -1, -1}},
    {"ka", {smGeorgian, langGeorgian, -1}},
    {"ka_GE", {smGeorgian, langGeorgian, verGeorgian}},
    {"kk", {smCyrillic, langKazakh, -1}},
    {"kl", {smRoman, langGreenlandic, -1}},
    {"kl_GL", {smRoman, langGreenlandic, verGreenland}},
    {"kn", {smKannada, langKannada, -1}},
    {"ko", {smKorean, langKorean, -1}},
    {"ko_KR", {smKorean, langKorean, verKorea}},
    {"ku", {smRoman, langKurdish, -1}},
    {"ky", {smCyrillic, langKirghiz, -1}},
    {"la", {smRoman, langLatin, -1}},
    {"lb", {smRoman, -1, -1}},
    {"lfn", {smRoman, -1, -1}},
    {"lt", {smCentralEuroRoman, langLithuanian, -1}},
    {"lt_LT", {smCentralEuroRoman, langLithuanian, verLithuania}},
    {"ltg", {smCentralEuroRoman, -1, -1}},
    {"lv", {smCentralEuroRoman, langLatvian, -1}},
    {"lv_LV", {smCentralEuroRoman, langLatvian, verLatvia}},
    {"mi", {smRoman, -1, -1}},
    {"mk", {smCyrillic, langMacedonian, -1}},
    {"mk_MK", {smCyrillic, langMacedonian, verMacedonian}},
    {"ml", {smMalayalam, langMalayalam, -1}},
    {"mr", {smDevanagari, langMarathi, -1}},
    {"mr_IN", {smDevanagari, langMarathi, verMarathi}},
    {"ms", {smRoman, langMalayRoman, -1}},
    {"nb", {smRoman, langNorwegian, -1}},
    {"nb_NO", {smRoman, langNorwegian, verNorway}},
    {"nci", {smRoman, -1, -1}},
    {"ne", {smDevanagari, langNepali, -1}},
    {"ne_NP", {smDevanagari, langNepali, verNepal}},
    {"nl", {smRoman, langDutch, -1}},
    {"nl_NL", {smRoman, langDutch, verNetherlands}},
    {"nog", {smCyrillic, -1, -1}},
    {"om", {smRoman, langOromo, -1}},
    {"or", {smOriya, langOriya, -1}},
    {"pa", {smGurmukhi, langPunjabi, -1}},
    {"pa_IN", {smGurmukhi, langPunjabi, verPunjabi}},
    {"pap", {smRoman, -1, -1}},
    {"pl", {smCentralEuroRoman, langPolish, -1}},
    {"pl_PL", {smCentralEuroRoman, langPolish, verPoland}},
    {"pt", {smRoman, langPortuguese, -1}},
    {"pt_BR", {smRoman, langPortuguese, verBrazil}},
    {"pt_PT", {smRoman, langPortuguese, verPortugal}},
    {"qu", {smRoman, langQuechua, -1}},
    {"quc", {smRoman, -1, -1}},
    {"ro", {smRoman, langRomanian, -1}},
    {"ro_RO", {smRoman, langRomanian, verRomania}},
    {"ru", {smCyrillic, langRussian, -1}},
    {"ru_RU", {smCyrillic, langRussian, verRussia}},
    {"sd", {smExtArabic, langSindhi, -1}},
    {"si", {smSinhalese, langSinhalese, -1}},
    {"sk", {smCentralEuroRoman, langSlovak, -1}},
    {"sk_SK", {smCentralEuroRoman, langSlovak, verSlovak}},
    {"sl", {smRoman, langSlovenian, -1}},
    {"sl_SI", {smRoman, langSlovenian, verSlovenian}},
    {"smj", {smRoman, langSami, -1}},
    {"sq", {smRoman, langAlbanian, -1}},
    {"sr", {smCyrillic, langSerbian, -1}},
    {"sr_RS", {smCyrillic, langSerbian, verSerbian}},
    {"sv", {smRoman, langSwedish, -1}},
    {"sv_SE", {smRoman, langSwedish, verSweden}},
    {"sw", {smRoman, langSwahili, -1}},
    {"ta", {smTamil, langTamil, -1}},
    {"te", {smTelugu, langTelugu, -1}},
    {"tk", {smRoman, langTurkmen, -1}},
    {"tn", {smRoman, -1, -1}},
    {"tr", {smRoman, langTurkish, -1}},
    {"tr_TR", {smRoman, langTurkish, verTurkey}},
    {"tt", {smCyrillic, langTatar, -1}},
    {"ug", {smArabic, langUighur, -1}},
    {"uk", {smCyrillic, langUkrainian, -1}},
    {"uk_UA", {smCyrillic, langUkrainian, verUkraine}},
    {"ur", {smArabic, langUrdu, -1}},
    {"ur_IN", {smArabic, langUrdu, verIndiaUrdu}},
    {"ur_PK", {smArabic, langUrdu, verPakistanUrdu}},
    {"uz", {smRoman, langUzbek, -1}},
    {"uz_UZ", {smRoman, langUzbek, verUzbek}},
    {"vi", {smVietnamese, langVietnamese, -1}},
    {"vi_VN", {smVietnamese, langVietnamese, verVietnam}},
    {"yue", {smTradChinese, langTradChinese, -1}},
    {"zh", {smSimpChinese, langSimpChinese, -1}},
    {"zh_CN", {smSimpChinese, langSimpChinese, verChina}},
    {"zh_HK", {smTradChinese, langTradChinese, -1}},
    {"zh_TW", {smTradChinese, langTradChinese, verTaiwan}},
});

static_assert(std::ranges::is_sorted(kLocales, {}, &Locale::name));

struct Script {
  std::string_view name;  // ISO 15924
  SInt16 code;
};

constexpr auto kScripts = std::to_array<Script>({
    {"Arab", smArabic},     {"Armn", smArmenian},  {"Beng", smBengali},     {"Cyrl", smCyrillic},
    {"Deva", smDevanagari}, {"Ethi", smEthiopic},  {"Geor", smGeorgian},    {"Grek", smGreek},
    {"Gujr", smGujarati},   {"Guru", smGurmukhi},  {"Hans", smSimpChinese}, {"Hant", smTradChinese},
    {"Hebr", smHebrew},     {"Jpan", smJapanese},  {"Knda", smKannada},     {"Kore", smKorean},
    {"Latn", smRoman},      {"Mlym", smMalayalam}, {"Orya", smOriya},       {"Sinh", smSinhalese},
    {"Taml", smTamil},      {"Telu", smTelugu},
});

bool isLower(char c) {
  return c >= 'a' && c <= 'z';
}

bool isUpper(char c) {
  return c >= 'A' && c <= 'Z';
}

bool isDigit(char c) {
  return c >= '0' && c <= '9';
}

bool isLanguage(std::string_view part) {
  return (part.size() == 2 || part.size() == 3) && std::ranges::all_of(part, isLower);
}

bool isScript(std::string_view part) {
  return part.size() == 4 && isUpper(part[0]) && std::ranges::all_of(part.substr(1), isLower);
}

bool isRegion(std::string_view part) {
  return (part.size() == 2 && std::ranges::all_of(part, isUpper)) ||
         (part.size() == 3 && std::ranges::all_of(part, isDigit));
}

bool isVariant(std::string_view part) {
  return !part.empty() && part.size() <= 8 &&
         std::ranges::all_of(part, [](char c) { return isLower(c) || isDigit(c); });
}

// Removes the first part of `locale` and returns it.
std::string_view takePart(std::string_view& locale) {
  const std::size_t end = std::min(locale.find('_'), locale.size());
  const std::string_view part = locale.substr(0, end);
  locale.remove_prefix(std::min(end + 1, locale.size()));
  return part;
}

std::optional<VoiceCodes> listedCodesOf(std::string_view locale) {
  const auto* const found = std::ranges::lower_bound(kLocales, locale, {}, &Locale::name);
  if (found == kLocales.end() || found->name != locale) return std::nullopt;
  return found->codes;
}

// The script that the locale names, if it names one.
std::optional<SInt16> scriptIn(std::string_view locale) {
  takePart(locale);
  const std::string_view name = takePart(locale);
  const auto* const found = std::ranges::find(kScripts, name, &Script::name);
  if (found == kScripts.end()) return std::nullopt;
  return found->code;
}

}  // namespace

bool isLocale(std::string_view locale) {
  if (locale.size() > kMostCharacters || locale.ends_with('_')) return false;
  if (!isLanguage(takePart(locale))) return false;
  // An empty part is none of these; that also rejects "en__US".
  std::string_view rest = locale;
  std::string_view part = takePart(rest);
  if (isScript(part)) {
    locale = rest;
    part = takePart(rest);
  }
  if (isRegion(part)) locale = rest;
  while (!locale.empty()) {
    if (!isVariant(takePart(locale))) return false;
  }
  return true;
}

VoiceCodes codesOf(std::string_view locale) {
  const auto script = scriptIn(locale);
  for (std::string_view shorter = locale; !shorter.empty();) {
    if (auto codes = listedCodesOf(shorter)) {
      codes->script = script.value_or(codes->script);
      return *codes;
    }
    const std::size_t last = shorter.rfind('_');
    shorter = shorter.substr(0, last == std::string_view::npos ? 0 : last);
  }
  return {script.value_or(smRoman), -1, -1};
}

std::string_view shortLocaleOf(std::string_view locale) {
  std::string_view rest = locale;
  const std::string_view language = takePart(rest);
  const std::size_t withRegion = language.size() + 1 + takePart(rest).size();
  const bool fits = withRegion <= kMostShort && withRegion <= locale.size();
  return locale.substr(0, fits ? withRegion : language.size());
}

}  // namespace platform
