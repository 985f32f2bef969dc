// What sits at the other end of a virtual serial port. Driven by the clock alone: the same calls at the same
// times must give the same bytes. Called by the holder of the baton only.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace virtual_time {

class PortPeer {
  public:
    virtual ~PortPeer() = default;

    /// Bytes from the host.
    virtual void Write(std::string_view bytes, int64_t now_us) = 0;

    /// Whether a read would bring bytes now.
    virtual bool Readable(int64_t now_us) = 0;

    /// At most `size` bytes of what is there now.
    virtual std::string Read(size_t size, int64_t now_us) = 0;

    /// Lets everything happen that is due by now.
    virtual void Advance(int64_t now_us) = 0;

    /// When something happens next without a call; a time that isn't in the future is not waited for.
    virtual std::optional<int64_t> NextEventUs() = 0;

    /// Whether the port can be opened.
    virtual bool Present() { return true; }

    /// Path of the port now, where it isn't the one that the peer was registered with; else empty.
    virtual std::string OtherPath() { return ""; }

    /// Changes when the port goes away: descriptors opened before that are dead for good.
    virtual int64_t Generation() { return 0; }
};

}  // namespace virtual_time
