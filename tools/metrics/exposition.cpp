#include "tools/metrics/exposition.h"

#include "tools/ctl/json.h"

namespace metrics {

namespace {

constexpr size_t kLabel_bytes = 64;

std::string Escaped(std::string_view text, bool escapes_quotes) {
    std::string escaped;
    for (const char c : text) {
        if (c == '\n') {
            escaped += "\\n";
            continue;
        }
        if (c == '\\' || (c == '"' && escapes_quotes)) escaped += '\\';
        escaped += c;
    }
    return escaped;
}

std::string Number(int64_t value_milli) {
    const bool is_negative = value_milli < 0;
    const uint64_t size =
        is_negative ? 0 - static_cast<uint64_t>(value_milli) : static_cast<uint64_t>(value_milli);
    std::string text = (is_negative ? "-" : "") + std::to_string(size / kMilli);
    if (size % kMilli == 0) return text;
    text += "." + std::to_string(kMilli + size % kMilli).substr(1);
    text.erase(text.find_last_not_of('0') + 1);
    return text;
}

std::string LabelsText(const std::vector<Label>& labels) {
    std::string text;
    for (const Label& label : labels) {
        text += (text.empty() ? "{" : ",") + label.name + "=\"" + Escaped(label.value, true) + "\"";
    }
    return text.empty() ? text : text + "}";
}

const char* TypeName(Type type, Format format) {
    if (type == Type::kCounter) return "counter";
    return type == Type::kInfo && format == Format::kOpenMetrics ? "info" : "gauge";
}

const char* Ending(Type type) {
    if (type == Type::kCounter) return "_total";
    return type == Type::kInfo ? "_info" : "";
}

std::string FamilyText(const Family& family, Format format) {
    const bool is_open = format == Format::kOpenMetrics;
    const std::string sample_name = family.name + Ending(family.type);
    // The older format calls the family as its samples.
    const std::string& name = is_open ? family.name : sample_name;
    std::string text = "# HELP " + name + " " + Escaped(family.help, is_open) + "\n# TYPE " + name + " " +
                       TypeName(family.type, format) + "\n";
    if (is_open && !family.unit.empty()) text += "# UNIT " + name + " " + family.unit + "\n";
    for (const Sample& sample : family.samples) {
        const std::string labels = LabelsText(sample.labels);
        text += sample_name + labels + " " + Number(sample.value_milli) + "\n";
        if (is_open && family.type == Type::kCounter && family.created_seconds) {
            text += family.name + "_created" + labels + " " + std::to_string(*family.created_seconds) + "\n";
        }
    }
    return text;
}

bool IsEdge(char c) {
    return c == ' ' || c == '"' || c == '\'';
}

}  // namespace

std::string Exposition(const std::vector<Family>& families, Format format) {
    std::string text;
    for (const Family& family : families) {
        if (!family.samples.empty()) text += FamilyText(family, format);
    }
    if (format == Format::kOpenMetrics) text += "# EOF\n";
    return text;
}

std::string LabelValue(std::string_view bytes) {
    std::string text;
    for (const char c : bytes) {
        const auto byte = static_cast<unsigned char>(c);
        text += byte < ' ' || byte == '\x7F' ? ' ' : c;
    }
    while (!text.empty() && IsEdge(text.front())) text.erase(0, 1);
    while (!text.empty() && IsEdge(text.back())) text.pop_back();
    text = ctl::Utf8Of(text);
    if (text.size() <= kLabel_bytes) return text;
    size_t end = kLabel_bytes;
    // Not in the middle of a character.
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80) --end;
    return text.substr(0, end);
}

}  // namespace metrics
