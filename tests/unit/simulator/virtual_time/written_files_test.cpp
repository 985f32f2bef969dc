// What is told of a file that the program has written.
#include "simulator/virtual_time/written_files.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/test_world.h"

using test_support::World;

namespace {

// The world looks at a file before it is closed where it can, and must see what it will hold then.
TEST(WrittenFiles, AWrittenFileIsToldWithWhatItHolds) {
    constexpr char kPath[] = "/run/network/x";
    const std::string long_text(10000, 'l');
    const auto flush_between = [](FILE* file) {
        fputs("one", file);
        fflush(file);
        fputs("two", file);
    };
    const auto overwrite_start = [](FILE* file) {
        fputs("abc", file);
        rewind(file);
        fputs("x", file);
    };
    const struct {
        const char* mode;
        std::function<void(FILE*)> use;
        std::string expected;
    } cases[] = {
        {"w", [](FILE* file) { fputs("new", file); }, "new"},
        {"w", [](FILE*) {}, ""},
        {"w", [&](FILE* file) { fputs(long_text.c_str(), file); }, long_text},
        {"w", flush_between, "onetwo"},
        {"w", overwrite_start, "xbc"},
        {"w", [](FILE* file) { fputs("slow", file), sleep(1); }, "slow"},
        {"w+", overwrite_start, "xbc"},
        {"a", [](FILE* file) { fputs(" more", file); }, "before more"},
        {"r+", [](FILE* file) { fgetc(file); }, "before"},
        {"r+", [](FILE* file) { fputs("B", file); }, "Before"},
        {"r+", flush_between, "onetwo"},
    };
    for (const auto& each : cases) {
        World world;
        world.Write(kPath, "before");
        std::vector<std::string> told;
        world.environment().on_file_written = [&told](const std::string& path, const std::string& text) {
            told.push_back(path + " " + text);
        };
        FILE* file = fopen(kPath, each.mode);
        each.use(file);
        fclose(file);
        EXPECT_EQ(each.expected, world.Read(kPath)) << each.mode;
        EXPECT_EQ((std::vector<std::string>{kPath + (" " + each.expected)}), told) << each.mode;
    }
}

// The same for a program that does without streams.
TEST(WrittenFiles, AFileWrittenThroughADescriptorIsToldWithWhatItHolds) {
    constexpr char kPath[] = "/run/network/x";
    const auto put = [](int fd, const std::string& text) {
        EXPECT_EQ(static_cast<ssize_t>(text.size()), write(fd, text.data(), text.size()));
    };
    const struct {
        int flags;
        std::function<void(int)> use;
        std::string expected;
    } cases[] = {
        {O_WRONLY | O_TRUNC, [&](int fd) { put(fd, "new"); }, "new"},
        {O_WRONLY | O_TRUNC, [](int) {}, ""},
        {O_WRONLY | O_TRUNC, [&](int fd) { put(fd, "one"), put(fd, "two"); }, "onetwo"},
        {O_WRONLY | O_TRUNC, [&](int fd) { put(fd, "abc"), lseek(fd, 0, SEEK_SET), put(fd, "x"); }, "xbc"},
        {O_WRONLY | O_TRUNC, [&](int fd) { put(fd, "slow"), sleep(1); }, "slow"},
        {O_WRONLY | O_TRUNC, [&](int fd) { put(fd, std::string(10000, 'l')); }, std::string(10000, 'l')},
        {O_WRONLY | O_APPEND, [&](int fd) { put(fd, " more"); }, "before more"},
        {O_RDWR, [](int) {}, "before"},
        {O_RDWR, [&](int fd) { put(fd, "B"); }, "Before"},
    };
    for (const auto& each : cases) {
        World world;
        world.Write(kPath, "before");
        std::vector<std::string> told;
        world.environment().on_file_written = [&told](const std::string& path, const std::string& text) {
            told.push_back(path + " " + text);
        };
        const int fd = open(kPath, each.flags);
        each.use(fd);
        EXPECT_EQ(0, close(fd));
        EXPECT_EQ(each.expected, world.Read(kPath));
        EXPECT_EQ((std::vector<std::string>{kPath + (" " + each.expected)}), told);
    }
}

TEST(WrittenFiles, ADescriptorNumberIsAFileOnlyUntilItIsClosed) {
    World world;
    int told = 0;
    world.environment().on_file_written = [&told](const std::string&, const std::string&) { ++told; };
    const int fd = open("/run/network/x", O_WRONLY | O_CREAT, 0600);
    close(fd);
    EXPECT_EQ(fd, open("/dev/null", O_WRONLY));
    EXPECT_EQ(1, write(fd, "x", 1));
    close(fd);
    EXPECT_EQ(1, told);
}

TEST(WrittenFiles, AFileThatIsOnlyReadOrLiesElsewhereIsNotTold) {
    World world;
    world.Write("/run/network/x", "text");
    int told = 0;
    world.environment().on_file_written = [&told](const std::string&, const std::string&) { ++told; };
    fclose(fopen("/run/network/x", "r"));
    fclose(fopen("/dev/null", "w"));
    close(open("/run/network/x", O_RDONLY));
    close(open("/dev/null", O_WRONLY));
    mkfifo("/run/network/pipe", 0600);
    close(open("/run/network/pipe", O_RDWR));
    EXPECT_EQ(0, told);
}

}  // namespace
