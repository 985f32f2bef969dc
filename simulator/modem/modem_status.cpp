// What a modem shows people about itself: its state and knobs, one "name: value" a line.
#include "simulator/modem/dialect.h"
#include "simulator/modem/modem_model.h"
#include "simulator/modem/text.h"

namespace modem_sim {

namespace {

// In the order of their enumerations.
constexpr const char* kPowerTexts[] = {"off", "booting", "on"};
constexpr const char* kCardTexts[] = {"absent", "without power", "busy", "needs PIN", "blocked", "ready"};
constexpr const char* kCallTexts[] = {"down", "dialling", "up", "cut by the network"};
constexpr const char* kMuteTexts[] = {"off", "on", "until-reset"};

template <typename Value, size_t N>
const char* TextOf(const char* const (&texts)[N], Value value) {
    return texts[static_cast<size_t>(value)];
}

std::string ReachText(const Subscription& network) {
    if (network.reaches_all) return "all";
    std::string text;
    for (const std::string& host : network.hosts) text += (text.empty() ? "" : " ") + host;
    return text.empty() ? "nothing" : text;
}

}  // namespace

std::string Modem::Status() const {
    std::string text;
    const auto add = [&text](const char* name, const std::string& value) {
        text += std::string(name) + ": " + value + "\n";
    };
    const auto yes_or_no = [](bool value) { return std::string(value ? "yes" : "no"); };
    const auto on_or_off = [](bool value) { return std::string(value ? "on" : "off"); };
    add("family", device_.family.name);
    add("model", device_.model);
    add("firmware", device_.firmware);
    add("imei", device_.family.imei);
    add("power", TextOf(kPowerTexts, device_.power()));
    add("port present", yes_or_no(device_.present()));
    add("radio", std::to_string(static_cast<int>(device_.radio())));
    add("sim", TextOf(kCardTexts, device_.card_state()));
    add("iccid", device_.card().iccid);
    add("imsi", device_.card().imsi);
    add("selected", std::to_string(device_.selected_card() + 1));
    add("reach", ReachText(device_.card().network));
    add("round-trip", std::to_string(device_.card().network.round_trip_ms));
    add("creg", std::to_string(device_.Stat(kCircuit)));
    add("cgreg", std::to_string(device_.Stat(kPacket)));
    add("cereg", std::to_string(device_.Stat(kEps)));
    add("link", TextOf(kCallTexts, device_.call()));
    add("dial", device_.DialText());
    add("csq", std::to_string(device_.air.csq));
    add("rsrp", std::to_string(device_.air.rsrp_dbm));
    add("sinr", std::to_string(device_.air.sinr_db));
    add("band", std::to_string(device_.air.band));
    add("pcid", std::to_string(device_.air.cell_id));
    add("operator", device_.air.operator_name);
    add("network", device_.air.network);
    add("technology-word", technology_word_.empty() ? "LTE" : technology_word_);
    add("reports", on_or_off(device_.reports_technology));
    add("temperature", std::to_string(device_.air.temperature_celsius));
    add("usb mode", std::to_string(device_.usb_mode));
    add("boot-time", std::to_string(device_.timing.boot_ms));
    add("port-gone", std::to_string(device_.timing.port_gone_ms));
    add("sim-start", std::to_string(device_.timing.sim_start_ms));
    add("search-time", std::to_string(device_.timing.search_ms));
    add("dial-time", std::to_string(device_.timing.dial_ms));
    add("echo", on_or_off(device_.session.echo));
    add("recorded", on_or_off(faults_.recorded));
    add("mute", TextOf(kMuteTexts, faults_.mute));
    add("delay", std::to_string(faults_.delay_ms));
    add("pieces", std::to_string(faults_.piece_bytes) + " gap " + std::to_string(faults_.piece_gap_ms));
    add("pad", std::to_string(faults_.pad_bytes));
    add("percent", on_or_off(faults_.percent));
    add("nul", on_or_off(faults_.nul));
    add("cut", std::to_string(faults_.cut_bytes));
    add("merge", on_or_off(faults_.merge));
    add("stale", on_or_off(faults_.stale));
    add("chatter", Escape(faults_.chatter));
    add("flood",
        faults_.flood_bytes_per_second == 0 ? "off" : std::to_string(faults_.flood_bytes_per_second));
    for (const auto& [command, bytes] : overrides_) add("answer", command + " = " + Escape(bytes));
    add("unknown commands", std::to_string(unknown_command_count_));
    for (const std::string& command : unknown_commands_) add("unknown", Escape(command));
    return text;
}

}  // namespace modem_sim
