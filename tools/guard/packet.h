// The bytes of a probe and of what comes back: no socket here. What comes back was written by anybody.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "tools/guard/core.h"

namespace guard {

bool IsDnsName(std::string_view name);

/// A question for the IPv4 addresses of `name`, which IsDnsName took.
std::string DnsQuestion(uint16_t number, std::string_view name);

/// An answer to that question: kAnswered, kCaptive, or kSilent for what is no answer to it. Captive is an
/// answer without `expected` among its addresses, or, where that is 0, one with nothing but addresses that no
/// public name has. An error that a name server reports is an answer, and so is one that was cut to fit: the
/// way there and back works.
ProbeVerdict JudgeDns(std::string_view answer, std::string_view question, uint32_t expected);

/// An echo request of 8 bytes. The kernel replaces `id` on a socket that isn't raw.
std::string EchoRequest(uint16_t id, uint16_t number);

/// Whether this is the reply. On a raw socket the IP header stands in front.
bool IsEchoReply(std::string_view packet, bool is_raw, uint16_t id, uint16_t number);

}  // namespace guard
