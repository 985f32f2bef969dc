// How good a signal is, in words. The measures are those of 3GPP; the limits stand in docs/ravelinctl.md with
// their reason.
#pragma once

#include <optional>
#include <string>

namespace board {

enum class Measure { kRsrp, kRsrq, kSinr, kRssi };

enum class Quality { kExcellent, kGood, kFair, kPoor, kVeryPoor };

const char* NameOf(Measure measure);  // "RSRP"
const char* UnitOf(Measure measure);  // "dBm"
const char* WordFor(Quality quality);

/// The words for a value; none for one that can't be: 3GPP's own ranges, and a bit.
std::optional<Quality> Rate(Measure measure, int value);

/// A whole number, with its unit or without it: "-95", "-95dBm", "014dB". Nothing for everything else.
std::optional<int> ParseLevel(const std::string& text);

/// What AT+CSQ shows, as dBm of RSSI. Nothing for 99 (not known) and what it can't show.
std::optional<int> RssiOfCsq(int csq);

}  // namespace board
