// What the daemon is doing, as far as the record of it says so far. Laws read it; it judges nothing itself.
// An entry is taken in here before the laws see it.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <string_view>

#include "simulator/soak/record_reader.h"
#include "simulator/soak/truth.h"

namespace soak {

constexpr int64_t kNever = INT64_MIN / 2;

class Watch {
  public:
    explicit Watch(const Truth& truth_of_story) : truth(truth_of_story) {}

    void Take(const Entry& entry);

    const Truth& truth;

    int64_t now_ms = 0;
    LogLine log;  // of this entry, when it is one of the log or a debug line

    // This run of the daemon; the next one begins after an end of it.
    bool is_running = true;
    int64_t started_ms = 0;
    bool has_driver = false;
    int64_t got_driver_ms = kNever;
    int64_t vendor = -1;
    int64_t board = -1;
    int64_t hard_resets = 0;
    int64_t attempts = 0;  // of "Do connect."
    bool is_upgrading = false;
    int64_t port_opened_ms = 0;

    // The world
    bool port_is_there = true;
    int64_t port_lost_ms = kNever;  // when it was last lost

    // Published
    bool is_online = false;
    int64_t online_changed_ms = 0;
    std::map<std::string, std::string, std::less<>> status;  // lines of ravelin_status by their keys

    /// The daemon's main thread was asked by nobody to do what this line of the log tells: not a line of the
    /// pipe, the bus or the upgrade.
    bool IsOfMainThread() const;

    /// Nothing is wrong, and nothing has been for as long as the ladder may need.
    bool is_calm() const { return is_calm_; }
    /// The stretch of health that there is now, or else the last one.
    const Healthy* healthy() const { return healthy_; }

    /// A modem of another family was recognised, since it said something else when it was asked who it is.
    /// The driver stays the wrong one until the run ends.
    bool is_misled() const { return is_misled_; }

  private:
    void TakeTime(int64_t at_ms);
    void TakeLog();
    void TakePublished(std::string_view text);
    void StartRun();

    size_t next_healthy_ = 0;
    const Healthy* healthy_ = nullptr;
    bool is_calm_ = false;
    bool is_misled_ = false;
    int64_t upgrade_over_ms_ = 0;  // the last one; while it runs, at the latest
};

}  // namespace soak
