#include "tools/ctl/timeline_page.h"

#include <algorithm>
#include <unordered_map>
#include <vector>

#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include "tools/ctl/json.h"
#include "tools/ctl/timeline_parts.h"
#include "tools/log/line.h"

namespace ctl {

namespace {

using namespace ravelin_log;

/// Pure ASCII, so that no separator of lines and no mark of direction stands in the page itself.
using Writer = rapidjson::Writer<rapidjson::StringBuffer, rapidjson::UTF8<>, rapidjson::ASCII<>>;

constexpr size_t kMostLines = 60000;
constexpr size_t kMostText_bytes = 4000000;
constexpr size_t kLongestText_bytes = 600;
constexpr size_t kMostOutages = 20000;
constexpr size_t kMostResets = 50000;
constexpr size_t kMostUpgrades = 5000;
constexpr size_t kMostOutageResets = 50;

/// TextTable by number, each once.
class TextTable {
  public:
    int NumberOf(const std::string& text) {
        const auto [place, is_new] = numbers_.emplace(text, static_cast<int>(texts_.size()));
        if (is_new) {
            texts_.push_back(text);
            size_bytes_ += text.size();
        }
        return place->second;
    }
    const std::vector<std::string>& texts() const { return texts_; }
    size_t size_bytes() const { return size_bytes_; }

  private:
    std::unordered_map<std::string, int> numbers_;
    std::vector<std::string> texts_;
    size_t size_bytes_ = 0;
};

/// Lines of the log, each once. Place and message come again and again, and stand once; time stands with its
/// line.
class Lines {
  public:
    /// The number of a line, or -1 where there is no room for more.
    int NumberOf(const Evidence& evidence) {
        const auto key = static_cast<int64_t>(evidence.input) << 48 | evidence.line;
        const auto known = numbers_.find(key);
        if (known != numbers_.end()) return known->second;
        if (rows_.size() >= kMostLines || texts_.size_bytes() + times_bytes_ > kMostText_bytes) {
            ++left_out_;
            return -1;
        }
        std::string text = evidence.text;
        if (text.size() > kLongestText_bytes) text = text.substr(0, kLongestText_bytes) + " ... (cut)";
        const std::string_view message = TakeApart(text).message;
        size_t head = text.size() - std::min(message.size(), text.size());
        if (text.compare(head, std::string::npos, message) != 0) head = 0;
        // Behind the last blank of the head stands the place.
        const size_t blank = head == 0 ? std::string::npos : text.rfind(' ', head - 1);
        const size_t time = blank == std::string::npos ? 0 : blank + 1;
        rows_.push_back({evidence.input, evidence.line, text.substr(0, time),
                         texts_.NumberOf(text.substr(time, head - time)),
                         texts_.NumberOf(text.substr(head))});
        times_bytes_ += time;
        const int number = static_cast<int>(rows_.size() - 1);
        numbers_.emplace(key, number);
        return number;
    }

    struct Row {
        int input;
        int64_t line;
        std::string time;
        int place;
        int message;
    };
    const std::vector<Row>& rows() const { return rows_; }
    const TextTable& texts() const { return texts_; }
    int64_t left_out() const { return left_out_; }

  private:
    std::unordered_map<int64_t, int> numbers_;
    std::vector<Row> rows_;
    TextTable texts_;
    size_t times_bytes_ = 0;
    int64_t left_out_ = 0;
};

class Data {
  public:
    Data(const Timeline& timeline, const Reader& reader)
        : timeline_(timeline), reader_(reader), from_ms_(timeline.history.ledger.from.passed_ms) {}

