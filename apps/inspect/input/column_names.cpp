#include "inspect/input/column_names.h"

#include "inspect/base/text_escape.h"
#include "inspect/input/dxf_drawing.h"

#include <algorithm>
#include <array>
#include <iterator>

namespace velm::inspect {
namespace {

constexpr std::array<std::string_view, column_meanings> plain_names{
    "id",    "x",     "y",     "z",       "i",     "j",     "k",       "diameter", "radius",
    "lower", "upper", "-tol",  "feature", "part",  "nom_x", "nom_y",   "nom_z",    "nom_i",
    "nom_j", "nom_k", "act_x", "act_y",   "act_z", "axis",  "nominal", "measured"};

// Names without case, blanks and signs between words.
struct Synonym {
    std::string_view name;
    Column meaning;
};
constexpr Synonym synonyms[] = {
    // English
    {"pointid", Column::id},
    {"pointname", Column::id},
    {"pointno", Column::id},
    {"pointnumber", Column::id},
    {"point", Column::id},
    {"pt", Column::id},
    {"ptid", Column::id},
    {"name", Column::id},
    {"label", Column::id},
    {"no", Column::id},
    {"nr", Column::id},
    {"number", Column::id},
    {"#", Column::id},
    {"dia", Column::diameter},
    {"diam", Column::diameter},
    {"balldiameter", Column::diameter},
    {"balldia", Column::diameter},
    {"probediameter", Column::diameter},
    {"tipdiameter", Column::diameter},
    {"stylusdiameter", Column::diameter},
    {"ballradius", Column::radius},
    {"proberadius", Column::radius},
    {"tipradius", Column::radius},
    {"stylusradius", Column::radius},
    {"lowertol", Column::lower},
    {"lowertolerance", Column::lower},
    {"lotol", Column::lower},
    {"tollower", Column::lower},
    {"tolmin", Column::lower},
    {"mintol", Column::lower},
    {"lowerlimit", Column::lower},
    {"uppertol", Column::upper},
    {"uppertolerance", Column::upper},
    {"uptol", Column::upper},
    {"tolupper", Column::upper},
    {"tolmax", Column::upper},
    {"maxtol", Column::upper},
    {"upperlimit", Column::upper},
    {"+tol", Column::upper},
    {"tol+", Column::upper},
    {"plustol", Column::upper},
    {"tol-", Column::lower_size},
    {"minustol", Column::lower_size},
    {"featurename", Column::feature},
    {"featureid", Column::feature},
    {"partno", Column::part},
    {"partnumber", Column::part},
    {"partid", Column::part},
    {"serial", Column::part},
    {"serialno", Column::part},
    {"serialnumber", Column::part},
    {"ax", Column::axis},
    {"nom", Column::nominal},
    {"theo", Column::nominal},
    {"theoretical", Column::nominal},
    {"meas", Column::measured},
    {"act", Column::measured},
    {"actual", Column::measured},
    // German
    {"punkt", Column::id},
    {"punktid", Column::id},
    {"punktnr", Column::id},
    {"punktname", Column::id},
    {"punktnummer", Column::id},
    {"messpunkt", Column::id},
    {"nummer", Column::id},
    {"bezeichnung", Column::id},
    {"durchmesser", Column::diameter},
    {"kugeldurchmesser", Column::diameter},
    {"tasterdurchmesser", Column::diameter},
    {"kugelradius", Column::radius},
    {"tasterradius", Column::radius},
    {"tastradius", Column::radius},
    {"unteretoleranz", Column::lower},
    {"untol", Column::lower},
    {"toleranzunten", Column::lower},
    {"unteresabmass", Column::lower},
    {"unteresabma\xC3\x9F", Column::lower},
    {"oberetoleranz", Column::upper},
    {"obtol", Column::upper},
    {"toleranzoben", Column::upper},
    {"oberesabmass", Column::upper},
    {"oberesabma\xC3\x9F", Column::upper},
    {"merkmal", Column::feature},
    {"element", Column::feature},
    {"teil", Column::part},
    {"teilenummer", Column::part},
    {"teilnr", Column::part},
    {"achse", Column::axis},
    {"soll", Column::nominal},
    {"sollwert", Column::nominal},
    {"nennwert", Column::nominal},
    {"nennma\xC3\x9F", Column::nominal},
    {"ist", Column::measured},
    {"istwert", Column::measured},
    {"messwert", Column::measured},
    // French
    {"num\xC3\xA9ro", Column::id},
    {"numero", Column::id},
    {"rep\xC3\xA8re", Column::id},
    {"repere", Column::id},
    {"diam\xC3\xA8tre", Column::diameter},
    {"diametre", Column::diameter},
    {"rayon", Column::radius},
    {"tolinf", Column::lower},
    {"toleranceinf", Column::lower},
    {"tol\xC3\xA9ranceinf\xC3\xA9rieure", Column::lower},
    {"tolsup", Column::upper},
    {"tolerancesup", Column::upper},
    {"tol\xC3\xA9rancesup\xC3\xA9rieure", Column::upper},
    {"\xC3\xA9l\xC3\xA9ment", Column::feature},
    {"caract\xC3\xA9ristique", Column::feature},
    {"pi\xC3\xA8"
     "ce",
     Column::part},
    {"piece", Column::part},
    {"axe", Column::axis},
    {"th\xC3\xA9orique", Column::nominal},
    {"theorique", Column::nominal},
    {"mesure", Column::measured},
    {"mesur\xC3\xA9", Column::measured},
};

// What may be before or after the letter of an axis.
constexpr std::string_view centre_words[] = {"",
                                             "wert",
                                             "value",
                                             "coord",
                                             "coordinate",
                                             "koordinate",
                                             "coordonn\xC3\xA9"
                                             "e",
                                             "coordonnee",
                                             "pos",
                                             "centre",
                                             "center"};
constexpr std::string_view actual_words[] = {"act",
                                             "actual",
                                             "meas",
                                             "measured",
                                             "ist",
                                             "istwert",
                                             "mess",
                                             "messwert",
                                             "mes",
                                             "mesure",
                                             "mesur\xC3\xA9",
                                             "r\xC3\xA9"
                                             "el",
                                             "reel"};
constexpr std::string_view nominal_words[] = {
    "nom",       "nominal",  "soll", "sollwert", "theo", "theoretical", "th\xC3\xA9orique",
    "theorique", "nennwert", "nenn", "cad",      "ref"};

bool is_between_words(char c) {
    return c == ' ' || c == '_' || c == '-' || c == '.' || c == '/' || c == ':' || c == '\'';
}

// Lower case; the unit in brackets or parentheses goes to `unit`.
std::string plain_text(std::string_view title, std::string& unit) {
    std::string text;
    for (std::size_t at = 0; at < title.size(); ++at) {
        const char c = title[at];
        if (c == '[' || c == '(' || c == '{') {
            const std::size_t end = title.find_first_of("])}", at);
            if (end == std::string_view::npos) break;
            unit = title.substr(at + 1, end - at - 1);
            at = end;
        } else {
            text += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
        }
    }
    text.erase(text.find_last_not_of(" \t") + 1);
    text.erase(0, std::min(text.find_first_not_of(" \t"), text.size()));
    return text;
}

std::optional<double> unit_of_title(std::string unit) {
    std::transform(unit.begin(), unit.end(), unit.begin(), [](char c) {
        return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    });
    if (unit == "\xC2\xB5m" || unit == "\xCE\xBCm") unit = "um";
    if (unit == "in" || unit == "\"") unit = "inch";
    return millimetres_of_unit(unit);
}

// The axis of a name that is one of the words and the letter, in either order.
template <std::size_t Count>
std::optional<std::size_t> axis_with(const std::string& name,
                                     const std::string_view (&words)[Count],
                                     std::string_view letters) {
    for (const std::string_view word : words)
        for (std::size_t axis = 0; axis < letters.size(); ++axis) {
            const std::string letter(1, letters[axis]);
            if (name == std::string(word) + letter || name == letter + std::string(word))
                return axis;
        }
    return std::nullopt;
}

Column plus(Column first, std::size_t axis) {
    return static_cast<Column>(static_cast<std::size_t>(first) + axis);
}

std::optional<Column> meaning_of(const std::string& name) {
    for (const Synonym& synonym : synonyms)
        if (synonym.name == name) return synonym.meaning;
    if (const auto axis = axis_with(name, centre_words, "xyz")) return plus(Column::x, *axis);
    if (const auto axis = axis_with(name, actual_words, "xyz")) return plus(Column::act_x, *axis);
    if (const auto axis = axis_with(name, nominal_words, "xyz")) return plus(Column::nom_x, *axis);
    if (const auto axis = axis_with(name, nominal_words, "ijk")) return plus(Column::nom_i, *axis);
    for (const std::string_view letter : {"nx", "ny", "nz"})
        if (name == letter) return plus(Column::i, static_cast<std::size_t>(letter[1] - 'x'));
    return std::nullopt;
}

} // namespace

std::string_view column_name(Column column) {
    return plain_names[static_cast<std::size_t>(column)];
}

std::optional<Column> column_of_name(std::string_view name) {
    const auto at = std::find(plain_names.begin(), plain_names.end(), name);
    if (at == plain_names.end()) return std::nullopt;
    return static_cast<Column>(at - plain_names.begin());
}

ColumnTitle read_title(std::string_view title) {
    std::string unit;
    const std::string name = plain_text(utf8_text(title), unit);
    ColumnTitle read;
    if (!unit.empty()) read.millimetres = unit_of_title(unit);
    if ((read.meaning = column_of_name(name))) {
        read.is_plain = unit.empty();
        return read;
    }
    std::string joined;
    for (const char c : name)
        if (!is_between_words(c)) joined += c;
    const bool has_minus = name.starts_with('-') || name.ends_with('-'); // "Tol -"
    read.meaning = meaning_of(joined == "tol" && has_minus ? "tol-" : joined);
    return read;
}

std::optional<double> unit_called(std::string_view text) {
    std::string unit;
    const std::string name = plain_text(utf8_text(text), unit);
    return unit_of_title(unit.empty() ? name : unit);
}

} // namespace velm::inspect
