// The page of stat: one file that needs no script and fetches nothing. Each part has a bound, so that the
// whole stays below 300 KiB.
#include <algorithm>
#include <cstdio>
#include <iterator>

#include "StatTables.h"
#include "TimeText.h"
#include "VisibleText.h"

namespace {

constexpr size_t MOST_ROWS = 20, MOST_CHARACTERS = 200, MOST_ESCAPED = 500, SMALL_TIMELINES = 10, SHORT = 26;
constexpr int64_t PLOT_WIDTH = 960, PLOT_HEIGHT = 160, SMALL_WIDTH = 240, SMALL_HEIGHT = 22, CELL = 26;

constexpr char HEAD[] = R"(<!DOCTYPE html>
<html lang="en"><head><meta charset="utf-8"/>
<meta http-equiv="Content-Security-Policy" content="default-src 'none'; style-src 'unsafe-inline'"/>
<meta name="viewport" content="width=device-width, initial-scale=1"/><meta name="color-scheme" content="light dark"/>
<title>Log statistics</title><style>
:root{--bg:#fff;--fg:#1c2430;--soft:#5d6877;--line:#dfe4ea;--track:#f3f5f8;--bar:#0072b2;--s0:#7a1f5c;--s1:#d55e00;--s2:#e69f00;--s3:#56b4e9;--s4:#9aa5b1;--s5:#d3d9e0}
@media (prefers-color-scheme:dark){:root{--bg:#12171e;--fg:#e4e9ef;--soft:#9aa7b5;--line:#2b3440;--track:#1b222b;--bar:#56a8dd;--s0:#e08cc4;--s1:#f07a28;--s2:#f0b83c;--s3:#6fc3f2;--s4:#7d8997;--s5:#4a5562}}
body{margin:0 auto;max-width:1000px;padding:28px 20px;background:var(--bg);color:var(--fg);font:14px/1.45 system-ui,"DejaVu Sans",sans-serif}
h1{font-size:22px;margin:0}h2{font-size:15px;margin:32px 0 8px}p{margin:6px 0;color:var(--soft)}
.n{display:flex;flex-wrap:wrap;gap:10px;margin:18px 0}.n div{flex:1;min-width:110px;border:1px solid var(--line);border-radius:8px;padding:10px 12px}
.n b{display:block;font-size:20px;font-weight:600;font-variant-numeric:tabular-nums}.n span{color:var(--soft);font-size:12px}
.d{border-left:4px solid var(--s1);background:var(--track);padding:10px 14px;border-radius:4px}
svg{display:block;max-width:100%}svg text{fill:var(--soft);font-size:11px}table{border-collapse:collapse;width:100%}
th{text-align:left;font-weight:500;color:var(--soft);font-size:12px}td,th{padding:4px 10px 4px 0;border-bottom:1px solid var(--line);vertical-align:top;overflow-wrap:anywhere}
td.c,th.c{text-align:right;font-variant-numeric:tabular-nums;white-space:nowrap}td.g{width:90px}td.l{width:240px}td.w,th{white-space:nowrap}
.t{fill:var(--track)}.b{fill:var(--bar)}.h{fill:transparent}.s0{fill:var(--s0)}.s1{fill:var(--s1)}.s2{fill:var(--s2)}.s3{fill:var(--s3)}.s4{fill:var(--s4)}.s5{fill:var(--s5)}
.k{display:flex;flex-wrap:wrap;gap:16px;font-size:12px;color:var(--soft);margin:6px 0}.k span{display:flex;align-items:center;gap:5px}
</style></head><body>
)";

constexpr struct {
    int64_t seconds;
    const char* name;
} UNITS[] = {{86400, "day"}, {3600, "hour"}, {60, "minute"}, {1, "second"}};

std::string number(uint64_t value) {
    const std::string digits = std::to_string(value);
    std::string grouped;
    for (size_t i = 0; i < digits.size(); ++i) {
        if (i > 0 && (digits.size() - i) % 3 == 0) grouped.push_back(',');
        grouped.push_back(digits[i]);
    }
    return grouped;
}

// At most MOST_CHARACTERS of a text, which no markup can leave.
std::string escaped(std::string_view text) {
    const std::string visible = visible_text(text);
    std::string out;
    std::string_view rest = visible;
    for (size_t i = 0; !rest.empty(); ++i) {
        if (i == MOST_CHARACTERS || out.size() >= MOST_ESCAPED) return out + "\u2026";
        const std::string_view before = rest;
        const char32_t c = next_character(rest);
        switch (c) {
        case '&': out += "&amp;"; break;
        case '<': out += "&lt;"; break;
        case '>': out += "&gt;"; break;
        case '"': out += "&quot;"; break;
        case '\'': out += "&#39;"; break;
        default: // XML has no U+FFFE and U+FFFF
            if ((c | 1) == 0xFFFF || c == INVALID_UTF8)
                out += "\u2026";
            else
                out += before.substr(0, before.size() - rest.size());
        }
    }
    return out;
}

template <class... Numbers>
void add(std::string& page, const char* form, Numbers... numbers) {
    char text[256];
    (void)std::snprintf(text, sizeof text, form, static_cast<long long>(numbers)...);
    page += text;
}

uint64_t sum(const SeverityCounts& counts) {
    uint64_t total = 0;
    for (const uint64_t count : counts) total += count;
    return total;
}

// Height of a count in a plot. At least one, so that nothing that is there is invisible.
int64_t height_of(uint64_t count, uint64_t most, int64_t full) {
    if (count == 0 || most == 0) return 0;
    const double part = static_cast<double>(count) / static_cast<double>(most);
    return std::max<int64_t>(1, static_cast<int64_t>(part * static_cast<double>(full)));
}

class Page {
public:
    Page(const Statistics& counts, MessageTexts& texts, const StatSettings& settings)
        : _counts(counts), _texts(texts), _times(settings.utc) {}

    std::string make(const std::vector<StatTable>& tables, size_t damaged) {
        _page = HEAD;
        _add_summary(damaged);
        if (_counts.count > 0) {
            _add_timeline();
            _add_hours();
            _add_small_timelines();
        }
        for (const StatTable& table : tables)
            if (std::string_view(table.name) != "severity" && std::string_view(table.name) != "hour")
                _add_table(table);
        _page +=
            "<h2>How this was made</h2><p>taqldf stat --format=html. A message is new when it came first in "
            "the last tenth of the time. Repeats equal the record before in log, message and arguments. "
            "Texts are cut at 200 characters.</p></body></html>\n";
        return std::move(_page);
    }

private:
    // A bucket may begin before the times of 32 bits do, or end behind them.
    std::string _at(int64_t time) {
        const auto kept = static_cast<int32_t>(std::clamp<int64_t>(time, INT32_MIN, INT32_MAX));
        std::string text(_times.at(kept));
        if (text.size() > 10) text[10] = ' ';
        return text.substr(0, 16);
    }
    void _tile(uint64_t value, const char* what) {
        _page += "<div><b>" + number(value) + "</b><span>" + what + "</span></div>";
    }

    void _add_summary(size_t damaged) {
        _page += "<h1>Log statistics</h1>";
        if (_counts.count > 0) _page += "<p>" + _at(_counts.first) + " to " + _at(_counts.last) + "</p>";
        _page += "<div class=\"n\">";
        _tile(_counts.count, "records");
        _tile(_counts.severities[SEV_CRIT] + _counts.severities[SEV_ERR], "critical and error");
        _tile(_counts.severities[SEV_WARN], "warnings");
        _tile(_counts.ids.size(), "different messages");
        _tile(_counts.logs.size(), "logs");
        _tile(_counts.repeats, "repeats");
        _page += "</div>";
        if (damaged > 0)
            _page += "<p class=\"d\">" + number(damaged) +
                     " damaged files: what is readable before the damage is counted.</p>";
    }

    void _add_timeline() {
        const auto& buckets = _counts.timeline.buckets();
        const int64_t from = buckets.begin()->first, n = buckets.rbegin()->first - from + 1;
        const int64_t width = _counts.timeline.width(), step = std::max<int64_t>(2, PLOT_WIDTH / n);
        uint64_t most = 0;
        for (const auto& [at, counts] : buckets) most = std::max(most, sum(counts));
        _page += "<h2>Records over time</h2><div class=\"k\">";
        for (size_t i = 0; i < SEVERITY_CLASSES; ++i) {
            if (_counts.severities[i] == 0) continue;
            add(_page,
                "<span><svg width=\"10\" height=\"10\"><rect class=\"s%lld\" width=\"10\" height=\"10\" "
                "rx=\"2\"/></svg>",
                i);
            _page += std::string(i < SEV_APP_END ? ulog_app_sev_name(static_cast<int>(i)) : "DEBUG") + " " +
                     number(_counts.severities[i]) + "</span>";
        }
        add(_page,
            "</div><svg viewBox=\"0 0 %lld %lld\" role=\"img\"><title>Records by time and severity</title>",
            n * step, PLOT_HEIGHT + 34);
        add(_page, "<text x=\"0\" y=\"10\">%lld</text>", most);
        for (int64_t i = 0; i < n; ++i)
            add(_page, "<rect class=\"t\" x=\"%lld\" y=\"14\" width=\"%lld\" height=\"%lld\"/>", i * step,
                std::max<int64_t>(1, step - 1), PLOT_HEIGHT);
        _add_stacks(from, step, most);
        for (const auto& [at, counts] : buckets) {
            add(_page, "<rect class=\"h\" x=\"%lld\" y=\"14\" width=\"%lld\" height=\"%lld\"><title>",
                (at - from) * step, step, PLOT_HEIGHT);
            _page += _at(at * width) + ": " + number(sum(counts)) + "</title></rect>";
        }
        for (int64_t i = 0; i < 5 && i * n / 5 * step <= PLOT_WIDTH - 100; ++i)
            if (i == 0 || i * n / 5 != (i - 1) * n / 5) {
                add(_page, "<text x=\"%lld\" y=\"%lld\">", i * n / 5 * step, PLOT_HEIGHT + 30);
                _page += _at((from + i * n / 5) * width) + "</text>";
            }
        _page += "</svg>";
        const auto& unit = *std::find_if(std::begin(UNITS), std::end(UNITS),
                                         [width](const auto& each) { return width % each.seconds == 0; });
        add(_page, "<p>A column is %lld ", width / unit.seconds);
        _page += std::string(unit.name) + (width == unit.seconds ? "" : "s") + ".</p>";
    }

    // One path for each severity, the worst at the bottom.
    void _add_stacks(int64_t from, int64_t step, uint64_t most) {
        std::map<int64_t, uint64_t> below;
        for (size_t kind = 0; kind < SEVERITY_CLASSES; ++kind) {
            std::string path;
            for (const auto& [at, counts] : _counts.timeline.buckets()) {
                if (counts[kind] == 0) continue;
                uint64_t& under = below[at];
                const int64_t base = height_of(under, most, PLOT_HEIGHT);
                under += counts[kind];
                const int64_t high = std::max<int64_t>(1, height_of(under, most, PLOT_HEIGHT) - base);
                add(path, "M%lld %lldh%lldv-%lldh-%lldz", (at - from) * step, 14 + PLOT_HEIGHT - base,
                    std::max<int64_t>(1, step - 1), high, std::max<int64_t>(1, step - 1));
            }
            if (path.empty()) continue;
            add(_page, "<path class=\"s%lld\" d=\"", kind);
            _page += path + "\"/>";
        }
    }

    void _add_hours() {
        static constexpr const char* DAYS[] = {"Sun", "Mon", "Tue", "Wed", "Thu", "Fri", "Sat"};
        uint64_t most = 0;
        for (const auto& day : _counts.hours)
            most = std::max(most, *std::max_element(day.begin(), day.end()));
        add(_page,
            "<h2>Day and hour</h2><svg viewBox=\"0 0 %lld %lld\" role=\"img\"><title>Records by day of the "
            "week and hour</title>",
            PLOT_WIDTH, 7 * CELL + 18);
        for (int64_t day = 0; day < 7; ++day) {
            add(_page, "<text x=\"0\" y=\"%lld\">", day * CELL + 17);
            _page += std::string(DAYS[(day + 1) % 7]) + "</text>"; // a week begins on Monday
            for (int64_t hour = 0; hour < 24; ++hour) {
                const uint64_t count =
                    _counts.hours[static_cast<size_t>((day + 1) % 7)][static_cast<size_t>(hour)];
                const int64_t percent = count == 0 ? 0 : 12 + height_of(count, most, 88);
                _page += count == 0 ? "<rect class=\"t\"" : "<rect class=\"b\"";
                add(_page,
                    " x=\"%lld\" y=\"%lld\" width=\"36\" height=\"%lld\" rx=\"3\" fill-opacity=\"%lld%%\">",
                    40 + hour * 38, day * CELL, CELL - 2, count == 0 ? 100 : percent);
                add(_page, "<title>%02lld:00: %lld</title></rect>", hour, count);
            }
        }
        for (int64_t hour = 0; hour < 24; hour += 3)
            add(_page, "<text x=\"%lld\" y=\"%lld\">%02lld</text>", 40 + hour * 38, 7 * CELL + 12, hour);
        _page += "</svg>";
    }

    void _add_small_timelines() {
        std::vector<std::pair<uint64_t, uint32_t>> order;
        for (const auto& [id, m] : _counts.ids) order.emplace_back(m.count, id);
        std::sort(order.begin(), order.end(), [](const auto& a, const auto& b) {
            return a.first != b.first ? a.first > b.first : a.second < b.second;
        });
        if (order.size() > SMALL_TIMELINES) order.resize(SMALL_TIMELINES);
        _page += "<h2>The most frequent messages over time</h2><table>";
        for (const auto& [count, id] : order) {
            const KnownMessage& message = _texts.of(id);
            _page += "<tr><td class=\"w\">" + escaped(message.id) + "</td><td>" +
                     escaped(open_text(message)) + "</td><td class=\"c\">" + number(count) +
                     "</td><td class=\"l\">";
            _add_small(_counts.ids.at(id).timeline);
            _page += "</td></tr>";
        }
        _page += "</table>";
    }

    // On the same axis for all: from the first record of all to the last.
    void _add_small(const Timeline& timeline) {
        uint64_t most = 0;
        for (const auto& [at, counts] : timeline.buckets()) most = std::max(most, counts[0]);
        const int64_t span = std::max<int64_t>(1, int64_t{_counts.last} - _counts.first);
        const int64_t bar = std::clamp<int64_t>(timeline.width() * SMALL_WIDTH / span, 2, SMALL_WIDTH);
        add(_page,
            "<svg width=\"%lld\" height=\"%lld\"><rect class=\"t\" width=\"%lld\" height=\"%lld\"/><path "
            "class=\"b\" d=\"",
            SMALL_WIDTH, SMALL_HEIGHT, SMALL_WIDTH, SMALL_HEIGHT);
        for (const auto& [at, counts] : timeline.buckets()) {
            const int64_t x = std::clamp<int64_t>(
                (at * timeline.width() - _counts.first) * SMALL_WIDTH / span, 0, SMALL_WIDTH - 2);
            const int64_t wide = std::min<int64_t>(std::max<int64_t>(1, bar - 1), SMALL_WIDTH - x);
            add(_page, "M%lld %lldh%lldv-%lldh-%lldz", x, SMALL_HEIGHT, wide,
                height_of(counts[0], most, SMALL_HEIGHT), wide);
        }
        _page += "\"/></svg>";
    }

    void _add_table(const StatTable& table) {
        if (table.rows.empty()) return;
        _page += "<h2>" + std::string(table.title) +
                 (table.is_exact ? "" : " (estimated: more different ones than are counted exactly)") +
                 "</h2><table><tr>";
        for (size_t i = 0; i < table.columns.size(); ++i)
            _page += (i == 1 ? "<th class=\"c\">" : "<th>") + std::string(table.columns[i]) + "</th>" +
                     (i == 1 ? "<th></th>" : "");
        _page += "</tr>";
        const uint64_t most = std::stoull(table.rows.front()[1]);
        for (size_t n = 0; n < std::min(table.rows.size(), MOST_ROWS); ++n) {
            const auto& row = table.rows[n];
            _page += "<tr>";
            for (size_t i = 0; i < row.size(); ++i) {
                if (i == 1) {
                    _page += "<td class=\"c\">" + number(std::stoull(row[1])) + "</td><td class=\"g\">";
                    add(_page,
                        "<svg width=\"80\" height=\"16\"><rect class=\"b\" y=\"4\" width=\"%lld\" "
                        "height=\"9\" rx=\"2\"/></svg></td>",
                        height_of(std::stoull(row[1]), most, 80));
                } else {
                    _page +=
                        (row[i].size() <= SHORT ? "<td class=\"w\">" : "<td>") + escaped(row[i]) + "</td>";
                }
            }
            _page += "</tr>";
        }
        _page += "</table>";
    }

    const Statistics& _counts;
    MessageTexts& _texts;
    IsoTime _times;
    std::string _page;
};

} // namespace

std::string make_stat_page(const Statistics& counts, const std::vector<StatTable>& tables, size_t damaged,
                           MessageTexts& texts, const StatSettings& settings) {
    return Page(counts, texts, settings).make(tables, damaged);
}