    std::string Text() {
        const History& history = timeline_.history;
        const Ledger& ledger = history.ledger;
        writer_.StartObject();
        Member("version", RAVELIN_VERSION);
        writer_.Key("dated");
        writer_.Bool(reader_.is_dated());
        writer_.Key("empty");
        writer_.Bool(!ledger.has_lines);
        Number("length", ledger.length_ms());
        Number("level", timeline_.level);
        writer_.Key("clock");
        writer_.StartArray();
        for (const ClockStep& step : timeline_.clock) {
            writer_.StartArray();
            writer_.Int64(step.passed_ms - from_ms_);
            writer_.Int64(step.ahead_ms + from_ms_);
            writer_.EndArray();
        }
        writer_.EndArray();
        // What counts most has its lines first.
        WriteEach("outages", history.outages, kMostOutages);
        WriteEach("upgrades", history.upgrades, kMostUpgrades);
        WriteEach("daemon", timeline_.daemon, Timeline::kMostSigns);
        WriteEach("sims", timeline_.sims, Timeline::kMostSigns);
        WriteEach("sim", timeline_.sim, Timeline::kMostSigns);
        WriteEach("link", timeline_.link, Timeline::kMostSigns);
        WriteEach("resets", history.resets, kMostResets);
        Write("rsrp", timeline_.rsrp_dbm);
        Write("sinr", timeline_.sinr_db);
        Write("csq", timeline_.csq);
        Write("temperature", timeline_.temperature_celsius);
        Write("linkChecks", timeline_.link_checks);
        Write("serviceChecks", timeline_.service_checks);
        Write("pathChecks", timeline_.path_checks);
        Write("dials", timeline_.dials);
        Write(ledger);
        WriteEach("advice", history.advice, kMostSigns);
        WriteWords("causes", kCauses);
        WriteWords("reasons", kReasons);
        WriteTables();
        Number("leftOut", left_out_ + timeline_.left_out);
        Number("linesLeftOut", lines_.left_out());
        writer_.EndObject();
        return Harmless(buffer_.GetString(), buffer_.GetSize());
    }

  private:
    static constexpr size_t kMostSigns = 1000;

    /// Outside of strings none of these stands in JSON; within them an escape says the same.
    static std::string Harmless(const char* text, size_t size) {
        std::string harmless;
        harmless.reserve(size + size / 16);
        for (size_t i = 0; i < size; ++i) {
            switch (text[i]) {
                case '<':
                    harmless += "\\u003C";
                    break;
                case '>':
                    harmless += "\\u003E";
                    break;
                case '&':
                    harmless += "\\u0026";
                    break;
                case '\x7f':
                    harmless += "\\u007F";
                    break;
                default:
                    harmless += text[i];
                    break;
            }
        }
        return harmless;
    }

