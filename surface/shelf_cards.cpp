#include "surface/shelf_cards.h"

#include <glib.h>

#include <algorithm>
#include <cmath>
#include <ctime>
#include <map>
#include <sstream>

#include "base/log.h"
#include "surface/shapes.h"
#include "surface/words.h"

namespace moxi {

namespace {

constexpr double kLeastCardWidth = 172;
constexpr double kMostCardWidth = 300;
constexpr double kGap = 10;
// Below the picture: name, author, and when it was played.
constexpr double kTextsHeight = 74;
constexpr double kPictureRatio = 0.625;
constexpr i32 kPlateWidth = 320;
constexpr i32 kPlateHeight = 200;

// The words with `%1` as this.
std::string Filled(std::string words, const std::string& with) {
    const size_t at = words.find("%1");
    return at == std::string::npos ? words : words.replace(at, 2, with);
}

// Days since 1970-01-01 of a date in the Gregorian calendar.
i64 DayNumber(i64 year, i64 month, i64 day) {
    // Years begin in March here, so that leap days come last.
    year -= month <= 2 ? 1 : 0;
    const i64 era = year / 400;
    const i64 yearOfEra = year - era * 400;
    const i64 dayOfYear = (153 * (month + (month > 2 ? -3 : 9)) + 2) / 5 + day - 1;
    return era * 146097 + yearOfEra * 365 + yearOfEra / 4 - yearOfEra / 100 + dayOfYear - 719468;
}

// The first letters of the first two words.
std::string Initials(const std::string& name) {
    std::istringstream words(name);
    std::string initials;
    std::string word;
    for (int count = 0; count < 2 && words >> word; ++count) {
        if (g_utf8_validate(word.data(), static_cast<gssize>(word.size()), nullptr) == 0) {
            continue;
        }
        const char* const next = g_utf8_next_char(word.c_str());
        initials += word.substr(0, static_cast<size_t>(next - word.c_str()));
    }
    return initials.empty() ? "?" : initials;
}

u32 HashOf(const std::string& text) {
    u32 hash = 2166136261u;
    for (const char c : text) {
        hash = (hash ^ static_cast<u8>(c)) * 16777619u;
    }
    return hash ^ hash >> 15;
}

// Plates are drawn once for each name.
std::shared_ptr<const RgbaPicture> KeptPlate(const std::string& name) {
    static std::map<std::string, std::shared_ptr<const RgbaPicture>> plates;
    std::shared_ptr<const RgbaPicture>& plate = plates[name];
    if (plate == nullptr) {
        plate = std::make_shared<const RgbaPicture>(PlateOf(name));
    }
    return plate;
}

std::string DetailOf(const PlayedGame& record, const DateTime& now) {
    std::string detail = PlayedDay(record.lastPlayed, now);
    const std::string time = PlayedTime(record.seconds);
    if (!time.empty()) {
        detail += (detail.empty() ? "" : ", ") + time;
    }
    return detail.empty() ? Words("Not played yet") : detail;
}

// Accents and the like, which stand for themselves once a text is taken apart.
bool IsAccent(gunichar character) {
    return character >= 0x300 && character <= 0x36F;
}

}  // namespace

std::string Comparable(const std::string& text) {
    const auto size = static_cast<gssize>(text.size());
    char* const apart = g_utf8_normalize(text.data(), size, G_NORMALIZE_NFKD);
    // A name may be no text at all.
    if (apart == nullptr) {
        return text;
    }
    char* const folded = g_utf8_casefold(apart, -1);
    std::string plain;
    for (const char* at = folded; *at != '\0'; at = g_utf8_next_char(at)) {
        if (!IsAccent(g_utf8_get_char(at))) {
            plain.append(at, static_cast<size_t>(g_utf8_next_char(at) - at));
        }
    }
    g_free(folded);
    g_free(apart);
    return plain;
}

std::vector<const ShelfGame*> GamesFor(const std::vector<ShelfGame>& games,
                                       const std::string& search) {
    std::vector<const ShelfGame*> found;
    for (const ShelfGame& game : games) {
        const PlayedGame& record = game.record;
        const std::string text = Comparable(record.name + "\n" + record.author + "\n" +
                                            record.path.substr(record.path.rfind('/') + 1));
        std::istringstream words(Comparable(search));
        bool hasAll = true;
        for (std::string word; words >> word;) {
            hasAll = hasAll && text.find(word) < text.size();
        }
        if (hasAll) {
            found.push_back(&game);
        }
    }
    return found;
}

std::string PlayedTime(u64 seconds) {
    if (seconds == 0) {
        return "";
    }
    const u64 minutes = std::max<u64>(seconds / 60, 1);
    std::string rest = Filled(Words("%1 min"), std::to_string(minutes % 60));
    if (minutes < 60) {
        return rest;
    }
    const std::string hours = Filled(Words("%1 h"), std::to_string(minutes / 60));
    return minutes % 60 == 0 ? hours : hours + " " + rest;
}

std::string PlayedDay(u64 lastPlayed, const DateTime& now) {
    if (lastPlayed == 0) {
        return "";
    }
    const time_t time = static_cast<time_t>(lastPlayed);
    tm local = {};
    if (localtime_r(&time, &local) == nullptr) {
        return "";
    }
    const i64 days = DayNumber(now.year, now.month, now.day) -
                     DayNumber(local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
    if (days == 0) {
        return Words("today");
    }
    if (days == 1) {
        return Words("yesterday");
    }
    if (days > 1 && days < 14) {
        return Filled(Words("%1 days ago"), std::to_string(days));
    }
    return FormatText("%d-%2.2d-%2.2d", local.tm_year + 1900, local.tm_mon + 1, local.tm_mday);
}

RgbaPicture PlateOf(const std::string& name) {
    const u32 hash = HashOf(name);
    // Dark colours of one lightness, all around the circle.
    const double angle = hash % 360 * std::acos(-1.0) / 180;
    const auto part = [&](double turn) {
        return static_cast<u8>(std::lrint(62 + 30 * std::cos(angle + turn)));
    };
    const Colour ground = {part(0), part(2.1), part(4.2)};
    Canvas canvas;
    ResizeCanvas(canvas, kPlateWidth, kPlateHeight);
    FillBox(canvas, {0, 0, kPlateWidth, kPlateHeight}, ground);
    // A larger round light from above.
    FillRoundBox(canvas, {-60, -190, kPlateWidth + 120.0, 300}, 150, {255, 255, 255, 0.06});
    const std::string initials = Initials(name);
    const TextLook look = {.size = 92, .bold = true};
    const double width = std::min(TextWidth(look, initials), kPlateWidth - 20.0);
    PaintText(canvas, (kPlateWidth - width) / 2, kPlateHeight / 2.0 + 33, width + 1, look, initials,
              {255, 255, 255, 0.85});
    RgbaPicture plate = {kPlateWidth, kPlateHeight, canvas.pixels};
    for (size_t at = 3; at < plate.pixels.size(); at += 4) {
        plate.pixels[at] = 255;
    }
    return plate;
}

void AddCards(Surface& surface, const std::vector<const ShelfGame*>& games, const DateTime& now) {
    const double room = surface.view.width;
    const double columns = std::max(1.0, std::floor((room + kGap) / (kLeastCardWidth + kGap)));
    const double width = std::min(kMostCardWidth, (room - (columns - 1) * kGap) / columns);
    const double height = std::round(width * kPictureRatio) + kTextsHeight;
    size_t index = 0;
    for (const ShelfGame* const game : games) {
        const PlayedGame& record = game->record;
        Control& card = AddControl(surface, Role::Row, record.path, record.name);
        card.card = true;
        card.value = record.author;
        card.detail = DetailOf(record, now);
        card.picture = game->picture != nullptr ? game->picture : KeptPlate(record.name);
        const double column = static_cast<double>(index % static_cast<size_t>(columns));
        const double line = std::floor(static_cast<double>(index) / columns);
        card.box = {column * (width + kGap), line * (height + kGap), width, height};
        ++index;
    }
    const double lines = std::ceil(static_cast<double>(index) / columns);
    surface.bodyHeight = std::max(0.0, lines * (height + kGap) - kGap);
}

std::string AboutGame(const ShelfGame& game) {
    std::string about;
    if (!game.record.licence.empty()) {
        about = Filled(Words("Licence: %1"), game.record.licence);
    }
    if (!game.record.source.empty()) {
        about +=
            (about.empty() ? "" : "  \xC2\xB7  ") + Filled(Words("Source: %1"), game.record.source);
    }
    return about;
}

}  // namespace moxi
