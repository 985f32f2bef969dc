// The bytes of one log, as lines: a file, a file that gzip has packed, or standard input. Reads in blocks and
// keeps no more than the line at hand, however long the log is.
#pragma once

#include <zlib.h>

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace ravelin_log {

class Input {
  public:
    /// `name` is a path, or "-" for standard input. Null with `problem` when it can't be opened.
    static std::unique_ptr<Input> Open(const std::string& name, std::string* problem);
    ~Input();
    Input(const Input&) = delete;
    Input& operator=(const Input&) = delete;

    /// The next line without its line end, "\n" or "\r\n"; it lives until the next call. False at the end. A
    /// line of more than 64 kB is cut. A last line without a line end is one too, but for a follower, which
    /// waits for the rest.
    bool NextLine(std::string_view* line);
    /// The line last returned by NextLine comes once more.
    void Unread();
    /// The next `count` bytes whatever they are; false when there are fewer, and all of them are gone then.
    bool NextBytes(uint64_t count, std::string* bytes);

    void set_follows(bool follows) { follows_ = follows; }
    bool follows() const { return follows_; }
    const std::string& name() const { return name_; }
    int64_t line_number() const { return line_number_; }  // of the line last returned; the first is 1
    bool has_cr() const { return has_cr_; }               // its line end was "\r\n"
    bool is_torn() const { return is_torn_; }             // the line last returned had no line end
    bool has_failed() const { return has_failed_; }       // a read failed, or what gzip has packed is broken
    int64_t changed_seconds() const {
        return changed_seconds_;
    }  // when the file was changed, since 1970; 0: no file

  private:
    Input() = default;
    /// Moves what is left to the front of the block and reads after it; false when nothing more came.
    bool Fill();
    ssize_t Read(char* to, size_t size);
    /// Passes over the rest of a line that was too long.
    bool DropLine();

    std::string name_;
    int fd_ = -1;
    gzFile packed_ = nullptr;  // reads from fd_ then
    int64_t changed_seconds_ = 0;
    bool follows_ = false;
    bool has_failed_ = false;
    bool has_cr_ = false;
    bool is_torn_ = false;
    bool drops_line_ = false;  // the rest of the line at hand was too long
    int64_t line_number_ = 0;
    std::vector<char> block_;
    size_t begin_ = 0;  // of what isn't taken yet in block_
    size_t end_ = 0;
    size_t last_begin_ = 0;  // of the line last returned
};

}  // namespace ravelin_log
