// The few text operations that everything else is built from: one bounded copy, one field splitter, one
// number reader, one trim. Text is cut in place; none of these allocates or logs.
#pragma once

#include <cstddef>
#include <cstdint>

/// Copies at most `size` - 1 characters of `from` to `to` and terminates. Null counts as empty; the two must
/// not overlap. A `size` of 0 does nothing. Returns the number of characters stored.
size_t CopyText(char* to, size_t size, const char* from);

/// The same into an array; `limit`, where given, allows fewer characters than fit.
template <size_t N>
size_t CopyText(char (&to)[N], const char* from, size_t limit = N - 1) {
    return CopyText(static_cast<char*>(to), (limit < N ? limit : N - 1) + 1, from);
}

/// Cuts the next field off `*rest` at any of `delimiters` and advances `*rest` past the delimiter, or to
/// null at the last field. Adjacent delimiters yield empty fields. Null when `*rest` is null: nothing is
/// left.
char* NextField(char** rest, const char* delimiters);

/// Like NextField, but skips delimiters in front of the token, and yields null instead of an empty token.
char* NextToken(char** rest, const char* delimiters);

/// Base-10 number at the start of `text`, white space in front skipped; 0 when there is none or `text` is
/// null. A number beyond the range saturates.
int32_t ParseNumber(const char* text);

/// `text` from its first character that isn't white space.
char* TrimStart(char* text);

/// Cuts white space off the end of `text`, in place, and returns `text`.
char* TrimEnd(char* text);

/// Both: cuts the end in place, and returns `text` from its first character that isn't white space.
char* str_trim(char* text);
