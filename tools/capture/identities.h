// Takes out of a text what names a subscriber, a modem, a customer or a place, and puts another of the same
// shape in its stead: the same everywhere for the same. What is put in is counted, not computed, so that
// nothing leads back.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>

#include "tools/capture/transcript.h"

namespace capture {

class Identities {
  public:
    /// With `keeps`, everything stays as it is.
    explicit Identities(bool keeps) : keeps_(keeps) {}

    /// Before the first text is read: what is known by name.
    void Learn(const Identity& identity);

    /// What the modem or a script says.
    std::string OfText(std::string_view text);
    /// A command with what stands in it from the settings.
    std::string OfCommand(std::string_view command);
    /// Lines KEY=value.
    std::string OfSettings(std::string_view text);

    /// How many different ones of a kind were replaced: "IMSI", "IMEI", "address", ...
    const std::map<std::string, size_t>& counts() const { return counts_; }

    /// Whether the last digit is the check digit that Luhn's rule asks for.
    static bool HasCheckDigit(std::string_view digits);

  private:
    std::string Stand(const std::string& kind, const std::string& original, size_t kept, bool checked);
    std::string OfSecret(const std::string& kind, const std::string& secret);
    std::string OfDigits(const std::string& digits);
    std::string OfHex(const std::string& digits);
    std::string OfAddresses(std::string_view text);
    std::string OfLine(std::string_view line);
    std::string OfCells(const std::string& line);
    std::string OfQuoted(std::string text);
    std::string OfNumbers(std::string_view text);

    const bool keeps_;
    std::map<std::string, std::string> stands_;   // kind and original -> what stands for it
    std::map<std::string, size_t> counts_;        // by kind
    std::map<std::string, std::string> named_;    // numbers that the log calls by name -> kind
    std::map<std::string, std::string> secrets_;  // texts of the settings -> kind
};

}  // namespace capture
