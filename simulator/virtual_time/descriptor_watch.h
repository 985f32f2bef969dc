// What a select watches, and what of it is ready: ports by their peers, all else by the system.
#pragma once

#include <poll.h>
#include <sys/select.h>

#include <vector>

#include "simulator/virtual_time/environment.h"

namespace virtual_time {

class DescriptorWatch {
  public:
    /// Sets as select takes them, each of which may be null. They must outlive the watch.
    DescriptorWatch(Environment* world, int count, fd_set* read_set, fd_set* write_set, fd_set* except_set);

    /// Asks what is ready now; whether anything is.
    bool Ask();

    // As Ask() saw it last.
    /// Whether one of the descriptors isn't open.
    bool has_bad_descriptor() const { return has_bad_descriptor_; }
    /// Whether a port among those to be read has gone away.
    bool has_hung_up() const { return has_hung_up_; }
    /// Leaves in the sets what is ready; the number of bits left.
    int KeepReady();

  private:
    struct Port {
        int fd;
        bool to_read;
        bool to_write;
        bool is_readable;
    };

    void Add(int fd, bool to_read, bool to_write);
    bool AskPort(Port* port);
    bool AskSystem();

    Environment* const world_;
    const int count_;
    fd_set* const read_set_;
    fd_set* const write_set_;
    fd_set* const except_set_;
    std::vector<Port> ports_;
    std::vector<pollfd> others_;
    int64_t idle_since_ = -1;  // the count of changes at which none of the others was ready
    bool has_bad_descriptor_ = false;
    bool has_hung_up_ = false;
};

}  // namespace virtual_time
