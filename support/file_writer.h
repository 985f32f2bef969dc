// A small text file that is rewritten from scratch: emptied when it is opened, and filled by one write when
// it is whole, so that a reader meets it either empty or complete. Allocates nothing.
#pragma once

#include <cstdarg>
#include <cstddef>

class FileWriter {
  public:
    /// Empties the file, or makes it.
    explicit FileWriter(const char* path);

    /// Writes the text and closes the file. Failures are not told: a full disk keeps what fitted.
    ~FileWriter();

    FileWriter(const FileWriter&) = delete;
    FileWriter& operator=(const FileWriter&) = delete;

    /// False: it can't be opened for writing. Prints then lead nowhere.
    bool is_open() const { return fd_ >= 0; }

    /// Adds to the text. A text that outgrows the file's buffer is written in pieces; what a single call adds
    /// is cut where it would not fit into the whole of it.
    void Print(const char* format, ...) __attribute__((format(printf, 2, 3)));

  private:
    bool TryPrint(const char* format, va_list arguments);
    void WriteOut();

    const int fd_;
    size_t length_ = 0;
    char text_[4096];  // a status file is a quarter of it
};
