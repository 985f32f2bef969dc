// Store for text files of KEY=value lines, such as the settings of the link. A table is a snapshot of a file,
// owned by the caller; values stay text. One thread at a time. Failures are reported on standard error only.
#pragma once

struct IniEntry {
    char key[257];    // at most 256 characters, trimmed, as written in the file
    char value[257];  // the same
    IniEntry* next;   // null at the last
};

/// Reads a file that must be readable and writable. Null: no such file, one over-long key or value anywhere
/// in it, or no accepted line; the table otherwise, to be released with ini_free. Lines that don't begin with
/// an upper-case letter, or hold no "=", are skipped; a value ends at its first "=".
IniEntry* ini_load(const char* path);

/// The same, but the first character of a line doesn't matter.
IniEntry* ini_load_all(const char* path);

/// Value of the first entry with this key, in any case of letters; null when there is none or the table is
/// null. Points into the table.
const char* ini_get(const IniEntry* table, const char* key);

/// Removes and frees the first entry with this key; the new first entry of the table.
IniEntry* ini_remove(IniEntry* table, const char* key);

/// Merges `*table` into the existing file `path`. 0: done, the table is used up and `*table` null. -1:
/// failed; the caller still owns `*table`, which holds the entries not yet written and can be freed.
int ini_save(IniEntry** table, const char* path);

/// Frees a table; null is accepted.
void ini_free(IniEntry* table);
