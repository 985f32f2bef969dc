// What the daemon and the OCPP service say to each other: questions, what makes an answer a good one, and
// what the bytes in it mean.
#pragma once

#include <string>
#include <vector>

#include "simulator/bus_peer/frame.h"

namespace bus_peer {

constexpr unsigned kUpgrade = 0x7600;  // its answer may stand for that to any question
constexpr unsigned kUpgradeOutcome = 0x7601;
constexpr unsigned kModuleRefused = 0x7602;
constexpr unsigned kStatus = 0x7603;

constexpr size_t kTextLimit = 255;  // of an upgrade request; an item's length is one byte

/// The data byte of an answer kUpgrade.
enum UpgradeAnswer { kNoRequest = 0, kAccepted = 1, kAlreadyRunning = 2, kNoModem = 3, kUpgradeAnswers = 4 };

/// The data byte of a kUpgradeOutcome.
enum Outcome { kSucceeded = 0, kFailed = 1, kNotSupported = 2, kNoTool = 3, kOutcomes = 4 };

Frame StatusQuestion();

/// Three texts, of at most kTextLimit bytes each: module, tool, path.
Frame UpgradeRequest(const std::vector<std::string>& texts);

/// Decodes the answer to a question. What is wrong with it; empty, and `answer` filled, when nothing is.
std::string ReadAnswer(const Frame& question, const Bytes& bytes, Frame* answer);

/// "accepted", "an upgrade is already running" ... of a value below kUpgradeAnswers.
const char* UpgradeAnswerText(unsigned answer);

/// What a frame that the daemon sends by itself says: "upgrade succeeded" ... or "unknown".
std::string MeaningOf(const Frame& frame);

/// Our answer to it: one byte, of which 1 confirms.
Frame Confirmation(const Frame& frame, unsigned reply);

}  // namespace bus_peer
