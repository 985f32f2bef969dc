// Bytes on their way to the host, each with the time from which the host can read them.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace modem_sim {

class OutputQueue {
  public:
    /// Bytes for the same time keep their order. What doesn't fit any more is lost, like in a modem whose
    /// host doesn't read.
    void Put(int64_t due_ms, const std::string& bytes);

    std::string Take(int64_t now_ms, size_t max_bytes);
    std::optional<int64_t> next_due_ms() const;
    size_t size_bytes() const { return size_bytes_; }
    void Clear();

  private:
    std::multimap<int64_t, std::string> pieces_;
    size_t size_bytes_ = 0;
};

}  // namespace modem_sim
