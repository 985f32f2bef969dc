// The other end of the message bus, for people and tests: asks the daemon what the OCPP service asks it, and
// hears what the daemon sends by itself.
#include <chrono>
#include <cstdio>
#include <deque>

#include "simulator/bus_peer/frame.h"
#include "simulator/bus_peer/message.h"
#include "simulator/bus_peer/options.h"
#include "simulator/bus_peer/status.h"
#include "simulator/command_line.h"
#include "simulator/help_text.h"
#include "tools/board/bus_client.h"

namespace {

using namespace bus_peer;
using board::BusClient;
using board::CallResult;
using board::ServeResult;

enum Exit { kDone = 0, kRefused = 1, kNotThere = 3, kNoAnswer = 4, kBroken = 5 };

Exit Complain(Exit status, const std::string& text) {
    fflush(stdout);
    fprintf(stderr, "ocpp_peer: %s\n", text.c_str());
    return status;
}

Exit ComplainOf(const Bytes& answer, const std::string& what) {
    return Complain(kBroken, "the answer is broken: " + what + (answer.empty() ? "" : ": " + ToHex(answer)));
}

Exit ComplainOf(CallResult result, const std::string& error) {
    switch (result) {
        case CallResult::kNobodyThere:
            return Complain(kNotThere, "the daemon isn't there: " + error);
        case CallResult::kNotAllowed:
            return Complain(kNotThere, "the bus doesn't let us: " + error);
        case CallResult::kNoAnswer:
            return Complain(kNoAnswer, "no answer: " + error);
        default:
            return Complain(kBroken, "the answer is broken: " + error);
    }
}

/// The answers to the same question, asked as often as the options say; the last one stays in `answer`.
Exit Ask(BusClient& bus, const Options& options, const Bytes& question, Bytes* answer) {
    std::deque<DBusPendingCall*> calls;
    int asked = 0;
    Exit status = kDone;
    const auto start = std::chrono::steady_clock::now();
    while (asked < options.repeat || !calls.empty()) {
        if (asked < options.repeat && calls.size() < static_cast<size_t>(options.window)) {
            calls.push_back(bus.Send(question, options.timeout_ms));
            ++asked;
            continue;
        }
        const CallResult result = bus.Await(calls.front(), answer);
        calls.pop_front();
        if (result == CallResult::kAnswered) continue;
        status = ComplainOf(result, bus.error());
        break;
    }
    for (DBusPendingCall* call : calls) {
        if (call == nullptr) continue;
        dbus_pending_call_cancel(call);
        dbus_pending_call_unref(call);
    }
    if (status == kDone && options.repeat > 1) {
        const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
        printf("%d answers in %.3f s: %.0f a second\n", options.repeat, took.count(),
               options.repeat / took.count());
    }
    return status;
}

/// The same with a frame as the question, and an answer that must be one, to it.
Exit AskFrame(BusClient& bus, const Options& options, const Frame& question, Frame* answer) {
    Bytes bytes;
    const Exit status = Ask(bus, options, EncodeFrame(question), &bytes);
    if (status != kDone) return status;
    const std::string problem = ReadAnswer(question, bytes, answer);
    return problem.empty() ? kDone : ComplainOf(bytes, problem);
}

Exit AskForStatus(BusClient& bus, const Options& options) {
    Frame answer;
    const Exit status = AskFrame(bus, options, StatusQuestion(), &answer);
    if (status != kDone) return status;
    if (answer.cmd == kUpgrade) return Complain(kRefused, UpgradeAnswerText(answer.data[0]));
    std::vector<StatusItem> items;
    const std::string problem = ReadStatus(answer.data, &items);
    if (!problem.empty()) return ComplainOf(answer.data, problem);
    fputs((options.json ? StatusJson(items) : StatusText(items)).c_str(), stdout);
    return kDone;
}

Exit AskForUpgrade(BusClient& bus, const Options& options) {
    Frame answer;
    const Exit status = AskFrame(bus, options, UpgradeRequest(options.arguments), &answer);
    if (status != kDone) return status;
    const uint8_t result = answer.data[0];
    if (result != kAccepted) return Complain(kRefused, UpgradeAnswerText(result));
    puts(UpgradeAnswerText(result));
    return kDone;
}

Exit AskRaw(BusClient& bus, const Options& options) {
    if (options.as_signal) return bus.Signal(options.raw) ? kDone : Complain(kNotThere, bus.error());
    Bytes answer;
    const Exit status = Ask(bus, options, options.raw, &answer);
    if (status == kDone) puts(ToHex(answer).c_str());
    return status;
}

Exit Watch(BusClient& bus, const Options& options) {
    if (!bus.BeService()) return Complain(kNotThere, bus.error());
    int seen = 0;
    const auto answer_frame = [&](const Bytes& bytes, Bytes* answer) {
        Frame frame;
        const std::string problem = DecodeFrame(bytes, &frame);
        if (problem.empty()) *answer = EncodeFrame(Confirmation(frame, static_cast<unsigned>(options.reply)));
        const std::string meaning = problem.empty() ? MeaningOf(frame) : "broken, " + problem;
        printf("%s: %s\n", meaning.c_str(), ToHex(bytes).c_str());
        fflush(stdout);
        return ++seen != options.count;
    };
    switch (bus.Serve(answer_frame, options.has_timeout ? options.timeout_ms : -1)) {
        case ServeResult::kWantsNoMore:
            return kDone;
        case ServeResult::kBusGone:
            return Complain(kNotThere, bus.error());
        default:
            return Complain(kNoAnswer, bus.error());
    }
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    const std::string problem = ReadOptions(argc, argv, &options);
    if (!problem.empty()) return RefuseCommandLine("ocpp_peer", problem);
    if (options.asks_for_text()) {
        fputs(options.help ? kHelpText : kVersionText, stdout);
        return kDone;
    }
    BusClient bus;
    if (!bus.Open(options.address)) return Complain(kNotThere, bus.error());
    if (options.command == "status") return AskForStatus(bus, options);
    if (options.command == "upgrade") return AskForUpgrade(bus, options);
    if (options.command == "raw") return AskRaw(bus, options);
    return Watch(bus, options);
}
