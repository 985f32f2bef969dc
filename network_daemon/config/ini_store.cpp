#include "network_daemon/config/ini_store.h"

#include <fcntl.h>
#include <strings.h>
#include <unistd.h>

#include <cctype>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "support/file_reader.h"
#include "support/text_util.h"

namespace {

constexpr size_t kPieceSize = 1024;     // of a line that is read at a time, with its terminator
constexpr size_t kTextLengthMax = 256;  // of a key and of a value

static_assert(sizeof(IniEntry::key) == kTextLengthMax + 1 && sizeof(IniEntry::value) == kTextLengthMax + 1);

enum class LineRule { kUpperCaseOnly, kAny };

bool IsUpper(char c) {
    return isupper(static_cast<unsigned char>(c)) != 0;
}

/// Reads up to and with the next line end, but no more than fits: a longer line comes in pieces, each of
/// which counts as a line. Returns the number of bytes, 0 at the end of the file. NUL bytes are read like any
/// other.
size_t ReadPiece(FileReader& file, char (&piece)[kPieceSize]) {
    const size_t length = file.GetLine(piece, kPieceSize - 1);
    piece[length] = '\0';
    return length;
}

/// Where the next entry goes: after the last one.
struct TableEnd {
    IniEntry* head = nullptr;
    IniEntry** link = &head;
};

/// False when key or value are too long as they stand in the line, or memory has run out. A line without "=",
/// or with nothing at all after it, is no entry and is skipped.
bool AppendLine(TableEnd* table, char* line) {
    char* rest = line;
    char* key = NextToken(&rest, "=");
    char* value = NextToken(&rest, "=");
    if (key == nullptr || value == nullptr) return true;
    if (strlen(key) > kTextLengthMax || strlen(value) > kTextLengthMax) return false;

    auto* entry = static_cast<IniEntry*>(malloc(sizeof(IniEntry)));
    if (entry == nullptr) return false;
    CopyText(entry->key, str_trim(key));
    CopyText(entry->value, str_trim(value));
    entry->next = nullptr;
    *table->link = entry;
    table->link = &entry->next;
    return true;
}

IniEntry* Load(const char* path, LineRule rule) {
    FileReader file(open(path, O_RDWR));  // settings that can't be written are none
    if (!file.is_open()) {
        fprintf(stderr, "Open ini file %s error!\n", path);
        return nullptr;
    }
    TableEnd table;
    char line[kPieceSize];
    while (ReadPiece(file, line) > 0) {
        if (rule == LineRule::kUpperCaseOnly && !IsUpper(line[0])) continue;
        if (AppendLine(&table, line)) continue;
        fprintf(stderr, "init file error!\n");
        ini_free(table.head);
        table.head = nullptr;
        break;
    }
    return table.head;
}

/// The link that points to the first entry with this key, or the null link at the end.
IniEntry** FindLink(IniEntry** link, const char* key) {
    while (*link != nullptr && strcasecmp((*link)->key, key) != 0) link = &(*link)->next;
    return link;
}

void UnlinkAndFree(IniEntry** link) {
    IniEntry* entry = *link;
    *link = entry->next;
    free(entry);
}

/// Writes the entry under `key` and takes it out of the table.
void WriteEntry(FILE* file, const char* key, IniEntry** link) {
    fprintf(file, "%s=%s\n", key, (*link)->value);
    UnlinkAndFree(link);
}

bool CopyAll(FILE* from, FILE* to) {
    FileReader reader(dup(fileno(from)));
    char piece[kPieceSize];
    size_t length = 0;
    while ((length = ReadPiece(reader, piece)) > 0) {
        if (fwrite(piece, 1, length, to) != length) return false;
    }
    return !reader.has_failed() && fflush(to) == 0;
}

/// A copy of the file in a temporary one, rewound; null when that failed. The file itself is only read.
FILE* CopyToTemporary(const char* path) {
    FILE* file = fopen(path, "r+t");
    if (file == nullptr) {
        fprintf(stderr, "Open file %s error!\n", path);
        return nullptr;
    }
    FILE* copy = tmpfile();
    if (copy == nullptr) {
        fprintf(stderr, "Create tmpfile error!\n");
    } else if (!CopyAll(file, copy)) {
        fclose(copy);
        copy = nullptr;
    } else {
        rewind(copy);
    }
    fclose(file);
    return copy;
}

/// Writes the line `length` bytes long to `file`, with the value of the table if it holds a setting. A
/// setting that the table doesn't have loses its line. False when the key is too long.
bool MergeLine(FILE* file, char* line, size_t length, IniEntry** table) {
    char* equals = strchr(line, '=');
    if (!IsUpper(line[0]) || equals == nullptr) {
        fwrite(line, 1, length, file);
        return true;
    }
    *equals = '\0';
    const char* key = str_trim(line);
    if (strlen(key) > kTextLengthMax) return false;
    IniEntry** link = FindLink(table, key);
    if (*link != nullptr) WriteEntry(file, key, link);
    return true;
}

bool MergeLines(FILE* copy, FILE* file, IniEntry** table) {
    FileReader reader(dup(fileno(copy)));
    char line[kPieceSize];
    size_t length = 0;
    while ((length = ReadPiece(reader, line)) > 0) {
        if (!MergeLine(file, line, length, table)) return false;
    }
    return !reader.has_failed();
}

}  // namespace

IniEntry* ini_load(const char* path) {
    return Load(path, LineRule::kUpperCaseOnly);
}

IniEntry* ini_load_all(const char* path) {
    return Load(path, LineRule::kAny);
}

const char* ini_get(const IniEntry* table, const char* key) {
    for (; table != nullptr; table = table->next) {
        if (strcasecmp(table->key, key) == 0) return table->value;
    }
    return nullptr;
}

IniEntry* ini_remove(IniEntry* table, const char* key) {
    IniEntry** link = FindLink(&table, key);
    if (*link != nullptr) UnlinkAndFree(link);
    return table;
}

int ini_save(IniEntry** table, const char* path) {
    FILE* copy = CopyToTemporary(path);
    if (copy == nullptr) return -1;
    FILE* file = fopen(path, "w+");
    if (file == nullptr) {
        fprintf(stderr, "Open file %s error!\n", path);
        fclose(copy);
        return -1;
    }
    const bool merged = MergeLines(copy, file, table);
    if (merged) {
        while (*table != nullptr) WriteEntry(file, (*table)->key, table);
    }
    fclose(file);
    fclose(copy);
    return merged ? 0 : -1;
}

void ini_free(IniEntry* table) {
    while (table != nullptr) {
        IniEntry* next = table->next;
        free(table);
        table = next;
    }
}
