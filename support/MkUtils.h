// Clock and utilities of the process. The timer clock counts seconds since boot, so that setting the date
// disturbs no timer; the wall clock serves time stamps only.
//
// The daemon itself runs on the clock alone. The rest is a kit for board programs and tools. Unless a
// contract says otherwise, a routine has no state and can be called from any thread.
#pragma once

#include <arpa/inet.h>
#include <pthread.h>
#include <sys/time.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <string>

#include "support/text_util.h"

// Clock: MkUtils.cpp

/// Seconds since boot.
uint32_t GetSysUptime();

/// Seconds from `earlier`, a value of GetSysUptime, until now: the plain 32-bit difference.
uint32_t GetSysElapsed(uint32_t earlier);

// Wall clock: MkUtils_time.cpp

/// Result of a time difference that went backwards or is too long for 31 bits.
constexpr int32_t kTimeDifferenceUnknown = 2147483647;

/// Time between two values of gettimeofday.
int32_t GetTimeDifferenceMs(const timeval& earlier, const timeval& later);
int32_t GetTimeDifferenceUs(const timeval& earlier, const timeval& later);

/// Now, in the local time zone.
tm GetLocalTime();

// Sun: MkUtils_sun.cpp

/// kUnknown: no such date or position, or a year outside 1800 to 2200.
enum class SunDay { kNormal, kNeverRises, kNeverSets, kUnknown };

/// In seconds since 00:00 UTC of the date. Far from Greenwich a time can lie before 0 or after 86400.
struct SunTimes {
    SunDay day;
    int32_t sunrise_seconds;  // both 0 unless `day` is kNormal
    int32_t sunset_seconds;
};

/// Upper limb of the sun on a sea-level horizon, with usual refraction. `month` and `day` count from 1, north
/// and east are positive. Good to a minute between the polar circles.
SunTimes GetSunTimes(int year, int month, int day, double latitude_degrees, double longitude_degrees);

// Threads and signals: MkUtils_thread.cpp
//
// The thread routines take an attribute object: they set a thread up before pthread_create. A failure of the
// system ends the process by assertion. What they find they print on standard output.

/// Prints and gives back the scheduling policy.
int get_thread_policy(pthread_attr_t* attributes);

/// Sets the policy, then does what get_thread_policy does.
int set_thread_policy(pthread_attr_t* attributes, int policy);

/// Prints the range of priorities of a policy; the attributes don't matter.
void show_thread_priority(pthread_attr_t* attributes, int policy);

/// Prints and gives back the scheduling priority.
int get_thread_priority(pthread_attr_t* attributes);

/// Sets the priority; prints the former and the new one.
void set_thread_priority(pthread_attr_t* attributes, int priority);

/// Puts the process under SCHED_FIFO at the highest, or lowest, priority. On failure it says so on standard
/// output and ends the process with status 1.
void SetMaxPriority();
void SetMinPriority();

/// Signal handler that prints which signal came and ends the process with status 0; SIGPIPE is only printed.
/// It prints and exits from where it is called, so the program must not hold a lock of the C library when the
/// signal comes.
void HandleSignal(int signal_number);

// Network interfaces: MkUtils_net.cpp
//
// The interfaces with an IPv4 address, 16 at most, are looked through from the last to the first; of those
// whose name contains `name_part` the last one that answers wins.

constexpr size_t kMacSize = 6;
constexpr size_t kMacTextSize = 18;

/// Address and mask in dotted form. 0, or -1 when no interface fits (the buffers stay as they were).
int GetInterfaceAddress(char (&address)[INET_ADDRSTRLEN], char (&mask)[INET_ADDRSTRLEN],
                        const char* name_part);

/// Hardware address. 0, or -1 when no interface fits (the buffer stays as it was).
int GetInterfaceMac(unsigned char (&mac)[kMacSize], const char* name_part);

/// The same as "01-23-45-67-89-AB".
int GetInterfaceMacText(char (&text)[kMacTextSize], const char* name_part);

// Files and commands: MkUtils_file.cpp

/// Whether something is mounted at exactly this path. A path is compared as the kernel writes it in
/// /proc/mounts, where a blank is "\040".
bool IsMounted(const char* mount_point);

/// The first 1023 bytes of a file, without white space at the end; empty when it can't be read. In a static
/// buffer that is good until the next call: one thread at a time. Never null.
char* ReadSmallFile(const char* path);

/// Runs a shell command and takes at most `count` bytes of its output; a NUL follows them when fewer came. 0,
/// or -1 when the command can't be started.
int RunCommand(const char* command, char* output, size_t count);

/// Bytes as "%02x " on standard output, without a line end.
void PrintHex(const unsigned char* bytes, size_t count);

/// Removes the .mp4 file of a folder whose status changed longest ago. The folder's name goes to the shell as
/// it is.
void DeleteOldestVideo(const char* folder);

/// Working folder and executable of a process; empty when it can't be read.
std::string GetProcessFolder(int pid);
std::string GetProcessExecutable(int pid);

// Text and numbers: MkUtils_text.cpp; the trims of both ends of a text come with text_util.h

/// Part of `path` after the last "/".
const char* GetBaseName(const char* path);

/// Part of the base name after its last dot; empty when it has no dot, or only one at its start.
const char* GetExtension(const char* path);

/// A size for people: "512 bytes", "1.5 KB", "2.0 MB", "3.4 GB", by steps of 1024.
std::string GetSizeText(uint64_t size_bytes);

/// Hash of a text: times 33, plus the character, from 5381 on.
uint32_t HashText(const char* text);

/// Sum of bytes, modulo 256.
uint8_t SumBytes(const unsigned char* bytes, size_t count);

/// Hexadecimal number at the start of `text`, "0x" or not; 0 when there is none, saturated at 32 bits.
uint32_t ParseHexNumber(const char* text);

/// Environment variable as yes or no: "1", "y", "yes", "true", "on" against "0", "n", "no", "false", "off",
/// in any case of letters. `otherwise` when it is anything else or missing.
bool GetEnvironmentFlag(const char* name, bool otherwise);

/// Environment variable as base-10 number; `otherwise` when it is missing, or no number as a whole.
int32_t GetEnvironmentNumber(const char* name, int32_t otherwise);
