// Orders what was counted, and puts names in place of codes.
#include "StatTables.h"

#include <algorithm>
#include <bit>

#include "TimeText.h"

namespace {

using Row = std::vector<std::string>;

void by_count(StatTable& table, size_t top) {
    std::stable_sort(table.rows.begin(), table.rows.end(),
                     [](const Row& a, const Row& b) { return std::stoull(a[1]) > std::stoull(b[1]); });
    if (table.rows.size() > top) table.rows.resize(top);
}

StatTable table_of_ids(const Statistics& counts, MessageTexts& texts, const StatSettings& settings,
                       bool only_new) {
    StatTable table{only_new ? "new" : "id",
                    only_new ? "New messages" : "Messages",
                    {"id", "count", "first", "last", "hosts", "text"},
                    {}};
    IsoTime times(settings.utc);
    const int64_t last_tenth = counts.last - (int64_t{counts.last} - counts.first) / 10;
    for (const auto& [id, m] : counts.ids) {
        if (only_new && (m.first < last_tenth || counts.first == counts.last)) continue;
        const KnownMessage& message = texts.of(id);
        table.rows.push_back({message.id, std::to_string(m.count), std::string(times.at(m.first)), "",
                              std::to_string(std::popcount(m.hosts)), open_text(message)});
        table.rows.back()[3] = times.at(m.last);
    }
    std::sort(table.rows.begin(), table.rows.end());
    by_count(table, settings.top);
    table.is_exact = counts.other_ids == 0;
    return table;
}

StatTable table_of_texts(const char* name, const char* title, const TopTexts& texts, size_t top) {
    StatTable table{name, title, {name, "count"}, {}, texts.is_exact()};
    if (!table.is_exact) table.columns.push_back("at most too many");
    for (const auto& entry : texts.top(top)) {
        table.rows.push_back({entry.text, std::to_string(entry.count)});
        if (!table.is_exact) table.rows.back().push_back(std::to_string(entry.error));
    }
    return table;
}

StatTable table_of_logs(const Statistics& counts, const StatSettings& settings) {
    StatTable table{"log", "Logs", {"log", "count", "last", "longest silence (s)", "silent from"}, {}};
    IsoTime times(settings.utc);
    for (const auto& [place, log] : counts.logs) {
        table.rows.push_back({place, std::to_string(log.count), std::string(times.at(log.last)),
                              std::to_string(log.silence), ""});
        if (log.silence > 0) table.rows.back()[4] = times.at(log.silence_from);
    }
    by_count(table, settings.top);
    return table;
}

StatTable table_of_hosts(const Statistics& counts, size_t top) {
    std::map<std::string, uint64_t> hosts;
    for (const auto& [place, log] : counts.logs) hosts[log.host] += log.count;
    StatTable table{"host", "Hosts", {"host", "count"}, {}};
    for (const auto& [host, count] : hosts) table.rows.push_back({host, std::to_string(count)});
    by_count(table, top);
    return table;
}

StatTable table_of_bursts(const Statistics& counts, bool utc) {
    StatTable table{"burst", "Most in a minute", {"minute", "count"}, {}};
    IsoTime times(utc);
    for (const Burst& burst : counts.bursts) // the first minute of all may begin before its time has 32 bits
        table.rows.push_back(
            {std::string(times.at(static_cast<int32_t>(std::max<int64_t>(burst.minute * 60, INT32_MIN)))),
             std::to_string(burst.count)});
    return table;
}

StatTable table_of_severities(const Statistics& counts) {
    StatTable table{"severity", "Severities", {"severity", "count"}, {}};
    for (size_t i = 0; i < SEVERITY_CLASSES; ++i)
        table.rows.push_back({i < SEV_APP_END ? ulog_app_sev_name(static_cast<int>(i)) : "DEBUG",
                              std::to_string(counts.severities[i])});
    return table;
}

StatTable table_of_hours(const Statistics& counts) {
    StatTable table{"hour", "Hours of the day", {"hour", "count"}, {}};
    for (size_t hour = 0; hour < 24; ++hour) {
        uint64_t count = 0;
        for (const auto& day : counts.hours) count += day[hour];
        std::string name = std::to_string(hour);
        if (name.size() < 2) name.insert(name.begin(), '0');
        table.rows.push_back({name, std::to_string(count)});
    }
    return table;
}

} // namespace

std::string open_text(const KnownMessage& message) {
    if (message.kind != KnownMessage::TEMPLATE) return message.text;
    std::string text;
    for (const i18n_piece& piece : message.pieces) {
        text.append(message.text, piece._offset, piece._size);
        if (piece._arg != I18N_NO_ARG) text.append("%s");
    }
    return text;
}

std::vector<StatTable> make_stat_tables(const Statistics& counts, MessageTexts& texts,
                                        const StatSettings& settings) {
    std::vector<StatTable> tables;
    const auto wants = [&](std::string_view name) {
        return settings.by.empty() ||
               std::find(settings.by.begin(), settings.by.end(), name) != settings.by.end();
    };
    if (wants("severity")) tables.push_back(table_of_severities(counts));
    if (wants("id")) tables.push_back(table_of_ids(counts, texts, settings, false));
    if (wants("object")) tables.push_back(table_of_texts("object", "Objects", counts.objects, settings.top));
    if (wants("source")) tables.push_back(table_of_texts("source", "Sources", counts.sources, settings.top));
    if (wants("host")) tables.push_back(table_of_hosts(counts, settings.top));
    if (wants("log")) tables.push_back(table_of_logs(counts, settings));
    if (wants("hour")) tables.push_back(table_of_hours(counts));
    if (wants("burst")) tables.push_back(table_of_bursts(counts, settings.utc));
    if (wants("new")) tables.push_back(table_of_ids(counts, texts, settings, true));
    return tables;
}
