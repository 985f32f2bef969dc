// The calls of the C library that virtual time stands in front of are defined in interpose.cpp, under their
// own names.
#pragma once

namespace virtual_time {

/// Does nothing; a program that calls it gets the definitions linked in.
void KeepInterposition();

}  // namespace virtual_time
