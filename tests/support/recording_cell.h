// A driver for suites of the engine's sequences: the test decides what its operations find, and it notes
// which of them ran, and when.
#pragma once

#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "network_daemon/cellular.h"
#include "tests/support/test_world.h"

namespace cc_cell {

using Lines = std::vector<std::string>;

/// "12.007 what": an event with its virtual time.
inline std::string At(double seconds, const std::string& what) {
    char time[32];
    snprintf(time, sizeof time, "%.3f ", seconds);
    return time + what;
}

class RecordingCell : public CellBase {
  public:
    RecordingCell(test_support::World& world, int cell_fd) : CellBase(cell_fd), world_(world) {}

    const char* GetInterfaceName() override { return "wwan0"; }

    int32_t CheckConnection() override {
        Note("CheckConnection");
        return link_up ? link_up() : 1;
    }
    int32_t CheckServiceStatus() override {
        Note("CheckServiceStatus");
        return service.has_value() ? *service : CellBase::CheckServiceStatus();
    }
    int32_t Connect() override {
        Note("Connect");
        return connect.has_value() ? *connect : CellBase::Connect();
    }
    int32_t DoConnect() override {
        Note("DoConnect");
        return dial.has_value() ? *dial : CellBase::DoConnect();
    }
    int32_t DisConnect() override {
        Note("DisConnect");
        return 1;
    }
    int32_t ReadCSQ() override {
        Note("ReadCSQ");
        return csq_read.has_value() ? *csq_read : CellBase::ReadCSQ();
    }
    int32_t Initialize() override {
        Note("Initialize");
        return set_up.has_value() ? *set_up : CellBase::Initialize();
    }
    int32_t CheckSimCard() override {
        Note("CheckSimCard");
        return sim.has_value() ? *sim : CellBase::CheckSimCard();
    }
    void GetLTEcfg() override {
        Note("GetLTEcfg");
        if (settings) settings();
    }
    int32_t DealHint(AtResult result) override {
        Note("DealHint " + std::to_string(result.type));
        return CellBase::DealHint(result);
    }
    void CheckTempStatus() override { Note("CheckTempStatus"); }
    void CheckSignalStatus() override { Note("CheckSignalStatus"); }
    void CheckNeighbourSignal() override { Note("CheckNeighbourSignal"); }

    struct Call {
        double at_seconds;
        std::string name;
    };
    std::vector<Call> calls;

    int CountOf(const std::string& name) const {
        int count = 0;
        for (const Call& call : calls) count += call.name == name;
        return count;
    }
    /// Names in the order of the calls.
    Lines Names() const {
        Lines names;
        for (const Call& call : calls) names.push_back(call.name);
        return names;
    }
    /// The same with times.
    Lines Story() const {
        Lines story;
        for (const Call& call : calls) story.push_back(At(call.at_seconds, call.name));
        return story;
    }

    // What the operations find; one without a value here runs as the engine has it, but for the link, which
    // is up, and the settings, which don't change.
    std::function<int32_t()> link_up;
    std::function<void()> settings;
    std::optional<int32_t> service;
    std::optional<int32_t> connect;
    std::optional<int32_t> dial;
    std::optional<int32_t> csq_read;
    std::optional<int32_t> set_up;
    std::optional<int32_t> sim;

  private:
    void Note(const std::string& name) { calls.push_back({world_.now_seconds(), name}); }

    test_support::World& world_;
};

}  // namespace cc_cell
