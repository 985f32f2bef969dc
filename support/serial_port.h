// Thin layer over termios for the AT port: open, set up, write, timed read. A port is a plain descriptor; the
// layer keeps no state and has no locks. Failures go to standard error, not to the log.
#pragma once

#include <sys/types.h>

#include <cstddef>

/// Opens a terminal read-write, blocking, not as controlling terminal. The descriptor, or a value below 1.
int OpenSerial(const char* device);

/// As close(2).
int CloseSerial(int fd);

/// As write(2).
ssize_t WriteSerial(int fd, const void* bytes, size_t count);

/// Makes the line raw. `speed` in baud, `data_bits` 7 or 8, `stop_bits` 1 or 2, `parity` one of EeOoNnSs.
/// 0 done; -1 attributes can't be read; -2 data bits, -3 parity, -4 stop bits not supported; -5 attributes
/// can't be applied. On -1 to -4 nothing was applied after the speed.
int SetupSerial(int fd, int speed, int data_bits, int stop_bits, char parity);

/// Reads up to `wanted` bytes; returns when they are in or when `timeout_ms` has run out for the whole call,
/// not earlier. The number of bytes read, 0 on time-out; each error of read(2) takes 1 off it, so that it can
/// be negative. A port that has gone is looked at once a millisecond. Nothing is written outside
/// buffer[0..wanted), and no terminator is stored.
int ReadSerialTimed(int fd, char* buffer, int wanted, int timeout_ms);

/// Like ReadSerialTimed, with `first_timeout_ms` for the first byte and `next_timeout_ms` afresh for each
/// that follows. 0 when the first wait fails. One read that brings nothing doesn't end it; a hundred in a
/// row do.
int ReadSerialTimed2(int fd, char* buffer, int wanted, int first_timeout_ms, int next_timeout_ms);
