#include "tools/doctor/report.h"

#include <algorithm>

namespace doctor {

namespace {

using ctl::Colour;
using ctl::Paint;
using ctl::Shown;
using ctl::Terminal;

constexpr int kStatusHealthy = 0;
constexpr int kStatusWarning = 1;
constexpr int kStatusError = 3;
constexpr size_t kColumnsLeast = 20;

Colour ColourOf(Severity severity) {
    switch (severity) {
        case Severity::kOk:
            return Colour::kGood;
        case Severity::kNote:
            return Colour::kNone;
        case Severity::kWarning:
            return Colour::kWarning;
        case Severity::kError:
            return Colour::kBad;
    }
    return Colour::kNone;
}

/// `text` in lines of the terminal's width, the first after `first`, the others after as many blanks.
std::string Paragraph(const Terminal& terminal, const std::string& first, const std::string& text) {
    const size_t indent = ctl::Columns(first);
    const auto width = static_cast<size_t>(terminal.width);
    std::string lines;
    for (const std::string& line :
         ctl::Wrap(text, width == 0 ? 0 : std::max(width, indent + kColumnsLeast) - indent)) {
        lines += (lines.empty() ? first : std::string(indent, ' ')) + line + "\n";
    }
    return lines;
}

/// The same, behind a mark of this colour that stands on the first line.
std::string Marked(const Terminal& terminal, const std::string& mark, Colour colour,
                   const std::string& text) {
    std::string lines = Paragraph(terminal, "  ", mark + ": " + text);
    return lines.replace(2, mark.size(), Paint(terminal, colour, mark));
}

std::string FindingText(const Terminal& terminal, const Finding& finding) {
    const Complaint& complaint = *finding.complaint;
    return Marked(terminal, NameOf(complaint.severity), ColourOf(complaint.severity),
                  Shown(finding.what) + " [" + complaint.name + "]") +
           Paragraph(terminal, "    ", complaint.why) + Paragraph(terminal, "    > ", complaint.cure);
}

std::string GroupText(const Terminal& terminal, const GroupReport& group, bool with_facts) {
    const Severity worst = group.worst();
    std::string text = Paint(terminal, Colour::kStrong, group.title) + ": " +
                       Paint(terminal, ColourOf(worst), NameOf(worst)) + "\n";
    if (with_facts) {
        for (const std::string& fact : group.facts) text += Paragraph(terminal, "  - ", Shown(fact));
    }
    for (const std::string& unseen : group.unseen) {
        text += Marked(terminal, "not seen", Colour::kFaint, Shown(unseen));
    }
    for (const Finding& finding : group.findings) text += FindingText(terminal, finding);
    return text;
}

size_t CountOf(const Report& report, Severity severity) {
    size_t count = 0;
    for (const GroupReport& group : report.groups) {
        count += static_cast<size_t>(
            std::count_if(group.findings.begin(), group.findings.end(),
                          [severity](const Finding& one) { return one.complaint->severity == severity; }));
    }
    return count;
}

std::string Counted(size_t count, const char* noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

std::string SummaryOf(const Report& report) {
    return Counted(CountOf(report, Severity::kError), "error") + ", " +
           Counted(CountOf(report, Severity::kWarning), "warning") + ", " +
           Counted(CountOf(report, Severity::kNote), "note");
}

}  // namespace

const char* NameOf(Severity severity) {
    switch (severity) {
        case Severity::kOk:
            return "ok";
        case Severity::kNote:
            return "note";
        case Severity::kWarning:
            return "warning";
        case Severity::kError:
            return "error";
    }
    return "";
}

Severity GroupReport::worst() const {
    Severity worst = Severity::kOk;
    for (const Finding& finding : findings) worst = std::max(worst, finding.complaint->severity);
    return worst;
}

Severity Report::worst() const {
    Severity worst = Severity::kOk;
    for (const GroupReport& group : groups) worst = std::max(worst, group.worst());
    return worst;
}

int StatusOf(const Report& report) {
    switch (report.worst()) {
        case Severity::kOk:
        case Severity::kNote:
            return kStatusHealthy;
        case Severity::kWarning:
            return kStatusWarning;
        case Severity::kError:
            return kStatusError;
    }
    return kStatusError;
}

std::string TextOf(const Report& report, const Terminal& terminal, bool with_facts) {
    std::string text;
    for (const GroupReport& group : report.groups) text += GroupText(terminal, group, with_facts) + "\n";
    return text + SummaryOf(report) + "\n";
}

}  // namespace doctor
