// A file that others read at any time: it is there as a whole, the former one or the new one.
#pragma once

#include <string>

namespace metrics {

/// Puts the text in the place of the file at `path`, with mode 0644, by a rename within its folder: a link
/// there is replaced and not followed, and whatever fails leaves the former file. Gives back what failed, in
/// words; empty: done.
std::string ReplaceFile(const std::string& path, const std::string& text);

}  // namespace metrics
