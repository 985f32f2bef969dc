// The settings store on real files in a private folder. Each test also proves that no descriptor was left
// open.
#include "network_daemon/config/ini_store.h"

#include <dirent.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

namespace {

/// Calls of the system library that the test watches, or lets fail.
struct Calls {
    std::vector<std::string> open_modes;  // of the files opened for writing by fopen
    std::string failing_mode;             // fopen in this mode fails
    std::vector<int> open_flags;          // of the files opened by open
    int reads = 0;
    bool tmpfile_fails = false;
    bool tmpfile_is_full = false;
    int mallocs_until_failure = -1;  // -1: never
    int blocks = 0;                  // allocated by the store and not freed yet
} calls;

}  // namespace

extern "C" {
FILE* __real_fopen(const char* path, const char* mode);
FILE* __real_tmpfile();
void* __real_malloc(size_t size);
void __real_free(void* block);

FILE* __wrap_fopen(const char* path, const char* mode) {
    if (strchr(mode, '+') != nullptr) calls.open_modes.emplace_back(mode);
    if (calls.failing_mode == mode) {
        errno = EROFS;
        return nullptr;
    }
    return __real_fopen(path, mode);
}

int __real_open(const char* path, int flags, ...);
ssize_t __real_read(int fd, void* to, size_t size);

int __wrap_open(const char* path, int flags, ...) {
    calls.open_flags.push_back(flags);
    return __real_open(path, flags);
}

ssize_t __wrap_read(int fd, void* to, size_t size) {
    ++calls.reads;
    return __real_read(fd, to, size);
}

FILE* __wrap_tmpfile() {
    if (calls.tmpfile_fails) return nullptr;
    return calls.tmpfile_is_full ? __real_fopen("/dev/full", "r+") : __real_tmpfile();
}

void* __wrap_malloc(size_t size) {
    if (calls.mallocs_until_failure == 0) return nullptr;
    if (calls.mallocs_until_failure > 0) --calls.mallocs_until_failure;
    ++calls.blocks;
    return __real_malloc(size);
}

void __wrap_free(void* block) {
    if (block != nullptr) --calls.blocks;
    __real_free(block);
}
}

namespace {

using Pairs = std::vector<std::pair<std::string, std::string>>;

int OpenDescriptors() {
    DIR* folder = opendir("/proc/self/fd");
    int count = 0;
    while (readdir(folder) != nullptr) ++count;
    closedir(folder);
    return count;
}

class IniStore : public testing::Test {
  protected:
    void SetUp() override {
        char pattern[] = "/tmp/ini_store_test.XXXXXX";
        test_folder = mkdtemp(pattern);
        test_path = test_folder + "/ifcfg-lte";
        descriptors = OpenDescriptors();
        calls = Calls();
    }

    void TearDown() override {
        ini_free(table);
        EXPECT_EQ(calls.blocks, 0) << "entries leaked";
        EXPECT_EQ(OpenDescriptors(), descriptors) << "descriptors leaked";
        unlink(test_path.c_str());
        rmdir(test_folder.c_str());
    }

    void Write(const std::string& text) { std::ofstream(test_path, std::ios::binary) << text; }

    std::string Read() {
        std::ifstream file(test_path, std::ios::binary);
        return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
    }

    /// Writes the text and loads it; what it says on standard error lands in `errors_`.
    void Load(const std::string& text, IniEntry* (*load)(const char*) = ini_load) {
        Write(text);
        ini_free(table);
        testing::internal::CaptureStderr();
        table = load(test_path.c_str());
        errors = testing::internal::GetCapturedStderr();
    }

    int Save() {
        testing::internal::CaptureStderr();
        const int result = ini_save(&table, test_path.c_str());
        errors = testing::internal::GetCapturedStderr();
        return result;
    }

    Pairs Entries() {
        Pairs pairs;
        for (const IniEntry* entry = table; entry != nullptr; entry = entry->next) {
            pairs.emplace_back(entry->key, entry->value);
        }
        return pairs;
    }

    std::string test_folder;
    std::string test_path;
    std::string errors;
    IniEntry* table = nullptr;
    int descriptors = 0;
};

// Loading

TEST_F(IniStore, BlanksAroundKeyAndValueAreTrimmed) {
    Load("APN = internet \n");
    EXPECT_EQ(Entries(), (Pairs{{"APN", "internet"}}));
}

TEST_F(IniStore, LineBehindBlanksBehindHashOrInLowerCaseIsSkipped) {
    Load("  APN = internet \n#APN = internet \napn = internet \nENABLE=1\n");
    EXPECT_EQ(Entries(), (Pairs{{"ENABLE", "1"}}));
}

TEST_F(IniStore, OtherLinesThatAreNoSettingsAreSkipped) {
    Load("\n;A=1\n[Section]\n[S=1]\n1=2\n=A\nNOEQUALS\n\xC4=1\nA=1\n");
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}}));
}

