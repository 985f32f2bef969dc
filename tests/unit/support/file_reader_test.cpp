#include "support/file_reader.h"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <deque>
#include <fstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/open_descriptors.h"

namespace {

struct Calls {
    int reads = 0;
    std::deque<int> errors;  // of the next reads; 0 is none
} calls;

}  // namespace

extern "C" {
ssize_t __real_read(int fd, void* to, size_t size);
ssize_t __wrap_read(int fd, void* to, size_t size) {
    ++calls.reads;
    if (!calls.errors.empty()) {
        const int error = calls.errors.front();
        calls.errors.pop_front();
        errno = error;
        if (error != 0) return -1;
    }
    return __real_read(fd, to, size);
}
}

namespace {

constexpr size_t kBuffer_bytes = 4096;

class FileReaderTest : public testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/file_reader_test.XXXXXX";
        folder = mkdtemp(pattern);
        path = folder + "/file";
        calls = Calls();
    }

    void TearDown() override {
        unlink(path.c_str());
        rmdir(folder.c_str());
    }

    void Write(const std::string& text) { std::ofstream(path, std::ios::binary) << text; }

    static std::vector<std::string> Lines(FileReader& file, size_t size = 100) {
        std::vector<std::string> lines;
        std::string line(size, '\0');
        size_t length = 0;
        while ((length = file.GetLine(line.data(), size)) > 0) lines.push_back(line.substr(0, length));
        return lines;
    }

    std::vector<std::string> LinesOf(const std::string& text, size_t size = 100) {
        Write(text);
        FileReader file(open(path.c_str(), O_RDONLY));
        EXPECT_TRUE(file.is_open());
        return Lines(file, size);
    }

    static std::string Bytes(FileReader& file) {
        std::string bytes;
        for (int byte = 0; (byte = file.Get()) != FileReader::kEnd;) bytes += static_cast<char>(byte);
        return bytes;
    }

    std::string folder;
    std::string path;
};

using Texts = std::vector<std::string>;

TEST_F(FileReaderTest, Lines) {
    EXPECT_EQ(LinesOf(""), Texts{});
    EXPECT_EQ(LinesOf("\n"), Texts{"\n"});
    EXPECT_EQ(LinesOf("a\n\nb"), (Texts{"a\n", "\n", "b"}));
    EXPECT_EQ(LinesOf(std::string("a\0b\n\0", 5)), (Texts{std::string("a\0b\n", 4), std::string("\0", 1)}));
}

TEST_F(FileReaderTest, LongLineComesInPieces) {
    EXPECT_EQ(LinesOf("abcdef\ngh\n", 4), (Texts{"abcd", "ef\n", "gh\n"}));
    EXPECT_EQ(LinesOf("abc\nd", 4), (Texts{"abc\n", "d"}));
    EXPECT_EQ(LinesOf("abcd\n", 4), (Texts{"abcd", "\n"}));
}

TEST_F(FileReaderTest, LinesAndBytesCrossTheEndOfTheBuffer) {
    for (size_t start = kBuffer_bytes - 4; start <= kBuffer_bytes + 1; ++start) {
        const std::string text = std::string(start - 1, 'x') + "\nabc\nd";
        EXPECT_EQ(LinesOf(text, 2 * kBuffer_bytes), (Texts{text.substr(0, start), "abc\n", "d"})) << start;
        FileReader file(open(path.c_str(), O_RDONLY));
        EXPECT_EQ(Bytes(file), text) << start;
    }
}

TEST_F(FileReaderTest, HugeFile) {
    std::string text;
    for (int i = 0; text.size() < 3000000; ++i) text += std::to_string(i * 7919) + (i % 5 == 0 ? "\n" : " ");
    std::string joined;
    for (const std::string& line : LinesOf(text, 1023)) joined += line;
    EXPECT_TRUE(joined == text);
    FileReader file(open(path.c_str(), O_RDONLY));
    EXPECT_TRUE(Bytes(file) == text);
}

