// What must hold in every story, whatever goes wrong in it. A law reads the record of a run, entry by entry,
// beside what the scenario says by itself, and names what broke it.
#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "simulator/soak/record_reader.h"
#include "simulator/soak/truth.h"
#include "simulator/soak/watch.h"

namespace soak {

struct Violation {
    std::string law;
    int64_t at_ms;
    std::string text;
};

/// One line, with the law and the time.
std::string FormatViolation(const Violation& violation);

class Law {
  public:
    using Report = std::function<void(int64_t at_ms, const std::string& text)>;

    Law(const Watch& watch_of_run, Report report)
        : watch(watch_of_run), truth(watch_of_run.truth), report_(std::move(report)) {}
    virtual ~Law() = default;

    virtual void Take(const Entry& entry) = 0;
    /// The record is over.
    virtual void Finish() {}

  protected:
    void Violated(const std::string& text) { report_(watch.now_ms, text); }

    const Watch& watch;
    const Truth& truth;

  private:
    Report report_;
};

struct LawRow {
    const char* name;
    const char* reason;
    // Whether it goes by what the scenario says is wrong: then a fault can be left out of the scenario only
    // as a whole.
    bool needs_truth;
    std::unique_ptr<Law> (*make)(const Watch& watch, Law::Report report);
};

template <class T>
std::unique_ptr<Law> MakeLaw(const Watch& watch, Law::Report report) {
    return std::make_unique<T>(watch, std::move(report));
}

const std::vector<LawRow>& Laws();
const LawRow* FindLaw(const std::string& name);

/// Laws and reasons, for people.
void PrintLaws(FILE* to);

// Where they are made; each is a file of its own.
std::unique_ptr<Law> MakeBusLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeBusyLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeComplaintsLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeEndsLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeFreshLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeLadderLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakePeaceLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakePlacesLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeRecoveryLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeRequestsLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeResourcesLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeSettingsLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeSignalLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeStatusLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeStoryLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeUpgradeLaw(const Watch& watch, Law::Report report);
std::unique_ptr<Law> MakeWaitsLaw(const Watch& watch, Law::Report report);

}  // namespace soak
