// Who built this daemon, from which commit, and when. The texts are produced by cmake/build_info.cmake.
#pragma once

extern const char kBuildCommit[41];      // 40 hexadecimal digits; all zero when built outside a git checkout
extern const char kBuildCommitShort[8];  // the first 7 of them
extern const char kBuilder[];            // user name of whoever ran the build
extern const char kBuildStamp[13];       // yyyymmddHHMM, local time of the build
