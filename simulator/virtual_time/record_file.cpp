#include "simulator/virtual_time/record_file.h"

#include <cstring>
#include <fstream>

namespace virtual_time {

namespace {

constexpr size_t kEnd_bytes = 256;  // room for the last entry

}  // namespace

RecordFile::RecordFile(const std::string& path, size_t limit_bytes, size_t used_bytes)
    : file_(path, limit_bytes + kEnd_bytes), used_(used_bytes) {}

bool RecordFile::Note(int64_t at_us, std::string_view kind, std::string_view bytes) {
    return Append(file_.size_bytes() - kEnd_bytes, at_us, kind, bytes);
}

void RecordFile::NoteEnd(int64_t at_us, std::string_view end) {
    Append(file_.size_bytes(), at_us, "ends", end);
}

// A NUL byte ends the text.
bool RecordFile::Append(size_t limit_bytes, int64_t at_us, std::string_view kind, std::string_view bytes) {
    line_.clear();
    AppendEntry(at_us, kind, bytes, &line_);
    if (used_ + line_.size() >= limit_bytes) return false;
    memcpy(file_.start() + used_, line_.data(), line_.size());
    used_ += line_.size();
    return true;
}

std::string_view LastLine(std::string_view record) {
    if (record.size() < 2) return record;
    return record.substr(record.rfind('\n', record.size() - 2) + 1);
}

std::string ReadRecordFile(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    std::string text;
    std::getline(file, text, '\0');  // escapes leave no NUL in the text
    return text;
}

}  // namespace virtual_time
