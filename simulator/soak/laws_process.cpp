// The process: how it ends, what it says and runs, where it writes, what it costs.
#include "simulator/soak/laws.h"

#include <algorithm>
#include <vector>

#include "simulator/soak/time_units.h"

namespace soak {

namespace {

/// A run ends by a signal that the scenario sent, or with a status for which the last line says why.
class EndsLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (entry.kind == EntryKind::kLogs) last_line_ = watch.log.message;
        if (entry.kind == EntryKind::kWorld) {
            if (StartsWith(entry.text, "kill ")) killed_ms_ = entry.at_ms;
            if (entry.text == "bus away") has_bus_ = false;
            if (entry.text == "bus back") has_bus_ = true;
        }
        if (entry.kind == EntryKind::kEnds && !IsAllowed(entry.text)) {
            Violated("the process ends by itself: " + std::string(entry.text) + ", after \"" + last_line_ +
                     "\"");
        }
    }

  private:
    bool IsAllowed(std::string_view end) const {
        if (end == "still running") return true;
        if (StartsWith(end, "signal ")) {
            return killed_ms_ == watch.now_ms && end != "signal 11" && end != "signal 6";
        }
        if (end == "exit 255") {
            return StartsWith(last_line_, "open device error. ") ||
                   (StartsWith(last_line_, "config ") && Contains(last_line_, " don't exist") &&
                    !watch.has_driver) ||
                   !has_bus_ || truth.scenario.bus_fails;
        }
        return end == "exit 0" && StartsWith(last_line_, "Unknow Cell Device!");
    }

    std::string last_line_;
    int64_t killed_ms_ = kNever;
    bool has_bus_ = true;
};

/// Nothing is said on standard error but what the pages tell.
class ComplaintsLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (entry.kind != EntryKind::kComplains) return;
        constexpr std::string_view kKnown[] = {
            "Open file ",   "Open ini file ", "DBUS initialize error!",
            "SetupSerial ", "tcsetattr fd1",  "Open /proc/",
        };
        // What perror adds stands on a line of its own where the message ends with one.
        const bool is_rest = is_of_the_bus_ && StartsWith(entry.text, ": ");
        is_of_the_bus_ = StartsWith(entry.text, "DBUS initialize error!");
        if (is_rest) return;
        for (const std::string_view known : kKnown) {
            if (StartsWith(entry.text, known)) return;
        }
        if (Contains(entry.text, "invalid option -- ") || entry.text.empty()) {
            return;  // of the words of the log
        }
        Violated("an unknown complaint: " + std::string(entry.text));
    }

  private:
    bool is_of_the_bus_ = false;
};

/// Only the commands that the pages tell are run, and only the three status files are written.
class PlacesLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (entry.kind == EntryKind::kRuns && !IsKnown(kCommands, entry.text)) {
            Violated("an unknown command: " + std::string(entry.text));
        }
        if (entry.kind == EntryKind::kAsks && !IsProbe(entry.text)) {
            Violated("an unknown question: " + std::string(entry.text));
        }
        if (entry.kind == EntryKind::kPublishes &&
            !IsKnown(kFiles, entry.text.substr(0, entry.text.find(' ')))) {
            Violated("a file that isn't its own is written: " + std::string(entry.text));
        }
    }

  private:
    template <size_t N>
    static bool IsKnown(const std::string_view (&known)[N], std::string_view text) {
        return std::find(std::begin(known), std::end(known), text) != std::end(known);
    }

    static bool IsProbe(std::string_view text) {
        constexpr std::string_view kTail = "| grep  ttl | awk -F '='  '{ print $4}'|awk  '$1<";
        const bool is_ping = StartsWith(text, "ping  ") && Contains(text, " -c 3") && Contains(text, kTail) &&
                             (Contains(text, "'$1<1000'| wc -l") || Contains(text, "'$1<500'| wc -l"));
        return is_ping || text ==
                              "/media/mmcblk0p1/firmware_modules/CellularOTA/QFirehose -f "
                              "/media/mmcblk0p1/firmware_modules/CellularOTA";
    }

    static constexpr std::string_view kCommands[] = {
        "mkdir /run/network/ -p",
        "rm -rf /run/network/ravelin_fifo",
        " /ubi/local/apps/network/if-lte /run/network/ifcfg-lte dhcp",
        " /ubi/local/apps/network/if-lte /run/network/ifcfg-lte kill_dhcp",
        " /ubi/local/apps/network/if-lte /run/network/ifcfg-lte check_interface",
        "/ubi/local/apps/network/if-lte /run/network/ifcfg-lte dhcp",
        "/etc/init.d/S84Reset4G.sh start",
        "/ubi/local/apps/network/Reset4G.sh start pin_rst",
        "/ubi/local/apps/network/Reset4G.sh start pin_power",
        "echo 0 > /sys/class/gpio/gpio130/value",
        "echo 1 > /sys/class/gpio/gpio130/value",
        "echo 0 > /sys/class/gpio/gpio182/value",
        "echo 1 > /sys/class/gpio/gpio182/value",
        "ifconfig wwan0 up",
        "ifconfig wwan0 down",
        "rmmod qmi_wwan_q.ko",
        "insmod /ubi/local/modules/qmi_wwan_q.ko",
    };
    static constexpr std::string_view kFiles[] = {
        "/run/network/ravelin_status",
        "/run/network/signal_status",
        "/run/network/3630_status",
    };
};