TEST_F(IniStore, NothingBehindTheEqualsSignButALineEndIsAnEmptyValue) {
    Load("APN=\nUSER=x\n");
    ASSERT_NE(ini_get(table, "APN"), nullptr);
    EXPECT_STREQ(ini_get(table, "APN"), "");
}

TEST_F(IniStore, NothingBehindTheEqualsSignAtTheEndOfTheFileIsSkipped) {
    Load("USER=x\nAPN=");
    EXPECT_EQ(ini_get(table, "APN"), nullptr);
    EXPECT_EQ(Entries(), (Pairs{{"USER", "x"}}));
}

TEST_F(IniStore, ValueEndsAtItsFirstEqualsSign) {
    Load("URL=a=b\nA=B=C\n");
    EXPECT_EQ(Entries(), (Pairs{{"URL", "a"}, {"A", "B"}}));
}

TEST_F(IniStore, AdjacentEqualsSignsCountAsOne) {
    Load("A==1\nB===2=3\nC==");
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}, {"B", "2"}}));
}

TEST_F(IniStore, FirstOfTwoLinesForOneKeyIsFound) {
    Load("A=1\nA=2\n");
    EXPECT_STREQ(ini_get(table, "A"), "1");
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}, {"A", "2"}}));
}

TEST_F(IniStore, QuotesAndTrailingCommentsStayInTheValue) {
    Load("APN=\"internet\" # home\r\n");
    EXPECT_STREQ(ini_get(table, "APN"), "\"internet\" # home");
}

TEST_F(IniStore, KeysStayAsWrittenAndLookupIgnoresCase) {
    Load("Enable=1\nenable=0\n");
    EXPECT_EQ(Entries(), (Pairs{{"Enable", "1"}}));
    EXPECT_STREQ(ini_get(table, "ENABLE"), "1");
    EXPECT_STREQ(ini_get(table, "enable"), "1");
}

TEST_F(IniStore, ValueOf257CharactersLosesTheWholeFile) {
    Load("A=1\nB=" + std::string(257, 'x') + "\nC=1\n");
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(errors, "init file error!\n");
}

TEST_F(IniStore, ValueOf256CharactersIsAcceptedOnlyWithoutLineEnd) {
    const std::string value(256, 'x');
    Load("A=1\nB=" + value + "\n");
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(errors, "init file error!\n");

    Load("A=1\nB=" + value);
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}, {"B", value}})) << "it comes back whole";
    EXPECT_EQ(errors, "");
}

TEST_F(IniStore, ValueOf255CharactersIsAcceptedWithLineEnd) {
    const std::string value(255, 'x');
    Load("A=" + value + "\n");
    EXPECT_EQ(Entries(), (Pairs{{"A", value}}));
}

TEST_F(IniStore, KeyIsMeasuredBeforeTrimming) {
    const std::string key(256, 'K');
    Load(key + "=1\n");
    EXPECT_EQ(Entries(), (Pairs{{key, "1"}})) << "it comes back whole";
    Load("K" + std::string(255, ' ') + "=1\n");
    EXPECT_EQ(Entries(), (Pairs{{"K", "1"}}));
    Load("A=1\nK" + std::string(256, ' ') + "=1\n");
    EXPECT_EQ(table, nullptr);
}

TEST_F(IniStore, ThirdTokenOfAnyLengthIsThrownAway) {
    Load("A=1=" + std::string(600, 'x') + "\n");
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}}));
}

TEST_F(IniStore, LongLineComesInPiecesOf1023Characters) {
    const std::string comment = "#" + std::string(1022, 'x');
    Load(comment + "B=2\nA=1\n");
    EXPECT_EQ(Entries(), (Pairs{{"B", "2"}, {"A", "1"}})) << "the second piece is a line of its own";
    Load(comment + "b=2\nA=1\n");
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}}));
    Load("A=1\nB=" + std::string(5000, 'x') + "\n");
    EXPECT_EQ(table, nullptr) << "the first piece is too long";
}

TEST_F(IniStore, NulBytesEndALineForItsReaders) {
    Load(std::string("A=1\0B=2\n\0C=3\nD\0=4\nE=5\n", 22));
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}, {"E", "5"}}));
}

TEST_F(IniStore, FileWithOnlyCommentsGivesNullWithoutAMessage) {
    Load("# nothing\n\n; here\n");
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(errors, "");
}

TEST_F(IniStore, EmptyFileGivesNullWithoutAMessage) {
    Load("");
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(errors, "");
}

TEST_F(IniStore, MissingFileGivesNullWithAMessage) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(ini_load(test_path.c_str()), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Open ini file " + test_path + " error!\n");
}

