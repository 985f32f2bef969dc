#include "simulator/virtual_time/journal.h"

#include <cstddef>
#include <cstring>

namespace virtual_time {

namespace {

size_t Aligned(size_t bytes) {
    constexpr size_t kUnit = alignof(std::max_align_t);
    return (bytes + kUnit - 1) / kUnit * kUnit;
}

}  // namespace

struct Journal::Head {
    uint64_t used_bytes;  // of the entries; grows when an entry is whole
    int64_t reached_us;
};

struct Journal::EntryHead {
    JournalEntry::Kind kind;
    uint32_t bytes;
    int64_t at_us;
    int64_t number;
};

Journal::Journal(const std::string& path, size_t limit_bytes) : file_(path, limit_bytes) {}

Journal::Head* Journal::head() const {
    return reinterpret_cast<Head*>(file_.start());
}

bool Journal::Note(JournalEntry::Kind kind, int64_t at_us, int64_t number, std::string_view bytes) {
    const size_t start = Aligned(sizeof(Head)) + head()->used_bytes;
    const size_t size = Aligned(sizeof(EntryHead) + bytes.size());
    if (start + size > file_.size_bytes()) return false;
    const EntryHead entry = {kind, static_cast<uint32_t>(bytes.size()), at_us, number};
    memcpy(file_.start() + start, &entry, sizeof entry);
    memcpy(file_.start() + start + sizeof entry, bytes.data(), bytes.size());
    head()->used_bytes += size;
    Reach(at_us);
    return true;
}

void Journal::Reach(int64_t at_us) {
    if (at_us > head()->reached_us) head()->reached_us = at_us;
}

int64_t Journal::reached_us() const {
    return head()->reached_us;
}

void Journal::ForEach(const std::function<void(const JournalEntry& entry)>& take) const {
    const char* next = file_.start() + Aligned(sizeof(Head));
    const char* end = next + head()->used_bytes;
    while (next < end) {
        EntryHead entry;
        memcpy(&entry, next, sizeof entry);
        take({entry.kind, entry.at_us, entry.number, std::string_view(next + sizeof entry, entry.bytes)});
        next += Aligned(sizeof entry + entry.bytes);
    }
}

}  // namespace virtual_time
