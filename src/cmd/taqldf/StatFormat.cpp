// The forms of stat but the page: text, JSON, CSV, and the text form of metrics.
#include <algorithm>

#include "JsonText.h"
#include "Problems.h"
#include "RecordFormat.h"
#include "StatTables.h"
#include "TimeText.h"
#include "VisibleText.h"

namespace {

void put_text(const Statistics& counts, const std::vector<StatTable>& tables, size_t damaged, bool utc,
              LineBuffer& out) {
    IsoTime times(utc);
    out.append(std::to_string(counts.count) + " records");
    if (counts.count > 0) {
        out.append(", ");
        out.append(times.at(counts.first));
        out.append(" to ");
        out.append(times.at(counts.last));
    }
    out.append(", " + std::to_string(counts.repeats) + " repeats, " + std::to_string(damaged) +
               " damaged files\n");
    for (const StatTable& table : tables) {
        if (table.rows.empty()) continue;
        out.append('\n');
        out.append(table.title);
        out.append(table.is_exact ? "\n" : " (the most frequent, estimated)\n");
        for (const auto& row : table.rows) {
            out.append(std::string(row[1].size() < 12 ? 12 - row[1].size() : 0, ' ') + row[1] + "  ");
            out.append(visible_text(row[0]));
            for (size_t i = 2; i < row.size(); ++i)
                if (!row[i].empty()) out.append(visible_text(row[i]).insert(0, 2, ' '));
            out.append('\n');
        }
    }
}

void put_json(const Statistics& counts, const std::vector<StatTable>& tables, size_t damaged,
              LineBuffer& out) {
    IsoTime times(/*utc=*/true);
    JsonText json;
    json.begin();
    json->StartObject();
    json.name("records");
    json->Uint64(counts.count);
    json.name("first");
    counts.count > 0 ? json.text(times.at(counts.first), NO_ODDITIES) : json->Null();
    json.name("last");
    counts.count > 0 ? json.text(times.at(counts.last), NO_ODDITIES) : json->Null();
    json.name("repeats");
    json->Uint64(counts.repeats);
    json.name("damaged_files");
    json->Uint64(damaged);
    json.name("tables");
    json->StartArray();
    for (const StatTable& table : tables) {
        json->StartObject();
        json.name("by");
        json.text(table.name, NO_ODDITIES);
        json.name("exact");
        json->Bool(table.is_exact);
        json.name("rows");
        json->StartArray();
        for (const auto& row : table.rows) {
            json->StartObject();
            for (size_t i = 0; i < row.size(); ++i) {
                json->Key(table.columns[i]);
                i == 1 ? json->Uint64(std::stoull(row[i])) : json.text(row[i], ~0u);
            }
            json->EndObject();
        }
        json->EndArray();
        json->EndObject();
    }
    json->EndArray();
    json->EndObject();
    out.append(json.bytes());
    out.append('\n');
}

void put_csv_field(std::string_view text, LineBuffer& out) {
    std::string quoted = "\"";
    for (const char c : visible_text(text)) quoted.append(c == '"' ? 2 : 1, c);
    out.append(quoted + "\"");
}

void put_csv(const std::vector<StatTable>& tables, LineBuffer& out) {
    out.append("by,name,count\n");
    for (const StatTable& table : tables)
        for (const auto& row : table.rows) {
            out.append(std::string(table.name) + ",");
            put_csv_field(row[0], out);
            out.append("," + row[1] + "\n");
        }
}

std::string label(std::string_view text) {
    std::string escaped;
    for (const char c : visible_text(text)) {
        if (c == '"' || c == '\\') escaped.push_back('\\');
        escaped.push_back(c);
    }
    return "\"" + escaped + "\"";
}

void put_metrics(const Statistics& counts, size_t damaged, LineBuffer& out) {
    out.append("# HELP taq_ldf_records Records in the log data files.\n# TYPE taq_ldf_records gauge\n");
    for (const auto& [place, log] : counts.logs)
        for (size_t i = 0; i < SEVERITY_CLASSES; ++i)
            out.append("taq_ldf_records{host=" + label(log.host) + ",log=" + label(log.log) + ",severity=" +
                       label(i < SEV_APP_END ? ulog_app_sev_name(static_cast<int>(i)) : "DEBUG") + "} " +
                       std::to_string(log.severities[i]) + "\n");
    out.append("# HELP taq_ldf_last_record_timestamp_seconds Time of the latest record.\n"
               "# TYPE taq_ldf_last_record_timestamp_seconds gauge\n");
    for (const auto& [place, log] : counts.logs)
        out.append("taq_ldf_last_record_timestamp_seconds{host=" + label(log.host) +
                   ",log=" + label(log.log) + "} " + std::to_string(log.last) + "\n");
    out.append("# HELP taq_ldf_damaged_files Files that are damaged.\n# TYPE taq_ldf_damaged_files gauge\n"
               "taq_ldf_damaged_files " +
               std::to_string(damaged) + "\n");
}

class StatFormat : public RecordFormat {
public:
    StatFormat(MessageTexts& texts, StatForm form, const StatSettings& settings, const Problems& problems)
        : _texts(texts), _form(form), _settings(settings), _problems(problems), _counts(settings.utc) {}

    void put(const FoundRecord& record, LineBuffer&) override { _counts.add(record); }

    void end(LineBuffer& out) override {
        _counts.end();
        const std::vector<StatTable> tables = make_stat_tables(_counts, _texts, _settings);
        const size_t damaged = _problems.damaged();
        switch (_form) {
        case StatForm::TEXT: return put_text(_counts, tables, damaged, _settings.utc, out);
        case StatForm::JSON: return put_json(_counts, tables, damaged, out);
        case StatForm::CSV: return put_csv(tables, out);
        case StatForm::METRICS: return put_metrics(_counts, damaged, out);
        case StatForm::PAGE: return out.append(make_stat_page(_counts, tables, damaged, _texts, _settings));
        }
    }

private:
    MessageTexts& _texts;
    const StatForm _form;
    const StatSettings _settings;
    const Problems& _problems;
    Statistics _counts;
};

} // namespace

std::unique_ptr<RecordFormat> make_stat_format(MessageTexts& texts, StatForm form,
                                               const StatSettings& settings, const Problems& problems) {
    return std::make_unique<StatFormat>(texts, form, settings, problems);
}