TEST_F(IniStore, FolderGivesNullWithAMessage) {
    testing::internal::CaptureStderr();
    EXPECT_EQ(ini_load(test_folder.c_str()), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Open ini file " + test_folder + " error!\n");
}

TEST_F(IniStore, ReadableFileThatCannotBeWrittenGivesNullWithAMessage) {
    const char* running = "/proc/thread-self/exe";  // refuses writers, even to the superuser
    testing::internal::CaptureStderr();
    EXPECT_EQ(ini_load(running), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Open ini file /proc/thread-self/exe error!\n");
    EXPECT_EQ(calls.open_flags, std::vector<int>{O_RDWR});
}

// Once in every pass of a link that is up.
TEST_F(IniStore, SettingsTakeOneOpenAndTwoReadsAndABlockForEach) {
    Load("ENABLE=true\nAPN=internet\n");
    EXPECT_EQ(calls.open_flags, std::vector<int>{O_RDWR});
    EXPECT_EQ(calls.open_modes, std::vector<std::string>{});
    EXPECT_EQ(calls.reads, 2) << "the second one finds the end";
    EXPECT_EQ(calls.blocks, 2);
}

TEST_F(IniStore, LinesAreWholeWhereverTheBufferEnds) {
    for (size_t filler = 4085; filler <= 4099; ++filler) {
        Load(std::string(filler, '#') + "\nAPN=internet\nENABLE=true\n");
        EXPECT_EQ(Entries(), (Pairs{{"APN", "internet"}, {"ENABLE", "true"}})) << filler;
    }
}

TEST_F(IniStore, ThousandsOfLinesKeepTheirOrder) {
    std::string text;
    Pairs expected;
    for (int i = 0; i < 5000; ++i) {
        expected.emplace_back("KEY" + std::to_string(i), std::to_string(i * 7));
        text += expected.back().first + "=" + expected.back().second + "\n";
    }
    Load(text);
    EXPECT_EQ(Entries(), expected);
}

TEST_F(IniStore, MemoryThatRunsOutLosesTheWholeFile) {
    calls.mallocs_until_failure = 1;
    Load("A=1\nB=2\n");
    calls.mallocs_until_failure = -1;
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(errors, "init file error!\n");
}

TEST_F(IniStore, LoadAllTakesAnyLineWithAnEqualsSign) {
    Load("  APN = internet \n#apn=x\nenable=1\n=LEADING=2\nnone\n==\nURL=a=b\n", ini_load_all);
    EXPECT_EQ(Entries(),
              (Pairs{{"APN", "internet"}, {"#apn", "x"}, {"enable", "1"}, {"LEADING", "2"}, {"URL", "a"}}));
}

TEST_F(IniStore, LoadAllIsAsStrictWithLengths) {
    Load("a=" + std::string(257, 'x') + "\n", ini_load_all);
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(errors, "init file error!\n");
}

// Lookup, removal

TEST_F(IniStore, LookupInANullTableGivesNull) {
    EXPECT_EQ(ini_get(nullptr, "APN"), nullptr);
}

TEST_F(IniStore, LookupOfAnUnknownKeyGivesNull) {
    Load("APN2=x\n");
    EXPECT_EQ(ini_get(table, "APN"), nullptr);
    EXPECT_EQ(ini_get(table, ""), nullptr);
}

TEST_F(IniStore, FreeingANullTableDoesNothing) {
    ini_free(nullptr);
    EXPECT_EQ(calls.blocks, 0);
}

TEST_F(IniStore, RemoveTakesTheFirstEntryOfTheKeyInAnyCase) {
    Load("A=1\nB=2\nA=3\nC=4\n");
    table = ini_remove(table, "a");
    EXPECT_EQ(Entries(), (Pairs{{"B", "2"}, {"A", "3"}, {"C", "4"}}));
    table = ini_remove(table, "A");
    EXPECT_EQ(Entries(), (Pairs{{"B", "2"}, {"C", "4"}}));
    table = ini_remove(table, "C");
    EXPECT_EQ(Entries(), (Pairs{{"B", "2"}}));
    table = ini_remove(table, "X");
    EXPECT_EQ(Entries(), (Pairs{{"B", "2"}}));
    table = ini_remove(table, "B");
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(ini_remove(table, "B"), nullptr);
}

// Saving

TEST_F(IniStore, SaveMergesTheTableIntoTheFile) {
    Load("Apn=new\nNEW=1\nENABLE=0\nUSER=\n");
    Write("# head\n  INDENTED=1\nENABLE = 1 # on\nDROPPED=1\nlower=1\nAPN=old=er\n\nNOEQUALS\n");
    EXPECT_EQ(Save(), 0);
    EXPECT_EQ(table, nullptr);
    EXPECT_EQ(errors, "");
    EXPECT_EQ(Read(), "# head\n  INDENTED=1\nENABLE=0\nlower=1\nAPN=new\n\nNOEQUALS\nNEW=1\nUSER=\n");
    EXPECT_EQ(calls.blocks, 0);
}

TEST_F(IniStore, SaveAppendsASecondEntryOfAUsedKey) {
    Load("A=1\nA=2\nA=3\n");
    Write("A=0\nB=0\nA=0\n");
    EXPECT_EQ(Save(), 0);
    EXPECT_EQ(Read(), "A=1\nA=2\nA=3\n") << "two lines of the file, then the entry that is left";
}

TEST_F(IniStore, SaveOfAnEmptyTableDropsAllSettings) {
    Write("#c\nA=1\nb=2\n");
    EXPECT_EQ(Save(), 0);
    EXPECT_EQ(Read(), "#c\nb=2\n");
}

TEST_F(IniStore, SaveWritesOtherLinesBackAsTheyWere) {
    Load("A=1\n");
    const std::string others = "#" + std::string(3000, 'x') + "\r\n" + std::string("#a\0b\0\n", 6) + " \t\n";
    Write(others + "A=0");
    EXPECT_EQ(Save(), 0);
    EXPECT_EQ(Read(), others + "A=1\n");
}

TEST_F(IniStore, SaveGoesOnBehindALastLineWithoutLineEnd) {
    Load("A=1\n");
    Write("#end");
    EXPECT_EQ(Save(), 0);
    EXPECT_EQ(Read(), "#endA=1\n");
}

TEST_F(IniStore, SaveOpensForUpdateThenEmpties) {
    Load("A=1\n");
    calls.open_modes.clear();
    EXPECT_EQ(Save(), 0);
    EXPECT_EQ(calls.open_modes, (std::vector<std::string>{"r+t", "w+"}));
}

TEST_F(IniStore, SaveIntoAMissingFileLeavesTheTable) {
    Load("A=1\n");
    unlink(test_path.c_str());
    EXPECT_EQ(Save(), -1);
    EXPECT_EQ(errors, "Open file " + test_path + " error!\n");
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}}));
    EXPECT_NE(access(test_path.c_str(), F_OK), 0) << "it isn't made";
}

