// SPDX-License-Identifier: Apache-2.0
#include "languages/Languages.h"

#include <algorithm>
#include <array>
#include <utility>

#include "base/text/Utf8.h"

namespace languages {
namespace {

constexpr auto kLanguages = std::to_array<Language>({
    {"en_US", "en-us",
     "The old clockmaker unlocked his shop at seven. He wound each clock twice, swept the floor, "
     "and waited for the bell above the door. Nobody came before the rain had stopped.",
     "The ferry leaves the island in the morning and comes back before dark. We carried the boxes "
     "to the barn."},
    {"en_GB", "en",
     "The café on the quay sells nothing but soup, and naïve visitors ask for coffee. The colour "
     "of the harbour wall is a pale, patient grey. Nobody has painted it since the war.",
     "The ferry leaves the island in the morning and comes back before dark. We carried the boxes "
     "to the barn."},
    {"de_DE", "de",
     "Fünf schöne Äpfel lagen auf der großen Fensterbank. Über Nacht hatte es gefroren, und die "
     "Straße war weiß. Öfter als früher hörte man draußen müde Krähen.",
     "Die Fähre verlässt am Morgen die Insel und kommt vor der Nacht zurück. Wir trugen die Kisten "
     "in die Scheune."},
    {"fr_FR", "fr",
     "L'été dernier, ma sœur a planté un chêne près du vieux bœuf de pierre. Ça pousse "
     "lentement, là où naît le ruisseau. « Noël approche », répétait le garçon ; vous êtes-là.",
     "Le bateau quitte l'île au matin et revient avant la nuit. Nous avons porté les caisses dans "
     "la grange."},
    {"es_ES", "es",
     "¿Dónde dejaste la bicicleta? ¡Mañana vendrá el niño pequeño con su pingüino de trapo! "
     "Después comeremos jamón, aquí, junto al corazón de la montaña.",
     "El barco sale de la isla por la mañana y vuelve antes de la noche. Llevamos las cajas al "
     "granero."},
    {"it_IT", "it",
     "Perché la città è così quieta lunedì? Già, può darsi che più tardi ci sarà un po' di brio. "
     "Nonna preparò gnocchi, sciroppo e zabaglione.",
     "Il traghetto lascia l'isola al mattino e torna prima di notte. Abbiamo portato le casse nel "
     "fienile."},
    {"pt_PT", "pt",
     "Não há pão nem maçãs, mas os corações são bons. A avó pôs três lâmpadas à janela; amanhã o "
     "avô irá à estação. As lições começam às nove.",
     "O barco deixa a ilha de manhã e volta antes da noite. Levámos as caixas para o celeiro."},
    {"pt_BR", "pt-br",
     "O ônibus do João não chegou. Você também põe açúcar no café? As crianças já estão lá na "
     "praça, perto do coração da cidade.",
     "O barco deixa a ilha de manhã e volta antes da noite. Levamos as caixas para o celeiro."},
    {"nl_NL", "nl",
     "De geëerde gast van nummer één zeurde over de coöperatie. Twee ruïnes liggen achter het "
     "hoge duin, vóór de schuur. Zij juicht, giechelt en schrijft naïeve gedichten.",
     "De veerboot verlaat in de ochtend het eiland en komt voor de nacht terug. Wij droegen de "
     "kisten naar de schuur."},
    {"sv_SE", "sv",
     "Åtta små ålar låg på ön. Änkan köpte kött, ägg och en kanna mjölk; sjön var stilla. Barnen "
     "sjunger gärna om skönhet, hjärta och stjärnor.",
     "Färjan lämnar ön på morgonen och kommer tillbaka före natten. Vi bar lådorna till ladan."},
    {"da_DK", "da",
     "På øen bor en ældre mand med tre høns. Åen løber gennem haven, og æblerne er røde. Børnene "
     "spørger, hvorfor ræven ikke får gæsten.",
     "Færgen forlader øen om morgenen og kommer tilbage før natten. Vi bar kasserne til laden."},
    {"fi_FI", "fi",
     "Äiti ja isä söivät yöllä puuroa. Pöydällä oli vielä yksi lämmin säämiskä. Hän työnsi veneen "
     "rantaan, öljysi lukon ja käveli metsään.",
     "Lautta lähtee saarelta aamulla ja palaa ennen yötä. Me kannoimme laatikot latoon."},
    {"nb_NO", "nb",
     "På øya bor åtte søsken og en klok hund. Ærlig talt, været er dårlig; sjøen går høy. Kjære, "
     "kan du hente skjeen og tørke gulvet?",
     "Ferja forlater øya om morgenen og kommer tilbake før natten. Vi bar kassene til låven."},
});

// Punctuation next to words in these texts, in UTF-8.
constexpr auto kPunctuation =
    std::to_array<std::string_view>({".", ",", ";", "?", "!", "'", "«", "»", "¿", "¡"});

std::string_view withoutPunctuation(std::string_view token) {
  bool changed = true;
  while (std::exchange(changed, false)) {
    for (const std::string_view mark : kPunctuation) {
      if (token.starts_with(mark)) {
        token.remove_prefix(mark.size());
        changed = true;
      }
      if (token.ends_with(mark)) {
        token.remove_suffix(mark.size());
        changed = true;
      }
    }
  }
  return token;
}

}  // namespace

std::span<const Language> all() {
  return kLanguages;
}

std::vector<std::string> wordsOf(std::string_view text) {
  std::vector<std::string> words;
  while (!text.empty()) {
    const std::size_t end = std::min(text.find(' '), text.size());
    const std::string_view word = withoutPunctuation(text.substr(0, end));
    if (!word.empty()) words.emplace_back(word);
    text.remove_prefix(std::min(end + 1, text.size()));
  }
  return words;
}

std::u32string charactersOf(std::string_view text) {
  std::u32string characters;
  while (!text.empty()) {
    const base::Utf8Character character = base::firstCharacter(text);
    characters += character.code;
    text.remove_prefix(base::firstCharacterLength(text));
  }
  return characters;
}

}  // namespace languages
