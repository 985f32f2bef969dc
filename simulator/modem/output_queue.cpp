// Bytes on their way to the host, each with the time from which the host can read them.
#include "simulator/modem/output_queue.h"

#include <algorithm>

namespace modem_sim {

namespace {

/// About what a USB modem keeps for a host that doesn't read.
constexpr size_t kCapacity_bytes = 64UL * 1024;

}  // namespace

void OutputQueue::Put(int64_t due_ms, const std::string& bytes) {
    const size_t fitting_bytes = std::min(bytes.size(), kCapacity_bytes - size_bytes_);
    if (fitting_bytes == 0) return;
    pieces_.emplace(due_ms, bytes.substr(0, fitting_bytes));
    size_bytes_ += fitting_bytes;
}

std::string OutputQueue::Take(int64_t now_ms, size_t max_bytes) {
    std::string taken;
    while (!pieces_.empty() && pieces_.begin()->first <= now_ms && taken.size() < max_bytes) {
        std::string& piece = pieces_.begin()->second;
        const size_t count = std::min(piece.size(), max_bytes - taken.size());
        taken.append(piece, 0, count);
        piece.erase(0, count);
        if (piece.empty()) pieces_.erase(pieces_.begin());
    }
    size_bytes_ -= taken.size();
    return taken;
}

std::optional<int64_t> OutputQueue::next_due_ms() const {
    if (pieces_.empty()) return std::nullopt;
    return pieces_.begin()->first;
}

void OutputQueue::Clear() {
    pieces_.clear();
    size_bytes_ = 0;
}

}  // namespace modem_sim
