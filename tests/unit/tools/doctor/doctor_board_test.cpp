// Files of a board that may hold anything: nothing blocks, nothing is opened that isn't a plain file, and no
// link leads out of the folder.
#include <fcntl.h>
#include <sys/inotify.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <climits>
#include <cstring>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "tests/support/temporary_folder.h"
#include "tools/doctor/board.h"

namespace doctor {
namespace {

namespace fs = std::filesystem;

class DoctorBoard : public testing::Test {
  protected:
    DoctorBoard() {
        fs::create_directory(folder + "/etc");
        std::ofstream(folder + "/etc/file") << "inside";
    }

    const TemporaryFolder temporary;
    const std::string& folder = temporary.path();
};

TEST_F(DoctorBoard, ReadsPlainFiles) {
    const Board board(folder + "//");
    EXPECT_FALSE(board.is_live());
    EXPECT_TRUE(Board("/").is_live());
    const FileText text = board.Read("/etc/file");
    EXPECT_TRUE(text.read);
    EXPECT_TRUE(text.is_whole);
    EXPECT_EQ(text.bytes, "inside");
    EXPECT_EQ(board.Read("/etc/none").error, ENOENT);
    EXPECT_EQ(board.Read("/etc").error, EINVAL);
    EXPECT_TRUE(board.Look("/etc/file").is_file());
    EXPECT_TRUE(board.Look("/etc").is_folder());
    EXPECT_FALSE(board.Exists("/etc/none"));
    EXPECT_FALSE(board.Exists("/etc/file/below"));
    EXPECT_EQ(board.Look("/etc/none").error, 0);
    EXPECT_FALSE(board.Exists(std::string("/etc/file\0x", 11)));
}

TEST_F(DoctorBoard, ReadsNoMoreThanItsLimit) {
    const Board board(folder);
    const FileText text = board.Read("/etc/file", 3);
    EXPECT_TRUE(text.read);
    EXPECT_FALSE(text.is_whole);
    EXPECT_EQ(text.bytes, "ins");
    EXPECT_TRUE(board.Read("/etc/file", 6).is_whole);
    ASSERT_EQ(truncate((folder + "/etc/file").c_str(), 1LL << 40), 0);
    EXPECT_EQ(board.Read("/etc/file").bytes.size(), kTextLimit_bytes);
}

TEST_F(DoctorBoard, OpensNoPipe) {
    ASSERT_EQ(mkfifo((folder + "/etc/pipe").c_str(), 0600), 0);
    const int watch = inotify_init1(IN_NONBLOCK);
    ASSERT_GE(inotify_add_watch(watch, (folder + "/etc/pipe").c_str(), IN_OPEN), 0);
    const Board board(folder);
    EXPECT_TRUE(board.Look("/etc/pipe").is_pipe());
    EXPECT_EQ(board.Read("/etc/pipe").error, EINVAL);
    char event[sizeof(inotify_event) + NAME_MAX + 1];
    EXPECT_EQ(read(watch, event, sizeof event), -1) << "it was opened, if only for a moment";
    // The watch sees what it should.
    close(open((folder + "/etc/pipe").c_str(), O_RDONLY | O_NONBLOCK));
    EXPECT_GT(read(watch, event, sizeof event), 0);
    close(watch);
}

TEST_F(DoctorBoard, OpensNoSocketAndNoDevice) {
    const int server = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    strncpy(address.sun_path, (folder + "/etc/socket").c_str(), sizeof address.sun_path - 1);
    ASSERT_EQ(bind(server, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(Board(folder).Read("/etc/socket").error, EINVAL);
    close(server);
    EXPECT_TRUE(Board().Look("/dev/null").is_character_device());
    EXPECT_EQ(Board().Read("/dev/null").error, EINVAL);
}

TEST_F(DoctorBoard, StaysInItsFolder) {
    fs::create_symlink("/etc/file", folder + "/absolute");
    fs::create_symlink("../../../../../../etc/file", folder + "/etc/relative");
    fs::create_symlink("/etc/hostname-of-the-machine", folder + "/dangling");
    fs::create_symlink("loop", folder + "/loop");
    const Board board(folder);
    EXPECT_EQ(board.Read("/absolute").bytes, "inside");
    EXPECT_EQ(board.Read("/etc/relative").bytes, "inside");
    EXPECT_EQ(board.Read("/../../../etc/file").bytes, "inside");
    EXPECT_FALSE(board.Exists("/dangling"));
    EXPECT_TRUE(board.Look("/dangling", Board::Link::kItself).is_link());
    EXPECT_EQ(board.LinkText("/dangling"), "/etc/hostname-of-the-machine");
    EXPECT_EQ(board.LinkText("/etc/file"), "");
    EXPECT_FALSE(board.Exists("/loop"));
}

TEST_F(DoctorBoard, ListsFolders) {
    const Board board(folder);
    std::ofstream(folder + "/etc/another") << "";
    EXPECT_EQ(board.List("/etc"), (std::vector<std::string>{"another", "file"}));
    EXPECT_EQ(board.List("/none"), std::nullopt);
    EXPECT_EQ(board.List("/etc/file"), std::nullopt);
}

TEST_F(DoctorBoard, KnowsOneFileByTwoNames) {
    fs::create_hard_link(folder + "/etc/file", folder + "/second");
    std::ofstream(folder + "/third") << "";
    const Board board(folder);
    EXPECT_TRUE(IsSame(board.Look("/etc/file"), board.Look("/second")));
    EXPECT_FALSE(IsSame(board.Look("/etc/file"), board.Look("/third")));
    EXPECT_FALSE(IsSame(board.Look("/none"), board.Look("/none")));
    EXPECT_EQ(board.Look("/second").links, 2U);
}

TEST_F(DoctorBoard, ToldOfAFolderThatIsNotThereFindsNothing) {
    const Board board("/nowhere/at/all");
    EXPECT_FALSE(board.Exists("/etc/passwd"));
    EXPECT_FALSE(board.Read("/etc/passwd").read);
    EXPECT_FALSE(board.Space("/etc").known);
}

TEST(FileFacts, KnowWhoElseCanWrite) {
    FileFacts facts;
    facts.exists = true;
    facts.mode = S_IFREG | 0644;
    EXPECT_FALSE(facts.others_write());
    facts.mode = S_IFREG | 0664;
    EXPECT_FALSE(facts.others_write()) << "root's group is root";
    facts.group = 100;
    EXPECT_TRUE(facts.others_write());
    facts.mode = S_IFREG | 0646;
    EXPECT_TRUE(facts.others_write());
    facts.mode = S_IFREG | 0600;
    EXPECT_FALSE(facts.others_write());
    facts.owner = 1000;
    EXPECT_TRUE(facts.others_write());
}

}  // namespace
}  // namespace doctor
