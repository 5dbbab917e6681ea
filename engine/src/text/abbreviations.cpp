// SPDX-License-Identifier: Apache-2.0
//
// The lists of abbreviations. A word that is also a common word of its language is on no list: a
// sentence that goes on too long is worse than a pause too many. Letters that are written with full
// stops between them ("e.g.") need no row, unless they never end a sentence.
#include "text/abbreviations.h"

#include <array>
#include <string>

namespace kavrel {

namespace {

struct Row {
  std::string_view language;
  Abbreviation kind;
  std::string_view words;  // with a blank before and after each
};

constexpr Abbreviation kNever = Abbreviation::NeverEnds;
constexpr Abbreviation kMayEnd = Abbreviation::MayEnd;
constexpr Abbreviation kNumber = Abbreviation::BeforeNumber;

constexpr auto kRows = std::to_array<Row>({
    {"en", kNever,
     " adm approx asst brig capt cf cmdr col cpl dr e.g gen gov hon i.e lt maj messrs mlle mme mr "
     "mrs ms mt pres prof rep rev rt sen sgt st viz vs "},
    {"en", kMayEnd,
     " al apr assn aug ave blvd bros co corp dec dept ed eds est etc feb hrs inc jan jr jul jun "
     "ltd "
     "mar min nov oct rd sec sep sept sq sr ft lb lbs oz univ yr yrs "},
    {"en", kNumber, " art ch chap fig figs no nos nr p pp par vol vols "},

    {"bg", kNever, " акад бул вж доц инж напр пл проф св срв ул "},
    {"bg", kMayEnd, " г гг др лв млн млрд хил "},
    {"bg", kNumber, " гл с стр табл фиг чл "},
    {"ca", kNever, " av cf dr dra prof sr sra sta "},
    {"ca", kMayEnd, " etc "},
    {"ca", kNumber, " art cap fig núm p pàg pp vol "},
    {"cs", kNever, " dr gen ing mgr mj např nám pí prof resp sv tj tzn tzv ul "},
    {"cs", kMayEnd, " apod atd kč mil mld tis "},
    {"cs", kNumber, " č obr s str "},
    {"da", kNever, " bl.a ca dr dvs f.eks fr fx hr inkl jf kl prof "},
    {"da", kMayEnd, " etc kr m.m mia mio osv "},
    {"da", kNumber, " fig kap nr s stk "},
    {"de", kNever,
     " bzw ca d d.h dipl dr evtl fr frl ggf hl hr ing inkl o prof s sog st u u.a usf v vgl z z.b "
     "z.t "
     "zzgl "},
    {"de", kMayEnd, " a ä chr etc jh jr mio mrd sr std str tel usw "},
    {"de", kNumber, " abb abs art bd fig kap nr p ziff "},
    {"el", kNever, " αγ βλ δηλ δρ καθ κ κα κος λεωφ π.χ "},
    {"el", kMayEnd, " αι εκ κ.ά κ.λπ κλπ μ.μ μ.χ π.μ "},
    {"el", kNumber, " αρ εικ κεφ σ σελ τόμ "},
    {"es", kNever,
     " cf d dr dra dña ej fray gral ing lic p.ej prof sr sra sres srta sta sto ud uds "},
    {"es", kMayEnd, " avda cía etc ee.uu "},
    {"es", kNumber, " art cap fig núm p pág págs pp vol "},
    {"et", kNever, " dr jt lk nn nt prof s.o st tn "},
    {"et", kMayEnd, " jms jne jpm "},
    {"fi", kNever, " esim ks mm nk ns prof tri ts "},
    {"fi", kMayEnd, " jne jpn milj mrd tms ym yms "},
    {"fi", kNumber, " kuva n nro s "},
    {"fr", kNever, " cf dr env m me mgr mlle mm mme mmes p.ex pr st ste "},
    {"fr", kMayEnd, " apr av bd boul etc hab "},
    {"fr", kNumber, " art chap fig n no p pp t vol "},
    {"hr", kNever, " dr g gđa ing itzv mr npr prof sv tj tzv ul "},
    {"hr", kMayEnd, " itd mil mlrd "},
    {"hr", kNumber, " br čl str "},
    {"hu", kNever, " dr id ifj ill kb ld özv pl prof ún vö "},
    {"hu", kMayEnd, " stb "},
    {"hu", kNumber, " ábra sz "},
    {"is", kNever, " dr hr m.a prof sbr t.d þ.e "},
    {"is", kMayEnd, " kr o.fl o.s.frv "},
    {"it", kNever, " avv cfr dott dr es gent geom ing on p.es prof rag sig sigg sig.ra ss "},
    {"it", kMayEnd, " ecc "},
    {"it", kNumber, " art cap fig n p pag pagg pp vol "},
    {"lt", kNever, " doc dr gen g kun prof pvz šv t.y žr "},
    {"lt", kMayEnd, " kt mln mlrd pan t.t "},
    {"lv", kNever, " doc dr piem prof sal sv t.i "},
    {"lv", kMayEnd, " milj mljrd tml u.c u.tml utt "},
    {"nb", kNever, " bl.a ca dr dvs f.eks fr hr inkl jf kl prof "},
    {"nb", kMayEnd, " etc kr m.m mill mrd osv "},
    {"nb", kNumber, " fig kap nr s "},
    {"nl", kNever, " bijv bv ca d.w.z dhr dr drs ing ir m.n mevr mr mw nl o.a prof t.a.v "},
    {"nl", kMayEnd, " enz etc jl mld mln "},
    {"nl", kNumber, " afb art blz fig hfst nr p pp "},
    {"pl", kNever, " al doc gen hab inż im ks m.in np ok os pl płk prof św tj tzn tzw ul "},
    {"pl", kMayEnd, " itd itp r tys w "},
    {"pl", kNumber, " art nr pkt rys s str "},
    {"pt", kNever, " cf d dr dra drª eng exma exmo p.ex prof profa sr sra srta "},
    {"pt", kMayEnd, " av etc ltda "},
    {"pt", kNumber, " art cap fig n núm p pág págs pp vol "},
    {"ro", kNever, " bd cca dl dr ing prof sf str "},
    {"ro", kMayEnd, " etc mil mld "},
    {"ro", kNumber, " art fig nr p pag "},
    {"ru", kNever, " акад гр доц им напр обл пер пл пос проф р-н св см ср т т.е т.к т.н тов ул "},
    {"ru", kMayEnd, " в вв г гг др коп кв млн млрд н.э пр руб т.д т.п тыс чел "},
    {"ru", kNumber, " гл илл п пп рис с стр табл ч "},
    {"sk", kNever, " dr gen ing mgr napr nám p prof resp sv tj tzn tzv ul "},
    {"sk", kMayEnd, " apod atď mil mld tis "},
    {"sk", kNumber, " č obr s str "},
    {"sl", kNever, " dr ga g mag npr prof sv tj ul "},
    {"sl", kMayEnd, " idr ipd itd mio mrd "},
    {"sl", kNumber, " čl sl str št "},
    {"sr", kNever, " dr др g инж mr нпр npr prof проф sv св tj тј tzv тзв ul ул "},
    {"sr", kMayEnd, " itd итд "},
    {"sr", kNumber, " br бр str стр "},
    {"sv", kNever, " bl.a ca d.v.s dr dvs f.d fr hr inkl jfr kl prof resp s.k t.ex "},
    {"sv", kMayEnd, " etc kr m.m milj mdr osv "},
    {"sv", kNumber, " fig kap nr s sid "},
    {"tr", kNever, " alb av bkz cad doç dr mah örn prof sn sok yrd "},
    {"tr", kMayEnd, " vb vd vs "},
    {"tr", kNumber, " s sf yy "},
    {"uk", kNever, " акад вул див доц ім напр обл пл пор проф пров св т.зв "},
    {"uk", kMayEnd, " грн ін коп млн млрд р рр ст т.д т.п тис "},
    {"uk", kNumber, " гл мал п рис с стор табл ч "},
});

// For languages without a list of their own.
constexpr auto kOthers = std::to_array<Row>({
    {"", kNever, " dr prof "},
    {"", kMayEnd, " etc "},
    {"", kNumber, " art fig no nr p pp vol "},
});

}  // namespace

std::optional<Abbreviation> abbreviationOf(std::string_view word, std::string_view language) {
  const std::string sought = " " + std::string(word) + " ";
  bool hasList = false;
  for (const Row& row : kRows) {
    if (row.language != language) continue;
    hasList = true;
    if (row.words.find(sought) != std::string_view::npos) return row.kind;
  }
  if (hasList) return std::nullopt;
  for (const Row& row : kOthers) {
    if (row.words.find(sought) != std::string_view::npos) return row.kind;
  }
  return std::nullopt;
}

}  // namespace kavrel
