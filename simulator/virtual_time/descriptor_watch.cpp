#include "simulator/virtual_time/descriptor_watch.h"

#include <algorithm>

namespace virtual_time {

namespace {

constexpr short kReadable = POLLIN | POLLHUP | POLLERR;
constexpr short kWritable = POLLOUT | POLLERR;

fd_mask WordOf(const fd_set* set, int word) {
    return set == nullptr ? 0 : set->fds_bits[word];
}

bool IsSet(int fd, const fd_set* set) {
    return set != nullptr && FD_ISSET(fd, set);
}

bool HasAny(short events, short wanted) {
    return (events & wanted) != 0;
}

// Takes the descriptor out of the set unless it is ready; whether it stays.
bool Keep(int fd, fd_set* set, bool is_ready) {
    if (!is_ready) FD_CLR(fd, set);
    return is_ready;
}

}  // namespace

// A set has room for far more descriptors than anybody opens, so it is walked word by word.
DescriptorWatch::DescriptorWatch(Environment* world, int count, fd_set* read_set, fd_set* write_set,
                                 fd_set* except_set)
    : world_(world),
      count_(std::min(count, FD_SETSIZE)),
      read_set_(read_set),
      write_set_(write_set),
      except_set_(except_set) {
    for (int first = 0; first < count_; first += NFDBITS) {
        const int word = first / NFDBITS;
        const fd_mask any = WordOf(read_set, word) | WordOf(write_set, word) | WordOf(except_set, word);
        for (auto bits = static_cast<unsigned long>(any); bits != 0; bits &= bits - 1) {
            const int fd = first + __builtin_ctzl(bits);
            if (fd < count_) Add(fd, IsSet(fd, read_set), IsSet(fd, write_set));
        }
    }
}

void DescriptorWatch::Add(int fd, bool to_read, bool to_write) {
    if (world_->IsPort(fd)) {
        ports_.push_back({fd, to_read, to_write, false});
    } else {
        others_.push_back({fd, static_cast<short>((to_read ? POLLIN : 0) | (to_write ? POLLOUT : 0)), 0});
    }
}

bool DescriptorWatch::Ask() {
    has_bad_descriptor_ = has_hung_up_ = false;
    bool is_any_ready = AskSystem();
    for (Port& port : ports_) is_any_ready = AskPort(&port) || is_any_ready;
    return is_any_ready;
}

bool DescriptorWatch::AskPort(Port* port) {
    const bool is_open = world_->IsPort(port->fd);
    port->is_readable = port->to_read && is_open && world_->IsReadable(port->fd);
    if (port->is_readable && world_->IsHungUp(port->fd)) has_hung_up_ = true;
    return port->is_readable || port->to_write;
}

bool DescriptorWatch::AskSystem() {
    if (others_.empty() || idle_since_ == world_->outside_changes) return false;
    for (pollfd& other : others_) other.revents = 0;
    poll(others_.data(), others_.size(), 0);
    bool is_any_ready = false;
    for (const pollfd& other : others_) {
        if (HasAny(other.revents, POLLNVAL)) has_bad_descriptor_ = true;
        is_any_ready = is_any_ready || (HasAny(other.events, POLLIN) && HasAny(other.revents, kReadable)) ||
                       (HasAny(other.events, POLLOUT) && HasAny(other.revents, kWritable));
    }
    const bool stays_idle = world_->is_alone && !is_any_ready && !has_bad_descriptor_;
    idle_since_ = stays_idle ? world_->outside_changes : -1;
    return is_any_ready;
}

int DescriptorWatch::KeepReady() {
    int ready = 0;
    for (const Port& port : ports_) {
        if (port.to_read && Keep(port.fd, read_set_, port.is_readable)) ++ready;
        if (port.to_write) ++ready;
        if (except_set_ != nullptr) FD_CLR(port.fd, except_set_);
    }
    for (const pollfd& other : others_) {
        const bool to_read = HasAny(other.events, POLLIN), to_write = HasAny(other.events, POLLOUT);
        if (to_read && Keep(other.fd, read_set_, HasAny(other.revents, kReadable))) ++ready;
        if (to_write && Keep(other.fd, write_set_, HasAny(other.revents, kWritable))) ++ready;
        if (except_set_ != nullptr) FD_CLR(other.fd, except_set_);
    }
    return ready;
}

}  // namespace virtual_time