TEST_F(FileReaderTest, PeekTakesNothing) {
    Write("\xFFz");
    FileReader file(open(path.c_str(), O_RDONLY));
    EXPECT_EQ(file.Peek(), 0xFF);
    EXPECT_EQ(file.Get(), 0xFF);
    EXPECT_EQ(file.Get(), 'z');
    EXPECT_EQ(file.Peek(), FileReader::kEnd);
    EXPECT_EQ(file.Get(), FileReader::kEnd);
    EXPECT_EQ(file.Peek(), FileReader::kEnd);
    char none[1];
    EXPECT_EQ(file.GetLine(none, sizeof none), 0u);
}

TEST_F(FileReaderTest, EachBufferIsOneCallAndTheEndIsOneMore) {
    const struct {
        size_t size;
        int reads;
    } cases[] = {{0, 1}, {25, 2}, {kBuffer_bytes - 1, 2}, {kBuffer_bytes, 2}, {kBuffer_bytes + 1, 3}};
    for (const auto& test : cases) {
        Write(std::string(test.size, 'x'));
        FileReader file(open(path.c_str(), O_RDONLY));
        calls.reads = 0;
        EXPECT_EQ(Bytes(file).size(), test.size);
        EXPECT_EQ(file.Get(), FileReader::kEnd);
        EXPECT_EQ(calls.reads, test.reads) << test.size;
    }
}

TEST_F(FileReaderTest, InterruptedReadIsDoneAgain) {
    calls.errors = {EINTR, EINTR};
    EXPECT_EQ(LinesOf("a\n"), Texts{"a\n"});
    EXPECT_EQ(calls.reads, 4);
}

TEST_F(FileReaderTest, PipeIsReadUntilItsWriterHasEnded) {
    int ends[2];
    ASSERT_EQ(pipe(ends), 0);
    FileReader file(ends[0]);
    char line[10];
    ASSERT_EQ(write(ends[1], "one\n", 4), 4);
    EXPECT_EQ(file.GetLine(line, sizeof line), 4u);
    ASSERT_EQ(write(ends[1], "two\n", 4), 4);
    close(ends[1]);
    EXPECT_EQ(file.GetLine(line, sizeof line), 4u);
    EXPECT_EQ(file.GetLine(line, sizeof line), 0u);
    EXPECT_FALSE(file.has_failed());
}

TEST_F(FileReaderTest, FailedReadEndsTheFileAndIsTold) {
    Write(std::string(kBuffer_bytes, 'x') + "y");
    FileReader file(open(path.c_str(), O_RDONLY));
    calls.errors = {0, EIO};
    EXPECT_EQ(Bytes(file).size(), kBuffer_bytes);
    EXPECT_TRUE(file.has_failed());
    EXPECT_EQ(file.Get(), FileReader::kEnd);
    EXPECT_EQ(calls.reads, 2) << "it isn't tried again";
}

TEST_F(FileReaderTest, FolderOpensAndHasNothing) {
    FileReader file(open(folder.c_str(), O_RDONLY));
    EXPECT_TRUE(file.is_open());
    EXPECT_EQ(file.Get(), FileReader::kEnd);
    EXPECT_TRUE(file.has_failed());
}

TEST_F(FileReaderTest, FileThatCannotBeOpenedHasNothing) {
    FileReader missing(open(path.c_str(), O_RDONLY));
    EXPECT_FALSE(missing.is_open());
    EXPECT_EQ(missing.Get(), FileReader::kEnd);
    EXPECT_EQ(errno, EBADF);
}

TEST_F(FileReaderTest, DescriptorIsReadFromItsPlaceAndClosed) {
    Write("one\ntwo\n");
    const int before = OpenDescriptors();
    {
        const int fd = open(path.c_str(), O_RDONLY);
        ASSERT_EQ(lseek(fd, 4, SEEK_SET), 4);
        FileReader file(fd);
        EXPECT_EQ(Lines(file), Texts{"two\n"});
        EXPECT_FALSE(file.has_failed());
    }
    EXPECT_EQ(OpenDescriptors(), before);
}

}  // namespace