    void String(const std::string& text) {
        const std::string valid = Utf8Of(text);
        writer_.String(valid.c_str(), static_cast<rapidjson::SizeType>(valid.size()));
    }
    void Member(const char* key, const std::string& text) {
        writer_.Key(key);
        String(text);
    }
    void Number(const char* key, int64_t number) {
        writer_.Key(key);
        writer_.Int64(number);
    }
    int64_t At(const Moment& moment) const { return moment.passed_ms - from_ms_; }
    template <typename Item>
    void WriteEach(const char* key, const std::vector<Item>& items, size_t most) {
        writer_.Key(key);
        writer_.StartArray();
        for (size_t i = 0; i < items.size() && i < most; ++i) Write(items[i]);
        writer_.EndArray();
        if (items.size() > most) left_out_ += static_cast<int64_t>(items.size() - most);
    }
    void Write(const std::vector<Evidence>& evidence) {
        writer_.StartArray();
        for (const Evidence& line : evidence) WriteNumber(line);
        writer_.EndArray();
    }
    void WriteNumber(const Evidence& line) {
        const int number = lines_.NumberOf(line);
        if (number >= 0) writer_.Int(number);
    }
    void Write(const Outage& outage) {
        writer_.StartObject();
        Number("from", At(outage.begin));
        Number("to", At(outage.end));
        writer_.Key("begins");
        writer_.Bool(outage.has_begin);
        writer_.Key("ends");
        writer_.Bool(outage.has_end);
        writer_.Key("open");
        writer_.Bool(outage.is_open);
        Member("cause", outage.cause);
        Member("certainty", WordOf(outage.certainty));
        if (!outage.would_tell.empty()) Member("wouldTell", outage.would_tell);
        writer_.Key("resets");
        writer_.StartArray();
        for (size_t i = 0; i < outage.resets.size() && i < kMostOutageResets; ++i) {
            if (outage.resets[i] < kMostResets) writer_.Int64(static_cast<int64_t>(outage.resets[i]));
        }
        writer_.EndArray();
        writer_.Key("lines");
        Write(outage.evidence);
        writer_.EndObject();
    }
    void Write(const Reset& reset) {
        writer_.StartArray();
        writer_.Int64(At(reset.at));
        writer_.String(WordOf(reset.kind));
        writer_.Int(words_.NumberOf(reset.reason));
        writer_.String(WordOf(reset.certainty));
        writer_.Int(words_.NumberOf(reset.achieved));
        writer_.Int(words_.NumberOf(reset.next));
        Write(reset.evidence);
        writer_.EndArray();
    }
    void Write(const Upgrade& upgrade) {
        writer_.StartObject();
        Number("from", At(upgrade.begin));
        Number("to", At(upgrade.has_end ? upgrade.end : timeline_.history.ledger.to));
        writer_.Key("ends");
        writer_.Bool(upgrade.has_end);
        Member("result", upgrade.result);
        writer_.Key("lines");
        Write(upgrade.evidence);
        writer_.EndObject();
    }
    void Write(const Sign& sign) {
        writer_.StartArray();
        writer_.Int64(At(sign.line.at));
        writer_.String(sign.word);
        writer_.Int(words_.NumberOf(sign.text));
        WriteNumber(sign.line);
        writer_.EndArray();
    }
    void Write(const Span& span) {
        writer_.StartArray();
        writer_.Int64(At(span.from));
        writer_.String(span.word);
        writer_.Int(span.sim);
        WriteNumber(span.line);
        writer_.EndArray();
    }
    void Write(const char* key, const Series& series) {
        writer_.Key(key);
        writer_.StartObject();
        Number("width", series.width_ms());
        Number("offset", from_ms_);
        writer_.Key("bins");
        writer_.StartArray();
        int64_t before = 0;
        for (const Bin& bin : series.bins()) {
            writer_.StartArray();
            writer_.Int64(bin.index - before);
            before = bin.index;
            writer_.Int64(bin.count);
            writer_.Int(bin.low);
            writer_.Int(bin.high);
            WriteNumber(bin.worst);
            writer_.EndArray();
        }
        writer_.EndArray();
        writer_.EndObject();
    }
    template <typename Counts>
    void WriteCounts(const char* key, const Counts& counts) {
        writer_.Key(key);
        writer_.StartObject();
        for (const auto& [word, count] : counts) Number(word.c_str(), count);
        writer_.EndObject();
    }
    void Write(const Ledger& ledger) {
        writer_.Key("ledger");
        writer_.StartObject();
        Number("online", ledger.online_ms);
        Number("outage", ledger.outage_ms);
        Number("longest", ledger.longest_outage_ms);
        Number("starts", ledger.starts);
        Number("lines", ledger.lines);
        Number("outages", static_cast<int64_t>(timeline_.history.outages.size()));
        Number("resets", static_cast<int64_t>(timeline_.history.resets.size()));
        WriteCounts("outagesByCause", ledger.outages);
        WriteCounts("outageByCause", ledger.outage_ms_by_cause);
        WriteCounts("resetsByReason", ledger.resets);
        WriteCounts("resetsByKind", ledger.resets_by_kind);
        writer_.EndObject();
    }
    void Write(const Advice& advice) {
        writer_.StartArray();
        String(advice.text);
        String(advice.page);
        writer_.EndArray();
    }
    void WriteTables() {
        writer_.Key("lines");
        writer_.StartArray();
        int last_input = 0;
        for (const Lines::Row& row : lines_.rows()) {
            writer_.StartArray();
            writer_.Int(row.input);
            writer_.Int64(row.line);
            String(row.time);
            writer_.Int(row.place);
            writer_.Int(row.message);
            writer_.EndArray();
            last_input = std::max(last_input, row.input);
        }
        writer_.EndArray();
        WriteTexts("texts", lines_.texts());
        WriteTexts("words", words_);
        writer_.Key("names");
        writer_.StartArray();
        for (int i = 0; i <= last_input && !lines_.rows().empty(); ++i) String(reader_.name(i));
        writer_.EndArray();
    }
    template <typename Rows>
    void WriteWords(const char* key, const Rows& rows) {
        writer_.Key(key);
        writer_.StartObject();
        for (const auto& row : rows) Member(row.word, row.text);
        writer_.EndObject();
    }
    void WriteTexts(const char* key, const TextTable& texts) {
        writer_.Key(key);
        writer_.StartArray();
        for (const std::string& text : texts.texts()) String(text);
        writer_.EndArray();
    }

    const Timeline& timeline_;
    const Reader& reader_;
    int64_t from_ms_;
    rapidjson::StringBuffer buffer_;
    Writer writer_{buffer_};
    Lines lines_;
    TextTable words_;
    int64_t left_out_ = 0;
};

}  // namespace

std::string TimelineData(const Timeline& timeline, const Reader& reader) {
    return Data(timeline, reader).Text();
}

std::string TimelinePage(const std::string& data) {
    return std::string(kPageBeforeData) + data + kPageAfterData;
}

}  // namespace ctl
