#include "simulator/bus_peer/message.h"

#include <iterator>

namespace bus_peer {

namespace {

constexpr unsigned kMsgId = 7;
constexpr uint8_t kUpgradeMark = 1;

constexpr const char* kUpgradeAnswerTexts[] = {
    "the request is not valid", "accepted", "an upgrade is already running", "the daemon has no modem yet"};
constexpr const char* kOutcomeTexts[] = {"upgrade succeeded", "upgrade failed",
                                         "upgrade: modem not supported", "upgrade: file or path missing"};
static_assert(std::size(kUpgradeAnswerTexts) == kUpgradeAnswers && std::size(kOutcomeTexts) == kOutcomes);

}  // namespace

Frame StatusQuestion() {
    return {kMsgId, kStatus, {}};
}

Frame UpgradeRequest(const std::vector<std::string>& texts) {
    Frame request = {kMsgId, kUpgrade, {kUpgradeMark}};
    uint8_t type = 1;
    for (const std::string& text : texts) {
        request.data.push_back(type++);
        request.data.push_back(static_cast<uint8_t>(text.size()));
        request.data.insert(request.data.end(), text.begin(), text.end());
    }
    return request;
}

std::string ReadAnswer(const Frame& question, const Bytes& bytes, Frame* answer) {
    const std::string problem = DecodeFrame(bytes, answer);
    if (!problem.empty()) return problem;
    if (answer->msg_id != question.msg_id) return "it has another message id";
    if (answer->cmd != question.cmd && answer->cmd != kUpgrade) return "it has another command";
    if (answer->cmd == kUpgrade && (answer->data.size() != 1 || answer->data[0] >= kUpgradeAnswers)) {
        return "its status isn't known";
    }
    return "";
}

const char* UpgradeAnswerText(unsigned answer) {
    return kUpgradeAnswerTexts[answer];
}

std::string MeaningOf(const Frame& frame) {
    const bool has_byte = frame.data.size() == 1;
    if (frame.cmd == kUpgradeOutcome && has_byte && frame.data[0] < kOutcomes) {
        return kOutcomeTexts[frame.data[0]];
    }
    if (frame.cmd == kModuleRefused && has_byte && frame.data[0] == 1) return "module refused";
    return "unknown";
}

Frame Confirmation(const Frame& frame, unsigned reply) {
    return {frame.msg_id, frame.cmd, {static_cast<uint8_t>(reply)}};
}

}  // namespace bus_peer
