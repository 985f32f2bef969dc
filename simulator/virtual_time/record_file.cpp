#include "simulator/virtual_time/record_file.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstring>

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

// The file is as long as the record may get, and nearly all of that has never been written.
void ReadMoreOfRecordFile(const std::string& path, std::string* record) {
    constexpr size_t kPiece_bytes = 1 << 20;
    const int fd = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (fd < 0) return;
    for (bool is_more = true; is_more;) {
        const size_t known_bytes = record->size();
        record->resize(known_bytes + kPiece_bytes);
        const ssize_t count =
            pread(fd, record->data() + known_bytes, kPiece_bytes, static_cast<off_t>(known_bytes));
        const size_t got_bytes = count > 0 ? static_cast<size_t>(count) : 0;
        const size_t length = strnlen(record->data() + known_bytes, got_bytes);  // escapes leave no NUL in it
        record->resize(known_bytes + length);
        is_more = length == kPiece_bytes;
    }
    close(fd);
}

}  // namespace virtual_time
