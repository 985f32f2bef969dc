// Writes the record of a run.
#include "simulator/virtual_time/recorder.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <string_view>
#include <utility>

namespace virtual_time {

namespace {

// Lines that differ each time a file is written, and say nothing.
bool IsClockLine(std::string_view line) {
    return line.substr(0, 4) == "Now=" || line.substr(0, 7) == "Uptime=";
}

std::string_view TakeLine(std::string_view* text) {
    const size_t end = std::min(text->find('\n'), text->size());
    const std::string_view line = text->substr(0, end);
    text->remove_prefix(std::min(end + 1, text->size()));
    return line;
}

bool HasLine(std::string_view text, std::string_view wanted) {
    while (!text.empty()) {
        if (TakeLine(&text) == wanted) return true;
    }
    return false;
}

// Length of "HH:MM:SS.ms FILE:FUNCTION:LINE:" at the start of a line of the log, or 0; `place` gets the part
// after the time, without its last colon.
size_t ParseLogPrefix(const std::string& text, std::string* place) {
    int hour = 0, minute = 0, second = 0, milliseconds = 0, length = 0;
    if (sscanf(text.c_str(), "%2d:%2d:%2d.%d %n", &hour, &minute, &second, &milliseconds, &length) != 4) {
        return 0;
    }
    const size_t start = static_cast<size_t>(length);
    const size_t function = text.find(':', start);
    const size_t line = function == std::string::npos ? function : text.find(':', function + 1);
    const size_t end = line == std::string::npos ? line : text.find(':', line + 1);
    if (end == std::string::npos || text.find_first_not_of("0123456789", line + 1) != end) return 0;
    *place = text.substr(start, end - start);
    return end + 1;
}

std::string WithoutLineEnd(std::string text) {
    if (!text.empty() && text.back() == '\n') text.pop_back();
    return text;
}

// What the log's second interpretation as a format makes of a text.
std::string WithSinglePercents(const std::string& text) {
    std::string result;
    for (size_t i = 0; i < text.size(); ++i) {
        result += text[i];
        if (text[i] == '%' && i + 1 < text.size() && text[i + 1] == '%') ++i;
    }
    return result;
}

}  // namespace

Recorder::Recorder(const std::string& path, size_t limit_bytes, size_t used_bytes,
                   std::function<int64_t()> now_us)
    : record_(path, limit_bytes, used_bytes), now_us_(std::move(now_us)) {}

void Recorder::Note(const char* kind, const std::string& bytes) {
    FlushSent();
    FlushForwarded();
    NoteAt(now_us_(), kind, bytes);
}

void Recorder::NoteAt(int64_t at_us, const char* kind, const std::string& bytes) {
    if (!record_.Note(at_us, kind, bytes)) EndFull("record");
    if (on_time) on_time(at_us);
    if (on_entry) on_entry({at_us, kind, Escape(bytes)});
}

// Nothing more can be noted, so nothing is flushed, and what is printed goes to the real standard error.
void Recorder::EndFull(const std::string& what) {
    const int64_t at_us = now_us_();
    const std::string end = "the " + what + " is full: " + std::to_string(record_.text().size()) +
                            " bytes by " + FormatSeconds(at_us) + " s";
    record_.NoteEnd(at_us, end);
    dprintf(STDERR_FILENO, "%s\n", end.c_str());
    _exit(0);
}

// Log and output

// A line of the log is forwarded first and then printed, by one thread that doesn't wait in between. So what
// was forwarded is kept until it is seen whether it is printed too.
void Recorder::Forwarded(const std::string& text) {
    FlushForwarded();
    forwarded_ = text;
    forwarded_at_us_ = now_us_();
    has_forwarded_ = true;
}

void Recorder::Printed(const std::string& chunk) {
    std::string place;
    const size_t prefix = ParseLogPrefix(chunk, &place);
    if (prefix == 0) {
        PrintPlain(chunk, "prints", &printed_);
        return;
    }
    const std::string message = WithoutLineEnd(chunk.substr(prefix));
    const std::string forwarded = WithSinglePercents(forwarded_);
    // The forwarded copy of a line that has no line end lacks its last character.
    const bool is_same = has_forwarded_ && message.compare(0, forwarded.size(), forwarded) == 0 &&
                         message.size() - forwarded.size() <= 1;
    if (is_same) has_forwarded_ = false;
    Note(is_same ? "logs" : "debugs", place + " " + message);
}

void Recorder::Complained(const std::string& chunk) {
    PrintPlain(chunk, "complains", &complained_);
}

void Recorder::PrintPlain(const std::string& chunk, const char* kind, std::string* rest) {
    *rest += chunk;
    size_t start = 0;
    for (size_t end; (end = rest->find('\n', start)) != std::string::npos; start = end + 1) {
        Note(kind, rest->substr(start, end - start));
    }
    rest->erase(0, start);
}

void Recorder::FlushForwarded() {
    if (!has_forwarded_) return;
    has_forwarded_ = false;
    NoteAt(forwarded_at_us_, "forwards", forwarded_);
}

void Recorder::Flush() {
    FlushSent();
    FlushForwarded();
    if (!printed_.empty()) Note("prints", printed_);
    if (!complained_.empty()) Note("complains", complained_);
    printed_.clear();
    complained_.clear();
}

// Port

// The transport writes a command and then its line end. A command that came with a line end of its own is
// complete when something else follows.
void Recorder::Sent(const std::string& bytes) {
    if (bytes == "\r\n") {
        NoteAt(now_us_(), "sends", sent_);
        sent_.clear();
        return;
    }
    FlushSent();
    sent_ = bytes;
    sent_at_us_ = now_us_();
}

void Recorder::FlushSent() {
    if (sent_.empty()) return;
    const bool has_line_end = sent_.size() >= 2 && sent_.compare(sent_.size() - 2, 2, "\r\n") == 0;
    NoteAt(sent_at_us_, "sends", has_line_end ? sent_.substr(0, sent_.size() - 2) : sent_);
    sent_.clear();
}

// Files

// Most lines stand where they stood before.
void Recorder::FileWritten(const std::string& path, const std::string& text) {
    std::string& known = known_files_[path];
    if (text == known) return;
    std::string_view lines = text, known_lines = known;
    while (!lines.empty()) {
        const std::string_view line = TakeLine(&lines);
        const bool stood_there = !known_lines.empty() && line == TakeLine(&known_lines);
        if (stood_there || IsClockLine(line) || HasLine(known, line)) continue;
        Note("publishes", path + " " + std::string(line));
    }
    known = text;
}

}  // namespace virtual_time