/// No minute is busier than its exchanges allow, and none has more lines of the log.
class BusyLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (entry.at_ms >= minute_ms_ + 60 * kSecond_ms) {
            minute_ms_ = entry.at_ms - entry.at_ms % (60 * kSecond_ms);
            commands_ = lines_ = heard_bytes_ = 0;
        }
        if (entry.kind == EntryKind::kSends) ++commands_;
        if (entry.kind == EntryKind::kHears) heard_bytes_ += static_cast<int64_t>(entry.text.size());
        if (entry.kind == EntryKind::kLogs && watch.IsOfMainThread()) ++lines_;
        // An exchange takes a second unless the answer fills the room for it.
        constexpr int64_t kRoom = 256;
        const int64_t exchanges = 61 + heard_bytes_ / kRoom;
        if (commands_ > exchanges) Violated(std::to_string(commands_) + " commands within a minute");
        if (lines_ > kLines + kLinesPerCommand * commands_) {
            Violated(std::to_string(lines_) + " lines of the log within a minute");
        }
    }

  private:
    static constexpr int64_t kLines = 100;
    static constexpr int64_t kLinesPerCommand = 6;

    int64_t minute_ms_ = 0;
    int64_t commands_ = 0;
    int64_t lines_ = 0;
    int64_t heard_bytes_ = 0;
};

/// In peace a run holds as much as in peace before. The heap takes a step when something happens for the
/// first time, and no more than that: a leak takes one again and again.
class ResourcesLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        if (entry.kind == EntryKind::kEnds) Forget();
        constexpr std::string_view kWord = "resources ";
        if (entry.kind != EntryKind::kWorld || !StartsWith(entry.text, kWord) || !watch.is_calm()) return;
        Compare("descriptors", NumberOf(entry.text, "descriptors "), &descriptors_);
        Compare("threads", NumberOf(entry.text, "threads "), &threads_);
        const int64_t children = NumberOf(entry.text, "children ");
        if (children > 1) Violated(std::to_string(children) + " children at a time");
        if (children > 0) return;  // whose output takes room
        const int64_t heap_bytes = NumberOf(entry.text, "heap ");
        if (heap_bytes <= heap_bytes_most_) return;
        if (heap_bytes_most_ >= 0) {
            ++steps_;
        } else {
            heap_bytes_first_ = heap_bytes;
        }
        heap_bytes_most_ = heap_bytes;
        if (steps_ > kSteps || heap_bytes > heap_bytes_first_ + kGrowth_bytes) {
            Violated("the heap has grown " + std::to_string(steps_) + " times, from " +
                     std::to_string(heap_bytes_first_) + " to " + std::to_string(heap_bytes) + " bytes");
        }
    }

  private:
    static constexpr int kSteps = 8;
    static constexpr int64_t kGrowth_bytes = 64 * 1024;

    static int64_t NumberOf(std::string_view text, std::string_view word) {
        const size_t at = text.find(word);
        return at == std::string_view::npos ? 0 : NumberAt(text.substr(at + word.size()), 0);
    }

    void Compare(const char* what, int64_t now, int64_t* first) {
        if (*first < 0) *first = now;
        if (now > *first) {
            Violated(std::to_string(now) + " " + what + " where there were " + std::to_string(*first));
        }
    }

    void Forget() {
        descriptors_ = threads_ = heap_bytes_most_ = heap_bytes_first_ = -1;
        steps_ = 0;
    }

    int64_t descriptors_ = -1;
    int64_t threads_ = -1;
    int64_t heap_bytes_first_ = -1;
    int64_t heap_bytes_most_ = -1;
    int steps_ = 0;
};

/// The scenario could do what it says, and its record has an end.
class StoryLaw : public Law {
  public:
    using Law::Law;

    void Take(const Entry& entry) override {
        // By the file of its first lines a driver is known.
        if (entry.kind == EntryKind::kLogs && StartsWith(watch.log.file, "../")) {
            Violated("the log of this daemon has paths of its build in the place of names");
        }
        if (entry.kind == EntryKind::kBroken) Violated("the story is broken: " + std::string(entry.text));
        if (entry.kind == EntryKind::kEnds && watch.truth.scenario.until_us > 0) has_end_ = true;
        if (entry.kind == EntryKind::kEnds && StartsWith(entry.text, "stuck")) {
            Violated(std::string(entry.text));
        }
    }

    void Finish() override {
        if (!has_end_) Violated("the record has no end");
    }

  private:
    bool has_end_ = false;
};

}  // namespace

std::unique_ptr<Law> MakeEndsLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<EndsLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakeComplaintsLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<ComplaintsLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakePlacesLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<PlacesLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakeBusyLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<BusyLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakeResourcesLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<ResourcesLaw>(watch, std::move(report));
}

std::unique_ptr<Law> MakeStoryLaw(const Watch& watch, Law::Report report) {
    return MakeLaw<StoryLaw>(watch, std::move(report));
}

}  // namespace soak
