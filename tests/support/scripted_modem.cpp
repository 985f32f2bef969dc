#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <map>

#include <gtest/gtest.h>

#include "tests/support/test_world.h"

namespace test_support {

namespace {

constexpr int64_t kAnswerDelay_us = 5000;

std::string WithoutLineEnds(const std::string& text) {
    const size_t end = text.find_last_not_of("\r\n");
    return end == std::string::npos ? "" : text.substr(0, end + 1);
}

bool EndsInLineEnd(const std::string& text) {
    return text.size() >= 2 && text.compare(text.size() - 2, 2, "\r\n") == 0;
}

}  // namespace

class ScriptedModem::Port : public virtual_time::PortPeer {
  public:
    struct Rule {
        std::vector<std::function<std::string()>> answers;
        size_t next = 0;
        int64_t delay_us = kAnswerDelay_us;
    };

    explicit Port(ScriptedModem& modem) : modem_(modem) {}

    void Write(std::string_view bytes, int64_t now_us) override {
        // The transport writes a command and then its line end. A command that came with a line end of its
        // own is complete when anything else follows.
        if (bytes == "\r\n") {
            const std::string command = written_;
            written_.clear();
            Take(command, now_us);
            return;
        }
        FinishCommand();
        written_ += bytes;
        written_us_ = now_us;
    }

    bool Readable(int64_t now_us) override {
        FinishCommand();
        return !output_.empty() && output_.begin()->first <= now_us;
    }

    std::string Read(size_t size, int64_t now_us) override {
        std::string bytes;
        while (bytes.size() < size && Readable(now_us)) {
            std::string& piece = output_.begin()->second;
            const size_t count = std::min(size - bytes.size(), piece.size());
            bytes += piece.substr(0, count);
            piece.erase(0, count);
            if (piece.empty()) output_.erase(output_.begin());
        }
        return bytes;
    }

    void Advance(int64_t now_us) override {
        if (now_us > written_us_) FinishCommand();
    }

    std::optional<int64_t> NextEventUs() override {
        if (output_.empty()) return std::nullopt;
        return output_.begin()->first;
    }

    bool Present() override { return plugged; }
    int64_t Generation() override { return generation; }

    void Put(int64_t when_us, const std::string& bytes) {
        if (!bytes.empty() && !mute) output_.emplace(when_us, bytes);
    }

    void ForgetOutput() { output_.clear(); }

    std::map<std::string, Rule> rules;
    bool fails_on_unknown = true;
    bool mute = false;
    bool plugged = true;
    int64_t generation = 0;

  private:
    void FinishCommand() {
        if (!EndsInLineEnd(written_)) return;
        const std::string command = written_.substr(0, written_.size() - 2);
        written_.clear();
        Take(command, written_us_);
    }

    void Take(const std::string& command, int64_t now_us) {
        modem_.exchanges.push_back(
            {static_cast<double>(now_us) / virtual_time::kMicrosecondsPerSecond, command});
        if (mute) return;
        const auto found = rules.find(WithoutLineEnds(command));
        if (found == rules.end()) {
            if (fails_on_unknown) ADD_FAILURE() << "the scripted modem doesn't know \"" << command << "\"";
            Put(now_us + kAnswerDelay_us, "\r\nERROR\r\n");
            return;
        }
        Rule& rule = found->second;
        const std::function<std::string()> answer = rule.answers[rule.next];
        if (rule.next + 1 < rule.answers.size()) ++rule.next;
        const int64_t when_us = now_us + rule.delay_us;
        Put(when_us, answer());
    }

    ScriptedModem& modem_;
    std::string written_;
    int64_t written_us_ = 0;
    std::multimap<int64_t, std::string> output_;
};

ScriptedModem::ScriptedModem(World& world, const std::string& path)
    : world_(world), port_(std::make_unique<Port>(*this)) {
    world_.environment().AddPort(path, port_.get());
    fd_ = world_.environment().OpenPort(path);
}

ScriptedModem::~ScriptedModem() {
    world_.environment().RemovePort(port_.get());
    close(fd_);
}

int ScriptedModem::fd() {
    return fd_;
}

void ScriptedModem::On(const std::string& command_without_line_end, const std::string& answer) {
    OnSequence(command_without_line_end, {answer});
}

void ScriptedModem::OnLate(const std::string& command_without_line_end, const std::string& answer,
                           double seconds) {
    On(command_without_line_end, answer);
    port_->rules[command_without_line_end].delay_us +=
        static_cast<int64_t>(seconds * virtual_time::kMicrosecondsPerSecond);
}

void ScriptedModem::OnSequence(const std::string& command_without_line_end,
                               const std::vector<std::string>& answers) {
    Port::Rule rule;
    for (const std::string& answer : answers) {
        rule.answers.push_back([answer] { return answer; });
    }
    port_->rules[command_without_line_end] = rule;
}

void ScriptedModem::OnCall(const std::string& command_without_line_end, std::function<std::string()> answer) {
    Port::Rule rule;
    rule.answers.push_back(std::move(answer));
    port_->rules[command_without_line_end] = rule;
}

void ScriptedModem::SetInit() {
    for (const char* command :
         {"AT", "ATZ", "AT&F", "ATE0", "AT+CFUN=0", "AT+CFUN=1", "AT+MODODR=2", "AT+MEID"}) {
        if (port_->rules.count(command) == 0) On(command, "\r\nOK\r\n");
    }
}

void ScriptedModem::AllowUnknown() {
    port_->fails_on_unknown = false;
}

void ScriptedModem::Unsolicited(double seconds_from_start, const std::string& text) {
    world_.At(seconds_from_start, [this, text] { port_->Put(world_.environment().now_us(), text); });
}

void ScriptedModem::Mute(bool mute) {
    port_->mute = mute;
    if (mute) port_->ForgetOutput();
}

void ScriptedModem::Plug(bool plugged) {
    if (port_->plugged && !plugged) {
        ++port_->generation;
        port_->ForgetOutput();
    }
    port_->plugged = plugged;
}

void ScriptedModem::FailReads(int count) {
    world_.environment().fail_port_reads = count;
}

std::vector<std::string> ScriptedModem::Sent() const {
    std::vector<std::string> commands;
    for (const Exchange& exchange : exchanges) commands.push_back(exchange.command);
    return commands;
}

}  // namespace test_support
