// The files under /run/network as a record shows them, for the laws that judge what they say.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "simulator/soak/record_reader.h"
#include "simulator/soak/truth.h"
#include "simulator/soak/watch.h"

namespace soak {

// As an entry begins that publishes or shows a line of the file.
constexpr std::string_view kStatusFile = "/run/network/ravelin_status ";
constexpr std::string_view kSignalFile = "/run/network/signal_status ";
constexpr std::string_view k3630File = "/run/network/3630_status ";

/// "'Thu Jan  1 00:05:10 2026'" in seconds since 1970; false for anything else.
bool ReadNow(const std::string& text, int64_t* seconds);

/// Whether something kept the daemon from writing them at any time from one moment to the other.
bool FilesWereInTheWay(const Truth& truth, int64_t from_ms, int64_t to_ms);

/// A whole file as a scenario showed it.
struct Shown {
    int64_t at_ms = 0;
    // Key and value; a line without "=" is all key.
    std::vector<std::pair<std::string, std::string>> lines;

    const std::string* Find(std::string_view key) const;
};

/// Gathers the lines of a shown file, and tells when they are all there.
class Gatherer {
  public:
    Gatherer(std::string_view path, std::string_view first_key) : path_(path), first_key_(first_key) {}

    /// True when `entry` comes after the last line of a file; then `shown` holds that.
    bool Take(const Entry& entry, Shown* shown);

  private:
    std::string_view path_;
    std::string_view first_key_;
    Shown gathered_;
};

/// Wall clock of the board, as the scenario sets it.
class Clock {
  public:
    /// "clock +S" and "clock -S" of the world.
    void Take(const Entry& entry);

    int64_t Seconds(int64_t at_ms) const;
    int64_t jumped_ms() const { return jumped_ms_; }

  private:
    int64_t offset_seconds_ = 0;
    int64_t jumped_ms_ = kNever;
};

}  // namespace soak
