// A modem's port for fuzz targets: each command gets the next answer of the input, and waits cost nothing. A
// target that links it lists FAKE_PORT_CALLS of CMakeLists.txt. One port at a time.
//
// The input is answers with record separators between them; the first may be for the target itself. In an
// answer, what stands after a unit separator comes too late, and meets the next command. An answer that is
// missing, or empty, is silence.
#pragma once

#include <cstdint>
#include <deque>
#include <string>
#include <vector>

class FakePort {
  public:
    static constexpr int kDescriptor = 901;  // that nobody else has
    static constexpr char kLate = '\x1f';

    explicit FakePort(const std::vector<std::string>& answers);
    ~FakePort();
    FakePort(const FakePort&) = delete;
    FakePort& operator=(const FakePort&) = delete;

    std::vector<std::string> commands;  // as written, up to the line end
    int64_t waited_ms = 0;              // for answers, and asleep

    // What the calls of the daemon come to.
    void Write(const std::string& bytes);
    bool is_readable() const { return !incoming_.empty(); }
    std::string Read(size_t size);

  private:
    std::deque<std::string> answers_;
    std::string command_;
    std::string incoming_;
    std::string late_;
};
