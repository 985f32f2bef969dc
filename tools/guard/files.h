// The guard's own files, and what it reads of the board.
#pragma once

#include <sys/types.h>

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "tools/guard/core.h"

namespace guard {

/// Fills what the status file tells. `problem` has a reason, in words, where it is unusable.
void ReadStatus(const std::string& folder, Look* look, std::string* problem);

/// Bytes that have come in at an interface; nothing where there is none of that name.
std::optional<uint64_t> ReceivedBytes(const std::string& interface);

/// The same from the text of /proc/net/dev.
std::optional<uint64_t> ParseReceivedBytes(std::string_view table, const std::string& interface);

/// Whether a table of routes as /proc/net/route has it leads to `host` (in the byte order of the network)
/// through that interface.
bool ParseRoute(std::string_view table, const std::string& interface, uint32_t host);

/// The same by this network's main table.
bool HasRoute(const std::string& interface, uint32_t host);

/// Replaces the file in one step, so that nobody ever reads half of it. With `is_lasting` it is on the disk
/// when this returns. False: errno says why.
bool ReplaceFile(const std::string& path, const std::string& text, bool is_lasting);

/// Of root, or of whoever runs this.
bool IsTrusted(uid_t owner);

/// Keeps every other guard away from the folder of the budget until this process ends. Empty: done; otherwise
/// why it can't be, in words.
std::string LockFolder(const std::string& folder);

std::string BootId();

/// Seconds since boot, sleep included.
int64_t SecondsSinceBoot();

}  // namespace guard
