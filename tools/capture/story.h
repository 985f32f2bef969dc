// Makes a scenario (docs/virtual-time.md) of what a log tells. What a log says is data there: no byte of it
// can become a statement.
#pragma once

#include <string>
#include <vector>

#include "tools/capture/transcript.h"

namespace capture {

struct StoryOptions {
    bool keeps_identities = false;
    std::string family;  // overrules what the log says; empty: the log's
    std::string source;  // name of the log, for the head of the story
};

struct Story {
    std::string text;
    std::vector<std::string> replaced;  // kinds of identities, with their numbers
    std::vector<std::string> losses;    // what could not be carried over, a sentence each
    std::string problem;                // why there is no story; empty when there is one
};

Story WriteStory(const Transcript& transcript, const StoryOptions& options);

/// The families of modems that a story can be about.
const std::vector<std::string>& FamilyNames();

// Bytes as the language wants them.

/// For a knob: as they stand, also with blanks at the ends.
std::string KnobText(const std::string& bytes);
/// In double quotes.
std::string QuotedText(const std::string& bytes);
/// The same where the language repeats what stands in "<3*x>": nothing is.
std::string PlainText(const std::string& bytes);
/// In a block of settings; what would be repeated is not.
std::string BlockLine(const std::string& line);

}  // namespace capture
