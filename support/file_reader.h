// Reads a file from its start to its end, through one buffer and with as few calls as that takes. Allocates
// nothing.
#pragma once

#include <cstddef>

class FileReader {
  public:
    static constexpr int kEnd = -1;

    /// Takes over a descriptor, which may be that of an open that has failed: then there is nothing to read.
    explicit FileReader(int fd) : fd_(fd) {}
    ~FileReader();
    FileReader(const FileReader&) = delete;
    FileReader& operator=(const FileReader&) = delete;

    bool is_open() const { return fd_ >= 0; }

    /// A read has failed: what was read may not be all.
    bool has_failed() const { return has_failed_; }

    /// The next byte, or kEnd.
    int Peek() { return HasMore() ? static_cast<unsigned char>(*begin_) : kEnd; }
    int Get() { return HasMore() ? static_cast<unsigned char>(*begin_++) : kEnd; }

    /// Takes the bytes up to and with the next line end, but no more than `size`. Their number: 0 is the end
    /// of the file. A NUL byte is a byte like any other.
    size_t GetLine(char* to, size_t size);

  private:
    bool HasMore() { return begin_ != end_ || Fill(); }
    bool Fill();

    const int fd_;
    bool has_failed_ = false;
    bool is_at_end_ = false;
    const char* begin_ = buffer_;
    const char* end_ = buffer_;
    char buffer_[4096];
};
