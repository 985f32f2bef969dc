// Any bytes as a file of settings: read by both rules, merged into itself, and written into an empty file.
// Each time the table that is read back must be the one that was written.
#include <strings.h>
#include <sys/mman.h>
#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

#include "network_daemon/config/ini_store.h"
#include "tests/fuzz/fuzz_check.h"

namespace {

constexpr size_t kTextLimit = 256;
constexpr size_t kFewEntries = 20;  // a long table isn't looked through after each step

using Entries = std::vector<std::pair<std::string, std::string>>;

/// A file that the store opens by its path, and that lies on no disk.
class File {
  public:
    explicit File(const std::string& content) : fd_(memfd_create("settings", 0)) {
        FUZZ_CHECK(fd_ >= 0);
        FUZZ_CHECK(write(fd_, content.data(), content.size()) == static_cast<ssize_t>(content.size()));
    }
    ~File() { close(fd_); }
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(fd_); }

  private:
    int fd_;
};

bool IsTrimmed(const std::string& text) {
    const auto is_blank = [](char c) { return isspace(static_cast<unsigned char>(c)) != 0; };
    return text.empty() || (!is_blank(text.front()) && !is_blank(text.back()));
}

Entries EntriesOf(const IniEntry* table) {
    Entries entries;
    for (const IniEntry* entry = table; entry != nullptr; entry = entry->next) {
        const std::string key(entry->key, strnlen(entry->key, sizeof entry->key));
        const std::string value(entry->value, strnlen(entry->value, sizeof entry->value));
        for (const std::string& text : {key, value}) {
            FUZZ_CHECK(text.size() <= kTextLimit && IsTrimmed(text));
            FUZZ_CHECK(text.find_first_of("=\n") == std::string::npos);
        }
        entries.emplace_back(key, value);
    }
    return entries;
}

Entries Load(IniEntry* (*read)(const char*), const File& file) {
    IniEntry* table = read(file.path().c_str());
    const Entries entries = EntriesOf(table);
    ini_free(table);
    return entries;
}

/// Saves `*table`; what is left of it after a failure goes too.
bool Save(IniEntry* table, const File& file) {
    const bool is_saved = ini_save(&table, file.path().c_str()) == 0;
    FUZZ_CHECK(!is_saved || table == nullptr);
    ini_free(table);
    return is_saved;
}

/// Each key finds the first entry that has it, whatever the case of its letters.
void CheckGet(const IniEntry* table) {
    for (const IniEntry* entry = table; entry != nullptr; entry = entry->next) {
        const IniEntry* first = table;
        while (strcasecmp(first->key, entry->key) != 0) first = first->next;
        FUZZ_CHECK(ini_get(table, entry->key) == first->value);
    }
    FUZZ_CHECK(ini_get(table, "no=such") == nullptr);
}

void CheckRemove(IniEntry* table) {
    Entries entries = EntriesOf(table);
    while (table != nullptr) {
        const std::string key = entries[entries.size() / 2].first;
        size_t first = 0;
        while (strcasecmp(entries[first].first.c_str(), key.c_str()) != 0) ++first;
        entries.erase(entries.begin() + static_cast<std::ptrdiff_t>(first));
        table = ini_remove(table, key.c_str());
        if (entries.size() < kFewEntries) FUZZ_CHECK(EntriesOf(table) == entries);
    }
}

/// What a file that was saved says. In the file a value ends in a line end, which counts for its length: one
/// of full length makes the file unreadable.
Entries Readable(const Entries& saved) {
    const auto is_too_long = [](const auto& entry) { return entry.second.size() == kTextLimit; };
    return std::any_of(saved.begin(), saved.end(), is_too_long) ? Entries() : saved;
}

/// What each key finds, in turn. Saving may move an entry to an earlier line of its key, however that is
/// spelt.
Entries ByKey(Entries entries) {
    for (auto& entry : entries) {
        for (char& c : entry.first) c = static_cast<char>(tolower(static_cast<unsigned char>(c)));
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto& a, const auto& b) { return a.first < b.first; });
    return entries;
}

/// The entries that the rule for settings takes, out of all.
bool HoldsInOrder(const Entries& all, const Entries& some) {
    size_t found = 0;
    for (const auto& entry : all) found += found < some.size() && entry == some[found] ? 1 : 0;
    return found == some.size();
}

}  // namespace

// The copy of a file that is being rewritten lies on no disk either.
extern "C" FILE* __wrap_tmpfile() {
    const int fd = memfd_create("copy", 0);
    return fd < 0 ? nullptr : fdopen(fd, "w+");
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* bytes, size_t size) {
    const std::string content(reinterpret_cast<const char*>(bytes), size);
    const File file(content);
    IniEntry* const table = ini_load(file.path().c_str());
    const Entries settings = EntriesOf(table);
    CheckGet(table);
    const Entries all = Load(ini_load_all, file);
    FUZZ_CHECK(all.empty() || HoldsInOrder(all, settings));

    // A file that is saved with the table that was read from it says the same as before.
    const File merged(content);
    if (Save(table, merged)) FUZZ_CHECK(ByKey(Load(ini_load, merged)) == ByKey(Readable(settings)));

    // What has no key can't be read back; everything else can.
    const File fresh("");
    FUZZ_CHECK(Save(ini_load_all(file.path().c_str()), fresh));
    Entries with_key;
    for (const auto& entry : all) {
        if (!entry.first.empty()) with_key.push_back(entry);
    }
    FUZZ_CHECK(Load(ini_load_all, fresh) == Readable(with_key));

    CheckRemove(ini_load_all(file.path().c_str()));
    return 0;
}