TEST_F(IniStore, SaveWithoutTemporaryFileLeavesFileAndTable) {
    Load("A=1\n");
    Write("A=0\n");
    calls.tmpfile_fails = true;
    EXPECT_EQ(Save(), -1);
    EXPECT_EQ(errors, "Create tmpfile error!\n");
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}}));
    EXPECT_EQ(Read(), "A=0\n");
}

TEST_F(IniStore, SaveWithAFullTemporaryFileLeavesFileAndTable) {
    Load("A=1\n");
    Write("A=0\n");
    calls.tmpfile_is_full = true;
    EXPECT_EQ(Save(), -1);
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}}));
    EXPECT_EQ(Read(), "A=0\n");
}

TEST_F(IniStore, SaveOfAFileWhoseCopyIsCutShortLeavesFileAndTable) {
    Load("A=1\n");
    const std::string settings(20000, '#');
    Write(settings);
    rlimit former = {};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &former), 0);
    const rlimit limit = {8192, former.rlim_max};
    signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &limit), 0);
    const int result = Save();
    setrlimit(RLIMIT_FSIZE, &former);
    signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(result, -1);
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}}));
    EXPECT_EQ(Read(), settings);
}

TEST_F(IniStore, SaveIntoAFileThatCannotBeEmptiedLeavesFileAndTable) {
    Load("A=1\n");
    Write("A=0\n");
    calls.failing_mode = "w+";
    EXPECT_EQ(Save(), -1);
    EXPECT_EQ(errors, "Open file " + test_path + " error!\n");
    EXPECT_EQ(Entries(), (Pairs{{"A", "1"}}));
    EXPECT_EQ(Read(), "A=0\n");
}

TEST_F(IniStore, SaveStopsAtAnOverLongKeyAndLeavesTheRestOfTheTable) {
    Load("A=1\nB=2\nC=3\n");
    Write("A=0\n" + std::string(257, 'K') + "=0\nB=0\n");
    EXPECT_EQ(Save(), -1);
    EXPECT_EQ(Entries(), (Pairs{{"B", "2"}, {"C", "3"}}));
    EXPECT_EQ(Read(), "A=1\n") << "the file is cut at this place";
}

TEST_F(IniStore, SaveMeasuresTheTrimmedKey) {
    const std::string key(256, 'K');
    Load(key + "=1");
    Write(key + "   =0\n");
    EXPECT_EQ(Save(), 0);
    EXPECT_EQ(Read(), key + "=1\n");
}

}  // namespace
