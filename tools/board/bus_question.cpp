#include "tools/board/bus_question.h"

#include "simulator/bus_peer/message.h"

namespace board {

namespace {

BusState StateOf(CallResult result) {
    switch (result) {
        case CallResult::kAnswered:
            return BusState::kAnswered;
        case CallResult::kNobodyThere:
            return BusState::kNoDaemon;
        case CallResult::kNotAllowed:
            return BusState::kRefused;
        case CallResult::kNoAnswer:
            return BusState::kNoAnswer;
        default:
            return BusState::kBroken;
    }
}

}  // namespace

BusAnswer Ask(BusClient& bus, const bus_peer::Frame& question, int timeout_ms) {
    Bytes bytes;
    BusAnswer answer;
    answer.state = StateOf(bus.Await(bus.Send(bus_peer::EncodeFrame(question), timeout_ms), &bytes));
    if (answer.state != BusState::kAnswered) {
        answer.problem = bus.error();
        return answer;
    }
    answer.problem = bus_peer::ReadAnswer(question, bytes, &answer.frame);
    if (!answer.problem.empty()) answer.state = BusState::kBroken;
    return answer;
}

BusStatus AskForStatus(const std::string& address, int timeout_ms) {
    BusStatus status;
    BusClient bus;
    if (!bus.Open(address)) {
        status.state = BusState::kNoBus;
        status.problem = bus.error();
        return status;
    }
    const BusAnswer answer = Ask(bus, bus_peer::StatusQuestion(), timeout_ms);
    status.state = answer.state;
    status.problem = answer.problem;
    if (answer.state != BusState::kAnswered) return status;
    if (answer.frame.cmd == bus_peer::kUpgrade) {
        status.state = BusState::kNoModem;
        status.problem = bus_peer::UpgradeAnswerText(answer.frame.data[0]);
        return status;
    }
    status.problem = bus_peer::ReadStatus(answer.frame.data, &status.items);
    if (!status.problem.empty()) status.state = BusState::kBroken;
    return status;
}

}  // namespace board
