#include "tools/log/history_json.h"

#include <cmath>

#include <rapidjson/prettywriter.h>
#include <rapidjson/stringbuffer.h>

#include "simulator/text/text.h"

namespace ravelin_log {
namespace {

/// Pure ASCII: no control character reaches a terminal.
using Writer = rapidjson::PrettyWriter<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>>;

constexpr int64_t kMillisecondsASecond = 1000;

/// A string that is valid UTF-8: bytes that are none become \xHH.
std::string Valid(const std::string& text) {
    std::string valid;
    size_t at = 0;
    while (at < text.size()) {
        rapidjson::StringStream stream(text.c_str() + at);
        unsigned codepoint = 0;
        const bool is_ascii = static_cast<unsigned char>(text[at]) < 0x80;
        if (!is_ascii && rapidjson::UTF8<>::Decode(stream, &codepoint) && at + stream.Tell() <= text.size()) {
            valid.append(text, at, stream.Tell());
            at += stream.Tell();
        } else {
            valid += is_ascii ? text.substr(at, 1) : simulator_text::Escape(text.substr(at, 1));
            ++at;
        }
    }
    return valid;
}

class Json {
  public:
    Json(const History& history, const Reader& reader)
        : history_(history), reader_(reader), writer_(buffer_) {
        writer_.SetIndent(' ', 2);
    }

    std::string Text() {
        writer_.StartObject();
        Key("outages");
        writer_.StartArray();
        for (const Outage& outage : history_.outages) Write(outage);
        writer_.EndArray();
        Key("resets");
        writer_.StartArray();
        for (const Reset& reset : history_.resets) Write(reset);
        writer_.EndArray();
        Key("upgrades");
        writer_.StartArray();
        for (const Upgrade& upgrade : history_.upgrades) Write(upgrade);
        writer_.EndArray();
        Key("ledger");
        Write(history_.ledger);
        Key("advice");
        writer_.StartArray();
        for (const Advice& advice : history_.advice) Write(advice);
        writer_.EndArray();
        writer_.EndObject();
        // The one control character that the writer leaves as it is; it stands in strings alone.
        std::string text;
        for (const char* at = buffer_.GetString(); *at != '\0'; ++at) {
            constexpr char kDelete = '\x7F';
            if (*at == kDelete) {
                text += "\\u007F";
            } else {
                text += *at;
            }
        }
        return text + "\n";
    }

  private:
    void Key(const char* key) { writer_.Key(key); }
    void String(const std::string& text) {
        const std::string valid = Valid(text);
        writer_.String(valid.c_str(), static_cast<rapidjson::SizeType>(valid.size()));
    }
    void Member(const char* key, const std::string& text) {
        Key(key);
        String(text);
    }
    void Seconds(int64_t ms) {
        if (ms % kMillisecondsASecond == 0) {
            writer_.Int64(ms / kMillisecondsASecond);
        } else {
            writer_.Double(static_cast<double>(ms) / kMillisecondsASecond);
        }
    }
    void Time(const char* key, bool is_known, const Moment& moment) {
        Key(key);
        if (!is_known) {
            writer_.Null();
        } else if (reader_.is_dated()) {
            String(reader_.TimeText(moment.time_ms));
        } else {
            Seconds(moment.elapsed_ms);
        }
    }
    void Write(const std::vector<Evidence>& evidence) {
        Key("evidence");
        writer_.StartArray();
        for (const Evidence& line : evidence) {
            writer_.StartObject();
            Member("file", reader_.name(line.input));
            Key("line");
            writer_.Int64(line.line);
            Member("text", line.text);
            writer_.EndObject();
        }
        writer_.EndArray();
    }
    void Write(const Outage& outage) {
        writer_.StartObject();
        Time("begin", outage.has_begin, outage.begin);
        Time("end", outage.has_end, outage.end);
        Key("seconds");
        if (outage.has_seconds()) {
            Seconds(outage.length_ms());
        } else {
            writer_.Null();
        }
        Member("cause", outage.cause);
        Member("certainty", WordOf(outage.certainty));
        Write(outage.evidence);
        writer_.EndObject();
    }
    void Write(const Reset& reset) {
        writer_.StartObject();
        Time("at", true, reset.at);
        Member("kind", WordOf(reset.kind));
        Member("reason", reset.reason);
        Member("certainty", WordOf(reset.certainty));
        Member("achieved", reset.achieved);
        Member("next", reset.next);
        Write(reset.evidence);
        writer_.EndObject();
    }
    void Write(const Upgrade& upgrade) {
        writer_.StartObject();
        Time("begin", true, upgrade.begin);
        Time("end", upgrade.has_end, upgrade.end);
        Member("result", upgrade.result);
        Write(upgrade.evidence);
        writer_.EndObject();
    }
    template <typename Map>
    void Counts(const char* key, const Map& counts) {
        Key(key);
        writer_.StartObject();
        for (const auto& [word, count] : counts) {
            writer_.Key(word.c_str());
            writer_.Int64(count);
        }
        writer_.EndObject();
    }
    void Write(const Ledger& ledger) {
        writer_.StartObject();
        Time("from", ledger.has_lines, ledger.from);
        Time("to", ledger.has_lines, ledger.to);
        Key("seconds");
        Seconds(ledger.length_ms());
        Key("online_seconds");
        Seconds(ledger.online_ms);
        Key("outage_seconds");
        Seconds(ledger.outage_ms);
        Key("longest_outage_seconds");
        Seconds(ledger.longest_outage_ms);
        Key("starts");
        writer_.Int(ledger.starts);
        Counts("outages_by_cause", ledger.outages);
        Key("outage_seconds_by_cause");
        writer_.StartObject();
        for (const auto& [word, ms] : ledger.outage_ms_by_cause) {
            writer_.Key(word.c_str());
            Seconds(ms);
        }
        writer_.EndObject();
        Counts("resets_by_reason", ledger.resets);
        Counts("resets_by_kind", ledger.resets_by_kind);
        Key("resets_per_hour");
        const double hours = static_cast<double>(ledger.length_ms()) / static_cast<double>(kHour_ms);
        writer_.Double(
            hours > 0 ? std::round(static_cast<double>(history_.resets.size()) / hours * 1000) / 1000 : 0);
        Key("lines");
        writer_.Int64(ledger.lines);
        writer_.EndObject();
    }
    void Write(const Advice& advice) {
        writer_.StartObject();
        Member("finding", advice.finding);
        Member("text", advice.text);
        Member("page", advice.page);
        writer_.EndObject();
    }

    const History& history_;
    const Reader& reader_;
    rapidjson::StringBuffer buffer_;
    Writer writer_;
};

}  // namespace

std::string HistoryAsJson(const History& history, const Reader& reader) {
    return Json(history, reader).Text();
}

}  // namespace ravelin_log
