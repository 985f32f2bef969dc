// Runs a fuzz target without a fuzzer: every file of the given files and folders, and some seeded changes of
// each, so that the corpus is a test with any compiler.
#include <dirent.h>
#include <sys/stat.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#include "tests/fuzz/fuzz_check.h"

namespace {

constexpr int kChangesPerFile = 300;
constexpr unsigned kSeed = 20260101;

using Bytes = std::vector<uint8_t>;

std::vector<std::string> FilesOf(const std::string& path) {
    struct stat status {};
    if (stat(path.c_str(), &status) != 0) return {};
    if (!S_ISDIR(status.st_mode)) return {path};
    std::vector<std::string> files;
    DIR* folder = opendir(path.c_str());
    while (const dirent* entry = folder != nullptr ? readdir(folder) : nullptr) {
        if (entry->d_name[0] != '.') files.push_back(path + "/" + entry->d_name);
    }
    if (folder != nullptr) closedir(folder);
    std::sort(files.begin(), files.end());
    return files;
}

/// One of the changes that find the most: a bit, a byte, a cut, a part twice.
void Change(Bytes& bytes, std::mt19937& random) {
    if (bytes.empty()) {
        bytes.push_back(static_cast<uint8_t>(random()));
        return;
    }
    const size_t at = random() % bytes.size();
    const size_t count = std::min<size_t>(bytes.size() - at, 1 + random() % 16);
    const auto first = bytes.begin() + static_cast<std::ptrdiff_t>(at);
    switch (random() % 5) {
        case 0:
            bytes[at] = static_cast<uint8_t>(bytes[at] ^ (1U << random() % 8));
            break;
        case 1:
            bytes[at] = static_cast<uint8_t>(random());
            break;
        case 2:
            bytes.erase(first, first + static_cast<std::ptrdiff_t>(count));
            break;
        case 3:
            bytes.resize(at);
            break;
        default: {
            const Bytes part(first, first + static_cast<std::ptrdiff_t>(count));
            bytes.insert(bytes.begin() + static_cast<std::ptrdiff_t>(random() % bytes.size()), part.begin(),
                         part.end());
        }
    }
}

void Run(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const Bytes original((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
    fprintf(stderr, "%s: %zu bytes\n", path.c_str(), original.size());
    LLVMFuzzerTestOneInput(original.data(), original.size());
    std::mt19937 random(kSeed);
    for (int i = 0; i < kChangesPerFile; ++i) {
        Bytes bytes = original;
        for (unsigned changes = 1 + random() % 4; changes > 0; --changes) Change(bytes, random);
        LLVMFuzzerTestOneInput(bytes.data(), bytes.size());
    }
}

}  // namespace

int main(int argc, char** argv) {
    // The targets print what they read; standard error stays, for the reports of the sanitizers.
    if (freopen("/dev/null", "w", stdout) == nullptr) return 2;
    size_t count = 0;
    for (int i = 1; i < argc; ++i) {
        for (const std::string& path : FilesOf(argv[i])) {
            Run(path);
            ++count;
        }
    }
    if (count == 0) fprintf(stderr, "no files: a corpus is missing\n");
    return count == 0 ? 1 : 0;
}
