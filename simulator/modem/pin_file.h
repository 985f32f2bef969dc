// A selector pin as a file, the way boards export their pins: whoever writes a level to it selects the SIM.
#pragma once

#include <poll.h>

#include <functional>
#include <string>
#include <vector>

namespace modem_sim {

class PinFile {
  public:
    /// `on_level` is called with each 0 or 1 that is written.
    explicit PinFile(std::function<void(int level)> on_level) : on_level_(std::move(on_level)) {}
    ~PinFile();
    PinFile(const PinFile&) = delete;
    PinFile& operator=(const PinFile&) = delete;

    /// Begins with the level that the file has, if it is there; its folder must be. False with the reason.
    bool Watch(const std::string& path, std::string* error);
    void AddTo(std::vector<pollfd>* wanted) const;
    /// Reads the level anew if the file has been written.
    void Serve();

  private:
    void TellLevel();

    const std::function<void(int level)> on_level_;
    std::string path_;
    std::string name_;  // in its folder
    int notices_ = -1;
};

}  // namespace modem_sim
